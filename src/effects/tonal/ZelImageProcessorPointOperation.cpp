#include "ZelImageProcessorPointOperation.h"
#include "ZelImageProcessorImpl_p.h"

class ZelImageProcessorPointOperationImpl : public ZelImageProcessorImpl
{
public:
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
};

ZelImageProcessorPointOperation::ZelImageProcessorPointOperation(const QImage& image)
    : ZelImageProcessor(image)
{
    installImplementation(new ZelImageProcessorPointOperationImpl(image));
}

quint32 ZelImageProcessorPointOperation::pointOperation(const QPoint&) const
{
    return 0;
}

// The skeleton's previews are null too: they do not reach the implementation's scaled source.
QImage ZelImageProcessorPointOperation::generatePreview(const QSize&) { return QImage(); }
QImage ZelImageProcessorPointOperation::generatePreview(const QRect&) { return QImage(); }
