#include "ZelEditImageManipulator.h"
#include "ZelConvolution_p.h"
#include "ZelEditImageManipulator_p.h"
#include "ZelHsvBatch_p.h"
#include "ZelHsv_p.h"
#include "ZelImageAllocation_p.h"
#include "ZelPixelMath_p.h"
#include "ZelPixelWords_p.h"
#include "ZelWordRows_p.h"

#include <QMutexLocker>
#include <QPainter>
#include <QtDebug>

#include <algorithm>
#include <atomic>
#include <cmath>
#include <cstring>
#include <numeric>
#include <vector>

#ifdef __SSE2__
#include <emmintrin.h>
#endif

QMutex ZelEditImageManipulator::myMutex;

namespace {

std::atomic<const quint32*> gFadeTable{nullptr};
std::atomic<int> gFadeTableCreations{0};

bool isRgb32OrArgb32(const QImage& image)
{
    return image.format() == QImage::Format_RGB32 || image.format() == QImage::Format_ARGB32;
}

// The cross-fade of one channel for every pair of channel values, index a << 8 | b.
std::vector<uchar> morphTable(int step, int steps)
{
    std::vector<uchar> table(256 * 256);
    const qint64 weightA = qint64(steps) - step;
    for (int a = 0; a < 256; ++a)
        for (int b = 0; b < 256; ++b)
            table[size_t(a << 8 | b)] = uchar((weightA * a + qint64(step) * b) / steps);
    return table;
}

void morphRowByTable(const QRgb* lineA, const QRgb* lineB, QRgb* line, int width, const uchar* fade)
{
    for (int x = 0; x < width; ++x) {
        const QRgb pa = lineA[x];
        const QRgb pb = lineB[x];
        line[x] = 0xFF000000u | uint(fade[(pa >> 8 & 0xFF00) | (pb >> 16 & 0xFF)]) << 16
            | uint(fade[(pa & 0xFF00) | (pb >> 8 & 0xFF)]) << 8 | fade[(pa << 8 & 0xFF00) | (pb & 0xFF)];
    }
}

// The cross-fade step / steps with the fraction reduced: (wa a + wb b) / divisor is the same
// quotient. With divisor at most 128 the weighted sums fit 15 bits and the channels of four pixels
// are faded at once in 16-bit lanes.
struct MorphWeights
{
    MorphWeights(int step, int steps)
    {
        const int common = std::gcd(step, steps);
        weightB = step / common;
        divisor = steps / common;
        if (divisor == 1) {
            weightB *= 2;
            divisor = 2;
        }
        weightA = divisor - weightB;
    }
    bool fitsWords() const { return divisor <= 128; }

