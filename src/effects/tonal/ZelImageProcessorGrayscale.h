#ifndef ZELIMAGEPROCESSORGRAYSCALE_H
#define ZELIMAGEPROCESSORGRAYSCALE_H

#include "ZelImageProcessor.h"

// "Schwarzweiß": the grey (11 red + 16 green + 5 blue) >> 5 of every pixel, in the chosen output
// format (ARGB32 unless set). 8-bit indexed output gets a table of the 256 greys; other formats
// keep each pixel's alpha (RGB32 output is opaque) and are converted from ARGB32. Sources in
// other formats than 32-bit pixels are converted first. Reports progress after every row.
//
// Previews run on a new object of this class and so always produce ARGB32.
class ZelImageProcessorGrayscale : public ZelImageProcessor
{
    Q_OBJECT
public:
    Q_INVOKABLE ZelImageProcessorGrayscale() : ZelImageProcessorGrayscale(QImage()) {}
    Q_INVOKABLE explicit ZelImageProcessorGrayscale(const QImage& image);

    // Chooses the output format. Callers reach it by this spelling through the meta-object, so
    // it stays. A value that is not a
    // valid QImage::Format makes result() give a null image.
    Q_INVOKABLE void setParamters(QImage::Format format);

public slots:
    void cancel() override { ZelImageProcessor::cancel(); }
    QImage result() override { return ZelImageProcessor::result(); }
    QImage generatePreview(const QSize& size) override { return ZelImageProcessor::generatePreview(size); }
    QImage generatePreview(const QRect& rect) override { return ZelImageProcessor::generatePreview(rect); }
};

#endif
