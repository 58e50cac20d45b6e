#ifndef ZELIMAGEPROCESSORMOTIONBLUR_H
#define ZELIMAGEPROCESSORMOTIONBLUR_H

#include "ZelImageProcessor.h"

// "Bewegungsunschärfe": ImageMagick's motion blur along "Angle" degrees with sigma "Sigma" and a
// radius of six sigma. A cancel during the computation, a null or empty source give a null image.
//
// Sigmas beyond +-512 x (width + height), far outside the range, are computed at that limit:
// ImageMagick's work grows with the sigma, while beyond the limit the result changes by no more
// than one level.
class ZelImageProcessorMotionBlur : public ZelImageProcessor
{
    Q_OBJECT
public:
    Q_INVOKABLE ZelImageProcessorMotionBlur() : ZelImageProcessorMotionBlur(QImage()) {}
    Q_INVOKABLE explicit ZelImageProcessorMotionBlur(const QImage& image);

public slots:
    void cancel() override { ZelImageProcessor::cancel(); }
    QImage result() override { return ZelImageProcessor::result(); }
    QImage generatePreview(const QSize& size) override { return ZelImageProcessor::generatePreview(size); }
    QImage generatePreview(const QRect& rect) override { return ZelImageProcessor::generatePreview(rect); }
};

#endif
