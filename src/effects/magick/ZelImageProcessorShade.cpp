#include "ZelImageProcessorShade.h"
#include "ZelImageProcessorImpl_p.h"

class ZelImageProcessorShadeImpl : public ZelImageProcessorImpl
{
    Q_OBJECT
public:
    ZelImageProcessorShadeImpl()
        : ZelImageProcessorImpl(tr("Relief"))
    {
    }
    explicit ZelImageProcessorShadeImpl(const QImage& image)
        : ZelImageProcessorImpl(image, tr("Relief"))
    {
    }

public slots:
    QImage result() override
    {
        connectProgressSignalizer();
        const QImage source = sourceImage();
        const QImage shaded = createMagickWandWrapper().shade(source);
        disconnectProgressSignalizer();
        emit finished(false);
        return shaded;
    }
    QImage generatePreview(const QSize& size) override
    {
        return previewWith<ZelImageProcessorShade>(sourceImageScaled(size));
    }
    QImage generatePreview(const QRect& rect) override
    {
        return previewWith<ZelImageProcessorShade>(sectionOfSourceImage(rect));
    }

protected:
    // Deliberately the sketch's title: the application reports the relief under it.
    QString progressTitle() const override { return QStringLiteral("Sketch"); }

public:
    ZelImageProcessorShade* myPublic = nullptr;
};

ZelImageProcessorShade::ZelImageProcessorShade()
{
    initImplementation(nullptr);
}

ZelImageProcessorShade::ZelImageProcessorShade(const QImage& image)
    : ZelImageProcessor(image)
{
    initImplementation(&image);
}

void ZelImageProcessorShade::initImplementation(const QImage* image)
{
    setProperty("ToolTip", tr("Dieser Effekt vermittelt den Eindruck eines Reliefs "));
    setProperty("IconName", QStringLiteral("ico_relief2"));
    installImplementation<ZelImageProcessorShadeImpl>(this, image);
}

void ZelImageProcessorShade::cancel() { myImpl->cancel(); }
QImage ZelImageProcessorShade::result() { return myImpl->result(); }
QImage ZelImageProcessorShade::generatePreview(const QSize& size) { return myImpl->generatePreview(size); }
QImage ZelImageProcessorShade::generatePreview(const QRect& rect) { return myImpl->generatePreview(rect); }

#include "ZelImageProcessorShade.moc"
