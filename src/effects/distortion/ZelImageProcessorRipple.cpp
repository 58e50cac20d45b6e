#include "ZelImageProcessorRipple.h"
#include "ZelBilinearPixel_p.h"
#include "ZelImageProcessorImpl_p.h"
#include "ZelPixelMath_p.h"
#include "ZelPixelWords_p.h"

#include <algorithm>
#include <cmath>
#include <memory>
#include <new>
#include <vector>

namespace {

constexpr double kTwoPi = 6.283185307179586;
constexpr QRgb kOutside = 0x00FFFFFFu;

// Where each pixel of an image of this size samples from. The offset d depends on dx² and dy²
// only, so it is the same, bit for bit, for the pixels x and width - x of a row and for the rows y
// and height - y: (x - cx) of the one is exactly the negated (x - cx) of the other. So d is
// computed once per quadrant pixel: the rows of the upper half fill a table of the left half's
// offsets, which the lower half reads back (or, if the table cannot be allocated, each row
// computes its left half).
class RippleField
{
public:
    RippleField(int width, int height, int waveLength, int amplitude)
        : myWidth(width)
        , myHeight(height)
        , myFactorX(width < height ? double(height) / width : 1.0)
        , myFactorY(width > height ? double(width) / height : 1.0)
        , myCentreX(0.5 * width)
        , myCentreY(0.5 * height)
        , myWaveLength(waveLength)
        , myAmplitude(amplitude)
        , myDeltaX(width)
        , myOffsets(width / 2 + 1)
        , mySamples(width)
        , myQuadrant(new (std::nothrow) double[size_t(height / 2 + 1) * size_t(width / 2 + 1)])
    {
        for (int x = 0; x < width; ++x)
            myDeltaX[x] = (x - myCentreX) * myFactorX;
    }

    // Samples every pixel of row y from image, the image being written, and writes the row.
    void processRow(QRgb* image, int stride, int y, bool alpha)
    {
        // At most one axis is stretched; dividing by a factor of exactly 1 changes nothing, so
        // only the stretched axis divides.
        if (myFactorX != 1.0)
            processRow<true, false>(image, stride, y, alpha);
        else if (myFactorY != 1.0)
            processRow<false, true>(image, stride, y, alpha);
        else
            processRow<false, false>(image, stride, y, alpha);
    }

private:
    struct Sample
    {
        double x;
        double y;
    };

    // Samples hop between rows as the rings swing, so most of them miss the cache: the row's
    // sample positions are computed first, and each pixel's corners are fetched ahead.
    template <bool stretchedX, bool stretchedY>
    void processRow(QRgb* image, int stride, int y, bool alpha)
    {
        const double dy = (y - myCentreY) * myFactorY;
        const double* offsets = rowOffsets(y, dy);
        const int half = myWidth / 2;
        for (int x = 0; x <= half; ++x)
            mySamples[x] = sample<stretchedX, stretchedY>(myDeltaX[x], dy, offsets[x]);
        for (int x = half + 1; x < myWidth; ++x)
            mySamples[x] = sample<stretchedX, stretchedY>(myDeltaX[x], dy, offsets[myWidth - x]);
        QRgb* line = image + qsizetype(y) * stride;
        const int prefetched = std::max(0, myWidth - kLookAhead);
        for (int x = 0; x < prefetched; ++x) {
            prefetch(image, stride, mySamples[x + kLookAhead]);
            line[x] = processPixel(image, stride, mySamples[x], alpha);
        }
        for (int x = prefetched; x < myWidth; ++x)
            line[x] = processPixel(image, stride, mySamples[x], alpha);
    }

    // d for the columns 0 .. width / 2 of row y.
    const double* rowOffsets(int y, double dy)
    {
        const int half = myWidth / 2;
        const bool upperHalf = y <= myHeight / 2;
        double* offsets = myQuadrant ? myQuadrant.get() + size_t(upperHalf ? y : myHeight - y) * size_t(half + 1)
                                     : myOffsets.data();
        if (upperHalf || !myQuadrant) {
            for (int x = 0; x <= half; ++x)
                offsets[x] = offset(myDeltaX[x], dy);
        }
        return offsets;
    }

    double offset(double dx, double dy) const
    {
        const double r = std::sqrt(dx * dx + dy * dy);
        return std::sin(r * kTwoPi / myWaveLength) * myAmplitude;
    }

    // min(value, last), then max(.., 0); NaN (from a wavelength of 0) ends as 0.
    static double clampCoordinate(double value, int last)
    {
        if (!(value > 0.0))
            return 0.0;
        return value < last ? value : last;
    }

    // The same d is added to both coordinates, so pixels move along the diagonal rather than the
    // radius: deliberate, it gives the rings their look.
    template <bool stretchedX, bool stretchedY>
    Sample sample(double dx, double dy, double d) const
    {
        return {clampCoordinate((stretchedX ? (dx + d) / myFactorX : dx + d) + myCentreX, myWidth - 1),
                clampCoordinate((stretchedY ? (dy + d) / myFactorY : dy + d) + myCentreY, myHeight - 1)};
    }

    void prefetch(const QRgb* image, int stride, Sample at) const
    {
        const int x0 = static_cast<int>(at.x);
        const int y0 = static_cast<int>(at.y);
        const QRgb* row0 = image + qsizetype(y0) * stride + x0;
        __builtin_prefetch(row0);
        __builtin_prefetch(row0 + (y0 + 1 < myHeight ? stride : 0));
    }

