#ifndef ZELIMAGEPROCESSOREMBOSS_H
#define ZELIMAGEPROCESSOREMBOSS_H

#include "ZelImageProcessor.h"

// "Gravur": the picture reduced to 256 greys and embossed by ImageMagick (radius 0, so that
// ImageMagick chooses the kernel, sigma 1.2). A cancel during the computation, a null or empty
// source give a null image.
class ZelImageProcessorEmboss : public ZelImageProcessor
{
    Q_OBJECT
public:
    Q_INVOKABLE ZelImageProcessorEmboss() : ZelImageProcessorEmboss(QImage()) {}
    Q_INVOKABLE explicit ZelImageProcessorEmboss(const QImage& image);

public slots:
    void cancel() override { ZelImageProcessor::cancel(); }
    QImage result() override { return ZelImageProcessor::result(); }
    QImage generatePreview(const QSize& size) override { return ZelImageProcessor::generatePreview(size); }
    QImage generatePreview(const QRect& rect) override { return ZelImageProcessor::generatePreview(rect); }
};

#endif
