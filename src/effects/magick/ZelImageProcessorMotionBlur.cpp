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
    explicit ZelImageProcessorMotionBlurImpl(const QImage& image)
        : ZelImageProcessorImpl(image, tr("Bewegungsunschärfe"))
    {
        addNumberParameter(kAngle, tr("Winkel"), 0, 0, 360, 0, 0);
        addNumberParameter(kSigma, tr("Stärke"), 1, 1, 10, 1, 0);
    }

public slots:
    QImage result() override
    {
        const double angle = myParameters.value(kAngle).toDouble();
        const double sigma = myParameters.value(kSigma).toDouble();
        return magickResult([&](ZelMagickWandWrapper& magick, const QImage& source) {
            return magick.motionBlur(source, effectiveSigma(sigma, source.size()), angle);
        });
    }

protected:
    QString progressTitle() const override { return QStringLiteral("Bewegungsunschärfe"); }
};

ZelImageProcessorMotionBlur::ZelImageProcessorMotionBlur(const QImage& image)
    : ZelImageProcessor(image)
{
    setProperty("ToolTip", tr("Dieser Effekt vermittelt den Eindruck von Bewegungsunschärfe "));
    setProperty("IconName", QStringLiteral("ico_motion_blur"));
    installImplementation(new ZelImageProcessorMotionBlurImpl(image));
}

#include "ZelImageProcessorMotionBlur.moc"