    int weightA;
    int weightB;
    int divisor;
};

#ifdef __SSE2__
void morphRowInWords(const QRgb* lineA, const QRgb* lineB, QRgb* line, int width, const MorphWeights& weights)
{
    int x = 0;
    const ZelWordDivider divider(weights.divisor);
    const __m128i weightA = _mm_set1_epi16(int16_t(weights.weightA));
    const __m128i weightB = _mm_set1_epi16(int16_t(weights.weightB));
    const __m128i multiplier = _mm_set1_epi16(int16_t(divider.multiplier));
    const __m128i shift = _mm_cvtsi32_si128(divider.shift);
    const __m128i zero = _mm_setzero_si128();
    const __m128i opaque = _mm_set1_epi32(int(0xFF000000u));
    auto fade = [&](__m128i a, __m128i b) {
        const __m128i sum = _mm_add_epi16(_mm_mullo_epi16(a, weightA), _mm_mullo_epi16(b, weightB));
        return _mm_srl_epi16(_mm_mulhi_epu16(sum, multiplier), shift);
    };
    for (; x + 4 <= width; x += 4) {
        const __m128i a = _mm_loadu_si128(reinterpret_cast<const __m128i*>(lineA + x));
        const __m128i b = _mm_loadu_si128(reinterpret_cast<const __m128i*>(lineB + x));
        const __m128i low = fade(_mm_unpacklo_epi8(a, zero), _mm_unpacklo_epi8(b, zero));
        const __m128i high = fade(_mm_unpackhi_epi8(a, zero), _mm_unpackhi_epi8(b, zero));
        _mm_storeu_si128(reinterpret_cast<__m128i*>(line + x), _mm_or_si128(_mm_packus_epi16(low, high), opaque));
    }
    auto channel = [&weights](QRgb a, QRgb b, int shift) {
        return uint((weights.weightA * int((a >> shift) & 0xFF) + weights.weightB * int((b >> shift) & 0xFF))
                    / weights.divisor) << shift;
    };
    for (; x < width; ++x) {
        const QRgb a = lineA[x];
        const QRgb b = lineB[x];
        line[x] = 0xFF000000u | channel(a, b, 16) | channel(a, b, 8) | channel(a, b, 0);
    }
}
#endif

constexpr quint16 kRejected = 0xFFFF;

// changeSaturation by the channel maximum and minimum (max << 8 | min): the new saturation in
// the low byte and QColor's low channel for it in the high byte, or kRejected where QColor
// rejects the new saturation (the two bytes cannot both be 255 otherwise).
std::vector<quint16> saturationTable(double factor)
{
    int newSaturation[256];
    for (int s = 0; s < 256; ++s)
        newSaturation[s] = zelTruncToInt(s * factor);
    const uint8_t* const saturations = zelHsvSaturationTable();
    std::vector<quint16> steps(256 * 256 + ZelBatch::kGatherPadding, kRejected);
    for (int max = 0; max < 256; ++max) {
        for (int min = 0; min <= max; ++min) {
            const int s = newSaturation[saturations[max << 8 | min]];
            if (s >= 0 && s <= 255)
                steps[size_t(max << 8 | min)] = quint16(s | zelHsvLow(s, max) << 8);
        }
    }
    return steps;
}

QRgb saturationStep(QRgb pixel, const quint16* steps)
{
    const int red = qRed(pixel);
    const int green = qGreen(pixel);
    const int blue = qBlue(pixel);
    const int max = qMax(red, qMax(green, blue));
    const int min = qMin(red, qMin(green, blue));
    const quint16 step = steps[max << 8 | min];
    const QRgb alpha = pixel & 0xFF000000u;
    if (step == kRejected)
        return alpha;
    if (max == min)
        return alpha | (pixel & 0x00FFFFFFu);
    const int hue = zelHsvHue(red, green, blue, max, min);
    return alpha | (zelChromaticHsvToRgb(hue, step & 0xFF, max, step >> 8) & 0x00FFFFFFu);
}

#if ZEL_HAVE_AVX2_PATH
// Row buffers of changeSaturation: hues and table entries are computed in a first pass, so that
// the long dependency chain of each pass overlaps between pixels.
struct SaturationRow
{
    explicit SaturationRow(int width)
        : hues(static_cast<size_t>(width))
        , steps(static_cast<size_t>(width))
    {
    }
    std::vector<int32_t> hues;
    std::vector<int32_t> steps;
};

// saturationStep of the pixels of a row, eight at a time.
ZEL_AVX2_FUNCTION void changeSaturationOfRowAvx2(const QRgb* source, QRgb* target, int width, const quint16* steps,
                                                 SaturationRow* row)
{
    using namespace ZelBatch;
    const int end = width / kLanes * kLanes;
    int32_t* const hues = row->hues.data();
    int32_t* const stepsOfPixels = row->steps.data();
    for (int x = 0; x < end; x += kLanes) {
        const Channels c(load(source + x));
        store(hues + x, hue(c));
        store(stepsOfPixels + x, gather(steps, (c.max << 8) | c.min));
    }
    for (int x = 0; x < end; x += kLanes) {
        const Ints pixels = load(source + x);
        const Channels c(pixels);
        const Ints step = load(stepsOfPixels + x);
        Ints ties;
        const Ints chromatic = chromaticHsvToRgb(load(hues + x), step & 0xFF, c.max, step >> 8, &ties);
        const Ints grey = c.max == c.min;
        const Ints colour = ~(step == int(kRejected)) & select(grey, pixels & 0x00FFFFFF, chromatic);
        store(target + x, (pixels & int(0xFF000000u)) | colour);
        const Ints tied = ties & ~grey;
        if (anyLane(tied)) {
            for (int i = 0; i < kLanes; ++i)
                if (tied[i])
                    target[x + i] = saturationStep(source[x + i], steps);
        }
    }
    for (int x = end; x < width; ++x)
        target[x] = saturationStep(source[x], steps);
}
#endif

// Quarter turn of words, in square tiles so that reads and writes both stay in few pages.
void turn(const QImage& source, QImage* target, bool clockwise)
{
    constexpr int kTile = 32;
    const int width = source.width();
    const int height = source.height();
    const ZelWordRows in(source);
    const ZelWordRows out(target);
    for (int y0 = 0; y0 < height; y0 += kTile) {
        const int y1 = qMin(height, y0 + kTile);
        for (int x0 = 0; x0 < width; x0 += kTile) {
            const int x1 = qMin(width, x0 + kTile);
            for (int x = x0; x < x1; ++x) {
                // Clockwise (x, y) goes to (height - 1 - y, x), counter-clockwise to (y, width - 1 - x).
                QRgb* const line = out[clockwise ? x : width - 1 - x];
                if (clockwise) {
                    for (int y = y0; y < y1; ++y)
                        line[height - 1 - y] = in[y][x];
                } else {
                    for (int y = y0; y < y1; ++y)
                        line[y] = in[y][x];
                }
            }
        }
    }
}

QImage quarterTurn(const QImage& image, bool clockwise)
{
    const QImage words = ZelEditImageManipulator::normalizeRGB32(image);
    if (words.isNull())
        return QImage();
    QImage turned = zelNewImage(QSize(words.height(), words.width()), words.format());
    if (turned.isNull())
        return turned;
    if (!words.colorTable().isEmpty())
        turned.setColorTable(words.colorTable());
    turn(words, &turned, clockwise);
    return turned;
}

double proportionOf(ZelCropType type)
{
    switch (type) {
    case ZelCrop1x1:
        return 1.0;
    case ZelCrop4x3:
        return 4.0 / 3.0;
    case ZelCrop3x2:
        return 3.0 / 2.0;
    case ZelCrop16x9:
        return 16.0 / 9.0;
    case ZelCrop3x4:
        return 3.0 / 4.0;
    case ZelCrop2x3:
        return 2.0 / 3.0;
    case ZelCrop9x16:
        return 9.0 / 16.0;
    default:
        return 0.0;
    }
}

// The centred crop rectangle of a proportion; the whole image for proportions that are not
// positive numbers. The cut side is rounded, so that an image of the proportion is not cut.
QRect proportionalRect(const QSize& size, double proportion)
{
    const int width = size.width();
    const int height = size.height();
    if (width <= 0 || height <= 0)
        return QRect();
    if (!(proportion > 0.0) || !std::isfinite(proportion))
        return QRect(0, 0, width, height);
    int cropWidth = width;
    int cropHeight = height;
    if (height * proportion < width)
        cropWidth = qBound(1, qRound(height * proportion), width);
    else
        cropHeight = qBound(1, zelTruncToInt(width / proportion + 0.5), height);
    return QRect((width - cropWidth) / 2, (height - cropHeight) / 2, cropWidth, cropHeight);
}

// Opaque red columns left and right (which may be one column) over the whole height.
void paintRedColumns(QImage* image, int left, int right)
{
    const ZelWordRows rows(image);
    for (int y = 0; y < image->height(); ++y) {
        rows[y][left] = 0xFFFF0000u;
        rows[y][right] = 0xFFFF0000u;
    }
}

} // namespace

