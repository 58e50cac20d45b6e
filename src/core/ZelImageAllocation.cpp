#include "ZelImageAllocation_p.h"

#include <cstdlib>

#ifdef __linux__
#include <sys/mman.h>
#endif

namespace {

constexpr qint64 kHugePage = 2 * 1024 * 1024;
// Below this the page faults do not matter and QImage's own allocation is kept.
constexpr qint64 kLargeImageBytes = 4 * kHugePage;

void freeImageBuffer(void* buffer)
{
    std::free(buffer);
}

} // namespace

QImage zelNewImage(const QSize& size, QImage::Format format)
{
    const int depth = QImage::toPixelFormat(format).bitsPerPixel();
    if (size.width() <= 0 || size.height() <= 0 || depth < 8)
        return QImage(size, format);
    const qint64 bytesPerLine = (qint64(size.width()) * depth / 8 + 3) / 4 * 4;
    const qint64 bytes = bytesPerLine * size.height();
    if (bytes < kLargeImageBytes || bytesPerLine > INT_MAX || bytes > INT_MAX)
        return QImage(size, format);
    const qint64 rounded = (bytes + kHugePage - 1) / kHugePage * kHugePage;
    void* buffer = std::aligned_alloc(size_t(kHugePage), size_t(rounded));
    if (!buffer)
        return QImage();
#ifdef MADV_HUGEPAGE
    madvise(buffer, size_t(rounded), MADV_HUGEPAGE);
#endif
    QImage image(static_cast<uchar*>(buffer), size.width(), size.height(), int(bytesPerLine), format,
                 freeImageBuffer, buffer);
    if (image.isNull())
        std::free(buffer);
    return image;
}
