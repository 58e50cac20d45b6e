#ifndef ZELOPAQUECOPY_P_H
#define ZELOPAQUECOPY_P_H

#include <QImage>

// Draws image unscaled with its top left corner at (x, y) onto a Format_ARGB32 canvas, as
// QPainter's SourceOver would, by copying rows, when every pixel of image is opaque: those
// pixels are then written unchanged, where QPainter would convert every pixel of the
// non-premultiplied canvas there and back. Returns false, drawing nothing, when image has a
// translucent pixel (or cannot be converted), leaving the drawing to QPainter. Copying while a
// QPainter is active on the canvas is fine: the raster engine draws at once.
bool zelCopyOpaqueImage(QImage& canvas, const QImage& image, int x, int y);

#endif
