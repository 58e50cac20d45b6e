#ifndef ZELIMAGEPROCESSORTEMPLATE_H
#define ZELIMAGEPROCESSORTEMPLATE_H

#include "ZelImageProcessor.h"

// The skeleton a new effect is copied from: its result is a null image.
class ZelImageProcessorTemplate : public ZelImageProcessor
{
    Q_OBJECT
    Q_CLASSINFO("ZelBenchmark", "skip: computes nothing")
public:
    Q_INVOKABLE ZelImageProcessorTemplate();
    Q_INVOKABLE explicit ZelImageProcessorTemplate(const QImage& image);

public slots:
    void cancel() override;
    QImage result() override;
    QImage generatePreview(const QSize& size) override;
    QImage generatePreview(const QRect& rect) override;

private:
    void initImplementation(const QImage* image);
};

#endif
