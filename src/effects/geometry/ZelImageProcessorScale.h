#ifndef ZELIMAGEPROCESSORSCALE_H
#define ZELIMAGEPROCESSORSCALE_H

#include "ZelImageProcessor.h"

// "Skalieren": scales the photo by a horizontal and a vertical factor (both 1.0 until set) with
// Qt's smooth transform. Previews always show factor 1.0.
class ZelImageProcessorScale : public ZelImageProcessor
{
    Q_OBJECT
public:
    Q_INVOKABLE ZelImageProcessorScale() : ZelImageProcessorScale(QImage()) {}
    Q_INVOKABLE explicit ZelImageProcessorScale(const QImage& image);

    using ZelImageProcessor::setParameters;
    // Stores the two factors; the effect has no parameter container entries for them.
    Q_INVOKABLE void setParameters(double horizontal, double vertical);

public slots:
    void cancel() override { ZelImageProcessor::cancel(); }
    QImage result() override { return ZelImageProcessor::result(); }
    QImage generatePreview(const QSize& size) override { return ZelImageProcessor::generatePreview(size); }
    QImage generatePreview(const QRect& rect) override { return ZelImageProcessor::generatePreview(rect); }
};

#endif
