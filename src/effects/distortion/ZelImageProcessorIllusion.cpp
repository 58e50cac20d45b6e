#include "ZelImageProcessorIllusion.h"
#include "ZelImageProcessorImpl_p.h"
#include "ZelPixelMath_p.h"
#include "ZelPixelWords_p.h"
#include "ZelPrismWedges_p.h"

#include <cmath>

namespace {

// π as the effect has always written it, to ten decimals.
constexpr double kPi = 3.1415926535;

int clampIndex(int value, int last)
{
    return value < 0 ? 0 : value > last ? last : value;
}

uint blendedChannel(QRgb own, QRgb shifted, double t, int bit)
{
    const int q = int(own >> bit & 0xFF);
    const int p = int(shifted >> bit & 0xFF);
    return uint(qBound(0, static_cast<int>(q + (p - q) * t), 255)) << bit;
}

} // namespace

class ZelImageProcessorIllusionImpl : public ZelImageProcessorImpl
{
    Q_OBJECT
public:
    explicit ZelImageProcessorIllusionImpl(const QImage& image)
        : ZelImageProcessorImpl(image, tr("Prismenlinsen"))
    {
        createParameterDescriptions();
    }

    using ZelImageProcessorImpl::setParameters;
    void setParameters(int sectionCount) { setParameterValue(QStringLiteral("ASectionCount"), sectionCount); }
    void setSectionCount(int sectionCount) { setParameters(sectionCount); }
    int sectionCount() const { return parameterIntValue(QStringLiteral("ASectionCount"), true); }

public slots:
    QImage result() override;
    QImage generatePreview(const QSize& size) override { return previewOn(sourceImageScaled(size)); }
    QImage generatePreview(const QRect& rect) override { return previewOn(sectionOfSourceImage(rect)); }

private:
    void createParameterDescriptions();
    void processRow(QRgb* line, int y, const ZelPrismWedges& wedges, const QImage& converted, bool sampleSource);

    QImage previewOn(const QImage& image) const
    {
        ZelImageProcessorIllusion preview(image);
        preview.setParameters(sectionCount());
        return preview.result();
    }

    double myRadius = 0;
    double myShift = 0;
    double myCentreX = 0;
    double myCentreY = 0;
    double myHalfWedgeAngle = 0;
};

void ZelImageProcessorIllusionImpl::createParameterDescriptions()
{
    addNumberParameter(QStringLiteral("ASectionCount"), tr("Anzahl der Teilstücke"), 3, 0, 360, 0, 0);
}

// A section count of 0 makes θ infinite and every wedge direction NaN: the shifted coordinates
// then end as 0 and the blend still runs.
void ZelImageProcessorIllusionImpl::processRow(QRgb* line, int y, const ZelPrismWedges& wedges, const QImage& converted,
                                               bool sampleSource)
{
    const int width = converted.width();
    const int lastRow = converted.height() - 1;
    const double ny = (y - myCentreY) / myRadius;
    for (int from = 0; from < width;) {
        const int wedge = wedges.wedgeAt(from, ny);
        const int end = wedges.runEnd(from, wedge, ny, wedges.guessedRunEnd(from, wedge, ny));
        const double direction = myHalfWedgeAngle + myHalfWedgeAngle * (double(wedge) + double(wedge));
        const double shiftX = std::cos(direction) * myShift;
        const int sy = clampIndex(zelTruncToInt(y - std::sin(direction) * myShift), lastRow);
        for (int x = from; x <= end; ++x) {
            // The source is fetched anew for every pixel, as the effect always has: a shared
            // copy, so this costs a reference count and sampling reads the untouched source.
            const QImage source = sourceImage();
            const QImage& sampled = sampleSource ? source : converted;
            const int sx = clampIndex(zelTruncToInt(x - shiftX), width - 1);
            const QRgb shifted = reinterpret_cast<const QRgb*>(sampled.constScanLine(sy))[sx];
            const QRgb own = line[x];
            const double nx = (x - myCentreX) / myRadius;
            const double t = std::sqrt(nx * nx + ny * ny);
            line[x] = 0xFF000000u | blendedChannel(own, shifted, t, 16) | blendedChannel(own, shifted, t, 8)
                | blendedChannel(own, shifted, t, 0);
        }
        from = end + 1;
    }
}

QImage ZelImageProcessorIllusionImpl::result()
{
    const QImage source = sourceImage();
    const int width = source.width();
    const int height = source.height();
    myRadius = std::sqrt(double(width) * width + double(height) * height) * 0.5;
    myShift = myRadius * 0.5;
    myCentreX = width * 0.5;
    myCentreY = height * 0.5;
    myHalfWedgeAngle = kPi / sectionCount();

    const QImage converted = zelToPixelWords(source);
    // A copy of its own to write: the source stays intact.
    QImage image = converted.isNull() ? QImage() : zelCopyImage(converted);
    QRgb* const bits = image.isNull() ? nullptr : reinterpret_cast<QRgb*>(image.bits());
    if (!bits) {
        emit finished(true);
        return QImage();
    }
    const qsizetype stride = image.bytesPerLine() / qsizetype(sizeof(QRgb));
    const bool sampleSource = zelIsPixelWordFormat(source.format());
    const ZelPrismWedges wedges(width, myRadius, myCentreX, myHalfWedgeAngle);
    for (int y = 0; y < height; ++y) {
        processRow(bits + y * stride, y, wedges, converted, sampleSource);
        emit progress(QStringLiteral("Prismenlinsen"), QString(), y, height - 1);
        if (resetCancel())
            return source;
    }
    emit finished(true);
    return image;
}

ZelImageProcessorIllusion::ZelImageProcessorIllusion(const QImage& image)
    : ZelImageProcessor(image)
{
    setProperty("ToolTip", tr("Prismenlinse"));
    setProperty("IconName", QStringLiteral("ico_prisma"));
    installImplementation(new ZelImageProcessorIllusionImpl(image));
}

void ZelImageProcessorIllusion::setParameters(int sectionCount)
{
    static_cast<ZelImageProcessorIllusionImpl*>(myImpl)->setParameters(sectionCount);
}

void ZelImageProcessorIllusion::setSectionCount(int sectionCount)
{
    static_cast<ZelImageProcessorIllusionImpl*>(myImpl)->setSectionCount(sectionCount);
}

#include "ZelImageProcessorIllusion.moc"
