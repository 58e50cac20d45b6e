#ifndef ZELIMAGEPROCESSORFLIPVERTICAL_H
#define ZELIMAGEPROCESSORFLIPVERTICAL_H

#include "ZelImageProcessor.h"

// "Vertikal spiegeln": mirrors about the vertical axis, left to right (the first column of the
// result is the last column of the source).
class ZelImageProcessorFlipVertical : public ZelImageProcessor
{
    Q_OBJECT
public:
    Q_INVOKABLE ZelImageProcessorFlipVertical();
    Q_INVOKABLE explicit ZelImageProcessorFlipVertical(const QImage& image);

public slots:
    void cancel() override;
    QImage result() override;
    QImage generatePreview(const QSize& size) override;
    QImage generatePreview(const QRect& rect) override;

private:
    void initImplementation(const QImage* image);
};

#endif
