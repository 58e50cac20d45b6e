#ifndef ZELIMAGEPROCESSORINTENSITY_H
#define ZELIMAGEPROCESSORINTENSITY_H

#include "ZelImageProcessor.h"

// Grey levels as an 8-bit indexed image with a table of greys: each pixel's index is its HSV
// value, max(red, green, blue). Sources in other formats than 32-bit pixels (8-bit indexed
// ones included) are converted first, so their levels are those of their colours.
class ZelImageProcessorIntensity : public ZelImageProcessor
{
    Q_OBJECT
public:
    Q_INVOKABLE ZelImageProcessorIntensity() : ZelImageProcessorIntensity(QImage()) {}
    Q_INVOKABLE explicit ZelImageProcessorIntensity(const QImage& image);

public slots:
    void cancel() override { ZelImageProcessor::cancel(); }
    QImage result() override { return ZelImageProcessor::result(); }
    QImage generatePreview(const QSize& size) override { return ZelImageProcessor::generatePreview(size); }
    QImage generatePreview(const QRect& rect) override { return ZelImageProcessor::generatePreview(rect); }
};

#endif
