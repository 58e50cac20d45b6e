#ifndef ZELIMAGEPROCESSORARC_H
#define ZELIMAGEPROCESSORARC_H

#include "ZelImageProcessor.h"

// "Kreisbogen": bends the picture into a segment of a ring (ImageMagick's arc distortion) on a
// transparent background, the output sized to fit the whole arc. "AArcAngle" is the arc's size
// and "BRotateAngle" its rotation, in degrees; "DOuterRadius" and "CInnerRadius" are the radii
// in per cent of half the picture's shorter side. An inner radius not smaller than the outer one
// is forced to 0.99 times the outer. A cancel during the computation, a null or empty source
// give a null image; where ImageMagick refuses the geometry (an arc of no size, radii of 0) the
// source comes back unchanged.
class ZelImageProcessorArc : public ZelImageProcessor
{
    Q_OBJECT
public:
    Q_INVOKABLE ZelImageProcessorArc() : ZelImageProcessorArc(QImage()) {}
    Q_INVOKABLE explicit ZelImageProcessorArc(const QImage& image);

    using ZelImageProcessor::setParameters;
    // The radii are stored truncated to ints.
    Q_INVOKABLE void setParameters(int arcAngle, int rotateAngle, double innerRadius, double outerRadius);

public slots:
    void cancel() override { ZelImageProcessor::cancel(); }
    QImage result() override { return ZelImageProcessor::result(); }
    QImage generatePreview(const QSize& size) override { return ZelImageProcessor::generatePreview(size); }
    QImage generatePreview(const QRect& rect) override { return ZelImageProcessor::generatePreview(rect); }
};

#endif
