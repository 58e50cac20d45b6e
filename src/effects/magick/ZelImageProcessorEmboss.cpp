#include "ZelImageProcessorEmboss.h"
#include "ZelImageProcessorImpl_p.h"

class ZelImageProcessorEmbossImpl : public ZelImageProcessorImpl
{
    Q_OBJECT
public:
    ZelImageProcessorEmbossImpl()
        : ZelImageProcessorImpl(tr("Gravur"))
    {
    }
    explicit ZelImageProcessorEmbossImpl(const QImage& image)
        : ZelImageProcessorImpl(image, tr("Gravur"))
    {
    }

public slots:
    QImage result() override
    {
        connectProgressSignalizer();
        const QImage source = sourceImage();
        const QImage embossed = createMagickWandWrapper().emboss(source, 0.0, 1.2);
        disconnectProgressSignalizer();
        emit finished(false);
        return embossed;
    }
    QImage generatePreview(const QSize& size) override
    {
        return previewWith<ZelImageProcessorEmboss>(sourceImageScaled(size));
    }
    QImage generatePreview(const QRect& rect) override
    {
        return previewWith<ZelImageProcessorEmboss>(sectionOfSourceImage(rect));
    }

protected:
    QString progressTitle() const override { return tr("Gravur"); }

public:
    ZelImageProcessorEmboss* myPublic = nullptr;
};

ZelImageProcessorEmboss::ZelImageProcessorEmboss()
{
    initImplementation(nullptr);
}

ZelImageProcessorEmboss::ZelImageProcessorEmboss(const QImage& image)
    : ZelImageProcessor(image)
{
    initImplementation(&image);
}

void ZelImageProcessorEmboss::initImplementation(const QImage* image)
{
    setProperty("ToolTip", tr("Dieser Effekt vermittelt den Eindruck einer Gravur "));
    setProperty("IconName", QStringLiteral(":tessaroon/emboss.png"));
    installImplementation<ZelImageProcessorEmbossImpl>(this, image);
}

void ZelImageProcessorEmboss::cancel() { myImpl->cancel(); }
QImage ZelImageProcessorEmboss::result() { return myImpl->result(); }
QImage ZelImageProcessorEmboss::generatePreview(const QSize& size) { return myImpl->generatePreview(size); }
QImage ZelImageProcessorEmboss::generatePreview(const QRect& rect) { return myImpl->generatePreview(rect); }

#include "ZelImageProcessorEmboss.moc"
