#ifndef ZELIMAGEPROCESSORSWIRL_H
#define ZELIMAGEPROCESSORSWIRL_H

#include "ZelImageProcessor.h"

// "Verwirbeln": ImageMagick's swirl of "Angle" degrees around the centre of the picture. A cancel
// during the computation, a null or empty source give a null image.
class ZelImageProcessorSwirl : public ZelImageProcessor
{
    Q_OBJECT
public:
    Q_INVOKABLE ZelImageProcessorSwirl() : ZelImageProcessorSwirl(QImage()) {}
    Q_INVOKABLE explicit ZelImageProcessorSwirl(const QImage& image);

public slots:
    void cancel() override { ZelImageProcessor::cancel(); }
    QImage result() override { return ZelImageProcessor::result(); }
    QImage generatePreview(const QSize& size) override { return ZelImageProcessor::generatePreview(size); }
    QImage generatePreview(const QRect& rect) override { return ZelImageProcessor::generatePreview(rect); }
};

#endif
