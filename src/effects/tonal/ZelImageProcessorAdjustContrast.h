#ifndef ZELIMAGEPROCESSORADJUSTCONTRAST_H
#define ZELIMAGEPROCESSORADJUSTCONTRAST_H

#include "ZelImageProcessor.h"

// "Kontrast und Helligkeit", computed by ImageMagick: a sigmoidal contrast change of strength
// "Strength" (-100 ... 100; positive sharpens, negative softens, 0 skips the step), then a gamma
// correction with "Gamma" / 100 (0 ... 240; 100 is neutral, 0 gives black). The result is ARGB32
// whatever the source's format; a null source gives a null image, and so does a cancel.
class ZelImageProcessorAdjustContrast : public ZelImageProcessor
{
    Q_OBJECT
public:
    Q_INVOKABLE ZelImageProcessorAdjustContrast() : ZelImageProcessorAdjustContrast(QImage()) {}
    Q_INVOKABLE explicit ZelImageProcessorAdjustContrast(const QImage& image);

    // "Strength" = trunc(strength), "Gamma" = trunc(gamma * 100), each as value and default.
    Q_INVOKABLE void setGammaAndStrength(double strength, double gamma);

public slots:
    void cancel() override { ZelImageProcessor::cancel(); }
    QImage result() override { return ZelImageProcessor::result(); }
    QImage generatePreview(const QSize& size) override { return ZelImageProcessor::generatePreview(size); }
    QImage generatePreview(const QRect& rect) override { return ZelImageProcessor::generatePreview(rect); }
};

#endif