int zelFadeTableCreations()
{
    return gFadeTableCreations.load();
}

const quint32* ZelEditImageManipulator::fadeTable()
{
    const quint32* table = gFadeTable.load(std::memory_order_acquire);
    if (table)
        return table;
    const QMutexLocker locker(&myMutex);
    table = gFadeTable.load(std::memory_order_relaxed);
    if (table)
        return table;
    // Kept for the life of the process.
    quint32* const created = new quint32[256 * 256];
    for (quint32 a = 0; a < 256; ++a)
        for (quint32 b = 0; b < 256; ++b)
            created[a << 8 | b] = (a * (255 - b) / 255) << 24;
    gFadeTableCreations.fetch_add(1);
    gFadeTable.store(created, std::memory_order_release);
    return created;
}

void ZelEditImageManipulator::fillImage(QImage* image, const QColor& colour)
{
    if (!image || image->isNull())
        return;
    const QRgb opaque = 0xFF000000u | (colour.rgb() & 0x00FFFFFFu);
    if (zelIsPixelWordFormat(image->format()))
        image->fill(uint(opaque));
    else
        image->fill(QColor(opaque));
}

QImage ZelEditImageManipulator::morph(const QImage& a, const QImage& b, int step, int steps)
{
    if (a.isNull())
        return QImage();
    const QImage::Format format = zelIsPixelWordFormat(a.format()) ? a.format() : QImage::Format_RGB32;
    QImage result = zelNewImage(a.size(), format);
    if (result.isNull())
        return result;
    if (a.size() != b.size() || steps <= 0 || step < 0 || step > steps) {
        result.fill(0xFF000000u);
        return result;
    }
    // QColor(QImage::pixel()) reads 32-bit words as they are, premultiplied ones too, and other
    // formats as their ARGB32 conversion.
    const QImage wordsA = zelToPixelWords(a);
    const QImage wordsB = zelToPixelWords(b);
    if (wordsA.isNull() || wordsB.isNull())
        return QImage();
    const ZelWordRows rowsA(wordsA);
    const ZelWordRows rowsB(wordsB);
    const ZelWordRows out(&result);
    const int width = a.width();
    const MorphWeights weights(step, steps);
#ifdef __SSE2__
    if (weights.fitsWords()) {
        for (int y = 0; y < a.height(); ++y)
            morphRowInWords(rowsA[y], rowsB[y], out[y], width, weights);
        return result;
    }
#endif
    const std::vector<uchar> table = morphTable(step, steps);
    for (int y = 0; y < a.height(); ++y)
        morphRowByTable(rowsA[y], rowsB[y], out[y], width, table.data());
    return result;
}

