#ifndef ZELIMAGEPROCESSORIMPLODE_H
#define ZELIMAGEPROCESSORIMPLODE_H

#include "ZelImageProcessor.h"

// "Implosion": ImageMagick's implode with "Strength" (0..100) passed unscaled as its amount, so
// that 0 leaves the picture as it is. Large amounts send the samples near the centre so far out
// that ImageMagick refuses the operation and the source comes back unchanged (under Debian's
// resource policy from 6 on for a 24-megapixel photo, from 20 for 60 x 40 pixels). Progress
// carries no step name. A cancel during the computation, a null or empty source give a null
// image.
class ZelImageProcessorImplode : public ZelImageProcessor
{
    Q_OBJECT
public:
    Q_INVOKABLE ZelImageProcessorImplode() : ZelImageProcessorImplode(QImage()) {}
    Q_INVOKABLE explicit ZelImageProcessorImplode(const QImage& image);

public slots:
    void cancel() override { ZelImageProcessor::cancel(); }
    QImage result() override { return ZelImageProcessor::result(); }
    QImage generatePreview(const QSize& size) override { return ZelImageProcessor::generatePreview(size); }
    QImage generatePreview(const QRect& rect) override { return ZelImageProcessor::generatePreview(rect); }
};

#endif
