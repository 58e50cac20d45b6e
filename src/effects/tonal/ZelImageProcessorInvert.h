#ifndef ZELIMAGEPROCESSORINVERT_H
#define ZELIMAGEPROCESSORINVERT_H

#include "ZelImageProcessor.h"

// The negative: every channel c becomes 255 - c and the result is always opaque. An 8-bit
// indexed source has its index bytes inverted, its colour table is kept. Reports progress after
// every row.
class ZelImageProcessorInvert : public ZelImageProcessor
{
    Q_OBJECT
public:
    Q_INVOKABLE ZelImageProcessorInvert() : ZelImageProcessorInvert(QImage()) {}
    Q_INVOKABLE explicit ZelImageProcessorInvert(const QImage& image);

public slots:
    void cancel() override { ZelImageProcessor::cancel(); }
    QImage result() override { return ZelImageProcessor::result(); }
    QImage generatePreview(const QSize& size) override { return ZelImageProcessor::generatePreview(size); }
    QImage generatePreview(const QRect& rect) override { return ZelImageProcessor::generatePreview(rect); }
};

#endif
