#include "ZelImageProcessorSketch.h"
#include "ZelImageProcessorImpl_p.h"

class ZelImageProcessorSketchImpl : public ZelImageProcessorImpl
{
    Q_OBJECT
public:
    ZelImageProcessorSketchImpl()
        : ZelImageProcessorImpl(tr("Strichzeichnung"))
    {
    }
    explicit ZelImageProcessorSketchImpl(const QImage& image)
        : ZelImageProcessorImpl(image, tr("Strichzeichnung"))
    {
    }

public slots:
    QImage result() override
    {
        connectProgressSignalizer();
        const QImage source = sourceImage();
        const QImage sketched = createMagickWandWrapper().sketch(source, 20.0, 20.0, 120.0);
        disconnectProgressSignalizer();
        emit finished(false);
        return sketched;
    }
    QImage generatePreview(const QSize& size) override
    {
        return previewWith<ZelImageProcessorSketch>(sourceImageScaled(size));
    }
    QImage generatePreview(const QRect& rect) override
    {
        return previewWith<ZelImageProcessorSketch>(sectionOfSourceImage(rect));
    }

protected:
    QString progressTitle() const override { return QStringLiteral("Sketch"); }

public:
    ZelImageProcessorSketch* myPublic = nullptr;
};

ZelImageProcessorSketch::ZelImageProcessorSketch()
{
    initImplementation(nullptr);
}

ZelImageProcessorSketch::ZelImageProcessorSketch(const QImage& image)
    : ZelImageProcessor(image)
{
    initImplementation(&image);
}

void ZelImageProcessorSketch::initImplementation(const QImage* image)
{
    setProperty("ToolTip", tr("Dieser Effekt vermittelt den Eindruck einer Strichzeichnung "));
    setProperty("IconName", QStringLiteral(":tessaroon/effectSketch.png"));
    installImplementation<ZelImageProcessorSketchImpl>(this, image);
}

void ZelImageProcessorSketch::cancel() { myImpl->cancel(); }
QImage ZelImageProcessorSketch::result() { return myImpl->result(); }
QImage ZelImageProcessorSketch::generatePreview(const QSize& size) { return myImpl->generatePreview(size); }
QImage ZelImageProcessorSketch::generatePreview(const QRect& rect) { return myImpl->generatePreview(rect); }

#include "ZelImageProcessorSketch.moc"
