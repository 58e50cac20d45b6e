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
    ZelImageProcessorAdjustContrastImpl()
        : ZelImageProcessorImpl(tr("Kontrast und Helligkeit"))
    {
        createParameterDescriptions();
    }
    explicit ZelImageProcessorAdjustContrastImpl(const QImage& image)
        : ZelImageProcessorImpl(image, tr("Kontrast und Helligkeit"))
    {
        createParameterDescriptions();
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

    ZelImageProcessorAdjustContrast* myPublic = nullptr;

public slots:
    QImage result() override
    {
        connectProgressSignalizer();
        const double gammaValue = gamma();
        const int strengthValue = strength();
        const QImage adjusted = createMagickWandWrapper().adjustContrast(sourceImage(), strengthValue, gammaValue);
        disconnectProgressSignalizer();
        emit finished(false);
        return adjusted;
    }
    QImage generatePreview(const QSize& size) override
    {
        return previewWith<ZelImageProcessorAdjustContrast>(sourceImageScaled(size));
    }
    QImage generatePreview(const QRect& rect) override
    {
        return previewWith<ZelImageProcessorAdjustContrast>(sectionOfSourceImage(rect));
    }

protected:
    QString progressTitle() const override { return tr("Kontrast anpassen"); }

private:
    void createParameterDescriptions()
    {
        addNumberParameter(kStrength, tr("Kontrast"), 0, -100, 100, 0, 0);
        addNumberParameter(kGamma, tr("Helligkeit"), 100, 0, 240, 1, 0);
    }
};

ZelImageProcessorAdjustContrast::ZelImageProcessorAdjustContrast()
{
    initImplementation(nullptr);
}

ZelImageProcessorAdjustContrast::ZelImageProcessorAdjustContrast(const QImage& image)
    : ZelImageProcessor(image)
{
    initImplementation(&image);
}

void ZelImageProcessorAdjustContrast::initImplementation(const QImage* image)
{
    setProperty("ToolTip", tr("Kontrast und Helligkeit anpassen "));
    setProperty("IconName", QStringLiteral("ico_contrast"));
    installImplementation<ZelImageProcessorAdjustContrastImpl>(this, image);
}

void ZelImageProcessorAdjustContrast::setGammaAndStrength(double strength, double gamma)
{
    static_cast<ZelImageProcessorAdjustContrastImpl*>(myImpl)->setGammaAndStrength(strength, gamma);
}

void ZelImageProcessorAdjustContrast::cancel() { myImpl->cancel(); }
QImage ZelImageProcessorAdjustContrast::result() { return myImpl->result(); }
QImage ZelImageProcessorAdjustContrast::generatePreview(const QSize& size) { return myImpl->generatePreview(size); }
QImage ZelImageProcessorAdjustContrast::generatePreview(const QRect& rect) { return myImpl->generatePreview(rect); }

#include "ZelImageProcessorAdjustContrast.moc"
