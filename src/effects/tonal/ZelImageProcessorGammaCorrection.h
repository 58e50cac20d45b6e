#ifndef ZELIMAGEPROCESSORGAMMACORRECTION_H
#define ZELIMAGEPROCESSORGAMMACORRECTION_H

#include "ZelImageProcessor.h"

// "Gammakorrektur", computed by ImageMagick with the gamma "Gamma" / 100 (1 ... 100; 100 is
// neutral). Out-of-range values are passed on: 0 gives black, negative ones white. The result is
// ARGB32 whatever the source's format; a null source gives a null image, and so does a cancel.
class ZelImageProcessorGammaCorrection : public ZelImageProcessor
{
    Q_OBJECT
public:
    Q_INVOKABLE ZelImageProcessorGammaCorrection() : ZelImageProcessorGammaCorrection(QImage()) {}
    Q_INVOKABLE explicit ZelImageProcessorGammaCorrection(const QImage& image);

public slots:
    void cancel() override { ZelImageProcessor::cancel(); }
    QImage result() override { return ZelImageProcessor::result(); }
    QImage generatePreview(const QSize& size) override { return ZelImageProcessor::generatePreview(size); }
    QImage generatePreview(const QRect& rect) override { return ZelImageProcessor::generatePreview(rect); }
};

#endif
