#ifndef ZELIMAGEPROCESSORTHREEDGRID_H
#define ZELIMAGEPROCESSORTHREEDGRID_H

#include "ZelImageProcessor.h"

// "3D Kacheln": cuts the image into square cells ("ACellSize" percent of the shorter side) and
// darkens and lightens ("BLineDepth", on the 0..255 scale) bands one pixel inside each cell's
// border, so that the cells look like raised tiles. Every pixel gets alpha 255.
//
// A cell size that comes to 0 pixels (a shorter side under 10 pixels at 10 %) returns the source
// unchanged, with finished(true). Sources that are not RGB32, ARGB32 or ARGB32_Premultiplied are
// converted first, to ARGB32 if they have an alpha channel and to RGB32 otherwise; the result has
// the converted format. A null source gives a null image.
class ZelImageProcessorThreeDGrid : public ZelImageProcessor
{
    Q_OBJECT
public:
    Q_INVOKABLE ZelImageProcessorThreeDGrid() : ZelImageProcessorThreeDGrid(QImage()) {}
    Q_INVOKABLE explicit ZelImageProcessorThreeDGrid(const QImage& image);

    using ZelImageProcessor::setParameters;
    Q_INVOKABLE void setParameters(int cellSize, int lineDepth);

public slots:
    void cancel() override { ZelImageProcessor::cancel(); }
    QImage result() override { return ZelImageProcessor::result(); }
    QImage generatePreview(const QSize& size) override { return ZelImageProcessor::generatePreview(size); }
    QImage generatePreview(const QRect& rect) override { return ZelImageProcessor::generatePreview(rect); }
};

#endif
