#ifndef ZELIMAGEPROCESSORROTATE_H
#define ZELIMAGEPROCESSORROTATE_H

#include "ZelImageProcessor.h"

// "Rotieren": rotates the photo clockwise by the parameter "Degrees" with Qt's smooth transform.
// The result grows to hold the whole rotated photo; the corners it gains are transparent.
class ZelImageProcessorRotate : public ZelImageProcessor
{
    Q_OBJECT
public:
    Q_INVOKABLE ZelImageProcessorRotate() : ZelImageProcessorRotate(QImage()) {}
    Q_INVOKABLE explicit ZelImageProcessorRotate(const QImage& image);

    // Writes the parameter "Degrees".
    Q_INVOKABLE void setDegrees(double degrees);

public slots:
    void cancel() override { ZelImageProcessor::cancel(); }
    QImage result() override { return ZelImageProcessor::result(); }
    QImage generatePreview(const QSize& size) override { return ZelImageProcessor::generatePreview(size); }
    QImage generatePreview(const QRect& rect) override { return ZelImageProcessor::generatePreview(rect); }
};

#endif
