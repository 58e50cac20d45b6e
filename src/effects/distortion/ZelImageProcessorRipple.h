#ifndef ZELIMAGEPROCESSORRIPPLE_H
#define ZELIMAGEPROCESSORRIPPLE_H

#include "ZelImageProcessor.h"

// "Wasserringe": moves every pixel by a sine of its distance from the image centre, like rings of
// waves on water. Wavelength ("AWaveLength") and amplitude ("BAmplitude") are percentages of the
// longer side of the processed image, so a section preview measures them on the section.
//
// Sources that are not RGB32, ARGB32 or ARGB32_Premultiplied are converted first, to ARGB32 if
// they have an alpha channel and to RGB32 otherwise; the result has the converted format. A null
// source gives a null image. A wavelength of 0 pixels samples every pixel from (0, 0).
class ZelImageProcessorRipple : public ZelImageProcessor
{
    Q_OBJECT
public:
    Q_INVOKABLE ZelImageProcessorRipple() : ZelImageProcessorRipple(QImage()) {}
    Q_INVOKABLE explicit ZelImageProcessorRipple(const QImage& image);

    using ZelImageProcessor::setParameters;
    Q_INVOKABLE void setParameters(int waveLength, int amplitude);

public slots:
    void cancel() override { ZelImageProcessor::cancel(); }
    QImage result() override { return ZelImageProcessor::result(); }
    QImage generatePreview(const QSize& size) override { return ZelImageProcessor::generatePreview(size); }
    QImage generatePreview(const QRect& rect) override { return ZelImageProcessor::generatePreview(rect); }
};

#endif
