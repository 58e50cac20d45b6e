#ifndef ZELIMAGEPROCESSORSKETCH_H
#define ZELIMAGEPROCESSORSKETCH_H

#include "ZelImageProcessor.h"

// "Strichzeichnung": the picture reduced to 256 greys and drawn as ImageMagick's sketch draws it
// (radius 20, sigma 20, strokes at 120 degrees), on noise of twice the width and height; the
// bridge computes the costly steps itself, so that photos of any size are sketched in seconds.
// Previews of large photos sample the photo at four times the preview's size before smoothing it
// down. A cancel during the computation, a null or empty source give a null image.
class ZelImageProcessorSketch : public ZelImageProcessor
{
    Q_OBJECT
public:
    Q_INVOKABLE ZelImageProcessorSketch() : ZelImageProcessorSketch(QImage()) {}
    Q_INVOKABLE explicit ZelImageProcessorSketch(const QImage& image);

public slots:
    void cancel() override { ZelImageProcessor::cancel(); }
    QImage result() override { return ZelImageProcessor::result(); }
    QImage generatePreview(const QSize& size) override { return ZelImageProcessor::generatePreview(size); }
    QImage generatePreview(const QRect& rect) override { return ZelImageProcessor::generatePreview(rect); }
};

#endif
