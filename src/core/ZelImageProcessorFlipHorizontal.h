#ifndef ZELIMAGEPROCESSORFLIPHORIZONTAL_H
#define ZELIMAGEPROCESSORFLIPHORIZONTAL_H

#include "ZelImageProcessor.h"

// "Horizontal spiegeln": mirrors about the horizontal axis, so the picture is turned upside
// down (the first row of the result is the last row of the source). The name follows the axis,
// not the direction of movement, as the menus that offer it do.
class ZelImageProcessorFlipHorizontal : public ZelImageProcessor
{
    Q_OBJECT
public:
    Q_INVOKABLE ZelImageProcessorFlipHorizontal() : ZelImageProcessorFlipHorizontal(QImage()) {}
    Q_INVOKABLE explicit ZelImageProcessorFlipHorizontal(const QImage& image);

public slots:
    void cancel() override { ZelImageProcessor::cancel(); }
    QImage result() override { return ZelImageProcessor::result(); }
    QImage generatePreview(const QSize& size) override { return ZelImageProcessor::generatePreview(size); }
    QImage generatePreview(const QRect& rect) override { return ZelImageProcessor::generatePreview(rect); }
};

#endif
