#ifndef ZELIMAGEPROCESSORILLUSION_H
#define ZELIMAGEPROCESSORILLUSION_H

#include "ZelImageProcessor.h"

// "Prismenlinsen": cuts the image into "ASectionCount" equal angular wedges around its centre
// and shifts each wedge outwards along its own centre direction by a quarter of the diagonal,
// blending more of the shifted picture the further a pixel lies from the centre. Every pixel gets
// alpha 255. A section count of 0 samples every pixel from (0, 0).
//
// Sources that are not RGB32, ARGB32 or ARGB32_Premultiplied are converted first, to ARGB32 if
// they have an alpha channel and to RGB32 otherwise; the result has the converted format. A null
// source gives a null image.
class ZelImageProcessorIllusion : public ZelImageProcessor
{
    Q_OBJECT
public:
    Q_INVOKABLE ZelImageProcessorIllusion() : ZelImageProcessorIllusion(QImage()) {}
    Q_INVOKABLE explicit ZelImageProcessorIllusion(const QImage& image);

    using ZelImageProcessor::setParameters;
    Q_INVOKABLE void setParameters(int sectionCount);
    Q_INVOKABLE void setSectionCount(int sectionCount);

public slots:
    void cancel() override { ZelImageProcessor::cancel(); }
    QImage result() override { return ZelImageProcessor::result(); }
    QImage generatePreview(const QSize& size) override { return ZelImageProcessor::generatePreview(size); }
    QImage generatePreview(const QRect& rect) override { return ZelImageProcessor::generatePreview(rect); }
};

#endif
