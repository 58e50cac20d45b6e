#ifndef ZELIMAGEPROCESSOROILPAINTING_H
#define ZELIMAGEPROCESSOROILPAINTING_H

#include "ZelImageProcessor.h"

// "Ölgemälde": ImageMagick's oil painting with a brush of radius "BrushSize" pixels. Its work
// grows with the square of the radius: on a 24-megapixel photo the range's largest brush takes
// hours. A cancel during the computation, a null or empty source give a null image.
//
// Radii beyond twice the longer side of the picture, far outside the range, are computed at that
// length: every such brush covers the whole picture many times over, and a larger one gives the
// same result.
class ZelImageProcessorOilPainting : public ZelImageProcessor
{
    Q_OBJECT
public:
    Q_INVOKABLE ZelImageProcessorOilPainting() : ZelImageProcessorOilPainting(QImage()) {}
    Q_INVOKABLE explicit ZelImageProcessorOilPainting(const QImage& image);

public slots:
    void cancel() override { ZelImageProcessor::cancel(); }
    QImage result() override { return ZelImageProcessor::result(); }
    QImage generatePreview(const QSize& size) override { return ZelImageProcessor::generatePreview(size); }
    QImage generatePreview(const QRect& rect) override { return ZelImageProcessor::generatePreview(rect); }
};

#endif
