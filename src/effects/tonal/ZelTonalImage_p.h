#ifndef ZELTONALIMAGE_P_H
#define ZELTONALIMAGE_P_H

#include "ZelImageAllocation_p.h"
#include "ZelPixelWords_p.h"

#include <QImage>
#include <QStringList>
#include <QVector>

// Image helpers shared by the tonal effects.

// The image as the point operations take it: 8-bit indexed images stay as they are for the
// byte-wise path, everything else becomes pixel words.
inline QImage zelToPointOperationFormat(const QImage& image)
{
    return image.format() == QImage::Format_Indexed8 ? image : zelToPixelWords(image);
}

// An 8-bit indexed image of the given size whose colour table is the 256 opaque greys.
inline QImage zelGreyIndexedImage(const QSize& size)
{
    QImage grey = zelNewImage(size, QImage::Format_Indexed8);
    if (grey.isNull())
        return grey;
    QVector<QRgb> table(256);
    for (int i = 0; i < 256; ++i)
        table[i] = qRgb(i, i, i);
    grey.setColorTable(table);
    return grey;
}

#endif
