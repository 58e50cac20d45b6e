#ifndef ZELIMAGEPROCESSORCOMPOSER_P_H
#define ZELIMAGEPROCESSORCOMPOSER_P_H

#include "ZelImageProcessorComposer.h"
#include "ZelImageProcessorImpl_p.h"

#include <QList>
#include <QPointer>

class ZelImageProcessorComposerImpl : public ZelImageProcessorImpl
{
    Q_OBJECT
public:
    explicit ZelImageProcessorComposerImpl(const QImage& image);

    void addProcessor(ZelImageProcessor* processor);
    // Sets the cancel flag, which stops the chain before its next step, and emits
    // operationCanceled(), which cancels the running step. A chain cancelled before its last
    // step returns the source without finished(); one cancelled during its last step returns
    // that step's result and finished(false).
    void cancel() override;

public slots:
    QImage result() override;
    QImage generatePreview(const QSize& size) override;
    QImage generatePreview(const QRect& rect) override;

private:
    QImage runStep(ZelImageProcessor* processor, const QImage& image);

    QList<QPointer<ZelImageProcessor>> myProcessors;
    bool myRunning = false;
};

#endif
