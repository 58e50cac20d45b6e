#include "ZelImageProcessorPointOperation.h"
#include "ZelImageProcessorImpl_p.h"

class ZelImageProcessorPointOperationImpl : public ZelImageProcessorImpl
{
public:
    ZelImageProcessorPointOperationImpl()
        : ZelImageProcessorImpl(QString())
    {
    }
    explicit ZelImageProcessorPointOperationImpl(const QImage& image)
        : ZelImageProcessorImpl(image, QString())
    {
    }

    QImage result() override
    {
        myValue = 0;
        return QImage();
    }
    QImage generatePreview(const QSize& size) override { return sourceImageScaled(size); }
    QImage generatePreview(const QRect&) override { return QImage(); }

private:
    qint32 myValue = 0;

public:
    ZelImageProcessorPointOperation* myPublic = nullptr;
};

ZelImageProcessorPointOperation::ZelImageProcessorPointOperation()
{
    initImplementation(nullptr);
}

ZelImageProcessorPointOperation::ZelImageProcessorPointOperation(const QImage& image)
    : ZelImageProcessor(image)
{
    initImplementation(&image);
}

void ZelImageProcessorPointOperation::initImplementation(const QImage* image)
{
    installImplementation<ZelImageProcessorPointOperationImpl>(this, image);
}

quint32 ZelImageProcessorPointOperation::pointOperation(const QPoint&) const
{
    return 0;
}

void ZelImageProcessorPointOperation::cancel() { myImpl->cancel(); }
QImage ZelImageProcessorPointOperation::result() { return myImpl->result(); }
// The skeleton's previews are null too: they do not reach the implementation's scaled source.
QImage ZelImageProcessorPointOperation::generatePreview(const QSize&) { return QImage(); }
QImage ZelImageProcessorPointOperation::generatePreview(const QRect&) { return QImage(); }
