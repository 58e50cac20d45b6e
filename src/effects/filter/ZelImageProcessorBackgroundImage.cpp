#include "ZelImageProcessorBackgroundImage.h"
#include "ZelImageProcessorImpl_p.h"
#include "ZelParameterDescriptionNumber.h"
#include "ZelProgressSignalizer.h"

#include <cmath>

namespace {

const QString kSaturation = QStringLiteral("ASaturation");
const QString kUnsharpen = QStringLiteral("BUnsharpen");
const QString kWhiteRatio = QStringLiteral("CWhiteRatio");

constexpr int kMaximumStep = 10;

} // namespace

class ZelImageProcessorBackgroundImageImpl : public ZelImageProcessorImpl
{
    Q_OBJECT
public:
    explicit ZelImageProcessorBackgroundImageImpl(const QImage& image)
        : ZelImageProcessorImpl(image, tr("Weichzeichner"))
    {
        addStep(kSaturation, tr("Entsättigen"), 0);
        addStep(kUnsharpen, tr("Unschärfe"), 1);
        addStep(kWhiteRatio, tr("Nach weiß ausblenden"), 2);
    }

    using ZelImageProcessorImpl::setParameters;
    void setParameters(int whiteRatio, int unsharpen, int saturation)
    {
        setParameterValue(kWhiteRatio, whiteRatio);
        setParameterValue(kUnsharpen, unsharpen);
        setParameterValue(kSaturation, saturation);
    }

    int whiteRatio() const { return parameterIntValue(kWhiteRatio, true); }
    int unsharpenStrength() const { return parameterIntValue(kUnsharpen, true); }
    int saturationStrength() const { return parameterIntValue(kSaturation, true); }
    int unsharpenStrengthDenormalized() const
    {
        const double steps = qBound(0, unsharpenStrength(), kMaximumStep);
        const double side = std::sqrt(double(mySourceImage.width()) * double(mySourceImage.height()));
        return qRound(side * (steps / 10.0) / 25.0);
    }

public slots:
    QImage result() override
    {
        connectProgressSignalizer();
        const int saturation = saturationStrength();
        const int unsharpen = unsharpenStrengthDenormalized();
        const int white = whiteRatio();
        const QImage background = createMagickWandWrapper().blur(sourceImage(), white, unsharpen, saturation);
        myProgressSignalizer->setCancelAllowed(true);
        emit finished(false);
        disconnectProgressSignalizer();
        return background;
    }

protected:
    QString progressTitle() const override { return tr("Weichzeichner"); }

    void addStep(const QString& key, const QString& visibleName, int row)
    {
        ZelParameterDescriptionNumber step;
        step.setParameterName(key);
        step.setVisibleName(visibleName);
        step.setValue(0);
        step.setDefaultValue(0);
        step.setRange(0, kMaximumStep);
        step.setCheckable(true);
        step.setEnabled(true);
        addParameter(key, step, row, 0);
    }
};

ZelImageProcessorBackgroundImage::ZelImageProcessorBackgroundImage(const QImage& image)
    : ZelImageProcessor(image)
{
    // The trailing blank is part of the source text the translation catalogues look up.
    setProperty("ToolTip", tr("Hintergrundbild erzeugen "));
    setProperty("IconName", QStringLiteral("ico_blur"));
    installImplementation(new ZelImageProcessorBackgroundImageImpl(image));
}

namespace {
ZelImageProcessorBackgroundImageImpl* backgroundImpl(ZelImageProcessorImpl* impl)
{
    return static_cast<ZelImageProcessorBackgroundImageImpl*>(impl);
}
} // namespace

void ZelImageProcessorBackgroundImage::setParameters(int whiteRatio, int unsharpen, int saturation)
{
    backgroundImpl(myImpl)->setParameters(whiteRatio, unsharpen, saturation);
}

int ZelImageProcessorBackgroundImage::whiteRatio() const { return backgroundImpl(myImpl)->whiteRatio(); }
int ZelImageProcessorBackgroundImage::unsharpenStrength() const { return backgroundImpl(myImpl)->unsharpenStrength(); }
int ZelImageProcessorBackgroundImage::saturationStrength() const { return backgroundImpl(myImpl)->saturationStrength(); }
int ZelImageProcessorBackgroundImage::unsharpenStrengthDenormalized() const
{
    return backgroundImpl(myImpl)->unsharpenStrengthDenormalized();
}

#include "ZelImageProcessorBackgroundImage.moc"
