#ifndef ZELIMAGEPROCESSORADJUSTHSB_H
#define ZELIMAGEPROCESSORADJUSTHSB_H

#include "ZelImageProcessor.h"

// "Einfärben" (hue, saturation and brightness), computed by ImageMagick's modulation, whose three
// percentages are 100 for "unchanged". The three values of setParameters reach ImageMagick
// rotated: the second as hue, the third as saturation, the first as brightness. All three start
// at 100, so an effect that was never set leaves the picture as it is.
//
// result() ends with finished(true) and leaves its progress relay connected. The result is ARGB32
// whatever the source's format; a null source gives a null image, and so does a cancel. Previews
// use the same three values.
class ZelImageProcessorAdjustHSB : public ZelImageProcessor
{
    Q_OBJECT
public:
    Q_INVOKABLE ZelImageProcessorAdjustHSB() : ZelImageProcessorAdjustHSB(QImage()) {}
    Q_INVOKABLE explicit ZelImageProcessorAdjustHSB(const QImage& image);

    using ZelImageProcessor::setParameters;
    Q_INVOKABLE void setParameters(double first, double second, double third);

public slots:
    void cancel() override { ZelImageProcessor::cancel(); }
    QImage result() override { return ZelImageProcessor::result(); }
    QImage generatePreview(const QSize& size) override { return ZelImageProcessor::generatePreview(size); }
    QImage generatePreview(const QRect& rect) override { return ZelImageProcessor::generatePreview(rect); }
};

#endif
