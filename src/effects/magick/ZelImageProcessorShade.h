#ifndef ZELIMAGEPROCESSORSHADE_H
#define ZELIMAGEPROCESSORSHADE_H

#include "ZelImageProcessor.h"

// "Relief": ImageMagick's grey shading of the picture, lit from azimuth 45 and elevation 30
// degrees. Progress is reported under the title "Sketch", the title progress dialogs know it by. A cancel
// during the computation, a null or empty source give a null image.
class ZelImageProcessorShade : public ZelImageProcessor
{
    Q_OBJECT
public:
    Q_INVOKABLE ZelImageProcessorShade() : ZelImageProcessorShade(QImage()) {}
    Q_INVOKABLE explicit ZelImageProcessorShade(const QImage& image);

public slots:
    void cancel() override { ZelImageProcessor::cancel(); }
    QImage result() override { return ZelImageProcessor::result(); }
    QImage generatePreview(const QSize& size) override { return ZelImageProcessor::generatePreview(size); }
    QImage generatePreview(const QRect& rect) override { return ZelImageProcessor::generatePreview(rect); }
};

#endif
