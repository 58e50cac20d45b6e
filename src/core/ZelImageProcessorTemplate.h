#ifndef ZELIMAGEPROCESSORTEMPLATE_H
#define ZELIMAGEPROCESSORTEMPLATE_H

#include "ZelImageProcessor.h"

// The skeleton a new effect is copied from: its result is a null image.
class ZelImageProcessorTemplate : public ZelImageProcessor
{
    Q_OBJECT
    Q_CLASSINFO("ZelBenchmark", "skip: computes nothing")
public:
    Q_INVOKABLE ZelImageProcessorTemplate() : ZelImageProcessorTemplate(QImage()) {}
    Q_INVOKABLE explicit ZelImageProcessorTemplate(const QImage& image);

public slots:
    void cancel() override { ZelImageProcessor::cancel(); }
    QImage result() override { return ZelImageProcessor::result(); }
    QImage generatePreview(const QSize& size) override { return ZelImageProcessor::generatePreview(size); }
    QImage generatePreview(const QRect& rect) override { return ZelImageProcessor::generatePreview(rect); }
};

#endif
