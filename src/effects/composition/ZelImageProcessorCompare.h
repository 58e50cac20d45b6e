#ifndef ZELIMAGEPROCESSORCOMPARE_H
#define ZELIMAGEPROCESSORCOMPARE_H

#include "ZelImageProcessor.h"

// Compares the source with a reference picture of the same size through ImageMagick and returns
// its difference picture (differing pixels highlighted in red over a pale copy of the source);
// the three error figures of that comparison can be read afterwards. A reference of another size,
// or an empty one, gives a solid red picture of the source's size instead (32-bit for 8-bit
// indexed, grey or 1-bit sources) and leaves the figures as they were; an empty source gives a
// null image.
//
// Previews compare the scaled source (or the section) with the reference scaled (or cut) the
// same way; they leave this object's figures alone.
class ZelImageProcessorCompare : public ZelImageProcessor
{
    Q_OBJECT
public:
    Q_INVOKABLE ZelImageProcessorCompare() : ZelImageProcessorCompare(QImage()) {}
    Q_INVOKABLE explicit ZelImageProcessorCompare(const QImage& image);

    using ZelImageProcessor::setParameters;
    // The picture the source is compared with.
    Q_INVOKABLE void setParameters(const QImage& reference);

    // ImageMagick's figures of the last comparison (0 until one ran): the number of differing
    // pixels, the mean and the largest difference of a channel, both in 0 ... 1.
    Q_INVOKABLE double absoluteError() const;
    Q_INVOKABLE double absoluteMeanError() const;
    Q_INVOKABLE double peakError() const;

public slots:
    void cancel() override { ZelImageProcessor::cancel(); }
    QImage result() override { return ZelImageProcessor::result(); }
    QImage generatePreview(const QSize& size) override { return ZelImageProcessor::generatePreview(size); }
    QImage generatePreview(const QRect& rect) override { return ZelImageProcessor::generatePreview(rect); }
};

#endif
