#include "ZelImageProcessorExampleComposer.h"
#include "ZelImageProcessorComposer_p.h"
#include "ZelImageProcessorExampleGauss.h"
#include "ZelImageProcessorExampleGrayscale.h"

#include <memory>

class ZelImageProcessorExampleComposerImpl : public ZelImageProcessorComposerImpl
{
    Q_OBJECT
public:
    ZelImageProcessorExampleComposerImpl()
        : myBlur(new ZelImageProcessorExampleGauss)
        , myGrey(new ZelImageProcessorExampleGrayscale)
    {
        assembleChain();
    }
    explicit ZelImageProcessorExampleComposerImpl(const QImage& image)
        : ZelImageProcessorComposerImpl(image)
        , myBlur(new ZelImageProcessorExampleGauss(image))
        , myGrey(new ZelImageProcessorExampleGrayscale(image))
    {
        assembleChain();
    }

public slots:
    QImage generatePreview(const QSize& size) override
    {
        return previewWith<ZelImageProcessorExampleComposer>(sourceImageScaled(size));
    }
    QImage generatePreview(const QRect& rect) override
    {
        return previewWith<ZelImageProcessorExampleComposer>(sectionOfSourceImage(rect));
    }

private:
    void assembleChain()
    {
        myBlur->setSigmaAndBoxSize(10.0, 0);
        addProcessor(myBlur.get());
        addProcessor(myGrey.get());
    }

    std::unique_ptr<ZelImageProcessorExampleGauss> myBlur;
    std::unique_ptr<ZelImageProcessorExampleGrayscale> myGrey;

public:
    ZelImageProcessorExampleComposer* myPublic = nullptr;
};

ZelImageProcessorExampleComposer::ZelImageProcessorExampleComposer()
{
    initImplementation(nullptr);
}

ZelImageProcessorExampleComposer::ZelImageProcessorExampleComposer(const QImage& image)
    : ZelImageProcessorComposer(image)
{
    initImplementation(&image);
}

void ZelImageProcessorExampleComposer::initImplementation(const QImage* image)
{
    installImplementation<ZelImageProcessorExampleComposerImpl>(this, image);
}

void ZelImageProcessorExampleComposer::cancel() { myImpl->cancel(); }
QImage ZelImageProcessorExampleComposer::result() { return myImpl->result(); }
QImage ZelImageProcessorExampleComposer::generatePreview(const QSize& size) { return myImpl->generatePreview(size); }
QImage ZelImageProcessorExampleComposer::generatePreview(const QRect& rect) { return myImpl->generatePreview(rect); }

#include "ZelImageProcessorExampleComposer.moc"
