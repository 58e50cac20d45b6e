#ifndef ZELIMAGEPROCESSORSEPIA_H
#define ZELIMAGEPROCESSORSEPIA_H

#include "ZelImageProcessor.h"

// "Sepia": the picture's greys (as ZelImageProcessorGrayscale computes them, alpha dropped)
// recoloured as HSV colours of hue 26, saturation "Strength" x 2.55 (truncated) and the grey as
// value; strength 0 leaves pure greys. The result is ARGB32. Computed by the library itself, it
// reports no progress and cannot be cancelled. A strength outside 0..100 makes a saturation
// QColor refuses, and QColor's invalid colour, opaque black, is taken for every grey. A null or
// empty source gives a null image.
class ZelImageProcessorSepia : public ZelImageProcessor
{
    Q_OBJECT
public:
    Q_INVOKABLE ZelImageProcessorSepia() : ZelImageProcessorSepia(QImage()) {}
    Q_INVOKABLE explicit ZelImageProcessorSepia(const QImage& image);

public slots:
    void cancel() override { ZelImageProcessor::cancel(); }
    QImage result() override { return ZelImageProcessor::result(); }
    QImage generatePreview(const QSize& size) override { return ZelImageProcessor::generatePreview(size); }
    QImage generatePreview(const QRect& rect) override { return ZelImageProcessor::generatePreview(rect); }
};

#endif
