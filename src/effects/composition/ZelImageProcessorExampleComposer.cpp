#include "ZelImageProcessorExampleComposer.h"
#include "ZelImageProcessorComposer_p.h"
#include "ZelImageProcessorExampleGauss.h"
#include "ZelImageProcessorExampleGrayscale.h"

#include <memory>

class ZelImageProcessorExampleComposerImpl : public ZelImageProcessorComposerImpl
{
    Q_OBJECT
public:
    explicit ZelImageProcessorExampleComposerImpl(const QImage& image)
        : ZelImageProcessorComposerImpl(image)
        , myBlur(new ZelImageProcessorExampleGauss(image))
        , myGrey(new ZelImageProcessorExampleGrayscale(image))
    {
        myBlur->setSigmaAndBoxSize(10.0, 0);
        addProcessor(myBlur.get());
        addProcessor(myGrey.get());
    }

private:

    std::unique_ptr<ZelImageProcessorExampleGauss> myBlur;
    std::unique_ptr<ZelImageProcessorExampleGrayscale> myGrey;
};

ZelImageProcessorExampleComposer::ZelImageProcessorExampleComposer(const QImage& image)
    : ZelImageProcessorComposer(image)
{
    installImplementation(new ZelImageProcessorExampleComposerImpl(image));
}

#include "ZelImageProcessorExampleComposer.moc"
