#ifndef ZELPIXELWORDS_P_H
#define ZELPIXELWORDS_P_H

#include <QImage>

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
    return image.convertToFormat(image.hasAlphaChannel() ? QImage::Format_ARGB32 : QImage::Format_RGB32);
}

// QImage::pixel() on a pixel word: RGB32 reads with alpha 255, the other word formats raw.
inline QRgb zelPixelWordAlphaMask(const QImage& image)
{
    return image.format() == QImage::Format_RGB32 ? 0xFF000000u : 0u;
}

#endif
