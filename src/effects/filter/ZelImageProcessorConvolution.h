#ifndef ZELIMAGEPROCESSORCONVOLUTION_H
#define ZELIMAGEPROCESSORCONVOLUTION_H

#include "ZelImageProcessor.h"

#include <QPainterPath>
#include <QVector>

// "Faltung": applies a caller's integer kernel, either a full 2-D matrix or one separable 1-D
// kernel used along both directions; the last setParameters() decides which.
//
// 2-D kernel, kernel[row][column], read as n rows of n weights with n the number of rows:
// - 8-bit indexed sources: every index byte becomes |sum| modulo 256 of the kernel over its
//   neighbourhood, rows and columns clamped into the image.
// - Other sources (converted to 32-bit pixel words first): only pixels at least n rows and n
//   columns away from the border are computed (a 3 x 3 kernel leaves three rows and columns on
//   each side unchanged); each channel sum is written as it is, opaque, and a sum outside
//   0 ... 255 turns the pixel opaque black. There is no division at all.
// - A kernel whose first row is not n long, or with a shorter row, is not read: the source comes
//   back unchanged. An empty kernel, or one of empty rows, sums to 0 (opaque black in 32-bit
//   images) wherever it computes.
//
// Separable kernel: a pass along x, then one along y, each with clamped taps. 32-bit pixels get
// the low 8 bits of trunc(sum / factor) in each of their four bytes, alpha included; 8-bit
// indexed images floor(sum / factor + 0.5), low 8 bits. Pixels inside the region to avoid
// ("AAvoidRegion") are copied from the source in each pass, but deliberately not from their own
// place: from the row (column, in the pass along x) where the last computed sum of the pass took
// its final tap, or from row (column) 0 before any sum. Sums are exact whatever the kernel's
// weights; a kernel far larger than the image costs its full size per pixel.
//
// Previews always run the 2-D kernel, even when the effect is set up separable (they are black
// then, the 2-D kernel being empty), and ignore the region to avoid. This is deliberate.
//
// Reports progress after every computed row of every pass. A cancel returns the source
// unchanged; a null source gives a null image.
class ZelImageProcessorConvolution : public ZelImageProcessor
{
    Q_OBJECT
public:
    Q_INVOKABLE ZelImageProcessorConvolution() : ZelImageProcessorConvolution(QImage()) {}
    Q_INVOKABLE explicit ZelImageProcessorConvolution(const QImage& image);

    using ZelImageProcessor::setParameters;
    // Separable kernel, divided by factor.
    Q_INVOKABLE void setParameters(const QVector<int>& kernel, double factor);
    // 2-D kernel; the factor is discarded on purpose and 1.0 stored instead.
    Q_INVOKABLE void setParameters(const QVector<QVector<int> >& kernel, double factor);

    // The region the separable passes leave alone, stored as "AAvoidRegion".
    Q_INVOKABLE void setRegionToAvoid(const QPainterPath& region);
    // A stored value of another type is converted where QVariant can, else an empty path.
    QPainterPath regionToAvoid() const;

public slots:
    void cancel() override { ZelImageProcessor::cancel(); }
    QImage result() override { return ZelImageProcessor::result(); }
    QImage generatePreview(const QSize& size) override { return ZelImageProcessor::generatePreview(size); }
    QImage generatePreview(const QRect& rect) override { return ZelImageProcessor::generatePreview(rect); }
};

#endif
