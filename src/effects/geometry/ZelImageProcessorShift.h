#ifndef ZELIMAGEPROCESSORSHIFT_H
#define ZELIMAGEPROCESSORSHIFT_H

#include "ZelImageProcessor.h"

// Random horizontal jitter: every row moves left or right by 0 up to the maximum shift (10 until
// set) pixels, the row's edge pixel filling the gap. The offsets come from the C library's rand(),
// which the library never seeds. Previews run on a fresh object and so shift by up to 10.
//
// Works byte-wise on any format with whole bytes per pixel (8-bit indexed included); mono sources
// are converted to ARGB32 first. A negative maximum shifts nothing, like 0.
class ZelImageProcessorShift : public ZelImageProcessor
{
    Q_OBJECT
public:
    Q_INVOKABLE ZelImageProcessorShift() : ZelImageProcessorShift(QImage()) {}
    Q_INVOKABLE explicit ZelImageProcessorShift(const QImage& image);

    // The maximum shift in pixels.
    Q_INVOKABLE void setShiftValue(int maximumShift);

public slots:
    void cancel() override { ZelImageProcessor::cancel(); }
    QImage result() override { return ZelImageProcessor::result(); }
    QImage generatePreview(const QSize& size) override { return ZelImageProcessor::generatePreview(size); }
    QImage generatePreview(const QRect& rect) override { return ZelImageProcessor::generatePreview(rect); }
};

#endif
