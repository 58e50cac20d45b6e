#ifndef ZELIMAGEPROCESSORBLACKWHITE_H
#define ZELIMAGEPROCESSORBLACKWHITE_H

#include "ZelImageProcessor.h"

// "Tontrennung": ImageMagick reduces the picture to two greys, with dithering. The result is
// ARGB32 whatever the source's format; a null source gives a null image, and so does a cancel.
class ZelImageProcessorBlackWhite : public ZelImageProcessor
{
    Q_OBJECT
public:
    Q_INVOKABLE ZelImageProcessorBlackWhite() : ZelImageProcessorBlackWhite(QImage()) {}
    Q_INVOKABLE explicit ZelImageProcessorBlackWhite(const QImage& image);

public slots:
    void cancel() override { ZelImageProcessor::cancel(); }
    QImage result() override { return ZelImageProcessor::result(); }
    QImage generatePreview(const QSize& size) override { return ZelImageProcessor::generatePreview(size); }
    QImage generatePreview(const QRect& rect) override { return ZelImageProcessor::generatePreview(rect); }
};

#endif
