#include "ZelImageProcessorImplode.h"
#include "ZelImageProcessorImpl_p.h"

namespace {

const QString kStrength = QStringLiteral("Strength");

} // namespace

class ZelImageProcessorImplodeImpl : public ZelImageProcessorImpl
{
    Q_OBJECT
public:
    ZelImageProcessorImplodeImpl()
        : ZelImageProcessorImpl(tr("Implosion"))
    {
        createParameterDescriptions();
    }
    explicit ZelImageProcessorImplodeImpl(const QImage& image)
        : ZelImageProcessorImpl(image, tr("Implosion"))
    {
        createParameterDescriptions();
    }

    int strength() const { return parameterIntValue(kStrength, false); }

public slots:
    QImage result() override
    {
        connectProgressSignalizer();
        const QImage source = sourceImage();
        const QImage imploded = createMagickWandWrapper().implode(source, strength());
        disconnectProgressSignalizer();
        emit finished(false);
        return imploded;
    }
    QImage generatePreview(const QSize& size) override
    {
        return previewWith<ZelImageProcessorImplode>(sourceImageScaled(size));
    }
    QImage generatePreview(const QRect& rect) override
    {
        return previewWith<ZelImageProcessorImplode>(sectionOfSourceImage(rect));
    }

protected:
    QString progressTitle() const override { return tr("Implosion"); }
    QString progressStep() const override { return QString(); }

private:
    void createParameterDescriptions()
    {
        addNumberParameter(kStrength, tr("Stärke"), 0, 0, 100, 0, 0);
    }

public:
    ZelImageProcessorImplode* myPublic = nullptr;
};

ZelImageProcessorImplode::ZelImageProcessorImplode()
{
    initImplementation(nullptr);
}

ZelImageProcessorImplode::ZelImageProcessorImplode(const QImage& image)
    : ZelImageProcessor(image)
{
    initImplementation(&image);
}

void ZelImageProcessorImplode::initImplementation(const QImage* image)
{
    setProperty("ToolTip", tr("Dieser Effekt vermittelt den Eindruck einer Implosion "));
    setProperty("IconName", QStringLiteral("ico_implosion"));
    installImplementation<ZelImageProcessorImplodeImpl>(this, image);
}

void ZelImageProcessorImplode::cancel() { myImpl->cancel(); }
QImage ZelImageProcessorImplode::result() { return myImpl->result(); }
QImage ZelImageProcessorImplode::generatePreview(const QSize& size) { return myImpl->generatePreview(size); }
QImage ZelImageProcessorImplode::generatePreview(const QRect& rect) { return myImpl->generatePreview(rect); }

#include "ZelImageProcessorImplode.moc"
