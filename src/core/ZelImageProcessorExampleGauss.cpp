#include "ZelImageProcessorExampleGauss.h"
#include "ZelImageProcessorImpl_p.h"
#include "ZelPixelMath_p.h"
#include "ZelPixelWords_p.h"

#include <QVector>

#include <cmath>
#include <cstdint>
#include <limits>

namespace {

// A radius beyond this is refused (the source is returned unchanged): its kernel alone would
// not fit in memory.
constexpr int kMaximumRadius = 1 << 20;

// One pass of the separable filter over `count` pixels at `stride` words apart. A tap whose
// neighbour lies outside the line reads the centre pixel instead; those taps are summed
// beforehand (prefix and suffix sums of the kernel), which is exact because the channel sums
// are unsigned and wrap modulo 2^32 whatever the grouping.
class FilterLine
{
public:
    FilterLine(const QVector<int>& kernel, double norm)
        : myKernel(kernel), myNorm(norm), myPrefix(kernel.size() + 1, 0)
    {
        for (int k = 0; k < kernel.size(); ++k)
            myPrefix[k + 1] = myPrefix[k] + static_cast<uint32_t>(kernel[k]);
    }

    void apply(const QRgb* in, QRgb* out, int count, int stride) const
    {
        const int taps = myKernel.size();
        const int half = taps / 2;
        const uint32_t total = myPrefix[taps];
        for (int i = 0; i < count; ++i) {
            const int firstInside = qMax(0, half - i);
            const int lastInside = qMin(taps - 1, count - 1 - i + half);
            const QRgb centre = in[i * stride];
            uint32_t outsideWeight = total;
            uint32_t red = 0, green = 0, blue = 0;
            if (firstInside <= lastInside) {
                outsideWeight = total - (myPrefix[lastInside + 1] - myPrefix[firstInside]);
                const QRgb* neighbour = in + (i - half + firstInside) * stride;
                for (int k = firstInside; k <= lastInside; ++k, neighbour += stride) {
                    const uint32_t tap = static_cast<uint32_t>(myKernel[k]);
                    red += qRed(*neighbour) * tap;
                    green += qGreen(*neighbour) * tap;
                    blue += qBlue(*neighbour) * tap;
                }
            }
            red += qRed(centre) * outsideWeight;
            green += qGreen(centre) * outsideWeight;
            blue += qBlue(centre) * outsideWeight;
            out[i * stride] = 0xFF000000u | channel(red) << 16 | channel(green) << 8 | channel(blue);
        }
    }

private:
    uint32_t channel(uint32_t sum) const { return zelClampToUInt32(sum * myNorm) & 0xFF; }

    const QVector<int>& myKernel;
    const double myNorm;
    QVector<uint32_t> myPrefix;
};

} // namespace

class ZelImageProcessorExampleGaussImpl : public ZelImageProcessorImpl
{
    Q_OBJECT
public:
    explicit ZelImageProcessorExampleGaussImpl(const QImage& image)
        : ZelImageProcessorImpl(image, QString())
    {
    }

    void setSigmaAndBoxSize(double sigma, int boxSize)
    {
        mySigma = sigma;
        myBoxSize = boxSize > 0 ? boxSize : zelTruncToInt(sigma * 3.0);
    }

public slots:
    QImage result() override;

private:
    static void constructFilter(double sigma, int radius, QVector<int>& kernel, double& norm);
    QImage applyFilterAlongXDirection(const QImage& image, const double& norm, const QVector<int>& kernel);
    QImage applyFilterAlongYDirection(const QImage& image, const double& norm, const QVector<int>& kernel);

    double mySigma = 1.0;
    int myBoxSize = 3;
};

// Integer taps: the Gaussian scaled by the power of ten that makes its smallest tap whole or at
// least 1000.
void ZelImageProcessorExampleGaussImpl::constructFilter(double sigma, int radius, QVector<int>& kernel,
                                                        double& norm)
{
    const int taps = 2 * radius + 1;
    QVector<double> gauss(qMax(taps, 0));
    kernel.resize(gauss.size());
    double smallest = std::numeric_limits<float>::max();
    for (int i = 0; i < taps; ++i) {
        gauss[i] = std::exp(-0.5 * (radius - i) * (radius - i) / (sigma * sigma));
        if (gauss[i] < smallest)
            smallest = gauss[i];
    }
    double scale = 1.0;
    while (std::fmod(smallest, 1.0) > 0 && smallest < 1000) {
        smallest *= 10;
        scale *= 10;
    }
    double sum = 0;
    for (int i = 0; i < taps; ++i) {
        kernel[i] = zelTruncToInt(scale * gauss[i]);
        sum += kernel[i];
    }
    norm = 1.0 / sum;
}

QImage ZelImageProcessorExampleGaussImpl::applyFilterAlongXDirection(const QImage& image, const double& norm,
                                                                     const QVector<int>& kernel)
{
    QImage filtered = zelNewImage(image.size(), image.format());
    if (filtered.isNull())
        return image;
    const FilterLine filter(kernel, norm);
    for (int y = 0; y < image.height(); ++y) {
        if (isCancelled())
            return image;
        filter.apply(reinterpret_cast<const QRgb*>(image.constScanLine(y)),
                     reinterpret_cast<QRgb*>(filtered.scanLine(y)), image.width(), 1);
    }
    return filtered;
}

QImage ZelImageProcessorExampleGaussImpl::applyFilterAlongYDirection(const QImage& image, const double& norm,
                                                                     const QVector<int>& kernel)
{
    QImage filtered = zelNewImage(image.size(), image.format());
    if (filtered.isNull())
        return image;
    const FilterLine filter(kernel, norm);
    const int stride = image.bytesPerLine() / 4;
    const QRgb* in = reinterpret_cast<const QRgb*>(image.constBits());
    QRgb* out = reinterpret_cast<QRgb*>(filtered.bits());
    for (int x = 0; x < image.width(); ++x) {
        if (isCancelled())
            return image;
        filter.apply(in + x, out + x, image.height(), stride);
    }
    return filtered;
}

QImage ZelImageProcessorExampleGaussImpl::result()
{
    const QImage source = zelToPixelWords(sourceImage());
    QImage blurred = source;
    if (!source.isNull() && myBoxSize <= kMaximumRadius) {
        QVector<int> kernel;
        double norm = 0;
        constructFilter(mySigma, myBoxSize, kernel, norm);
        blurred = applyFilterAlongYDirection(applyFilterAlongXDirection(source, norm, kernel), norm, kernel);
    }
    emit finished(!isCancelled());
    if (resetCancel())
        return sourceImage();
    return blurred;
}

ZelImageProcessorExampleGauss::ZelImageProcessorExampleGauss(const QImage& image)
    : ZelImageProcessor(image)
{
    installImplementation(new ZelImageProcessorExampleGaussImpl(image));
}

void ZelImageProcessorExampleGauss::setSigmaAndBoxSize(double sigma, int boxSize)
{
    static_cast<ZelImageProcessorExampleGaussImpl*>(myImpl)->setSigmaAndBoxSize(sigma, boxSize);
}

#include "ZelImageProcessorExampleGauss.moc"
