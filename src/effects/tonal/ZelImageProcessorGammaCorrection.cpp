#include "ZelImageProcessorGammaCorrection.h"
#include "ZelImageProcessorImpl_p.h"

namespace {

const QString kGamma = QStringLiteral("Gamma");

} // namespace

class ZelImageProcessorGammaCorrectionImpl : public ZelImageProcessorImpl
{
    Q_OBJECT
public:
    ZelImageProcessorGammaCorrectionImpl()
        : ZelImageProcessorImpl(tr("Gammakorrektur"))
    {
        createParameterDescriptions();
    }
    explicit ZelImageProcessorGammaCorrectionImpl(const QImage& image)
        : ZelImageProcessorImpl(image, tr("Gammakorrektur"))
    {
        createParameterDescriptions();
    }

    double gamma() const { return myParameters.value(kGamma).toInt() / 100.0; }

    ZelImageProcessorGammaCorrection* myPublic = nullptr;

public slots:
    QImage result() override
    {
        connectProgressSignalizer();
        const QImage corrected = createMagickWandWrapper().gammaCorrection(sourceImage(), gamma());
        disconnectProgressSignalizer();
        emit finished(false);
        return corrected;
    }
    QImage generatePreview(const QSize& size) override
    {
        return previewWith<ZelImageProcessorGammaCorrection>(sourceImageScaled(size));
    }
    QImage generatePreview(const QRect& rect) override
    {
        return previewWith<ZelImageProcessorGammaCorrection>(sectionOfSourceImage(rect));
    }

protected:
    QString progressTitle() const override { return tr("Gammakorrektur"); }

private:
    void createParameterDescriptions() { addNumberParameter(kGamma, tr("Gamma"), 100, 1, 100, 0, 0); }
};

ZelImageProcessorGammaCorrection::ZelImageProcessorGammaCorrection()
{
    initImplementation(nullptr);
}

ZelImageProcessorGammaCorrection::ZelImageProcessorGammaCorrection(const QImage& image)
    : ZelImageProcessor(image)
{
    initImplementation(&image);
}

void ZelImageProcessorGammaCorrection::initImplementation(const QImage* image)
{
    setProperty("ToolTip", tr("Gammakorrektur des Fotos "));
    setProperty("IconName", QStringLiteral("ico_wb_gamma"));
    installImplementation<ZelImageProcessorGammaCorrectionImpl>(this, image);
}

void ZelImageProcessorGammaCorrection::cancel() { myImpl->cancel(); }
QImage ZelImageProcessorGammaCorrection::result() { return myImpl->result(); }
QImage ZelImageProcessorGammaCorrection::generatePreview(const QSize& size) { return myImpl->generatePreview(size); }
QImage ZelImageProcessorGammaCorrection::generatePreview(const QRect& rect) { return myImpl->generatePreview(rect); }

#include "ZelImageProcessorGammaCorrection.moc"
