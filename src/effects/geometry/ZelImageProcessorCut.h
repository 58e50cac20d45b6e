#ifndef ZELIMAGEPROCESSORCUT_H
#define ZELIMAGEPROCESSORCUT_H

#include "ZelImageProcessor.h"

#include <QRectF>

// "Ausschneiden": cuts the rectangle "Rect" out of the photo, each coordinate truncated toward
// zero. Parts of the rectangle outside the photo come out as zero pixels (QImage::copy); the null
// rectangle, the default, gives the whole photo.
class ZelImageProcessorCut : public ZelImageProcessor
{
    Q_OBJECT
public:
    Q_INVOKABLE ZelImageProcessorCut() : ZelImageProcessorCut(QImage()) {}
    Q_INVOKABLE explicit ZelImageProcessorCut(const QImage& image);

    // Writes the parameter "Rect".
    Q_INVOKABLE void setRect(const QRectF& rect);

public slots:
    void cancel() override { ZelImageProcessor::cancel(); }
    QImage result() override { return ZelImageProcessor::result(); }
    QImage generatePreview(const QSize& size) override { return ZelImageProcessor::generatePreview(size); }
    QImage generatePreview(const QRect& rect) override { return ZelImageProcessor::generatePreview(rect); }
};

#endif