QImage ZelEditImageManipulator::crop(const QImage& image, const QRect& rect)
{
    return image.copy(rect.normalized());
}

bool ZelEditImageManipulator::imageContainsAlphaInformation(const QImage& image)
{
    if (!image.hasAlphaChannel())
        return false;
    const QImage words = zelIsPixelWordFormat(image.format()) ? image : image.convertToFormat(QImage::Format_ARGB32);
    const ZelWordRows rows(words);
    for (int y = 0; y < words.height(); ++y) {
        const QRgb* const line = rows[y];
        for (int x = 0; x < words.width(); ++x)
            if (line[x] < 0xFF000000u)
                return true;
    }
    return false;
}

QImage ZelEditImageManipulator::normalizeARGB32(const QImage& image)
{
    if (image.format() == QImage::Format_ARGB32)
        return image;
    return image.convertToFormat(QImage::Format_ARGB32);
}

QImage ZelEditImageManipulator::normalizeRGB32(const QImage& image)
{
    if (isRgb32OrArgb32(image))
        return image;
    return image.convertToFormat(QImage::Format_RGB32);
}

bool ZelEditImageManipulator::whouldMonoBePossible(const QImage& image)
{
    if (image.format() == QImage::Format_Mono)
        return true;
    const QImage words = normalizeRGB32(image);
    const ZelWordRows rows(words);
    for (int y = 0; y < words.height(); ++y) {
        const QRgb* const line = rows[y];
        for (int x = 0; x < words.width(); ++x)
            if (line[x] != 0xFFFFFFFFu && line[x] != 0xFF000000u)
                return false;
    }
    return true;
}

