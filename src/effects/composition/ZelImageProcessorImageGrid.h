#ifndef ZELIMAGEPROCESSORIMAGEGRID_H
#define ZELIMAGEPROCESSORIMAGEGRID_H

#include "ZelImageProcessor.h"

#include <QColor>
#include <QPointF>

// "Filmstreifen": lays several photos out unscaled in a grid of equal cells (sized for the
// largest photo, smaller ones top-left in their cell) and, while "ShowStrip" is on, draws the
// grid as a strip of film: margins in percent of the first photo's width, with rounded holes
// punched through to transparency. A grid with more cells than photos repeats them from the
// first. The selected photo gets a red frame.
//
// "GridSize" (columns x rows) of (0, 0) lays all photos in one row; a vertical strip transposes
// the grid. An empty photo list, or a canvas too large to allocate, gives a null image.
// Previews lay out the scaled source (or the section) alone, with default parameters.
class ZelImageProcessorImageGrid : public ZelImageProcessor
{
    Q_OBJECT
public:
    // No photos at all, unlike a grid on one null photo.
    Q_INVOKABLE ZelImageProcessorImageGrid() : ZelImageProcessorImageGrid(QList<QImage>()) {}
    // The one photo is the whole list.
    Q_INVOKABLE explicit ZelImageProcessorImageGrid(const QImage& image);
    // The first photo is the source image the previews are computed on.
    Q_INVOKABLE explicit ZelImageProcessorImageGrid(const QList<QImage>& images);

    // Replaces the photo list.
    Q_INVOKABLE void setImages(const QList<QImage>& images);

    Q_INVOKABLE void setBackgroundColor(const QColor& color);
    Q_INVOKABLE void setDistance(double distance);
    Q_INVOKABLE void setGridSize(const QSize& size);
    Q_INVOKABLE void setLeftMargin(int margin);
    Q_INVOKABLE void setRightMargin(int margin);
    Q_INVOKABLE void setTopMargin(int margin);
    Q_INVOKABLE void setBottomMargin(int margin);
    Q_INVOKABLE void setPaintFilmStrip(bool paint);
    Q_INVOKABLE void setHorizontalFilmStrip(bool horizontal);

    Q_INVOKABLE bool stripIsHorizontal() const;
    Q_INVOKABLE bool showStrip() const;

    // The index of the photo under p, p in 0 ... 1 over the whole canvas: the column for a
    // horizontal strip, the row for a vertical one. Margins are not taken into account and
    // nothing is clamped.
    Q_INVOKABLE int normalizedCoordinatesToImageIndex(const QPointF& p) const;

public slots:
    void cancel() override { ZelImageProcessor::cancel(); }
    QImage result() override { return ZelImageProcessor::result(); }
    QImage generatePreview(const QSize& size) override { return ZelImageProcessor::generatePreview(size); }
    QImage generatePreview(const QRect& rect) override { return ZelImageProcessor::generatePreview(rect); }
    // -1: no photo is selected.
    void setSelectedIndex(int index);
    int selectedIndex() const;
};

#endif
