#ifndef ZELIMAGEPROCESSORFLIPVERTICAL_H
#define ZELIMAGEPROCESSORFLIPVERTICAL_H

#include "ZelImageProcessor.h"

// "Vertikal spiegeln": mirrors about the vertical axis, left to right (the first column of the
// result is the last column of the source).
class ZelImageProcessorFlipVertical : public ZelImageProcessor
{
    Q_OBJECT
public:
    Q_INVOKABLE ZelImageProcessorFlipVertical() : ZelImageProcessorFlipVertical(QImage()) {}
    Q_INVOKABLE explicit ZelImageProcessorFlipVertical(const QImage& image);

public slots:
    void cancel() override { ZelImageProcessor::cancel(); }
    QImage result() override { return ZelImageProcessor::result(); }
    QImage generatePreview(const QSize& size) override { return ZelImageProcessor::generatePreview(size); }
    QImage generatePreview(const QRect& rect) override { return ZelImageProcessor::generatePreview(rect); }
};

#endif
