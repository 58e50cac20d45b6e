#include "ZelOpaqueCopy_p.h"

#include <cstring>

namespace {

bool isOpaque(const QImage& image)
{
    const int width = image.width();
    for (int y = 0; y < image.height(); ++y) {
        const QRgb* line = reinterpret_cast<const QRgb*>(image.constScanLine(y));
        QRgb all = 0xFFFFFFFFu;
        for (int x = 0; x < width; ++x)
            all &= line[x];
        if (qAlpha(all) != 255)
            return false;
    }
    return true;
}

} // namespace

bool zelCopyOpaqueImage(QImage& canvas, const QImage& image, int x, int y)
{
    if (image.isNull())
        return true;
    const QImage words = image.format() == QImage::Format_RGB32 || image.format() == QImage::Format_ARGB32
        ? image
        : image.convertToFormat(image.hasAlphaChannel() ? QImage::Format_ARGB32 : QImage::Format_RGB32);
    if (words.isNull() || (words.format() == QImage::Format_ARGB32 && !isOpaque(words)))
        return false;
    const QRect target = QRect(x, y, words.width(), words.height()) & canvas.rect();
    const bool addAlpha = words.format() == QImage::Format_RGB32;
    for (int row = target.top(); row <= target.bottom(); ++row) {
        const QRgb* in = reinterpret_cast<const QRgb*>(words.constScanLine(row - y)) + (target.left() - x);
        QRgb* out = reinterpret_cast<QRgb*>(canvas.scanLine(row)) + target.left();
        if (!addAlpha) {
            std::memcpy(out, in, size_t(target.width()) * sizeof(QRgb));
            continue;
        }
        for (int i = 0; i < target.width(); ++i)
            out[i] = in[i] | 0xFF000000u;
    }
    return true;
}
