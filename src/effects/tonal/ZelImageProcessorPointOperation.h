#ifndef ZELIMAGEPROCESSORPOINTOPERATION_H
#define ZELIMAGEPROCESSORPOINTOPERATION_H

#include "ZelImageProcessor.h"

#include <QPoint>

// The skeleton of a point operation, computing nothing: result() and both previews give null
// images and pointOperation() gives 0. It has no meta-object of its own (no Q_OBJECT), so the
// effect registry cannot offer it.
class ZelImageProcessorPointOperation : public ZelImageProcessor
{
public:
    ZelImageProcessorPointOperation() : ZelImageProcessorPointOperation(QImage()) {}
    explicit ZelImageProcessorPointOperation(const QImage& image);

    quint32 pointOperation(const QPoint& point) const;

    QImage result() override { return ZelImageProcessor::result(); }
    QImage generatePreview(const QSize& size) override;
    QImage generatePreview(const QRect& rect) override;
};

#endif
