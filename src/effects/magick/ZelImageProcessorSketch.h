#ifndef ZELIMAGEPROCESSORSKETCH_H
#define ZELIMAGEPROCESSORSKETCH_H

#include "ZelImageProcessor.h"

// "Strichzeichnung": the picture reduced to 256 greys and drawn by ImageMagick's sketch (radius
// 20, sigma 20, strokes at 120 degrees). The sketch draws on noise of twice the width and height;
// where ImageMagick's resources do not hold it (Debian's policy: a 24-megapixel photo) it refuses
// the sketch and the 256-grey picture comes back. A cancel during the computation, a null or
// empty source give a null image.
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
