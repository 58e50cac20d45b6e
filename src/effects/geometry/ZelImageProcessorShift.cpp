#include "ZelImageProcessorShift.h"
#include "ZelImageAllocation_p.h"
#include "ZelImageProcessorImpl_p.h"

#include <algorithm>
#include <cstdlib>
#include <cstring>

namespace {

// Pixels are moved as runs of depth / 8 bytes; formats without whole bytes per pixel (mono)
// have none and are converted.
constexpr int kMaximumBytesPerPixel = 8;

// A deep copy of the image to shift in place.
QImage workingCopy(const QImage& image)
{
    if (image.depth() % 8 == 0 && image.depth() / 8 <= kMaximumBytesPerPixel)
        return zelCopyImage(image);
    return zelConvertImage(image, QImage::Format_ARGB32);
}

// Writes `count` copies of the pixel at `pixel` from `out` on, doubling the written run.
void fillPixels(uchar* out, int count, const uchar* pixel, int bytesPerPixel)
{
    const size_t total = size_t(count) * size_t(bytesPerPixel);
    if (total == 0)
        return;
    std::memcpy(out, pixel, size_t(bytesPerPixel));
    size_t written = size_t(bytesPerPixel);
    while (written < total) {
        const size_t run = std::min(written, total - written);
        std::memcpy(out + written, out, run);
        written += run;
    }
}

// Moves one row by a random 0 ... maxShift pixels, left or right, and fills the gap with the
// row's edge pixel. One rand() per unchanged row, two per changed row. Returns whether it moved.
bool processScanLine(int width, int bytesPerPixel, int maxShift, uchar* line)
{
    // In long long: maxShift + 1 overflows int at INT_MAX. A negative maximum counts as 0.
    const long long choices = std::max(maxShift, 0) + 1LL;
    const int shift = int(std::rand() % choices);
    if (shift == 0)
        return false;
    const bool toTheLeft = std::rand() % 2 == 0;

    const size_t rowBytes = size_t(width) * size_t(bytesPerPixel);
    uchar edge[kMaximumBytesPerPixel];
    std::memcpy(edge, toTheLeft ? line + rowBytes - size_t(bytesPerPixel) : line, size_t(bytesPerPixel));
    if (shift >= width) {
        fillPixels(line, width, edge, bytesPerPixel);
        return true;
    }
    const size_t offset = size_t(shift) * size_t(bytesPerPixel);
    if (toTheLeft) {
        std::memmove(line, line + offset, rowBytes - offset);
        fillPixels(line + rowBytes - offset, shift, edge, bytesPerPixel);
    } else {
        std::memmove(line + offset, line, rowBytes - offset);
        fillPixels(line, shift, edge, bytesPerPixel);
    }
    return true;
}

} // namespace

class ZelImageProcessorShiftImpl : public ZelImageProcessorImpl
{
    Q_OBJECT
public:
    explicit ZelImageProcessorShiftImpl(const QImage& image)
        : ZelImageProcessorImpl(image, QString())
    {
    }

    void setShiftValue(int maximumShift) { myMaximumShift = maximumShift; }

public slots:
    QImage result() override { return applyShift(sourceImage(), myMaximumShift); }

private:
    // A cancel returns the input unchanged, without finished.
    QImage applyShift(const QImage& image, int maxShift)
    {
        QImage shifted = workingCopy(image);
        const int width = shifted.width();
        const int height = shifted.height();
        const int bytesPerPixel = shifted.depth() / 8;
        for (int y = 0; y < height; ++y) {
            processScanLine(width, bytesPerPixel, maxShift, shifted.scanLine(y));
            emit progress(QStringLiteral("Shift"), QString(), y, height - 1);
            if (resetCancel())
                return image;
        }
        emit finished(true);
        return shifted;
    }

    int myMaximumShift = 10;
};

ZelImageProcessorShift::ZelImageProcessorShift(const QImage& image)
    : ZelImageProcessor(image)
{
    installImplementation(new ZelImageProcessorShiftImpl(image));
}

void ZelImageProcessorShift::setShiftValue(int maximumShift)
{
    static_cast<ZelImageProcessorShiftImpl*>(myImpl)->setShiftValue(maximumShift);
}

#include "ZelImageProcessorShift.moc"
