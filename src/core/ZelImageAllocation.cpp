#include "ZelImageAllocation_p.h"

#include <QColorSpace>
#include <QStringList>

#include <algorithm>
#include <cstdlib>
#include <cstring>

#ifdef __linux__
#include <sys/mman.h>
#endif

namespace {

constexpr qint64 kHugePage = 2 * 1024 * 1024;
// Below this the page faults do not matter and QImage's own allocation is kept.
constexpr qint64 kLargeImageBytes = 4 * kHugePage;
// Rows converted at a time: a band of a 6000-pixel row stays within a core's L2 cache on its
// way from Qt's converter to the new image.
constexpr int kConversionBandBytes = 256 * 1024;

void freeImageBuffer(void* buffer)
{
    std::free(buffer);
}

bool isLarge(const QImage& image)
{
    return image.sizeInBytes() >= kLargeImageBytes;
}

void copyMetadata(QImage* target, const QImage& source)
{
    target->setDotsPerMeterX(source.dotsPerMeterX());
    target->setDotsPerMeterY(source.dotsPerMeterY());
    target->setOffset(source.offset());
    target->setDevicePixelRatio(source.devicePixelRatio());
    target->setColorSpace(source.colorSpace());
    const QStringList keys = source.textKeys();
    for (const QString& key : keys)
        target->setText(key, source.text(key));
}

bool isPixelWordFormat(QImage::Format format)
{
    return format == QImage::Format_RGB32 || format == QImage::Format_ARGB32
        || format == QImage::Format_ARGB32_Premultiplied;
}

} // namespace

void* zelAllocateAligned(size_t bytes, size_t alignment)
{
    void* buffer = nullptr;
    if (bytes < size_t(kLargeImageBytes))
        return posix_memalign(&buffer, std::max(alignment, sizeof(void*)), std::max<size_t>(bytes, 1)) == 0 ? buffer
                                                                                                          : nullptr;
    // Whole huge pages, so that the advice covers every byte.
    const size_t rounded = (bytes + size_t(kHugePage) - 1) / size_t(kHugePage) * size_t(kHugePage);
    if (rounded < bytes || posix_memalign(&buffer, std::max(alignment, size_t(kHugePage)), rounded) != 0)
        return nullptr;
#ifdef MADV_HUGEPAGE
    madvise(buffer, rounded, MADV_HUGEPAGE);
#endif
    return buffer;
}

QImage zelNewImage(const QSize& size, QImage::Format format)
{
    const int depth = QImage::toPixelFormat(format).bitsPerPixel();
    if (size.width() <= 0 || size.height() <= 0 || depth < 8)
        return QImage(size, format);
    const qint64 bytesPerLine = (qint64(size.width()) * depth / 8 + 3) / 4 * 4;
    const qint64 bytes = bytesPerLine * size.height();
    if (bytes < kLargeImageBytes || bytesPerLine > INT_MAX || bytes > INT_MAX)
        return QImage(size, format);
    void* buffer = zelAllocateAligned(size_t(bytes), sizeof(void*));
    if (!buffer)
        return QImage();
    QImage image(static_cast<uchar*>(buffer), size.width(), size.height(), int(bytesPerLine), format,
                 freeImageBuffer, buffer);
    if (image.isNull())
        std::free(buffer);
    return image;
}

QImage zelBlankLike(const QImage& image)
{
    QImage blank = zelNewImage(image.size(), image.format());
    if (blank.isNull())
        return blank;
    blank.setColorTable(image.colorTable());
    copyMetadata(&blank, image);
    return blank;
}

QImage zelCopyImage(const QImage& image)
{
    if (image.isNull() || !isLarge(image))
        return image.copy();
    QImage copy = zelBlankLike(image);
    if (copy.isNull())
        return copy;
    const size_t rowBytes = size_t(std::min(image.bytesPerLine(), copy.bytesPerLine()));
    for (int y = 0; y < image.height(); ++y)
        std::memcpy(copy.scanLine(y), image.constScanLine(y), rowBytes);
    return copy;
}

QImage zelCopyImage(const QImage& image, const QRect& rect)
{
    // Qt copies the whole image for any rectangle without width and height.
    if (rect.isNull() || rect == image.rect())
        return zelCopyImage(image);
    if (image.isNull() || image.depth() < 8 || !image.rect().contains(rect, false) || rect.isEmpty()
        || qint64(rect.width()) * rect.height() * image.depth() / 8 < kLargeImageBytes)
        return image.copy(rect);
    QImage copy = zelNewImage(rect.size(), image.format());
    if (copy.isNull())
        return copy;
    copy.setColorTable(image.colorTable());
    copyMetadata(&copy, image);
    const int bytesPerPixel = image.depth() / 8;
    const size_t rowBytes = size_t(rect.width()) * size_t(bytesPerPixel);
    for (int y = 0; y < rect.height(); ++y)
        std::memcpy(copy.scanLine(y), image.constScanLine(rect.top() + y) + rect.left() * bytesPerPixel, rowBytes);
    return copy;
}

QImage zelConvertImage(const QImage& image, QImage::Format format)
{
    if (image.isNull() || image.format() == format || !isPixelWordFormat(format)
        || qint64(image.width()) * image.height() * 4 < kLargeImageBytes)
        return image.convertToFormat(format);
    QImage converted = zelNewImage(image.size(), format);
    if (converted.isNull())
        return converted;
    copyMetadata(&converted, image);
    const int bandRows = std::max(1, int(kConversionBandBytes / converted.bytesPerLine()));
    const QVector<QRgb> colours = image.colorTable();
    const size_t rowBytes = size_t(converted.width()) * 4;
    for (int top = 0; top < image.height(); top += bandRows) {
        const int rows = std::min(bandRows, image.height() - top);
        // A read-only view of the band's rows; Qt converts each row on its own for these targets.
        QImage band(image.constScanLine(top), image.width(), rows, image.bytesPerLine(), image.format());
        if (!colours.isEmpty())
            band.setColorTable(colours);
        const QImage convertedBand = band.convertToFormat(format);
        if (convertedBand.isNull())
            return QImage();
        for (int y = 0; y < rows; ++y)
            std::memcpy(converted.scanLine(top + y), convertedBand.constScanLine(y), rowBytes);
    }
    return converted;
}
