#include "ZelImageProcessorComposer.h"
#include "ZelImageProcessorComposer_p.h"
#include "ZelProgressSignalizer.h"

ZelImageProcessorComposerImpl::ZelImageProcessorComposerImpl(const QImage& image)
    : ZelImageProcessorImpl(image, QString())
{
}

void ZelImageProcessorComposerImpl::addProcessor(ZelImageProcessor* processor)
{
    myProcessors.append(processor);
}

void ZelImageProcessorComposerImpl::cancel()
{
    myCancelled.store(true, std::memory_order_relaxed);
    myProgressSignalizer->setCancelled(true);
    emit operationCanceled();
}

QImage ZelImageProcessorComposerImpl::result()
{
    // A chain that leads back into this composer runs that step as no change.
    if (myRunning)
        return sourceImage();
    myRunning = true;
    const QImage source = sourceImage();
    QImage image = source;
    for (const QPointer<ZelImageProcessor>& processor : qAsConst(myProcessors)) {
        // A cancel stops the chain before its next step with the source and without a closing
        // finished(): cancel() has sent finished(false) already.
        if (resetCancel()) {
            myRunning = false;
            return source;
        }
        if (processor)
            image = runStep(processor, image);
    }
    myRunning = false;
    // False when a cancel came during the last step, whose result is returned all the same.
    emit finished(!resetCancel());
    return image;
}

QImage ZelImageProcessorComposerImpl::runStep(ZelImageProcessor* processor, const QImage& image)
{
    const QMetaObject::Connection relay = connect(processor, &ZelImageProcessor::progress, this,
                                                  &ZelImageProcessorImpl::progress, Qt::DirectConnection);
    const QMetaObject::Connection cancelling = connect(this, &ZelImageProcessorImpl::operationCanceled, processor,
                                                       &ZelImageProcessor::cancel, Qt::DirectConnection);
    processor->setSourceImage(image);
    const QImage stepResult = processor->result();
    disconnect(relay);
    disconnect(cancelling);
    return stepResult;
}

// Previews run on a composer without a chain, whatever chain this one has.
QImage ZelImageProcessorComposerImpl::generatePreview(const QSize& size)
{
    return ZelImageProcessorComposer(sourceImageScaled(size)).result();
}

QImage ZelImageProcessorComposerImpl::generatePreview(const QRect& rect)
{
    return ZelImageProcessorComposer(sectionOfSourceImage(rect)).result();
}

ZelImageProcessorComposer::ZelImageProcessorComposer(const QImage& image)
    : ZelImageProcessor(image)
{
    installImplementation(new ZelImageProcessorComposerImpl(image));
}

void ZelImageProcessorComposer::addProcessor(ZelImageProcessor* processor)
{
    static_cast<ZelImageProcessorComposerImpl*>(myImpl)->addProcessor(processor);
}

