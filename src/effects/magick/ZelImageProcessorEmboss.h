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
    Q_INVOKABLE ZelImageProcessorEmboss();
    Q_INVOKABLE explicit ZelImageProcessorEmboss(const QImage& image);

public slots:
    void cancel() override;
    QImage result() override;
    QImage generatePreview(const QSize& size) override;
    QImage generatePreview(const QRect& rect) override;

private:
    void initImplementation(const QImage* image);
};

#endif
