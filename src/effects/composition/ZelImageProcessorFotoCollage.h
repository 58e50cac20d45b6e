#ifndef ZELIMAGEPROCESSORFOTOCOLLAGE_H
#define ZELIMAGEPROCESSORFOTOCOLLAGE_H

#include "ZelImageProcessor.h"

#include <QColor>

// "Collage": photo prints, each with an outline, a soft drop shadow and a small random tilt,
// laid on a background. Without a photo list the source is cut into "ANumberOfColumns" x
// "BNumberOfRows" tiles laid out as prints, and the background grows to hold them; with a list
// (setImages) every photo gets a cell of a grid chosen from their number and the background's
// shape, a cell too many repeating a random photo, and every print is tilted by at least 5
// degrees. Tilts and repeats come from qrand(), which the library never seeds.
//
// A cancel returns the source unchanged, and so do a null source and a tile grid of less than
// one row or column or of more than 10000 cells. An unknown background mode, or a background too
// large to allocate, gives a null image. Previews are single-photo collages of the scaled source (or the section) with rows and
// columns exchanged, deliberately.
class ZelImageProcessorFotoCollage : public ZelImageProcessor
{
    Q_OBJECT
public:
    // Of type int, so that any value can be passed: values beyond these give a null image.
    enum BackGroundMode : int {
        ColoredBackground = 0,    // "AABgColor"
        TransparentBackground = 1,
        TiledTexture = 2,
        StretchedTexture = 3,
    };
    Q_ENUM(BackGroundMode)

    Q_INVOKABLE ZelImageProcessorFotoCollage() : ZelImageProcessorFotoCollage(QImage()) {}
    Q_INVOKABLE explicit ZelImageProcessorFotoCollage(const QImage& image);

    using ZelImageProcessor::setParameters;
    Q_INVOKABLE void setParameters(int columns, int rows, int outlineWidth, int shadowWidth, int maxAngle,
                                   const QColor& background, const QColor& outline, const QColor& shadow);
    // Replaces the photo list; an empty list makes the collage cut the source again.
    Q_INVOKABLE void setImages(const QList<QImage>& images);
    // The canvas of the multi-photo collage (initially 1800 x 1200); a single-photo collage
    // overwrites it with the size it needs.
    Q_INVOKABLE void setBgSize(int width, int height);
    Q_INVOKABLE void setBgTexture(const QImage& texture);
    Q_INVOKABLE void setBgMode(BackGroundMode mode);

public slots:
    void cancel() override { ZelImageProcessor::cancel(); }
    QImage result() override { return ZelImageProcessor::result(); }
    QImage generatePreview(const QSize& size) override { return ZelImageProcessor::generatePreview(size); }
    QImage generatePreview(const QRect& rect) override { return ZelImageProcessor::generatePreview(rect); }
};

#endif
