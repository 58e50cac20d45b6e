#ifndef ZELMAGICKWANDWRAPPER_P_H
#define ZELMAGICKWANDWRAPPER_P_H

#include <QRect>
#include <QSize>
#include <QVector>

// How many wands the bridge has created in this process: tools tell from it whether an effect
// computes through ImageMagick.
quint64 zelMagickWandsCreated();

// ImageMagick's resource limits that bound a sketch: bytes of memory and map together, pixels of
// area, and the widest and highest image.
struct ZelSketchResourceLimits
{
    double bytes = 0;
    double area = 0;
    double width = 0;
    double height = 0;
};

// The tiles a sketch of a picture of the given size is computed in. One tile (the whole picture)
// whenever ImageMagick can sketch it at once; otherwise tiles that fit the limits, each to be
// sketched with overlap pixels of its neighbours around it.
struct ZelSketchTiling
{
    QVector<QRect> tiles;
    int overlap = 0;
};

ZelSketchTiling zelSketchTiling(const QSize& size, double radius, const ZelSketchResourceLimits& limits);

#endif
