#ifndef ZELWORDROWS_P_H
#define ZELWORDROWS_P_H

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

#endif