QImage ZelEditImageManipulator::changeSaturation(const QImage& image, double factor)
{
    const QImage words = normalizeRGB32(image);
    if (words.isNull())
        return QImage();
    QImage result = zelNewImage(words.size(), words.format());
    if (result.isNull())
        return result;
    const std::vector<quint16> table = saturationTable(factor);
    const quint16* const steps = table.data();
    const ZelWordRows in(words);
    const ZelWordRows out(&result);
    const int width = words.width();
#if ZEL_HAVE_AVX2_PATH
    if (zelBatchUsesAvx2()) {
        SaturationRow row(width);
        for (int y = 0; y < words.height(); ++y)
            changeSaturationOfRowAvx2(in[y], out[y], width, steps, &row);
        return result;
    }
#endif
    for (int y = 0; y < words.height(); ++y) {
        const QRgb* const source = in[y];
        QRgb* const target = out[y];
        for (int x = 0; x < width; ++x)
            target[x] = saturationStep(source[x], steps);
    }
    return result;
}

QImage ZelEditImageManipulator::mirrorHorizontal(const QImage& image)
{
    const QImage words = normalizeRGB32(image);
    return zelWriteWordImage(words, [&](const ZelWordRows& in, const ZelWordRows& out) {
        for (int y = 0; y < words.height(); ++y)
            std::reverse_copy(in[y], in[y] + words.width(), out[y]);
    });
}

QImage ZelEditImageManipulator::mirrorVertical(const QImage& image)
{
    const QImage words = normalizeRGB32(image);
    return zelWriteWordImage(words, [&](const ZelWordRows& in, const ZelWordRows& out) {
        const int height = words.height();
        for (int y = 0; y < height; ++y)
            std::memcpy(out[y], in[height - 1 - y], size_t(words.width()) * sizeof(QRgb));
    });
}

void ZelEditImageManipulator::toGrayscale(QImage* image)
{
    if (!image || image->isNull() || image->isGrayscale() || image->allGray())
        return;
    const QImage words = normalizeRGB32(*image);
    // Deliberately written through the read-only scan lines: a 32-bit image shares its data with
    // words and changes in place, any other format only changes the conversion.
    const ZelWordRows rows(words);
    for (int y = 0; y < words.height(); ++y) {
        QRgb* const line = rows[y];
        for (int x = 0; x < words.width(); ++x) {
            const QRgb pixel = line[x];
            const uint grey = uint(11 * qRed(pixel) + 16 * qGreen(pixel) + 5 * qBlue(pixel)) >> 5;
            line[x] = 0xFF000000u | grey * 0x010101u;
        }
    }
}

QImage ZelEditImageManipulator::rotateCCW(const QImage& image)
{
    return quarterTurn(image, false);
}

QImage ZelEditImageManipulator::rotateCW(const QImage& image)
{
    return quarterTurn(image, true);
}

QImage ZelEditImageManipulator::rotateNicely(const QImage& image, int direction)
{
    return direction > 0 ? rotateCW(image) : rotateCCW(image);
}

QRect ZelEditImageManipulator::cropRect(const QSize& size, ZelCropType type)
{
    return proportionalRect(size, proportionOf(type));
}

QImage ZelEditImageManipulator::crop(const QImage& image, ZelCropType type)
{
    if (image.isNull())
        return QImage();
    return image.copy(cropRect(image.size(), type));
}

QImage ZelEditImageManipulator::paintRedLines(const QImage& image, double proportion)
{
    const QImage words = normalizeRGB32(image);
    if (words.isNull())
        return QImage();
    const QRect rect = proportionalRect(words.size(), proportion);
    if (rect.width() < words.width()) {
        QImage painted = words.copy();
        if (!painted.isNull())
            paintRedColumns(&painted, rect.left(), rect.right());
        return painted;
    }
    if (rect.height() == words.height())
        return words;
    // Horizontal lines are the vertical lines of the quarter-turned image: its row y is column
    // height - 1 - y after a clockwise turn.
    QImage turned = rotateCW(words);
    if (turned.isNull())
        return turned;
    paintRedColumns(&turned, words.height() - 1 - rect.bottom(), words.height() - 1 - rect.top());
    return rotateCCW(turned);
}

