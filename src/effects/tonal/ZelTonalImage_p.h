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

// A new image in place of a copy of image that is about to be overwritten row by row: same size,
// format, colour table and metadata, pixels uninitialised (large ones on huge pages). Null when it
// cannot be allocated.
inline QImage zelBlankLike(const QImage& image)
{
    QImage blank = zelNewImage(image.size(), image.format());
    if (blank.isNull())
        return blank;
    blank.setColorTable(image.colorTable());
    blank.setDotsPerMeterX(image.dotsPerMeterX());
    blank.setDotsPerMeterY(image.dotsPerMeterY());
    blank.setOffset(image.offset());
    blank.setDevicePixelRatio(image.devicePixelRatio());
    const QStringList keys = image.textKeys();
    for (const QString& key : keys)
        blank.setText(key, image.text(key));
    return blank;
}

// An 8-bit indexed image of the given size whose colour table is the 256 opaque greys.
inline QImage zelGreyIndexedImage(const QSize& size)
{
    QImage grey(size, QImage::Format_Indexed8);
    if (grey.isNull())
        return grey;
    QVector<QRgb> table(256);
    for (int i = 0; i < 256; ++i)
        table[i] = qRgb(i, i, i);
    grey.setColorTable(table);
    return grey;
}

#endif
