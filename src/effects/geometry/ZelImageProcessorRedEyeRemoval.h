#ifndef ZELIMAGEPROCESSORREDEYEREMOVAL_H
#define ZELIMAGEPROCESSORREDEYEREMOVAL_H

#include "ZelImageProcessor.h"

#include <QRect>

// "Rote Augen Korrektur": finds red pupils with libRedEye and takes the red out of them, over
// the whole photo (a null region, the default), near one clicked point (a 1 x 1 region, or any
// region that shrinks to one pixel on the reduced detection copy) or inside a rectangle. The
// result is the photo as Format_RGB32; a grey photo comes back unchanged without a search.
// Previews always search the whole preview image.
class ZelImageProcessorRedEyeRemoval : public ZelImageProcessor
{
    Q_OBJECT
public:
    Q_INVOKABLE ZelImageProcessorRedEyeRemoval() : ZelImageProcessorRedEyeRemoval(QImage()) {}
    Q_INVOKABLE explicit ZelImageProcessorRedEyeRemoval(const QImage& image);

    using ZelImageProcessor::setParameters;
    // region in photo coordinates; flag is stored and read by nothing.
    Q_INVOKABLE void setParameters(const QRect& region, bool flag);
    // Whether the last result() corrected at least one pupil.
    Q_INVOKABLE bool removed() const;

public slots:
    void cancel() override { ZelImageProcessor::cancel(); }
    QImage result() override { return ZelImageProcessor::result(); }
    QImage generatePreview(const QSize& size) override { return ZelImageProcessor::generatePreview(size); }
    QImage generatePreview(const QRect& rect) override { return ZelImageProcessor::generatePreview(rect); }
};

#endif
