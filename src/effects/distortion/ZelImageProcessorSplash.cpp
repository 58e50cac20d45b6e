#include "ZelImageProcessorSplash.h"
#include "ZelImageProcessorImpl_p.h"
#include "ZelPixelWords_p.h"

#include <cstdlib>

namespace {

// rand() % density + (position - density / 2), in 64 bits so that densities far outside their
// range cannot overflow.
qint64 sprayedCoordinate(int position, int density)
{
    return qint64(std::rand() % density) + (qint64(position) - density / 2);
}

// The upper bound first, then the lower one.
int clampCoordinate(qint64 value, int last)
{
    if (value > last)
        value = last;
    if (value < 0)
        value = 0;
    return int(value);
}

} // namespace

class ZelImageProcessorSplashImpl : public ZelImageProcessorImpl
{
    Q_OBJECT
public:
    explicit ZelImageProcessorSplashImpl(const QImage& image)
        : ZelImageProcessorImpl(image, tr("Sprüheffekt"))
    {
        createParameterDescriptions();
    }

    using ZelImageProcessorImpl::setParameters;
    void setParameters(int density) { parameters().setValue(QStringLiteral("ADensity"), density); }
    int density() const { return myParameters.value(QStringLiteral("ADensity")).toInt(); }

public slots:
    QImage result() override { return applySplash(sourceImage(), density()); }
    QImage generatePreview(const QSize& size) override { return previewOn(sourceImageScaled(size)); }
    QImage generatePreview(const QRect& rect) override { return previewOn(sectionOfSourceImage(rect)); }

private:
    void createParameterDescriptions();
    QImage applySplash(const QImage& source, int density);

    QImage previewOn(const QImage& image) const
    {
        ZelImageProcessorSplash preview(image);
        preview.setParameters(density());
        return preview.result();
    }
};

void ZelImageProcessorSplashImpl::createParameterDescriptions()
{
    addNumberParameter(QStringLiteral("ADensity"), tr("Stärke"), 10, 0, 100, 0, 0);
}

QImage ZelImageProcessorSplashImpl::applySplash(const QImage& source, int density)
{
    if (density == 0)
        return source;
    const QImage words = zelToPixelWords(source);
    QImage out = words.isNull() ? QImage() : zelCopyImage(words);
    if (out.isNull()) {
        emit finished(true);
        return QImage();
    }
    const int width = words.width();
    const int height = words.height();
    const uchar* const in = words.constBits();
    const qsizetype bytesPerLine = words.bytesPerLine();
    const QRgb alphaMask = zelPixelWordAlphaMask(words);
    for (int y = 0; y < height; ++y) {
        QRgb* const line = reinterpret_cast<QRgb*>(out.scanLine(y));
        for (int x = 0; x < width; ++x) {
            // Two calls per pixel, x first: the order is part of the result.
            const int sx = clampCoordinate(sprayedCoordinate(x, density), width - 1);
            const int sy = clampCoordinate(sprayedCoordinate(y, density), height - 1);
            line[x] = reinterpret_cast<const QRgb*>(in + sy * bytesPerLine)[sx] | alphaMask;
        }
        emit progress(QStringLiteral("Splash"), QString(), y, height - 1);
        if (resetCancel())
            return source;
    }
    emit finished(true);
    return out;
}

ZelImageProcessorSplash::ZelImageProcessorSplash(const QImage& image)
    : ZelImageProcessor(image)
{
    setProperty("ToolTip", tr("Sprüheffekt"));
    setProperty("IconName", QStringLiteral("ico_spray"));
    installImplementation(new ZelImageProcessorSplashImpl(image));
}

void ZelImageProcessorSplash::setParameters(int density)
{
    static_cast<ZelImageProcessorSplashImpl*>(myImpl)->setParameters(density);
}

#include "ZelImageProcessorSplash.moc"
