#ifndef ZELIMAGEPROCESSORSOFTLENSE_H
#define ZELIMAGEPROCESSORSOFTLENSE_H

#include "ZelImageProcessor.h"

// "Radialer Weichzeichner": a radial soft focus. A copy of the picture blurred by ImageMagick
// (sigma "ASoftness", 1 ... 100) is laid over it through a radial mask around the centre whose
// radius is half the width: fully transparent in the middle, rising to opaque at 0.6 of that
// radius and beyond. The top row and the left column keep the source (the mask's outline).
// Softness beyond 100 blurs like 100.
//
// The result has the source's format (8-bit indexed sources become RGB32, or ARGB32 with
// alpha); a null source gives a null image. A cancel cannot stop the blur; the source is then
// returned unchanged. Size previews scale the softness by preview width / source width.
class ZelImageProcessorSoftLense : public ZelImageProcessor
{
    Q_OBJECT
public:
    Q_INVOKABLE ZelImageProcessorSoftLense() : ZelImageProcessorSoftLense(QImage()) {}
    Q_INVOKABLE explicit ZelImageProcessorSoftLense(const QImage& image);

    using ZelImageProcessor::setParameters;
    Q_INVOKABLE void setParameters(int softness);

public slots:
    void cancel() override { ZelImageProcessor::cancel(); }
    QImage result() override { return ZelImageProcessor::result(); }
    QImage generatePreview(const QSize& size) override { return ZelImageProcessor::generatePreview(size); }
    QImage generatePreview(const QRect& rect) override { return ZelImageProcessor::generatePreview(rect); }
};

#endif
