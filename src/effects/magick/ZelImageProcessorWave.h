#ifndef ZELIMAGEPROCESSORWAVE_H
#define ZELIMAGEPROCESSORWAVE_H

#include "ZelImageProcessor.h"

// "Welle": ImageMagick's sine wave down the columns, on a transparent background that grows the
// picture by twice the amplitude. "NumberOfMaxima" waves of length 2 x width / maxima run across
// the picture, at most width / 4 of them (so at least 8 pixels long); "Amplitude" is in per cent
// of the height. A picture narrower than 4 pixels gets an infinite wave length, that is, a
// straight band. A cancel during the computation, a null or empty source give a null image.
class ZelImageProcessorWave : public ZelImageProcessor
{
    Q_OBJECT
public:
    Q_INVOKABLE ZelImageProcessorWave() : ZelImageProcessorWave(QImage()) {}
    Q_INVOKABLE explicit ZelImageProcessorWave(const QImage& image);

    using ZelImageProcessor::setParameters;
    // The amplitude is stored truncated to an int.
    Q_INVOKABLE void setParameters(int numberOfMaxima, double amplitude);

public slots:
    void cancel() override { ZelImageProcessor::cancel(); }
    QImage result() override { return ZelImageProcessor::result(); }
    QImage generatePreview(const QSize& size) override { return ZelImageProcessor::generatePreview(size); }
    QImage generatePreview(const QRect& rect) override { return ZelImageProcessor::generatePreview(rect); }
};

#endif
