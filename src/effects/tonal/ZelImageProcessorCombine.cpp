#include "ZelImageProcessorCombine.h"
#include "ZelImageProcessorImpl_p.h"
#include "ZelTonalImage_p.h"

#include <cmath>
#include <cstdint>

namespace {

// trunc(sqrt(a^2 + b^2)) for every pair of 8-bit values, both modulo 256 (32-bit images) and
// clamped to 255 (indexed images).
struct MagnitudeTables
{
    MagnitudeTables()
    {
        for (int a = 0; a < 256; ++a) {
            for (int b = 0; b < 256; ++b) {
                const int magnitude = int(std::sqrt(double(a * a + b * b)));
                wrapped[a << 8 | b] = uint8_t(magnitude & 0xFF);
                clamped[a << 8 | b] = uint8_t(qMin(magnitude, 255));
            }
        }
    }
    uint8_t wrapped[256 * 256];
    uint8_t clamped[256 * 256];
};

const MagnitudeTables& magnitudeTables()
{
    static const MagnitudeTables tables;
    return tables;
}

bool isLargeEnough(const QImage& second, const QImage& first)
{
    return second.width() >= first.width() && second.height() >= first.height();
}

} // namespace

class ZelImageProcessorCombineImpl : public ZelImageProcessorImpl
{
    Q_OBJECT
public:
    ZelImageProcessorCombineImpl(const QImage& first, const QImage& second)
        : ZelImageProcessorImpl(first, QString())
        , mySecondImage(second)
    {
    }

public slots:
    QImage result() override;
    QImage generatePreview(const QSize& size) override
    {
        return previewOf(sourceImageScaled(size),
                         mySecondImage.scaled(size, Qt::KeepAspectRatio, Qt::FastTransformation));
    }
    QImage generatePreview(const QRect& rect) override
    {
        return previewOf(sectionOfSourceImage(rect), mySecondImage.copy(rect));
    }

private:
    static QImage previewOf(const QImage& first, const QImage& second)
    {
        ZelImageProcessorCombine preview(first, second);
        return preview.result();
    }
    void unifyFormats();
    static void combineIndexed(const QImage& first, const QImage& second, QImage& combined);
    static void combinePixelWords(const QImage& first, const QImage& second, QImage& combined);

    QImage mySecondImage;
};

void ZelImageProcessorCombineImpl::unifyFormats()
{
    const QImage::Format format = sourceImage().format();
    const bool usable = format == QImage::Format_Indexed8 || zelIsPixelWordFormat(format);
    if (format == mySecondImage.format() && usable)
        return;
    setSourceImage(sourceImage().convertToFormat(QImage::Format_ARGB32));
    mySecondImage = mySecondImage.convertToFormat(QImage::Format_ARGB32);
}

void ZelImageProcessorCombineImpl::combineIndexed(const QImage& first, const QImage& second, QImage& combined)
{
    const uint8_t* magnitude = magnitudeTables().clamped;
    const int width = first.width();
    for (int y = 0; y < first.height(); ++y) {
        const uchar* a = first.constScanLine(y);
        const uchar* b = second.constScanLine(y);
        uchar* out = combined.scanLine(y);
        for (int x = 0; x < width; ++x)
            out[x] = magnitude[a[x] << 8 | b[x]];
    }
}

void ZelImageProcessorCombineImpl::combinePixelWords(const QImage& first, const QImage& second, QImage& combined)
{
    const uint8_t* magnitude = magnitudeTables().wrapped;
    const int width = first.width();
    for (int y = 0; y < first.height(); ++y) {
        const QRgb* a = reinterpret_cast<const QRgb*>(first.constScanLine(y));
        const QRgb* b = reinterpret_cast<const QRgb*>(second.constScanLine(y));
        QRgb* out = reinterpret_cast<QRgb*>(combined.scanLine(y));
        for (int x = 0; x < width; ++x) {
            const QRgb pa = a[x];
            const QRgb pb = b[x];
            out[x] = (pa & 0xFF000000u) | uint(magnitude[qRed(pa) << 8 | qRed(pb)]) << 16
                | uint(magnitude[qGreen(pa) << 8 | qGreen(pb)]) << 8 | magnitude[qBlue(pa) << 8 | qBlue(pb)];
        }
    }
}

QImage ZelImageProcessorCombineImpl::result()
{
    unifyFormats();
    const QImage first = sourceImage();
    const QImage second = mySecondImage;
    QImage combined;
    if (!first.isNull() && isLargeEnough(second, first))
        combined = zelBlankLike(first);
    if (!combined.isNull()) {
        if (first.format() == QImage::Format_Indexed8)
            combineIndexed(first, second, combined);
        else
            combinePixelWords(first, second, combined);
    }
    emit finished(false);
    return combined;
}

ZelImageProcessorCombine::ZelImageProcessorCombine(const QImage& first, const QImage& second)
    : ZelImageProcessor(first)
{
    installImplementation(new ZelImageProcessorCombineImpl(first, second));
}

#include "ZelImageProcessorCombine.moc"
