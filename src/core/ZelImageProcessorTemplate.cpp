#include "ZelImageProcessorTemplate.h"
#include "ZelImageProcessorImpl_p.h"

class ZelImageProcessorTemplateImpl : public ZelImageProcessorImpl
{
    Q_OBJECT
public:
    ZelImageProcessorTemplateImpl()
        : ZelImageProcessorImpl(QString())
    {
    }
    explicit ZelImageProcessorTemplateImpl(const QImage& image)
        : ZelImageProcessorImpl(image, QString())
    {
    }

    ZelImageProcessorTemplate* myPublic = nullptr;

public slots:
    QImage result() override;
    QImage generatePreview(const QSize& size) override
    {
        return previewWith<ZelImageProcessorTemplate>(sourceImageScaled(size));
    }
    QImage generatePreview(const QRect& rect) override
    {
        return previewWith<ZelImageProcessorTemplate>(sectionOfSourceImage(rect));
    }
};

// A new effect fills this in: connectProgressSignalizer(), read its parameters by key, compute on
// sourceImage() (polling resetCancel() once per row), disconnectProgressSignalizer(), emit
// finished(...) and return the image.
QImage ZelImageProcessorTemplateImpl::result()
{
    emit finished(true);
    return QImage();
}

ZelImageProcessorTemplate::ZelImageProcessorTemplate()
{
    initImplementation(nullptr);
}

ZelImageProcessorTemplate::ZelImageProcessorTemplate(const QImage& image)
    : ZelImageProcessor(image)
{
    initImplementation(&image);
}

void ZelImageProcessorTemplate::initImplementation(const QImage* image)
{
    installImplementation<ZelImageProcessorTemplateImpl>(this, image);
}

void ZelImageProcessorTemplate::cancel() { myImpl->cancel(); }
QImage ZelImageProcessorTemplate::result() { return myImpl->result(); }
QImage ZelImageProcessorTemplate::generatePreview(const QSize& size) { return myImpl->generatePreview(size); }
QImage ZelImageProcessorTemplate::generatePreview(const QRect& rect) { return myImpl->generatePreview(rect); }

#include "ZelImageProcessorTemplate.moc"
