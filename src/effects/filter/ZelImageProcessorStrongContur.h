#ifndef ZELIMAGEPROCESSORSTRONGCONTUR_H
#define ZELIMAGEPROCESSORSTRONGCONTUR_H

#include "ZelImageProcessor.h"

// "Starke Konturen": a pencil-like outline picture. The grey levels (ZelImageProcessorIntensity)
// are convolved with the horizontal and the vertical Sobel kernel, the two responses combined to
// their magnitude (ZelImageProcessorCombine), inverted and doubled
// (ZelImageProcessorAdjustRGBIntensity at 200 %), each stage a complete processor of its own.
// The doubling wraps around on purpose: flat areas, white after the inversion, come out as
// 510 modulo 256 = 254, and the lines' bright halves fold over.
//
// The result is an 8-bit indexed image with a table of greys. The stages report no progress and
// there is no cancel between them; a null source gives a null image.
class ZelImageProcessorStrongContur : public ZelImageProcessor
{
    Q_OBJECT
public:
    Q_INVOKABLE ZelImageProcessorStrongContur() : ZelImageProcessorStrongContur(QImage()) {}
    Q_INVOKABLE explicit ZelImageProcessorStrongContur(const QImage& image);

public slots:
    void cancel() override { ZelImageProcessor::cancel(); }
    QImage result() override { return ZelImageProcessor::result(); }
    QImage generatePreview(const QSize& size) override { return ZelImageProcessor::generatePreview(size); }
    QImage generatePreview(const QRect& rect) override { return ZelImageProcessor::generatePreview(rect); }
};

#endif
