#ifndef ZELIMAGEPROCESSORCHARCOAL_H
#define ZELIMAGEPROCESSORCHARCOAL_H

#include "ZelImageProcessor.h"

// "Kohlezeichnung": a charcoal drawing, computed by the library's own processors one after the
// other, each reporting its progress on this effect's channel:
// 1. grey levels as an 8-bit indexed image (ZelImageProcessorGrayscale);
// 2. edges: the box difference of ZelConvolutionKernelGenerator::generateHVDifferenceFilter
//    with half-width "Radius" / 25 + 1 and its transpose, (|horizontal| + |vertical|) / factor
//    per pixel, truncated and clamped to 255, the neighbourhood clamped at the border;
//    progress "Kohlezeichnung" with an empty step after every row;
// 3. inverted (ZelImageProcessorInvert);
// 4. softened by the integer Gaussian of sigma "Radius" x 0.5, within 1.0 ... 5.0
//    (ZelImageProcessorConvolution, separable);
// 5. stretched to full contrast (ZelImageProcessorContrastStretch).
// The result is ARGB32 and grey; flat areas, without edges, end up black. "Radius" beyond
// 0 ... 100 draws like the nearer end. A cancel stops the chain after the running step and
// gives the source unchanged; a null source gives a null image.
class ZelImageProcessorCharcoal : public ZelImageProcessor
{
    Q_OBJECT
public:
    Q_INVOKABLE ZelImageProcessorCharcoal() : ZelImageProcessorCharcoal(QImage()) {}
    Q_INVOKABLE explicit ZelImageProcessorCharcoal(const QImage& image);

public slots:
    void cancel() override { ZelImageProcessor::cancel(); }
    QImage result() override { return ZelImageProcessor::result(); }
    QImage generatePreview(const QSize& size) override { return ZelImageProcessor::generatePreview(size); }
    QImage generatePreview(const QRect& rect) override { return ZelImageProcessor::generatePreview(rect); }
};

#endif
