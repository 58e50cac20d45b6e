#include "ZelImageProcessorGammaCorrection.h"
#include "ZelImageProcessorImpl_p.h"

static const QString kGamma = QStringLiteral("Gamma");

class ZelImageProcessorGammaCorrectionImpl : public ZelImageProcessorImpl
{
    Q_OBJECT
public:
    explicit ZelImageProcessorGammaCorrectionImpl(const QImage& image)
        : ZelImageProcessorImpl(image, tr("Gammakorrektur"))
    {
        createParameterDescriptions();
    }

    double gamma() const { return myParameters.value(kGamma).toInt() / 100.0; }

public slots:
    QImage result() override
    {
        return magickResult([&](ZelMagickWandWrapper& magick, const QImage& source) {
            return magick.gammaCorrection(source, gamma());
        });
    }

protected:
    QString progressTitle() const override { return tr("Gammakorrektur"); }

private:
    void createParameterDescriptions() { addNumberParameter(kGamma, tr("Gamma"), 100, 1, 100, 0, 0); }
};

ZelImageProcessorGammaCorrection::ZelImageProcessorGammaCorrection(const QImage& image)
    : ZelImageProcessor(image)
{
    setProperty("ToolTip", tr("Gammakorrektur des Fotos "));
    setProperty("IconName", QStringLiteral("ico_wb_gamma"));
    installImplementation(new ZelImageProcessorGammaCorrectionImpl(image));
}

#include "ZelImageProcessorGammaCorrection.moc"
