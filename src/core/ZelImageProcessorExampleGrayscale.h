#ifndef ZELIMAGEPROCESSOREXAMPLEGRAYSCALE_H
#define ZELIMAGEPROCESSOREXAMPLEGRAYSCALE_H

#include "ZelImageProcessor.h"

// Example effect: grey levels (11 R + 16 G + 5 B) / 32 as opaque RGB32. It pauses 100 ms every
// 50 rows on purpose, so that its progress can be watched.
class ZelImageProcessorExampleGrayscale : public ZelImageProcessor
{
    Q_OBJECT
    Q_CLASSINFO("ZelBenchmark", "skip: paced on purpose, 100 ms every 50 rows")
public:
    Q_INVOKABLE ZelImageProcessorExampleGrayscale() : ZelImageProcessorExampleGrayscale(QImage()) {}
    Q_INVOKABLE explicit ZelImageProcessorExampleGrayscale(const QImage& image);

public slots:
    void cancel() override { ZelImageProcessor::cancel(); }
    QImage result() override { return ZelImageProcessor::result(); }
    QImage generatePreview(const QSize& size) override { return ZelImageProcessor::generatePreview(size); }
    QImage generatePreview(const QRect& rect) override { return ZelImageProcessor::generatePreview(rect); }
};

#endif
