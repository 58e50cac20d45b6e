#ifndef ZELIMAGEPROCESSORDROPSHADOW_H
#define ZELIMAGEPROCESSORDROPSHADOW_H

#include "ZelImageProcessor.h"

#include <QColor>
#include <QPainterPath>
#include <QSizeF>

// "Schatten": puts the photo on a larger canvas of "AbBackgroundColor" over a shadow of its
// silhouette, "Distance" percent of its width away in the direction "Angle" (0 below, 90 right,
// 180 above, 270 left: sine with x and cosine with y, deliberately), "Size" percent of its size,
// "Intensity" / 255 opaque and softened by a Gaussian of "Blur" percent of a quarter of its
// shorter side, computed at reduced size. The result is larger than the source wherever the
// shadow sticks out.
//
// "AaGreyOnly" (the default) casts a black shadow from the photo's alpha; otherwise opaque parts
// cast black and translucent parts their own colour, and the blur then softens the whole canvas,
// background included (deliberate). There are no cancel checks. A null source, a negative
// "Size" or "Blur", an angle that is not finite, and values that would make the canvas larger
// than 2^28 pixels on a side or impossible to allocate give a null image.
class ZelImageProcessorDropShadow : public ZelImageProcessor
{
    Q_OBJECT
public:
    Q_INVOKABLE ZelImageProcessorDropShadow() : ZelImageProcessorDropShadow(QImage()) {}
    Q_INVOKABLE explicit ZelImageProcessorDropShadow(const QImage& image);

    // Each stores its value as given, in the parameter's own units (intensity 0 ... 255).
    Q_INVOKABLE void setDistance(double distance);
    Q_INVOKABLE void setIntensity(double intensity);
    Q_INVOKABLE void setBlur(double blur);
    Q_INVOKABLE void setSize(double size);
    Q_INVOKABLE void setAngle(double angle);
    Q_INVOKABLE void setBackgroundColor(const QColor& color);
    Q_INVOKABLE void setGreyOnly(bool greyOnly);

    // The grey-only shadow alone, intensity and blur in its alpha; null unless "AaGreyOnly".
    Q_INVOKABLE QImage shadowImage();
    // The blurred shadow's width and height relative to the photo's; invalid for a null source.
    Q_INVOKABLE QSizeF totalScale() const;

    // r scaled by scale and inset by trunc(inset) on every side; an empty path for an invalid r.
    // For applications that keep the shadow clear of a region; nothing in the library uses it.
    static QPainterPath createAvoidRegion(const QRect& r, double scale, double inset);

public slots:
    void cancel() override { ZelImageProcessor::cancel(); }
    QImage result() override { return ZelImageProcessor::result(); }
    QImage generatePreview(const QSize& size) override { return ZelImageProcessor::generatePreview(size); }
    QImage generatePreview(const QRect& rect) override { return ZelImageProcessor::generatePreview(rect); }
};

#endif
