#include "ZelImageProcessorExplode.h"
#include "ZelImageProcessorImpl_p.h"

namespace {

const QString kStrength = QStringLiteral("Strength");

} // namespace

class ZelImageProcessorExplodeImpl : public ZelImageProcessorImpl
{
    Q_OBJECT
public:
    ZelImageProcessorExplodeImpl()
        : ZelImageProcessorImpl(tr("Explosion"))
    {
        createParameterDescriptions();
    }
    explicit ZelImageProcessorExplodeImpl(const QImage& image)
        : ZelImageProcessorImpl(image, tr("Explosion"))
    {
        createParameterDescriptions();
    }

    int strength() const { return parameterIntValue(kStrength, false); }

public slots:
    QImage result() override
    {
        connectProgressSignalizer();
        const QImage source = sourceImage();
        // Deliberately not negated: the explosion implodes like the implosion.
        const QImage exploded = createMagickWandWrapper().explode(source, strength());
        disconnectProgressSignalizer();
        emit finished(false);
        return exploded;
    }
    QImage generatePreview(const QSize& size) override
    {
        return previewWith<ZelImageProcessorExplode>(sourceImageScaled(size));
    }
    QImage generatePreview(const QRect& rect) override
    {
        return previewWith<ZelImageProcessorExplode>(sectionOfSourceImage(rect));
    }

protected:
    QString progressTitle() const override { return tr("Explosion"); }
    QString progressStep() const override { return QString(); }

private:
    void createParameterDescriptions()
    {
        addNumberParameter(kStrength, tr("Stärke"), 0, 0, 100, 0, 0);
    }

public:
    ZelImageProcessorExplode* myPublic = nullptr;
};

ZelImageProcessorExplode::ZelImageProcessorExplode()
{
    initImplementation(nullptr);
}

ZelImageProcessorExplode::ZelImageProcessorExplode(const QImage& image)
    : ZelImageProcessor(image)
{
    initImplementation(&image);
}

void ZelImageProcessorExplode::initImplementation(const QImage* image)
{
    setProperty("ToolTip", tr("Dieser Effekt vermittelt den Eindruck einer Explosion "));
    setProperty("IconName", QStringLiteral("ico_explosion"));
    installImplementation<ZelImageProcessorExplodeImpl>(this, image);
}

void ZelImageProcessorExplode::cancel() { myImpl->cancel(); }
QImage ZelImageProcessorExplode::result() { return myImpl->result(); }
QImage ZelImageProcessorExplode::generatePreview(const QSize& size) { return myImpl->generatePreview(size); }
QImage ZelImageProcessorExplode::generatePreview(const QRect& rect) { return myImpl->generatePreview(rect); }

#include "ZelImageProcessorExplode.moc"
