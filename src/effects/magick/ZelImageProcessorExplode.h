#ifndef ZELIMAGEPROCESSOREXPLODE_H
#define ZELIMAGEPROCESSOREXPLODE_H

#include "ZelImageProcessor.h"

// "Explosion": the very same ImageMagick implode as ZelImageProcessorImplode, with the same
// positive amount "Strength", so that both effects give equal pictures for equal strengths;
// photos edited with saved settings must keep looking as they did. Progress carries no step
// name. A cancel during the
// computation, a null or empty source give a null image.
class ZelImageProcessorExplode : public ZelImageProcessor
{
    Q_OBJECT
public:
    Q_INVOKABLE ZelImageProcessorExplode() : ZelImageProcessorExplode(QImage()) {}
    Q_INVOKABLE explicit ZelImageProcessorExplode(const QImage& image);

public slots:
    void cancel() override { ZelImageProcessor::cancel(); }
    QImage result() override { return ZelImageProcessor::result(); }
    QImage generatePreview(const QSize& size) override { return ZelImageProcessor::generatePreview(size); }
    QImage generatePreview(const QRect& rect) override { return ZelImageProcessor::generatePreview(rect); }
};

#endif
