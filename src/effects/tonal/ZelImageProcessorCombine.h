#ifndef ZELIMAGEPROCESSORCOMBINE_H
#define ZELIMAGEPROCESSORCOMBINE_H

#include "ZelImageProcessor.h"

// The per-channel magnitude of two images, trunc(sqrt(a^2 + b^2)), with alpha from the first.
// In 32-bit images the magnitude wraps modulo 256 (two channels of 255 give 104); in 8-bit
// indexed images, where it applies to the index bytes, it is clamped to 255. Both differences
// are intended.
//
// The first image is the source. When the two formats differ, both images are replaced by
// ARGB32 conversions for good (the source through setSourceImage); so are two images that share
// a format that is neither 32-bit nor 8-bit indexed. The second image must be at least as large
// as the first: a smaller or missing second image gives a null image.
class ZelImageProcessorCombine : public ZelImageProcessor
{
    Q_OBJECT
public:
    Q_INVOKABLE ZelImageProcessorCombine() : ZelImageProcessorCombine(QImage(), QImage()) {}
    Q_INVOKABLE ZelImageProcessorCombine(const QImage& first, const QImage& second);

public slots:
    void cancel() override { ZelImageProcessor::cancel(); }
    QImage result() override { return ZelImageProcessor::result(); }
    QImage generatePreview(const QSize& size) override { return ZelImageProcessor::generatePreview(size); }
    QImage generatePreview(const QRect& rect) override { return ZelImageProcessor::generatePreview(rect); }
};

#endif
