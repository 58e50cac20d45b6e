#ifndef ZELIMAGEALLOCATION_P_H
#define ZELIMAGEALLOCATION_P_H

#include <QImage>

// Every full-size image an effect hands back, or writes a whole pass into, is allocated here.
// Images of several megabytes live on memory aligned and advised for transparent huge pages:
// the first touch of a freshly mapped 96 MB image otherwise costs about 24000 page faults,
// several times the copy of its pixels. QImage's own copies, detaches and conversions allocate
// with malloc and pay those faults, so the functions below stand in for them. Each returns a
// null image when the image cannot be allocated, like QImage.

// Memory for a buffer of the given size, aligned to at least alignment (a power of two), to be
// released with std::free; null when it cannot be had. Buffers of several megabytes go on
// huge-page advised memory as the images below do. ImageMagick's aligned allocations (its pixel
// caches, and the 128 MB colour cache its dithering clears on every call) come from here too.
void* zelAllocateAligned(size_t bytes, size_t alignment);

// A new, uninitialised image like QImage(size, format).
QImage zelNewImage(const QSize& size, QImage::Format format);

// A new image in place of a copy of image that is about to be overwritten row by row: same size,
// format, colour table and metadata, pixels uninitialised.
QImage zelBlankLike(const QImage& image);

// image.copy(): a deep copy with the colour table and metadata, never sharing image's pixels.
// Also what writing to a shared image would detach to.
QImage zelCopyImage(const QImage& image);

// image.copy(rect), likewise; sections reaching outside the image are left to Qt.
QImage zelCopyImage(const QImage& image, const QRect& rect);

// image.convertToFormat(format) with the default flags, pixel for pixel. The same format gives
// image back shared, as Qt does. Conversions to the 32-bit pixel word formats go band by band
// through Qt's own converter into a new image from zelNewImage; other targets (palettes,
// dithering) need the whole image and are left to Qt.
QImage zelConvertImage(const QImage& image, QImage::Format format);

#endif
