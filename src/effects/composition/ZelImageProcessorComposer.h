#ifndef ZELIMAGEPROCESSORCOMPOSER_H
#define ZELIMAGEPROCESSORCOMPOSER_H

#include "ZelImageProcessor.h"

// A chain of effects run one after another, each on the previous one's result, with every
// step's progress relayed as this object's progress. The composer does not own the effects; one
// that is deleted while in the chain is skipped, and so is a step that would run the composer
// inside itself.
//
// cancel() cancels the running step and stops the chain; the source is then returned unchanged.
// finished(true) closes a chain that ran to its end, finished(false) a cancelled one. An empty
// chain returns the source. Previews run on a composer without a chain: the scaled source (or
// the section) unchanged.
class ZelImageProcessorComposer : public ZelImageProcessor
{
    Q_OBJECT
public:
    Q_INVOKABLE ZelImageProcessorComposer() : ZelImageProcessorComposer(QImage()) {}
    Q_INVOKABLE explicit ZelImageProcessorComposer(const QImage& image);

    // Appends to the chain.
    Q_INVOKABLE void addProcessor(ZelImageProcessor* processor);

public slots:
    void cancel() override { ZelImageProcessor::cancel(); }
    QImage result() override { return ZelImageProcessor::result(); }
    QImage generatePreview(const QSize& size) override { return ZelImageProcessor::generatePreview(size); }
    QImage generatePreview(const QRect& rect) override { return ZelImageProcessor::generatePreview(rect); }
};

#endif
