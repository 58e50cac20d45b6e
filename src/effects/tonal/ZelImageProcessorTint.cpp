#include "ZelImageProcessorTint.h"
#include "ZelHsvBatch_p.h"
#include "ZelImageProcessorImpl_p.h"
#include "ZelPixelMath_p.h"
#include "ZelTonalImage_p.h"

#include <vector>

namespace {

const QString kHue = QStringLiteral("Hue");
const QString kSaturation = QStringLiteral("Saturation");

int normalizeRGB(int value)
{
    if (value > 254)
        return 255;
    if (value < 1)
        return 0;
    return value;
}

int tintChannel(int value, int target, double fraction)
{
    return normalizeRGB(zelTruncToInt(value + (target - value) * fraction));
}

// The per-pixel step for one hue and fraction, with both of its parts looked up: the target
// colour of the hue for the pixel's saturation and value, by its channel maximum and minimum
// (index max << 8 | min; the pixel's own hue plays no part), and every channel moved toward
// every target channel (index c << 8 | t). QColor's HSV conversion and the double arithmetic
// per pixel would cost several times the rest.
class TintStep
{
public:
    QRgb apply(QRgb pixel) const
    {
        const int red = qRed(pixel);
        const int green = qGreen(pixel);
        const int blue = qBlue(pixel);
        const int max = qMax(red, qMax(green, blue));
        const int min = qMin(red, qMin(green, blue));
        const QRgb target = myTargets[size_t(max << 8 | min)];
        return (pixel & 0xFF000000u) | uint(myMoved[size_t(red << 8 | qRed(target))]) << 16
            | uint(myMoved[size_t(green << 8 | qGreen(target))]) << 8 | myMoved[size_t(blue << 8 | qBlue(target))];
    }

#if ZEL_HAVE_AVX2_PATH
    // apply() of a row, eight pixels at a time.
    ZEL_AVX2_FUNCTION void applyToRowAvx2(const QRgb* source, QRgb* target, int width) const
    {
        using namespace ZelBatch;
        const int end = width / kLanes * kLanes;
        const uint8_t* const moved = myMoved.data();
        for (int x = 0; x < end; x += kLanes) {
            const Ints pixels = load(source + x);
            const Channels c(pixels);
            const Ints colour = Ints(_mm256_i32gather_epi32(reinterpret_cast<const int*>(myTargets.data()),
                                                            __m256i((c.max << 8) | c.min), 4));
            const Ints red = gather(moved, (c.red << 8) | ((colour >> 16) & 0xFF));
            const Ints green = gather(moved, (c.green << 8) | ((colour >> 8) & 0xFF));
            const Ints blue = gather(moved, (c.blue << 8) | (colour & 0xFF));
            store(target + x, (pixels & int(0xFF000000u)) | (red << 16) | (green << 8) | blue);
        }
        for (int x = end; x < width; ++x)
            target[x] = apply(source[x]);
    }
#endif

    void setHue(int hue)
    {
        if (!myTargets.empty() && hue == myHue)
            return;
        const uint8_t* const saturations = zelHsvSaturationTable();
        myTargets.assign(256 * 256, 0);
        for (int max = 0; max < 256; ++max)
            for (int min = 0; min <= max; ++min)
                myTargets[size_t(max << 8 | min)] = zelHsvToRgb(hue, saturations[max << 8 | min], max);
        myHue = hue;
    }

    void setFraction(double fraction)
    {
        if (!myMoved.empty() && fraction == myFraction)
            return;
        // Four bytes more: the AVX2 gather reads a word per entry.
        myMoved.assign(256 * 256 + 4, 0);
        for (int c = 0; c < 256; ++c)
            for (int t = 0; t < 256; ++t)
                myMoved[size_t(c << 8 | t)] = uint8_t(tintChannel(c, t, fraction));
        myFraction = fraction;
    }

private:
    std::vector<QRgb> myTargets;
    std::vector<uint8_t> myMoved;
    int myHue = 0;
    double myFraction = 0;
};

} // namespace

class ZelImageProcessorTintImpl : public ZelImageProcessorImpl
{
    Q_OBJECT
public:
    explicit ZelImageProcessorTintImpl(const QImage& image)
        : ZelImageProcessorImpl(image, tr("Einfärben"))
    {
        createParameterDescriptions();
    }

    using ZelImageProcessorImpl::setParameters;
    void setParameters(double hue, double saturation)
    {
        setParameterValue(kHue, zelTruncToInt(hue));
        setParameterValue(kSaturation, zelTruncToInt(saturation * 100));
    }
    int hue() const { return myParameters.value(kHue).toInt(); }
    double saturation() const { return myParameters.value(kSaturation).toInt() / 100.0; }

    // The pixel moved toward the colour of its own saturation and value with the given hue (in
    // degrees, truncated) by the given fraction.
    QRgb hsvCorrectPixel(const unsigned int* pixel, const double& hue, const double& saturation);

public slots:
    QImage result() override;

protected:
    QString progressTitle() const override { return tr("Einfärben"); }

private:
    void createParameterDescriptions();
    const TintStep& step(int hue, double fraction);

    // Kept while hue and fraction stay the same.
    TintStep myStep;
};

void ZelImageProcessorTintImpl::createParameterDescriptions()
{
    addNumberParameter(kSaturation, tr("Farbfilter"), 0, 1, 100, 0, 0);

    addNumberParameter(kHue, tr("Farbton"), 0, 1, 359, 1, 0);
}

const TintStep& ZelImageProcessorTintImpl::step(int hue, double fraction)
{
    myStep.setHue(hue);
    myStep.setFraction(fraction);
    return myStep;
}

QRgb ZelImageProcessorTintImpl::hsvCorrectPixel(const unsigned int* pixel, const double& hue, const double& saturation)
{
    return step(zelTruncToInt(hue), saturation).apply(*pixel);
}

QImage ZelImageProcessorTintImpl::result()
{
    const QImage source = zelToPixelWords(sourceImage());
    QImage tinted = zelBlankLike(source);
    if (!tinted.isNull()) {
        const TintStep& tint = step(hue(), saturation());
        const int width = source.width();
        [[maybe_unused]] const bool avx2 = zelBatchUsesAvx2();
        for (int y = 0; y < source.height(); ++y) {
            const QRgb* in = reinterpret_cast<const QRgb*>(source.constScanLine(y));
            QRgb* out = reinterpret_cast<QRgb*>(tinted.scanLine(y));
#if ZEL_HAVE_AVX2_PATH
            if (avx2) {
                tint.applyToRowAvx2(in, out, width);
                continue;
            }
#endif
            for (int x = 0; x < width; ++x)
                out[x] = tint.apply(in[x]);
        }
    }
    emit finished(false);
    return tinted;
}

ZelImageProcessorTint::ZelImageProcessorTint(const QImage& image)
    : ZelImageProcessor(image)
{
    installImplementation(new ZelImageProcessorTintImpl(image));
}

void ZelImageProcessorTint::setParameters(double hue, double saturation)
{
    static_cast<ZelImageProcessorTintImpl*>(myImpl)->setParameters(hue, saturation);
}

#include "ZelImageProcessorTint.moc"
