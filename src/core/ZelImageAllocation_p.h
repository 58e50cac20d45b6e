#ifndef ZELIMAGEALLOCATION_P_H
#define ZELIMAGEALLOCATION_P_H

#include <QImage>

// A new, uninitialised image like QImage(size, format). Images of several megabytes live on
// memory aligned and advised for transparent huge pages: the first touch of a freshly mapped
// 96 MB image otherwise costs about 24000 page faults, several times the copy of its pixels.
// Null when the image cannot be allocated, like QImage.
QImage zelNewImage(const QSize& size, QImage::Format format);

#endif
