#include "ZelImageProcessorAdjustRGBIntensity.h"
#include "ZelImageProcessorImpl_p.h"
#include "ZelPixelMath_p.h"
#include "ZelTonalImage_p.h"

#include <array>
#include <cfloat>
#include <limits>

namespace {

// A double narrowed to float, with the overflow to infinity made explicit: converting an
// out-of-range double is undefined in C++.
float toFloat(double value)
{
    if (value > FLT_MAX)
        return std::numeric_limits<float>::infinity();
    if (value < -FLT_MAX)
        return -std::numeric_limits<float>::infinity();
    return float(value);
}

// The new value of each channel (or index) value: trunc(c * factor) in single precision,
// modulo 256.
std::array<uchar, 256> channelTable(float factor)
{
    std::array<uchar, 256> table;
    for (int c = 0; c < 256; ++c) {
        const float product = float(c) * factor;
        table[c] = uchar(zelTruncToInt(double(product)) & 0xFF);
    }
    return table;
}

} // namespace

class ZelImageProcessorAdjustRGBIntensityImpl : public ZelImageProcessorImpl
{
    Q_OBJECT
public:
    explicit ZelImageProcessorAdjustRGBIntensityImpl(const QImage& image)
        : ZelImageProcessorImpl(image, QString())
    {
    }

    using ZelImageProcessorImpl::setParameters;
    void setParameters(double percent) { myFactor = toFloat(percent / 100.0); }

public slots:
    QImage result() override;

protected:
    QString progressTitle() const override { return tr("Intensität anpassen"); }

private:
    float myFactor = 1.0f;
};

QImage ZelImageProcessorAdjustRGBIntensityImpl::result()
{
    const QImage source = zelToPointOperationFormat(sourceImage());
    QImage adjusted = zelBlankLike(source);
    if (!adjusted.isNull()) {
        const std::array<uchar, 256> table = channelTable(myFactor);
        const bool indexed = source.format() == QImage::Format_Indexed8;
        const int width = source.width();
        for (int y = 0; y < source.height(); ++y) {
            if (indexed) {
                const uchar* in = source.constScanLine(y);
                uchar* out = adjusted.scanLine(y);
                for (int x = 0; x < width; ++x)
                    out[x] = table[in[x]];
                continue;
            }
            const QRgb* in = reinterpret_cast<const QRgb*>(source.constScanLine(y));
            QRgb* out = reinterpret_cast<QRgb*>(adjusted.scanLine(y));
            for (int x = 0; x < width; ++x) {
                const QRgb pixel = in[x];
                out[x] = (pixel & 0xFF000000u) | uint(table[qRed(pixel)]) << 16
                    | uint(table[qGreen(pixel)]) << 8 | table[qBlue(pixel)];
            }
        }
    }
    emit finished(false);
    return adjusted;
}

ZelImageProcessorAdjustRGBIntensity::ZelImageProcessorAdjustRGBIntensity(const QImage& image)
    : ZelImageProcessor(image)
{
    installImplementation(new ZelImageProcessorAdjustRGBIntensityImpl(image));
}

void ZelImageProcessorAdjustRGBIntensity::setParameters(double percent)
{
    static_cast<ZelImageProcessorAdjustRGBIntensityImpl*>(myImpl)->setParameters(percent);
}

#include "ZelImageProcessorAdjustRGBIntensity.moc"
