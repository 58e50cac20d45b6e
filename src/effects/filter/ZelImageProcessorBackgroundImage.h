#ifndef ZELIMAGEPROCESSORBACKGROUNDIMAGE_H
#define ZELIMAGEPROCESSORBACKGROUNDIMAGE_H

#include "ZelImageProcessor.h"

// "Weichzeichner": a soft background picture made by ImageMagick (ZelMagickWandWrapper::blur).
// Three steps of 0 ... 10, each used only while its parameter is enabled:
// - "BUnsharpen": a blur of radius 1.5 s and sigma s, s = qRound(sqrt(width x height) x
//   BUnsharpen / 10 / 25); it cannot be cancelled. Values beyond 0 ... 10 blur like the nearer
//   end (a larger blur would take hours).
// - "ASaturation": the saturation lowered by 10 points per step.
// - "CWhiteRatio": the picture faded toward white by 23 levels per step (white from 12 on).
// The result is ARGB32; a cancel after the blur, or a null source, gives a null image.
class ZelImageProcessorBackgroundImage : public ZelImageProcessor
{
    Q_OBJECT
public:
    Q_INVOKABLE ZelImageProcessorBackgroundImage() : ZelImageProcessorBackgroundImage(QImage()) {}
    Q_INVOKABLE explicit ZelImageProcessorBackgroundImage(const QImage& image);

    using ZelImageProcessor::setParameters;
    // Sets "CWhiteRatio", "BUnsharpen" and "ASaturation", in this order.
    Q_INVOKABLE void setParameters(int whiteRatio, int unsharpen, int saturation);

    // The parameters' values, 0 while a parameter is disabled.
    int whiteRatio() const;
    int unsharpenStrength() const;
    int saturationStrength() const;
    // The blur's sigma in pixels for the current source, as described above.
    int unsharpenStrengthDenormalized() const;

public slots:
    void cancel() override { ZelImageProcessor::cancel(); }
    QImage result() override { return ZelImageProcessor::result(); }
    QImage generatePreview(const QSize& size) override { return ZelImageProcessor::generatePreview(size); }
    QImage generatePreview(const QRect& rect) override { return ZelImageProcessor::generatePreview(rect); }
};

#endif
