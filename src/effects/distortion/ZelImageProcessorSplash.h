#ifndef ZELIMAGEPROCESSORSPLASH_H
#define ZELIMAGEPROCESSORSPLASH_H

#include "ZelImageProcessor.h"

// "Sprüheffekt": replaces every pixel by a random pixel of the "ADensity" x "ADensity" square
// around it, like sprayed paint. The density is in pixels, so a downscaled preview sprays
// coarser than the full result. Positions come from the C library's rand(), which this library
// never seeds: results depend on the generator's state (seed it with srand() to repeat one).
//
// A density of 0 returns the source without progress and without finished(). Sources that are
// not RGB32, ARGB32 or ARGB32_Premultiplied are converted first, to ARGB32 if they have an alpha
// channel and to RGB32 otherwise; the result has the converted format. A null source gives a null
// image.
class ZelImageProcessorSplash : public ZelImageProcessor
{
    Q_OBJECT
public:
    Q_INVOKABLE ZelImageProcessorSplash() : ZelImageProcessorSplash(QImage()) {}
    Q_INVOKABLE explicit ZelImageProcessorSplash(const QImage& image);

    using ZelImageProcessor::setParameters;
    Q_INVOKABLE void setParameters(int density);

public slots:
    void cancel() override { ZelImageProcessor::cancel(); }
    QImage result() override { return ZelImageProcessor::result(); }
    QImage generatePreview(const QSize& size) override { return ZelImageProcessor::generatePreview(size); }
    QImage generatePreview(const QRect& rect) override { return ZelImageProcessor::generatePreview(rect); }
};

#endif
