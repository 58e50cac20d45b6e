#ifndef ZELIMAGEPROCESSOREXAMPLEGAUSS_H
#define ZELIMAGEPROCESSOREXAMPLEGAUSS_H

#include "ZelImageProcessor.h"

// Example effect: a separable Gaussian blur in integer taps, the starting point for new filters.
class ZelImageProcessorExampleGauss : public ZelImageProcessor
{
    Q_OBJECT
public:
    Q_INVOKABLE ZelImageProcessorExampleGauss() : ZelImageProcessorExampleGauss(QImage()) {}
    Q_INVOKABLE explicit ZelImageProcessorExampleGauss(const QImage& image);

    // Stores sigma, and boxSize if it is positive, else (int)(sigma * 3). The box size is the
    // kernel's radius: the kernel has 2 * boxSize + 1 taps.
    Q_INVOKABLE void setSigmaAndBoxSize(double sigma, int boxSize);

public slots:
    void cancel() override { ZelImageProcessor::cancel(); }
    QImage result() override { return ZelImageProcessor::result(); }
    QImage generatePreview(const QSize& size) override { return ZelImageProcessor::generatePreview(size); }
    QImage generatePreview(const QRect& rect) override { return ZelImageProcessor::generatePreview(rect); }
};

#endif
