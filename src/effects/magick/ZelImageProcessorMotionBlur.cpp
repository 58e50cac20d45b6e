#include "ZelImageProcessorMotionBlur.h"
#include "ZelImageProcessorImpl_p.h"

namespace {

const QString kAngle = QStringLiteral("Angle");
const QString kSigma = QStringLiteral("Sigma");

// ImageMagick blurs along a line of 12 sigma taps, where every tap past the picture's edge (at
// most width + height taps away) repeats the edge pixel. From a sigma of 512 (width + height) on,
// the taps inside carry less than 1/640 of the weight: under half a level.
double effectiveSigma(double sigma, const QSize& size)
{
    const double limit = 512.0 * (double(size.width()) + size.height());
    return qBound(-limit, sigma, limit);
}

} // namespace

class ZelImageProcessorMotionBlurImpl : public ZelImageProcessorImpl
{
    Q_OBJECT
public:
    ZelImageProcessorMotionBlurImpl()
        : ZelImageProcessorImpl(tr("Bewegungsunschärfe"))
    {
        createParameterDescriptions();
    }
    explicit ZelImageProcessorMotionBlurImpl(const QImage& image)
        : ZelImageProcessorImpl(image, tr("Bewegungsunschärfe"))
    {
        createParameterDescriptions();
    }

public slots:
    QImage result() override
    {
        connectProgressSignalizer();
        const double angle = myParameters.value(kAngle).toDouble();
        const double sigma = myParameters.value(kSigma).toDouble();
        const QImage source = sourceImage();
        const QImage blurred = createMagickWandWrapper().motionBlur(source, effectiveSigma(sigma, source.size()), angle);
        disconnectProgressSignalizer();
        emit finished(false);
        return blurred;
    }
    QImage generatePreview(const QSize& size) override
    {
        return previewWith<ZelImageProcessorMotionBlur>(sourceImageScaled(size));
    }
    QImage generatePreview(const QRect& rect) override
    {
        return previewWith<ZelImageProcessorMotionBlur>(sectionOfSourceImage(rect));
    }

protected:
    QString progressTitle() const override { return QStringLiteral("Bewegungsunschärfe"); }

private:
    void createParameterDescriptions()
    {
        addNumberParameter(kAngle, tr("Winkel"), 0, 0, 360, 0, 0);
        addNumberParameter(kSigma, tr("Stärke"), 1, 1, 10, 1, 0);
    }

public:
    ZelImageProcessorMotionBlur* myPublic = nullptr;
};

ZelImageProcessorMotionBlur::ZelImageProcessorMotionBlur()
{
    initImplementation(nullptr);
}

ZelImageProcessorMotionBlur::ZelImageProcessorMotionBlur(const QImage& image)
    : ZelImageProcessor(image)
{
    initImplementation(&image);
}

void ZelImageProcessorMotionBlur::initImplementation(const QImage* image)
{
    setProperty("ToolTip", tr("Dieser Effekt vermittelt den Eindruck von Bewegungsunschärfe "));
    setProperty("IconName", QStringLiteral("ico_motion_blur"));
    installImplementation<ZelImageProcessorMotionBlurImpl>(this, image);
}

void ZelImageProcessorMotionBlur::cancel() { myImpl->cancel(); }
QImage ZelImageProcessorMotionBlur::result() { return myImpl->result(); }
QImage ZelImageProcessorMotionBlur::generatePreview(const QSize& size) { return myImpl->generatePreview(size); }
QImage ZelImageProcessorMotionBlur::generatePreview(const QRect& rect) { return myImpl->generatePreview(rect); }

#include "ZelImageProcessorMotionBlur.moc"