QImage ZelEditImageManipulator::paintRedLines(const QImage& image, ZelCropType type, const QSizeF& size)
{
    if (type != ZelCropFree)
        return paintRedLines(image, proportionOf(type));
    const double proportion = size.isEmpty() ? 0.0 : size.width() / size.height();
    return paintRedLines(image, proportion);
}

QImage ZelEditImageManipulator::paintBorder(const QImage& image, QColor& colour, ZelCropType type)
{
    QImage painted = normalizeRGB32(image);
    if (painted.isNull() || type == ZelCropFree)
        return painted;
    const QRect inner = cropRect(painted.size(), type);
    const QRect whole = painted.rect();
    QPainter painter(&painted);
    painter.fillRect(QRect(whole.topLeft(), QPoint(whole.right(), inner.top() - 1)), colour);
    painter.fillRect(QRect(QPoint(whole.left(), inner.bottom() + 1), whole.bottomRight()), colour);
    painter.fillRect(QRect(QPoint(whole.left(), inner.top()), QPoint(inner.left() - 1, inner.bottom())), colour);
    painter.fillRect(QRect(QPoint(inner.right() + 1, inner.top()), QPoint(whole.right(), inner.bottom())), colour);
    return painted;
}

void ZelEditImageManipulator::combineBlackWhiteAlphaImageWithRGBAImage(const QImage* mask, QImage* image)
{
    if (!mask || !image) {
        qWarning() << "ZelDecorationFading::combineBlackWhiteAlphaImageWithRGBAImage image is NULL";
        return;
    }
    if (mask->size() != image->size()) {
        qWarning() << "ZelDecorationFading::combineBlackWhiteAlphaImageWithRGBAImage size mismatch";
        return;
    }
    if (image->format() != QImage::Format_ARGB32) {
        qWarning() << "ZelDecorationFading::combineBlackWhiteAlphaImageWithRGBAImage not in Format_ARGB32";
        return;
    }
    const quint32* const fade = fadeTable();
    const QImage maskWords = zelToPixelWords(*mask);
    if (maskWords.isNull())
        return;
    const ZelWordRows maskRows(maskWords);
    const ZelWordRows rows(image);
    for (int y = 0; y < image->height(); ++y) {
        const QRgb* const maskLine = maskRows[y];
        QRgb* const line = rows[y];
        for (int x = 0; x < image->width(); ++x)
            line[x] = (line[x] & 0x00FFFFFFu) | fade[(line[x] >> 16 & 0xFF00) | (maskLine[x] & 0xFF)];
    }
}

void ZelEditImageManipulator::convertAlphamask2ShadowImage(QImage* image, double factor)
{
    if (!image) {
        qWarning() << "ZelDecorationFading::convertAlphamask2ShadowImage theImage is NULL";
        return;
    }
    if (image->isNull()) {
        qWarning() << "ZelDecorationFading::convertAlphamask2ShadowImage theImage->isNull()==true";
        return;
    }
    if (image->format() != QImage::Format_ARGB32) {
        qWarning().noquote()
            << QString("ZelDecorationFading::convertAlphamask2ShadowImage theImage not in Format_ARGB32 but format %1")
                   .arg(int(image->format()));
        return;
    }
    QRgb shadow[256];
    for (int a = 0; a < 256; ++a)
        shadow[a] = zelClampToUInt32(a * factor) << 24;
    const ZelWordRows rows(image);
    for (int y = 0; y < image->height(); ++y) {
        QRgb* const line = rows[y];
        for (int x = 0; x < image->width(); ++x)
            line[x] = shadow[line[x] >> 24];
    }
}
