#ifndef ZELIMAGEPROCESSORMOSAIC_H
#define ZELIMAGEPROCESSORMOSAIC_H

#include "ZelImageProcessor.h"

// "Blöcke": fills every square block ("ABlockSize" percent of the shorter side) with the colour of
// its top-left pixel, alpha 255. Partial blocks at the right and bottom edges take the colour of
// their own top-left pixel.
//
// A block size that comes to 0 pixels returns the source unchanged, with finished(true). Sources
// that are not RGB32, ARGB32 or ARGB32_Premultiplied are converted first, to ARGB32 if they have
// an alpha channel and to RGB32 otherwise; the result has the converted format. A null source
// gives a null image.
class ZelImageProcessorMosaic : public ZelImageProcessor
{
    Q_OBJECT
public:
    Q_INVOKABLE ZelImageProcessorMosaic() : ZelImageProcessorMosaic(QImage()) {}
    Q_INVOKABLE explicit ZelImageProcessorMosaic(const QImage& image);

    using ZelImageProcessor::setParameters;
    Q_INVOKABLE void setParameters(int blockSize);

public slots:
    void cancel() override { ZelImageProcessor::cancel(); }
    QImage result() override { return ZelImageProcessor::result(); }
    QImage generatePreview(const QSize& size) override { return ZelImageProcessor::generatePreview(size); }
    QImage generatePreview(const QRect& rect) override { return ZelImageProcessor::generatePreview(rect); }
};

#endif
