#include "ZelImageProcessorSwirl.h"
#include "ZelImageProcessorImpl_p.h"

namespace {

const QString kAngle = QStringLiteral("Angle");

} // namespace

class ZelImageProcessorSwirlImpl : public ZelImageProcessorImpl
{
    Q_OBJECT
public:
    ZelImageProcessorSwirlImpl()
        : ZelImageProcessorImpl(tr("Verwirbeln"))
    {
        createParameterDescriptions();
    }
    explicit ZelImageProcessorSwirlImpl(const QImage& image)
        : ZelImageProcessorImpl(image, tr("Verwirbeln"))
    {
        createParameterDescriptions();
    }

public slots:
    QImage result() override
    {
        connectProgressSignalizer();
        const double degrees = myParameters.value(kAngle).toDouble();
        const QImage source = sourceImage();
        const QImage swirled = createMagickWandWrapper().swirl(source, degrees);
        disconnectProgressSignalizer();
        emit finished(false);
        return swirled;
    }
    QImage generatePreview(const QSize& size) override
    {
        return previewWith<ZelImageProcessorSwirl>(sourceImageScaled(size));
    }
    QImage generatePreview(const QRect& rect) override
    {
        return previewWith<ZelImageProcessorSwirl>(sectionOfSourceImage(rect));
    }

protected:
    QString progressTitle() const override { return tr("Wirbel"); }

private:
    void createParameterDescriptions()
    {
        addNumberParameter(kAngle, tr("Winkel"), 15, 0, 359, 0, 0);
    }

public:
    ZelImageProcessorSwirl* myPublic = nullptr;
};

ZelImageProcessorSwirl::ZelImageProcessorSwirl()
{
    initImplementation(nullptr);
}

ZelImageProcessorSwirl::ZelImageProcessorSwirl(const QImage& image)
    : ZelImageProcessor(image)
{
    initImplementation(&image);
}

void ZelImageProcessorSwirl::initImplementation(const QImage* image)
{
    setProperty("ToolTip", tr("Dieser Effekt vermittelt den Eindruck eines Wirbels "));
    setProperty("IconName", QStringLiteral("ico_swirl"));
    installImplementation<ZelImageProcessorSwirlImpl>(this, image);
}

void ZelImageProcessorSwirl::cancel() { myImpl->cancel(); }
QImage ZelImageProcessorSwirl::result() { return myImpl->result(); }
QImage ZelImageProcessorSwirl::generatePreview(const QSize& size) { return myImpl->generatePreview(size); }
QImage ZelImageProcessorSwirl::generatePreview(const QRect& rect) { return myImpl->generatePreview(rect); }

#include "ZelImageProcessorSwirl.moc"
