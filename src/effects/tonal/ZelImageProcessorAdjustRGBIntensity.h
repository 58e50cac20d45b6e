#ifndef ZELIMAGEPROCESSORADJUSTRGBINTENSITY_H
#define ZELIMAGEPROCESSORADJUSTRGBINTENSITY_H

#include "ZelImageProcessor.h"

// Multiplies red, green and blue by a factor (100 % at construction), truncating in single
// precision. Products above 255 wrap around modulo 256 instead of clamping, so brightening
// turns bright channels dark; this is intended. An 8-bit indexed source has its index bytes
// multiplied, its colour table is kept. Alpha is kept.
//
// Previews run on a new object of this class and so always use 100 %.
class ZelImageProcessorAdjustRGBIntensity : public ZelImageProcessor
{
    Q_OBJECT
public:
    Q_INVOKABLE ZelImageProcessorAdjustRGBIntensity() : ZelImageProcessorAdjustRGBIntensity(QImage()) {}
    Q_INVOKABLE explicit ZelImageProcessorAdjustRGBIntensity(const QImage& image);

    using ZelImageProcessor::setParameters;
    // The factor is percent / 100, stored as a float.
    Q_INVOKABLE void setParameters(double percent);

public slots:
    void cancel() override { ZelImageProcessor::cancel(); }
    QImage result() override { return ZelImageProcessor::result(); }
    QImage generatePreview(const QSize& size) override { return ZelImageProcessor::generatePreview(size); }
    QImage generatePreview(const QRect& rect) override { return ZelImageProcessor::generatePreview(rect); }
};

#endif
