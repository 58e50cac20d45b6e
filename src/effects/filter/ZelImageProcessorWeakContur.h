#ifndef ZELIMAGEPROCESSORWEAKCONTUR_H
#define ZELIMAGEPROCESSORWEAKCONTUR_H

#include "ZelImageProcessor.h"

// "Schwache Konturen": a lighter outline picture. The grey levels (ZelImageProcessorIntensity)
// are convolved with the Laplace kernel, inverted and doubled (ZelImageProcessorAdjustRGBIntensity
// at 200 %), each stage a complete processor of its own. The doubling wraps around on purpose,
// as in ZelImageProcessorStrongContur: flat areas come out as 254.
//
// The result is an 8-bit indexed image with a table of greys. The stages report no progress and
// there is no cancel between them; a null source gives a null image.
class ZelImageProcessorWeakContur : public ZelImageProcessor
{
    Q_OBJECT
public:
    Q_INVOKABLE ZelImageProcessorWeakContur() : ZelImageProcessorWeakContur(QImage()) {}
    Q_INVOKABLE explicit ZelImageProcessorWeakContur(const QImage& image);

public slots:
    void cancel() override { ZelImageProcessor::cancel(); }
    QImage result() override { return ZelImageProcessor::result(); }
    QImage generatePreview(const QSize& size) override { return ZelImageProcessor::generatePreview(size); }
    QImage generatePreview(const QRect& rect) override { return ZelImageProcessor::generatePreview(rect); }
};

#endif
