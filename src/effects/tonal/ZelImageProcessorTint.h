#ifndef ZELIMAGEPROCESSORTINT_H
#define ZELIMAGEPROCESSORTINT_H

#include "ZelImageProcessor.h"

// "Einfärben": moves every pixel toward the colour of the same HSV saturation and value with
// the hue "Hue", by the fraction "Saturation" / 100 (100 replaces the hue, 0 keeps the image).
// Alpha is kept. Sources in other formats than 32-bit pixels are converted first.
class ZelImageProcessorTint : public ZelImageProcessor
{
    Q_OBJECT
public:
    Q_INVOKABLE ZelImageProcessorTint() : ZelImageProcessorTint(QImage()) {}
    Q_INVOKABLE explicit ZelImageProcessorTint(const QImage& image);

    using ZelImageProcessor::setParameters;
    // "Hue" = trunc(hue) in degrees, "Saturation" = trunc(saturation * 100).
    Q_INVOKABLE void setParameters(double hue, double saturation);

public slots:
    void cancel() override { ZelImageProcessor::cancel(); }
    QImage result() override { return ZelImageProcessor::result(); }
    QImage generatePreview(const QSize& size) override { return ZelImageProcessor::generatePreview(size); }
    QImage generatePreview(const QRect& rect) override { return ZelImageProcessor::generatePreview(rect); }
};

#endif
