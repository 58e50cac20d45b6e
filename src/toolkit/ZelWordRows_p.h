#ifndef ZELWORDROWS_P_H
#define ZELWORDROWS_P_H

#include "ZelImageAllocation_p.h"

#include <QImage>

// The scan lines of a 32-bit image as pixel words, without QImage's detach check per row.
class ZelWordRows
{
public:
    // Read-only rows.
    explicit ZelWordRows(const QImage& image)
        : myBits(const_cast<uchar*>(image.constBits()))
        , myStride(image.bytesPerLine())
    {
    }
    // Writable rows; detaches the image once.
    explicit ZelWordRows(QImage* image)
        : myBits(image->bits())
        , myStride(image->bytesPerLine())
    {
    }
    QRgb* operator[](int y) const { return reinterpret_cast<QRgb*>(myBits + y * myStride); }

private:
    uchar* myBits;
    qsizetype myStride;
};

// A new image the size and format of words, written by write(in, out) from the rows of words;
// null when words is null or the new image cannot be allocated.
template <typename Write>
QImage zelWriteWordImage(const QImage& words, Write write)
{
    if (words.isNull())
        return QImage();
    QImage result = zelNewImage(words.size(), words.format());
    if (!result.isNull())
        write(ZelWordRows(words), ZelWordRows(&result));
    return result;
}

#endif
