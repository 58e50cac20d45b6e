#ifndef ZELPIXELWORDS_P_H
#define ZELPIXELWORDS_P_H

#include "ZelImageAllocation_p.h"

#include <QColorSpace>
#include <QImage>
#include <QStringList>

#include <algorithm>
#include <cstring>

// Pixel loops compute on 32-bit pixel words. RGB32, ARGB32 and ARGB32_Premultiplied are used as
// they are (premultiplied words are handled as raw words); every other format is converted
// first, to ARGB32 where it has an alpha channel and to RGB32 where it has none, so that
// hasAlphaChannel() keeps its answer. The conversion is null when it cannot be allocated.
inline bool zelIsPixelWordFormat(QImage::Format format)
{
    return format == QImage::Format_RGB32 || format == QImage::Format_ARGB32
        || format == QImage::Format_ARGB32_Premultiplied;
}

inline QImage zelToPixelWords(const QImage& image)
{
    if (image.isNull() || zelIsPixelWordFormat(image.format()))
        return image;
    return zelConvertImage(image, image.hasAlphaChannel() ? QImage::Format_ARGB32 : QImage::Format_RGB32);
}

// zelToPixelWords for a loop that overwrites the words in place: never shares the pixels of
// image, so the writes do not detach it through QImage's own allocation.
inline QImage zelWritablePixelWords(const QImage& image)
{
    if (image.isNull() || !zelIsPixelWordFormat(image.format()))
        return zelToPixelWords(image);
    return zelCopyImage(image);
}

// QImage::pixel() on a pixel word: RGB32 reads with alpha 255, the other word formats raw.
inline QRgb zelPixelWordAlphaMask(const QImage& image)
{
    return image.format() == QImage::Format_RGB32 ? 0xFF000000u : 0u;
}

// What image.transformed() with a mirroring matrix gives for the pixel word formats, without
// its malloc'd copy: upsideDown reverses the rows, otherwise the columns. Qt hands the mirror of
// an ARGB32 image back premultiplied and drops the offset; both are kept here. Null for other
// formats (and when the image cannot be allocated), which are left to Qt.
inline QImage zelMirroredWords(const QImage& image, bool upsideDown)
{
    if (image.isNull() || !zelIsPixelWordFormat(image.format()))
        return QImage();
    const bool premultiply = image.format() == QImage::Format_ARGB32;
    QImage mirrored = zelNewImage(image.size(), premultiply ? QImage::Format_ARGB32_Premultiplied : image.format());
    if (mirrored.isNull())
        return mirrored;
    mirrored.setDotsPerMeterX(image.dotsPerMeterX());
    mirrored.setDotsPerMeterY(image.dotsPerMeterY());
    mirrored.setDevicePixelRatio(image.devicePixelRatio());
    mirrored.setColorSpace(image.colorSpace());
    const QStringList keys = image.textKeys();
    for (const QString& key : keys)
        mirrored.setText(key, image.text(key));
    const int width = image.width();
    const int height = image.height();
    for (int y = 0; y < height; ++y) {
        const QRgb* in = reinterpret_cast<const QRgb*>(image.constScanLine(upsideDown ? height - 1 - y : y));
        QRgb* out = reinterpret_cast<QRgb*>(mirrored.scanLine(y));
        if (premultiply) {
            for (int x = 0; x < width; ++x)
                out[x] = qPremultiply(in[upsideDown ? x : width - 1 - x]);
        } else if (upsideDown) {
            std::memcpy(out, in, size_t(width) * sizeof(QRgb));
        } else {
            std::reverse_copy(in, in + width, out);
        }
    }
    return mirrored;
}

#endif
