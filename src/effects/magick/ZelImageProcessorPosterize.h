#ifndef ZELIMAGEPROCESSORPOSTERIZE_H
#define ZELIMAGEPROCESSORPOSTERIZE_H

#include "ZelImageProcessor.h"

// "Poster": ImageMagick's posterize to a number of levels per channel, optionally dithered. The
// two settings are not parameters of the container but fields of this object (4 levels, no
// dithering until setParameters(int, bool)); previews run on a new object and so always use 4
// levels without dithering, so that a preview never waits for a dither. Ends with finished(true). A cancel during
// the computation, a null or empty source give a null image.
class ZelImageProcessorPosterize : public ZelImageProcessor
{
    Q_OBJECT
public:
    Q_INVOKABLE ZelImageProcessorPosterize() : ZelImageProcessorPosterize(QImage()) {}
    Q_INVOKABLE explicit ZelImageProcessorPosterize(const QImage& image);

    using ZelImageProcessor::setParameters;
    Q_INVOKABLE void setParameters(int levels, bool dither);

public slots:
    void cancel() override { ZelImageProcessor::cancel(); }
    QImage result() override { return ZelImageProcessor::result(); }
    QImage generatePreview(const QSize& size) override { return ZelImageProcessor::generatePreview(size); }
    QImage generatePreview(const QRect& rect) override { return ZelImageProcessor::generatePreview(rect); }
};

#endif