    QRgb processPixel(const QRgb* image, int stride, Sample at, bool alpha) const
    {
        const int x0 = static_cast<int>(at.x);
        const int y0 = static_cast<int>(at.y);
        const bool rightInside = x0 + 1 < myWidth;
        const QRgb* row0 = image + qsizetype(y0) * stride + x0;
        const QRgb p00 = row0[0];
        const QRgb p10 = rightInside ? row0[1] : kOutside;
        QRgb p01 = kOutside;
        QRgb p11 = kOutside;
        if (y0 + 1 < myHeight) {
            const QRgb* row1 = row0 + stride;
            p01 = row1[0];
            p11 = rightInside ? row1[1] : kOutside;
        }
        return getBilinearPixel(at.x - x0, at.y - y0, alpha, p00, p10, p01, p11);
    }

    static constexpr int kLookAhead = 16;

    const int myWidth;
    const int myHeight;
    const double myFactorX;
    const double myFactorY;
    const double myCentreX;
    const double myCentreY;
    const double myWaveLength;
    const double myAmplitude;
    std::vector<double> myDeltaX;
    std::vector<double> myOffsets;
    std::vector<Sample> mySamples;
    std::unique_ptr<double[]> myQuadrant;
};

} // namespace

class ZelImageProcessorRippleImpl : public ZelImageProcessorImpl
{
    Q_OBJECT
public:
    explicit ZelImageProcessorRippleImpl(const QImage& image)
        : ZelImageProcessorImpl(image, tr("Wasserringe"))
    {
        createParameterDescriptions();
    }

    using ZelImageProcessorImpl::setParameters;
    void setParameters(int waveLength, int amplitude)
    {
        parameters().setValue(QStringLiteral("AWaveLength"), waveLength);
        parameters().setValue(QStringLiteral("BAmplitude"), amplitude);
        updateAmplitude();
        updateWavelength();
    }

public slots:
    QImage result() override;
    QImage generatePreview(const QSize& size) override { return previewOn(sourceImageScaled(size)); }
    QImage generatePreview(const QRect& rect) override { return previewOn(sectionOfSourceImage(rect)); }

protected:
    QString progressTitle() const override { return tr("Wasserringe"); }

private:
    void createParameterDescriptions();
    // Percent of the longer side of the source, truncated.
    int pixelsOfLongerSide(const QString& key) const
    {
        const QImage& source = mySourceImage;
        const int longer = qMax(source.width(), source.height());
        return zelTruncToInt(myParameters.value(key).toInt() * (longer * 0.01));
    }
    void updateAmplitude() { myAmplitudeInPixels = pixelsOfLongerSide(QStringLiteral("BAmplitude")); }
    void updateWavelength() { myWaveLengthInPixels = pixelsOfLongerSide(QStringLiteral("AWaveLength")); }

    QImage previewOn(const QImage& image) const
    {
        ZelImageProcessorRipple preview(image);
        preview.setParameters(myParameters.value(QStringLiteral("AWaveLength")).toInt(),
                              myParameters.value(QStringLiteral("BAmplitude")).toInt());
        return preview.result();
    }

    int myWaveLengthInPixels = 0;
    int myAmplitudeInPixels = 0;
};

void ZelImageProcessorRippleImpl::createParameterDescriptions()
{
    addNumberParameter(QStringLiteral("AWaveLength"), tr("Wellenlänge"), 1, 0, 100, 0, 0);

    addNumberParameter(QStringLiteral("BAmplitude"), tr("Amplitude"), 1, 1, 100, 1, 0);

    updateAmplitude();
    updateWavelength();
}

QImage ZelImageProcessorRippleImpl::result()
{
    updateAmplitude();
    updateWavelength();
    const QImage source = sourceImage();
    // A copy of its own to write: the source stays intact.
    QImage image = zelWritablePixelWords(source);
    QRgb* const bits = image.isNull() ? nullptr : reinterpret_cast<QRgb*>(image.bits());
    if (!bits) {
        emit finished(true);
        return QImage();
    }
    const int height = image.height();
    const int stride = image.bytesPerLine() / int(sizeof(QRgb));
    const bool alpha = image.hasAlphaChannel();
    RippleField field(image.width(), height, myWaveLengthInPixels, myAmplitudeInPixels);
    for (int y = 0; y < height; ++y) {
        // Samples are read from the image being written, so earlier rows and the row's earlier
        // pixels are read back in their new values: deliberate, it shapes the result.
        field.processRow(bits, stride, y, alpha);
        emitProgress(y, height - 1);
        if (resetCancel())
            return source;
    }
    emit finished(true);
    return image;
}

ZelImageProcessorRipple::ZelImageProcessorRipple(const QImage& image)
    : ZelImageProcessor(image)
{
    setProperty("ToolTip", tr("Wasserringe"));
    setProperty("IconName", QStringLiteral("ico_water_wave"));
    installImplementation(new ZelImageProcessorRippleImpl(image));
}

void ZelImageProcessorRipple::setParameters(int waveLength, int amplitude)
{
    static_cast<ZelImageProcessorRippleImpl*>(myImpl)->setParameters(waveLength, amplitude);
}

#include "ZelImageProcessorRipple.moc"
