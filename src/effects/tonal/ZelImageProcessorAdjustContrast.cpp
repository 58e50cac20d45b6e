#include "ZelImageProcessorAdjustContrast.h"
#include "ZelImageProcessorImpl_p.h"
#include "ZelPixelMath_p.h"

namespace {

const QString kStrength = QStringLiteral("Strength");
const QString kGamma = QStringLiteral("Gamma");

} // namespace

class ZelImageProcessorAdjustContrastImpl : public ZelImageProcessorImpl
{
    Q_OBJECT
public:
    explicit ZelImageProcessorAdjustContrastImpl(const QImage& image)
        : ZelImageProcessorImpl(image, tr("Kontrast und Helligkeit"))
    {
        addNumberParameter(kStrength, tr("Kontrast"), 0, -100, 100, 0, 0);
        addNumberParameter(kGamma, tr("Helligkeit"), 100, 0, 240, 1, 0);
    }

    Q_INVOKABLE void setGammaAndStrength(double strength, double gamma)
    {
        const int strengthValue = zelTruncToInt(strength);
        const int gammaValue = zelTruncToInt(gamma * 100);
        setParameterValue(kStrength, strengthValue);
        setParameterDefaultValue(kStrength, strengthValue);
        setParameterValue(kGamma, gammaValue);
        setParameterDefaultValue(kGamma, gammaValue);
    }
    int strength() const { return myParameters.value(kStrength).toInt(); }
    double gamma() const { return myParameters.value(kGamma).toInt() / 100.0; }

public slots:
    QImage result() override
    {
        return magickResult([&](ZelMagickWandWrapper& magick, const QImage& source) {
            return magick.adjustContrast(source, strength(), gamma());
        });
    }

protected:
    QString progressTitle() const override { return tr("Kontrast anpassen"); }
};

ZelImageProcessorAdjustContrast::ZelImageProcessorAdjustContrast(const QImage& image)
    : ZelImageProcessor(image)
{
    setProperty("ToolTip", tr("Kontrast und Helligkeit anpassen "));
    setProperty("IconName", QStringLiteral("ico_contrast"));
    installImplementation(new ZelImageProcessorAdjustContrastImpl(image));
}

void ZelImageProcessorAdjustContrast::setGammaAndStrength(double strength, double gamma)
{
    static_cast<ZelImageProcessorAdjustContrastImpl*>(myImpl)->setGammaAndStrength(strength, gamma);
}

#include "ZelImageProcessorAdjustContrast.moc"
