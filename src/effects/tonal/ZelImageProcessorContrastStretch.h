#ifndef ZELIMAGEPROCESSORCONTRASTSTRETCH_H
#define ZELIMAGEPROCESSORCONTRASTSTRETCH_H

#include "ZelImageProcessor.h"

// Stretches the HSV values between the 1 % points of their histogram to 0..255, keeping hue and
// saturation; the result is opaque. An 8-bit indexed source keeps its index bytes and gets a
// table of greys stretched between the 1 % points of its index histogram.
//
// The histogram lives in the object and keeps accumulating over calls of result() while the
// pixel count does not, so a second run on the same image finds its points at 0.5 %. On 32-bit
// sources result() emits no finished signal: the returned image ends the run. Both are relied on by saved edits.
class ZelImageProcessorContrastStretch : public ZelImageProcessor
{
    Q_OBJECT
public:
    Q_INVOKABLE ZelImageProcessorContrastStretch() : ZelImageProcessorContrastStretch(QImage()) {}
    Q_INVOKABLE explicit ZelImageProcessorContrastStretch(const QImage& image);

public slots:
    void cancel() override { ZelImageProcessor::cancel(); }
    QImage result() override { return ZelImageProcessor::result(); }
    QImage generatePreview(const QSize& size) override { return ZelImageProcessor::generatePreview(size); }
    QImage generatePreview(const QRect& rect) override { return ZelImageProcessor::generatePreview(rect); }
};

#endif
