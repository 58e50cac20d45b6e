#ifndef ZELIMAGEPROCESSOREXAMPLECOMPOSER_H
#define ZELIMAGEPROCESSOREXAMPLECOMPOSER_H

#include "ZelImageProcessorComposer.h"

// Example of a chain: the Gauss example with sigma 10 (a 61-tap kernel), then the grey-scale
// example, which pauses on purpose so that its progress can be watched. It owns the two effects.
class ZelImageProcessorExampleComposer : public ZelImageProcessorComposer
{
    Q_OBJECT
    Q_CLASSINFO("ZelBenchmark", "skip: its grey-scale step is paced on purpose, 100 ms every 50 rows")
public:
    Q_INVOKABLE ZelImageProcessorExampleComposer() : ZelImageProcessorExampleComposer(QImage()) {}
    Q_INVOKABLE explicit ZelImageProcessorExampleComposer(const QImage& image);

public slots:
    void cancel() override { ZelImageProcessor::cancel(); }
    QImage result() override { return ZelImageProcessor::result(); }
    QImage generatePreview(const QSize& size) override { return ZelImageProcessor::generatePreview(size); }
    QImage generatePreview(const QRect& rect) override { return ZelImageProcessor::generatePreview(rect); }
};

#endif
