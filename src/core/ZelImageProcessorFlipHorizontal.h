#ifndef ZELIMAGEPROCESSORFLIPHORIZONTAL_H
#define ZELIMAGEPROCESSORFLIPHORIZONTAL_H

#include "ZelImageProcessor.h"

// "Horizontal spiegeln": mirrors about the horizontal axis, so the picture is turned upside
// down (the first row of the result is the last row of the source). The axis naming is the
// application's and is kept.
class ZelImageProcessorFlipHorizontal : public ZelImageProcessor
{
    Q_OBJECT
public:
    Q_INVOKABLE ZelImageProcessorFlipHorizontal();
    Q_INVOKABLE explicit ZelImageProcessorFlipHorizontal(const QImage& image);

public slots:
    void cancel() override;
    QImage result() override;
    QImage generatePreview(const QSize& size) override;
    QImage generatePreview(const QRect& rect) override;

private:
    void initImplementation(const QImage* image);
};

#endif
