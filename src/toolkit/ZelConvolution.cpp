#include "ZelConvolution.h"
#include "ZelConvolution_p.h"
#include "ZelHsvBatch_p.h"
#include "ZelHsv_p.h"
#include "ZelImageAllocation_p.h"
#include "ZelPixelWords_p.h"
#include "ZelWordRows_p.h"

#include <QPainter>
#include <QtDebug>

#include <cmath>
#include <cstring>
#include <vector>

#ifdef __SSE2__
#include <emmintrin.h>
#endif

namespace {

const int kEdgeEnhance[9] = {0, -16, 0, 0, 80, -16, 0, -16, 0};
const int kEmboss[9] = {1, 0, 1, 0, 0, 0, 1, 0, -2};
const int kSharpen[9] = {-4, -4, -4, -4, 64, -4, -4, -4, -4};
const int kSoften[9] = {2, 2, 2, 2, 0, 2, 2, 2, 2};
const int kLaplace[9] = {-16, -16, -16, -16, 127, -16, -16, -16, -16};
const int kSobelV[9] = {1, 0, -1, 2, 0, -2, 1, 0, -1};
const int kSobelH[9] = {1, 2, 1, 0, 0, 0, -1, -2, -1};

constexpr quint32 kSobelLimit = 2000000000u;
constexpr qint64 kColorSobelLimit = 1000000000000000000LL;

// One row of grey levels: the red byte, or the maximum of red, green and blue (the red byte of
// the maximum image).
enum class GreyOf { Red, Maximum };

void greyRow(const QRgb* in, int16_t* out, int width, GreyOf grey)
{
    int x = 0;
#ifdef __SSE2__
    const __m128i lowByte = _mm_set1_epi32(0xFF);
    for (; x + 8 <= width; x += 8) {
        __m128i p0 = _mm_loadu_si128(reinterpret_cast<const __m128i*>(in + x));
        __m128i p1 = _mm_loadu_si128(reinterpret_cast<const __m128i*>(in + x + 4));
        if (grey == GreyOf::Maximum) {
            p0 = _mm_max_epu8(_mm_max_epu8(p0, _mm_srli_epi32(p0, 8)), _mm_srli_epi32(p0, 16));
            p1 = _mm_max_epu8(_mm_max_epu8(p1, _mm_srli_epi32(p1, 8)), _mm_srli_epi32(p1, 16));
        } else {
            p0 = _mm_srli_epi32(p0, 16);
            p1 = _mm_srli_epi32(p1, 16);
        }
        _mm_storeu_si128(reinterpret_cast<__m128i*>(out + x),
                         _mm_packs_epi32(_mm_and_si128(p0, lowByte), _mm_and_si128(p1, lowByte)));
    }
#endif
    for (; x < width; ++x)
        out[x] = int16_t(grey == GreyOf::Maximum ? zelHsvValue(in[x]) : qRed(in[x]));
}

// Three rows of grey levels around the current one; the next row is computed as the window moves.
class GreyWindow
{
public:
    GreyWindow(const ZelWordRows& rows, int width, GreyOf grey)
        : myRows(rows)
        , myWidth(width)
        , myGrey(grey)
        , myStorage(3 * size_t(width))
    {
        myAbove = myStorage.data();
        myCentre = myAbove + width;
        myBelow = myCentre + width;
        greyRow(myRows[0], myAbove, width, grey);
        greyRow(myRows[1], myCentre, width, grey);
        greyRow(myRows[2], myBelow, width, grey);
    }
    // Centres the window on row y + 1.
    void advance(int y)
    {
        int16_t* const recycled = myAbove;
        myAbove = myCentre;
        myCentre = myBelow;
        myBelow = recycled;
        greyRow(myRows[y + 2], myBelow, myWidth, myGrey);
    }
    const int16_t* above() const { return myAbove; }
    const int16_t* centre() const { return myCentre; }
    const int16_t* below() const { return myBelow; }

private:
    ZelWordRows myRows;
    int myWidth;
    GreyOf myGrey;
    std::vector<int16_t> myStorage;
    int16_t* myAbove;
    int16_t* myCentre;
    int16_t* myBelow;
};

// The response of one pixel, exactly as defined: the weighted sum in 32-bit arithmetic, its
// absolute value divided by the divisor, the low 8 bits kept.
int response(const GreyWindow& window, int x, const int kernel[9], int divisor)
{
    const int16_t* const rows[3] = {window.above(), window.centre(), window.below()};
    uint32_t sum = 0;
    for (int i = 0; i < 9; ++i)
        sum += uint32_t(kernel[i]) * uint32_t(rows[i / 3][x + i % 3 - 1]);
    const int64_t signedSum = int32_t(sum);
    const int64_t quotient = (signedSum < 0 ? -signedSum : signedSum) / divisor;
    return int(uint64_t(quotient) & 0xFF);
}

// Responses of the interior columns 1 .. width - 2 of the window's centre row into out.
class RowConvolver
{
public:
    RowConvolver(const int kernel[9], int divisor)
        : myDivisor(divisor)
        , myWords(zelKernelFitsWords(kernel, divisor))
    {
        std::memcpy(myKernel, kernel, sizeof myKernel);
#ifdef __SSE2__
        if (myWords) {
            const ZelWordDivider divider(divisor);
            for (int i = 0; i < 9; ++i)
                myWeights[i] = _mm_set1_epi16(int16_t(kernel[i]));
            myMultiplier = _mm_set1_epi16(int16_t(divider.multiplier));
            myShift = _mm_cvtsi32_si128(divider.shift);
        }
#endif
    }

    void convolve(const GreyWindow& window, int width, int16_t* out) const
    {
        int x = 1;
#ifdef __SSE2__
        if (myWords) {
            const int16_t* const rows[3] = {window.above(), window.centre(), window.below()};
            const __m128i lowByte = _mm_set1_epi16(0xFF);
            for (; x + 9 <= width; x += 8) {
                __m128i sum = _mm_setzero_si128();
                for (int i = 0; i < 9; ++i) {
                    const __m128i grey = _mm_loadu_si128(reinterpret_cast<const __m128i*>(rows[i / 3] + x + i % 3 - 1));
                    sum = _mm_add_epi16(sum, _mm_mullo_epi16(myWeights[i], grey));
                }
                const __m128i magnitude = _mm_max_epi16(sum, _mm_sub_epi16(_mm_setzero_si128(), sum));
                const __m128i quotient = _mm_srl_epi16(_mm_mulhi_epu16(magnitude, myMultiplier), myShift);
                _mm_storeu_si128(reinterpret_cast<__m128i*>(out + x), _mm_and_si128(quotient, lowByte));
            }
        }
#endif
        for (; x <= width - 2; ++x)
            out[x] = int16_t(response(window, x, myKernel, myDivisor));
    }

private:
    int myKernel[9];
    int myDivisor;
    bool myWords;
#ifdef __SSE2__
    __m128i myWeights[9];
    __m128i myMultiplier;
    __m128i myShift;
#endif
};

// Grey pixels of the levels in columns from .. to - 1, with the alpha of the source pixels.
void writeGreyWords(const int16_t* levels, const QRgb* alphaSource, QRgb* out, int from, int to)
{
    int x = from;
#ifdef __SSE2__
    const __m128i alphaMask = _mm_set1_epi32(int(0xFF000000u));
    for (; x + 8 <= to; x += 8) {
        const __m128i level = _mm_loadu_si128(reinterpret_cast<const __m128i*>(levels + x));
        for (int half = 0; half < 2; ++half) {
            const __m128i v = half ? _mm_unpackhi_epi16(level, _mm_setzero_si128())
                                   : _mm_unpacklo_epi16(level, _mm_setzero_si128());
            const __m128i grey = _mm_or_si128(_mm_or_si128(v, _mm_slli_epi32(v, 8)), _mm_slli_epi32(v, 16));
            const __m128i source = _mm_loadu_si128(reinterpret_cast<const __m128i*>(alphaSource + x + 4 * half));
            _mm_storeu_si128(reinterpret_cast<__m128i*>(out + x + 4 * half),
                             _mm_or_si128(grey, _mm_and_si128(source, alphaMask)));
        }
    }
#endif
    for (; x < to; ++x)
        out[x] = (alphaSource[x] & 0xFF000000u) | uint(levels[x]) * 0x010101u;
}

// Row 0 and the last row copy their inner neighbours, then the first and last pixel of every
// row do; the corners therefore come from the copied rows.
void copyBorders(QImage* image)
{
    const int width = image->width();
    const int height = image->height();
    const ZelWordRows rows(image);
    const size_t rowBytes = size_t(width) * sizeof(QRgb);
    if (height >= 2) {
        std::memcpy(rows[0], rows[1], rowBytes);
        std::memcpy(rows[height - 1], rows[height - 2], rowBytes);
    }
    if (width >= 2) {
        for (int y = 0; y < height; ++y) {
            QRgb* const line = rows[y];
            line[0] = line[1];
            line[width - 1] = line[width - 2];
        }
    }
}

// The result of a convolution of words: same size and format. Without an interior it is
// transparent black; null when it cannot be allocated.
QImage newConvolutionResult(const QImage& words, bool* hasInterior)
{
    QImage result = zelNewImage(words.size(), words.format());
    *hasInterior = words.width() >= 3 && words.height() >= 3;
    if (!result.isNull() && !*hasInterior)
        result.fill(0u);
    return result;
}

QImage greyConvolution(const QImage& image, GreyOf grey, const int kernel[9], int divisor)
{
    const QImage words = zelToPixelWords(image);
    if (words.isNull() || divisor == 0)
        return QImage();
    bool hasInterior = false;
    QImage result = newConvolutionResult(words, &hasInterior);
    if (result.isNull() || !hasInterior)
        return result;
    const int width = words.width();
    const ZelWordRows in(words);
    const ZelWordRows out(&result);
    const RowConvolver convolver(kernel, divisor);
    GreyWindow window(in, width, grey);
    std::vector<int16_t> levels(static_cast<size_t>(width));
    for (int y = 1; y < words.height() - 1; ++y) {
        if (y > 1)
            window.advance(y - 1);
        convolver.convolve(window, width, levels.data());
        writeGreyWords(levels.data(), in[y], out[y], 1, width - 1);
    }
    copyBorders(&result);
    return result;
}

// The colour step of one pixel for the convolution level c of its maximum image.
QRgb colourStep(QRgb pixel, int c)
{
    const int red = qRed(pixel);
    const int green = qGreen(pixel);
    const int blue = qBlue(pixel);
    const int max = qMax(red, qMax(green, blue));
    const int min = qMin(red, qMin(green, blue));
    if (max == min)
        return pixel;
    const int s = zelHsvSaturationTable()[max << 8 | min];
    if (s == 0)
        return pixel;
    const int h = zelHsvHue(red, green, blue, max, min);
    if (s > 99)
        return (pixel & 0xFF000000u) | (zelChromaticHsvToRgb(h, s, c) & 0x00FFFFFFu);
    const QRgb blended = zelChromaticHsvToRgb(h, s, c <= 100 ? max : c);
    const int own = 150 - s;
    return (pixel & 0xFF000000u) | uint((qRed(blended) * s + red * own) / 150) << 16
        | uint((qGreen(blended) * s + green * own) / 150) << 8 | uint((qBlue(blended) * s + blue * own) / 150);
}

#if ZEL_HAVE_AVX2_PATH
// Row buffers of the colour step: hues and saturations are computed in a first pass, so that
// the long dependency chain of each pass overlaps between pixels.
struct ColourRow
{
    explicit ColourRow(int width)
        : hues(static_cast<size_t>(width))
        , saturations(static_cast<size_t>(width))
    {
    }
    std::vector<int32_t> hues;
    std::vector<int32_t> saturations;
};

// QColor's saturations by max << 8 | min, with room for the gathers.
const uint8_t* paddedSaturations()
{
    static const std::vector<uint8_t> table = [] {
        std::vector<uint8_t> padded(256 * 256 + ZelBatch::kGatherPadding);
        std::memcpy(padded.data(), zelHsvSaturationTable(), 256 * 256);
        return padded;
    }();
    return table.data();
}

// (coloured s + own (150 - s)) / 150 for the channel at shift: the blend of weakly saturated
// pixels. The sum is below 2^16 and, plus 0.5, at least 1 / 300 from the next multiple of 150.
ZEL_BATCH_INLINE ZelBatch::Ints blendChannel(ZelBatch::Ints coloured, ZelBatch::Ints own, ZelBatch::Floats weight,
                                             int shift)
{
    using namespace ZelBatch;
    const Floats mixed = toFloats((coloured >> shift) & 0xFF) * weight
        + toFloats((own >> shift) & 0xFF) * (150.0f - weight) + 0.5f;
    return truncated(mixed * (1.0f / 150.0f)) << shift;
}

// colourStep of the pixels from .. to - 1 of a row for their levels, eight at a time.
ZEL_AVX2_FUNCTION void colourStepsOfRowAvx2(const QRgb* source, const int16_t* levels, QRgb* target, int from, int to,
                                            ColourRow* row)
{
    using namespace ZelBatch;
    typedef int16_t Shorts __attribute__((vector_size(16)));
    const int end = from + (to - from) / kLanes * kLanes;
    const uint8_t* const saturationTable = paddedSaturations();
    int32_t* const hues = row->hues.data();
    int32_t* const saturations = row->saturations.data();
    for (int x = from; x < end; x += kLanes) {
        const Channels c(load(source + x));
        store(hues + x, hue(c));
        store(saturations + x, gather(saturationTable, (c.max << 8) | c.min));
    }
    for (int x = from; x < end; x += kLanes) {
        const Ints pixels = load(source + x);
        const Channels c(pixels);
        Shorts levelShorts;
        std::memcpy(&levelShorts, levels + x, sizeof levelShorts);
        const Ints level = __builtin_convertvector(levelShorts, Ints);
        const Ints s = load(saturations + x);
        const Ints strong = s > 99;
        const Ints value = select(strong | (level > 100), level, c.max);
        Ints ties;
        const Ints coloured = chromaticHsvToRgb(load(hues + x), s, value, low(s, value), &ties);
        const Floats weight = toFloats(s);
        const Ints blended = blendChannel(coloured, pixels, weight, 16) | blendChannel(coloured, pixels, weight, 8)
            | blendChannel(coloured, pixels, weight, 0);
        const Ints grey = (c.max == c.min) | (s == 0);
        const Ints colour = (pixels & int(0xFF000000u)) | select(strong, coloured, blended);
        store(target + x, select(grey, pixels, colour));
        const Ints tied = ties & ~grey;
        if (anyLane(tied)) {
            for (int i = 0; i < kLanes; ++i)
                if (tied[i])
                    target[x + i] = colourStep(source[x + i], levels[x + i]);
        }
    }
    for (int x = end; x < to; ++x)
        target[x] = colourStep(source[x], levels[x]);
}
#endif

// A pixel of sobelCombined: the magnitude of the two quarter gradients, modulo 256.
int combinedMagnitude(int horizontal, int vertical)
{
    return int(std::sqrt(double(horizontal * horizontal + vertical * vertical))) & 0xFF;
}

int quarterOfAbsolute(int gradient)
{
    return (gradient < 0 ? -gradient : gradient) / 4;
}

// The Sobel H and V grey convolutions (divisor 4) of the window's centre row, combined; the
// levels go into out for columns 1 .. width - 2.
void sobelCombinedRow(const GreyWindow& window, int width, int16_t* out)
{
    const int16_t* const a = window.above();
    const int16_t* const c = window.centre();
    const int16_t* const b = window.below();
    int x = 1;
#ifdef __SSE2__
    const __m128i zero = _mm_setzero_si128();
    const __m128i lowByte = _mm_set1_epi32(0xFF);
    auto load = [](const int16_t* row, int at) {
        return _mm_loadu_si128(reinterpret_cast<const __m128i*>(row + at));
    };
    auto absolute = [zero](__m128i v) { return _mm_max_epi16(v, _mm_sub_epi16(zero, v)); };
    for (; x + 9 <= width; x += 8) {
        const __m128i aL = load(a, x - 1), a0 = load(a, x), aR = load(a, x + 1);
        const __m128i bL = load(b, x - 1), b0 = load(b, x), bR = load(b, x + 1);
        const __m128i cL = load(c, x - 1), cR = load(c, x + 1);
        const __m128i gh = _mm_sub_epi16(_mm_add_epi16(_mm_add_epi16(aL, aR), _mm_add_epi16(a0, a0)),
                                         _mm_add_epi16(_mm_add_epi16(bL, bR), _mm_add_epi16(b0, b0)));
        const __m128i gv = _mm_sub_epi16(_mm_add_epi16(_mm_add_epi16(aL, bL), _mm_add_epi16(cL, cL)),
                                         _mm_add_epi16(_mm_add_epi16(aR, bR), _mm_add_epi16(cR, cR)));
        const __m128i h = _mm_srli_epi16(absolute(gh), 2);
        const __m128i v = _mm_srli_epi16(absolute(gv), 2);
        // h and v are below 256: their squares fit unsigned 16-bit lanes, their sum does not.
        const __m128i hh = _mm_mullo_epi16(h, h);
        const __m128i vv = _mm_mullo_epi16(v, v);
        __m128i magnitude[2];
        for (int half = 0; half < 2; ++half) {
            const __m128i sum = half ? _mm_add_epi32(_mm_unpackhi_epi16(hh, zero), _mm_unpackhi_epi16(vv, zero))
                                     : _mm_add_epi32(_mm_unpacklo_epi16(hh, zero), _mm_unpacklo_epi16(vv, zero));
            // Sums below 2^24 are exact in floats and their correctly rounded roots never reach
            // the next integer, so the truncated float root is the truncated double root.
            magnitude[half] = _mm_and_si128(_mm_cvttps_epi32(_mm_sqrt_ps(_mm_cvtepi32_ps(sum))), lowByte);
        }
        _mm_storeu_si128(reinterpret_cast<__m128i*>(out + x), _mm_packs_epi32(magnitude[0], magnitude[1]));
    }
#endif
    for (; x <= width - 2; ++x) {
        const int gh = (a[x - 1] + a[x + 1] + 2 * a[x]) - (b[x - 1] + b[x + 1] + 2 * b[x]);
        const int gv = (a[x - 1] + b[x - 1] + 2 * c[x - 1]) - (a[x + 1] + b[x + 1] + 2 * c[x + 1]);
        out[x] = int16_t(combinedMagnitude(quarterOfAbsolute(gh), quarterOfAbsolute(gv)));
    }
}

// The two masked Sobel terms of averageSobel, (g^2 >> 4) & 0xFFFF, for column x of a grey window.
quint32 sobelEnergy(const int16_t* a, const int16_t* c, const int16_t* b, int x)
{
    const int gy = (a[x - 1] + a[x + 1] + 2 * a[x]) - (b[x - 1] + b[x + 1] + 2 * b[x]);
    const int gx = (a[x - 1] + b[x - 1] + 2 * c[x - 1]) - (a[x + 1] + b[x + 1] + 2 * c[x + 1]);
    return ((quint32(gy * gy) >> 4) & 0xFFFF) + ((quint32(gx * gx) >> 4) & 0xFFFF);
}

// The sum of sobelEnergy over columns 1 .. width - 2.
quint64 sobelEnergyOfRow(const GreyWindow& window, int width)
{
    const int16_t* const a = window.above();
    const int16_t* const c = window.centre();
    const int16_t* const b = window.below();
    quint64 total = 0;
    int x = 1;
#ifdef __SSE2__
    const __m128i zero = _mm_setzero_si128();
    const __m128i sixteenBits = _mm_set1_epi32(0xFFFF);
    auto load = [](const int16_t* row, int at) {
        return _mm_loadu_si128(reinterpret_cast<const __m128i*>(row + at));
    };
    // Each 32-bit lane gains at most 4 * 65535 per step; flushing every 4096 steps keeps it exact.
    while (x + 9 <= width) {
        __m128i lanes = zero;
        for (int steps = 0; steps < 4096 && x + 9 <= width; ++steps, x += 8) {
            const __m128i aL = load(a, x - 1), a0 = load(a, x), aR = load(a, x + 1);
            const __m128i bL = load(b, x - 1), b0 = load(b, x), bR = load(b, x + 1);
            const __m128i cL = load(c, x - 1), cR = load(c, x + 1);
            const __m128i gy = _mm_sub_epi16(_mm_add_epi16(_mm_add_epi16(aL, aR), _mm_add_epi16(a0, a0)),
                                             _mm_add_epi16(_mm_add_epi16(bL, bR), _mm_add_epi16(b0, b0)));
            const __m128i gx = _mm_sub_epi16(_mm_add_epi16(_mm_add_epi16(aL, bL), _mm_add_epi16(cL, cL)),
                                             _mm_add_epi16(_mm_add_epi16(aR, bR), _mm_add_epi16(cR, cR)));
            for (const __m128i g : {gy, gx}) {
                const __m128i low = _mm_mullo_epi16(g, g);
                const __m128i high = _mm_mulhi_epi16(g, g);
                const __m128i square0 = _mm_unpacklo_epi16(low, high);
                const __m128i square1 = _mm_unpackhi_epi16(low, high);
                lanes = _mm_add_epi32(lanes, _mm_and_si128(_mm_srli_epi32(square0, 4), sixteenBits));
                lanes = _mm_add_epi32(lanes, _mm_and_si128(_mm_srli_epi32(square1, 4), sixteenBits));
            }
        }
        quint32 lane[4];
        _mm_storeu_si128(reinterpret_cast<__m128i*>(lane), lanes);
        total += quint64(lane[0]) + lane[1] + lane[2] + lane[3];
    }
#endif
    for (; x <= width - 2; ++x)
        total += sobelEnergy(a, c, b, x);
    return total;
}

// The canvas averageSobel measures, as 32-bit words.
QImage sobelCanvas(const QImage& image, int n)
{
    const int width = qRound(image.width() / double(n));
    const int height = qRound(image.height() / double(n));
    if (width == image.width() && height == image.height())
        return zelToPixelWords(image);
    QImage canvas(width, height, QImage::Format_RGB32);
    if (canvas.isNull())
        return canvas;
    canvas.fill(0xFF000000u);
    QPainter painter(&canvas);
    // The positive offset is deliberate: the canvas shows the upper-left part, shifted.
    painter.drawImage(QPoint((image.width() - width) / 2, (image.height() - height) / 2), image);
    return canvas;
}

// The six masked Sobel terms of one pixel per colour channel, squared and summed in 32 bits.
qint32 colourSobelContribution(const QRgb* above, const QRgb* centre, const QRgb* below, int x)
{
    quint32 contribution = 0;
    for (int shift = 0; shift <= 16; shift += 8) {
        auto channel = [shift](const QRgb* row, int at) { return int((row[at] >> shift) & 0xFF); };
        const int gy = (channel(above, x - 1) + channel(above, x + 1) + 2 * channel(above, x))
            - (channel(below, x - 1) + channel(below, x + 1) + 2 * channel(below, x));
        const int gx = (channel(above, x - 1) + channel(below, x - 1) + 2 * channel(centre, x - 1))
            - (channel(above, x + 1) + channel(below, x + 1) + 2 * channel(centre, x + 1));
        const quint32 ty = (quint32(gy * gy) >> 4) & 0xFFFF;
        const quint32 tx = (quint32(gx * gx) >> 4) & 0xFFFF;
        contribution += ty * ty + tx * tx;
    }
    return qint32(contribution);
}

int lowWord(qint64 value)
{
    return int(quint32(quint64(value)));
}

} // namespace

bool zelKernelFitsWords(const int kernel[9], int divisor)
{
    if (divisor < 2 || divisor >= 32768)
        return false;
    qint64 positive = 0;
    qint64 negative = 0;
    for (int i = 0; i < 9; ++i)
        (kernel[i] > 0 ? positive : negative) += qAbs(qint64(kernel[i]));
    return qMax(positive, negative) * 255 <= 32767;
}

int zelAverageColorSobel(const QImage& image, int n, qint64 limit)
{
    if (image.isNull() || n < 1)
        return 0;
    const int sampleWidth = qRound(image.width() / double(n));
    const int sampleHeight = qRound(image.height() / double(n));
    if (sampleWidth == 0 || sampleHeight == 0)
        return 0;
    const QImage words = zelToPixelWords(image);
    if (words.isNull())
        return 0;
    const ZelWordRows rows(words);
    const int x0 = (image.width() - sampleWidth) / 2 + 1;
    const int y0 = (image.height() - sampleHeight) / 2 + 1;
    const int xEnd = x0 + sampleWidth - 20;
    const int yEnd = y0 + sampleHeight - 20;
    // A contribution moves the sum by less than 2^31: rows that cannot reach the limit skip the
    // test per pixel.
    const qint64 rowReach = qint64(qMax(0, xEnd - x0)) << 31;
    qint64 sum = 0;
    for (int y = y0; y < yEnd; ++y) {
        const QRgb* const above = rows[y - 1];
        const QRgb* const centre = rows[y];
        const QRgb* const below = rows[y + 1];
        const bool mayPassLimit = sum > limit - rowReach;
        for (int x = x0; x < xEnd; ++x) {
            sum += colourSobelContribution(above, centre, below, x);
            if (mayPassLimit && sum > limit) {
                qWarning("Sobel sprengt Integerbereich64, fallback used Zeile %d", y);
                return lowWord(sum / sampleWidth / y);
            }
        }
    }
    return lowWord(sum / sampleWidth / sampleHeight);
}

ZelConvolution::ZelConvolution(convolutionConfiguration configuration)
    : myConfiguration(configuration)
{
    switch (configuration) {
    case confLaplaceInverted:
    case confLaplace:
        configureLaplace();
        break;
    case confSobelV:
        configureSobelV();
        break;
    case confEdgeEnhance:
        configureEdgeEnhance();
        break;
    case confEmboss:
        configureEmboss();
        break;
    case confSharpen:
        configureSharpen();
        break;
    case confSoften:
        configureSoften();
        break;
    default:
        configureSobelH();
        break;
    }
}

void ZelConvolution::configureEdgeEnhance() { std::memcpy(myKernel, kEdgeEnhance, sizeof myKernel); }
void ZelConvolution::configureEmboss() { std::memcpy(myKernel, kEmboss, sizeof myKernel); }
void ZelConvolution::configureSharpen() { std::memcpy(myKernel, kSharpen, sizeof myKernel); }
void ZelConvolution::configureSoften() { std::memcpy(myKernel, kSoften, sizeof myKernel); }
void ZelConvolution::configureLaplace() { std::memcpy(myKernel, kLaplace, sizeof myKernel); }
void ZelConvolution::configureSobelV() { std::memcpy(myKernel, kSobelV, sizeof myKernel); }
void ZelConvolution::configureSobelH() { std::memcpy(myKernel, kSobelH, sizeof myKernel); }

int ZelConvolution::totalWeight() const
{
    quint32 total = 0;
    for (const int weight : myKernel)
        total += quint32(qAbs(qint64(weight)));
    return int(total);
}

QImage ZelConvolution::convolute(const QImage& image)
{
    switch (myConfiguration) {
    case confLaplaceInverted:
        return invert(convoluteBW(image));
    case confSobelInverted:
        return invert(sobelCombined(image));
    case confSobel:
        return sobelCombined(image);
    case confSobelV:
    case confSobelH:
    case confEmboss:
    case confLaplace:
        return convoluteBW(image);
    default:
        return convoluteColor(image);
    }
}

QImage ZelConvolution::createMaxImage(const QImage& image) const
{
    const QImage words = zelToPixelWords(image);
    return zelWriteWordImage(words, [&](const ZelWordRows& in, const ZelWordRows& out) {
        const int width = words.width();
        std::vector<int16_t> levels(static_cast<size_t>(width));
        for (int y = 0; y < words.height(); ++y) {
            greyRow(in[y], levels.data(), width, GreyOf::Maximum);
            writeGreyWords(levels.data(), in[y], out[y], 0, width);
        }
    });
}

QImage ZelConvolution::convoluteBW(const QImage& image) const
{
    // The red byte of the maximum image is the maximum itself, so it is read straight away.
    return greyConvolution(image, GreyOf::Maximum, myKernel, totalWeight() / 2);
}

QImage ZelConvolution::convoluteBWFromMax(const QImage& image) const
{
    return greyConvolution(image, GreyOf::Red, myKernel, totalWeight() / 2);
}

QImage ZelConvolution::convoluteColor(const QImage& image) const
{
    const QImage words = zelToPixelWords(image);
    const int divisor = totalWeight() / 4;
    if (words.isNull() || divisor == 0)
        return QImage();
    bool hasInterior = false;
    QImage result = newConvolutionResult(words, &hasInterior);
    if (result.isNull() || !hasInterior)
        return result;
    const int width = words.width();
    const ZelWordRows in(words);
    const ZelWordRows out(&result);
    const RowConvolver convolver(myKernel, divisor);
    GreyWindow window(in, width, GreyOf::Maximum);
    std::vector<int16_t> levels(static_cast<size_t>(width));
#if ZEL_HAVE_AVX2_PATH
    const bool avx2 = zelBatchUsesAvx2();
    ColourRow row(avx2 ? width : 0);
#endif
    for (int y = 1; y < words.height() - 1; ++y) {
        if (y > 1)
            window.advance(y - 1);
        convolver.convolve(window, width, levels.data());
        const QRgb* const source = in[y];
        QRgb* const target = out[y];
#if ZEL_HAVE_AVX2_PATH
        if (avx2) {
            colourStepsOfRowAvx2(source, levels.data(), target, 1, width - 1, &row);
            continue;
        }
#endif
        for (int x = 1; x < width - 1; ++x)
            target[x] = colourStep(source[x], levels[size_t(x)]);
    }
    copyBorders(&result);
    return result;
}

QImage ZelConvolution::sobelCombined(const QImage& image)
{
    // Both directions and their combination in one pass over the image; the kernel is left as
    // the two separate convolutions leave it.
    configureSobelV();
    const QImage words = zelToPixelWords(image);
    if (words.isNull())
        return QImage();
    bool hasInterior = false;
    QImage result = newConvolutionResult(words, &hasInterior);
    if (result.isNull() || !hasInterior)
        return result;
    const int width = words.width();
    const ZelWordRows in(words);
    const ZelWordRows out(&result);
    GreyWindow window(in, width, GreyOf::Maximum);
    std::vector<int16_t> levels(static_cast<size_t>(width));
    for (int y = 1; y < words.height() - 1; ++y) {
        if (y > 1)
            window.advance(y - 1);
        sobelCombinedRow(window, width, levels.data());
        writeGreyWords(levels.data(), in[y], out[y], 1, width - 1);
    }
    copyBorders(&result);
    return result;
}

QImage ZelConvolution::combine(const QImage& horizontal, const QImage& vertical) const
{
    if (horizontal.size() != vertical.size())
        return QImage();
    const QImage h = zelToPixelWords(horizontal);
    const QImage v = zelToPixelWords(vertical);
    if (h.isNull() || v.isNull())
        return QImage();
    QImage result = zelNewImage(h.size(), h.format());
    if (result.isNull())
        return result;
    const ZelWordRows hRows(h);
    const ZelWordRows vRows(v);
    const ZelWordRows out(&result);
    const int width = h.width();
    for (int y = 0; y < h.height(); ++y) {
        const QRgb* const hLine = hRows[y];
        const QRgb* const vLine = vRows[y];
        QRgb* const line = out[y];
        int x = 0;
#ifdef __SSE2__
        const __m128i lowByte = _mm_set1_epi32(0xFF);
        const __m128i alphaMask = _mm_set1_epi32(int(0xFF000000u));
        for (; x + 4 <= width; x += 4) {
            const __m128i hw = _mm_loadu_si128(reinterpret_cast<const __m128i*>(hLine + x));
            const __m128i vw = _mm_loadu_si128(reinterpret_cast<const __m128i*>(vLine + x));
            const __m128i hr = _mm_and_si128(_mm_srli_epi32(hw, 16), lowByte);
            const __m128i vr = _mm_and_si128(_mm_srli_epi32(vw, 16), lowByte);
            const __m128i sum = _mm_add_epi32(_mm_madd_epi16(hr, hr), _mm_madd_epi16(vr, vr));
            const __m128i m = _mm_and_si128(_mm_cvttps_epi32(_mm_sqrt_ps(_mm_cvtepi32_ps(sum))), lowByte);
            const __m128i grey = _mm_or_si128(_mm_or_si128(m, _mm_slli_epi32(m, 8)), _mm_slli_epi32(m, 16));
            _mm_storeu_si128(reinterpret_cast<__m128i*>(line + x), _mm_or_si128(grey, _mm_and_si128(hw, alphaMask)));
        }
#endif
        for (; x < width; ++x) {
            const uint m = uint(combinedMagnitude(qRed(hLine[x]), qRed(vLine[x])));
            line[x] = (hLine[x] & 0xFF000000u) | m * 0x010101u;
        }
    }
    return result;
}

QImage ZelConvolution::invert(const QImage& image) const
{
    const QImage words = zelToPixelWords(image);
    // Per byte, ((255 - c) * 2) & 0xFF is ~c shifted left by one; the mask drops the bits that
    // cross into the next byte and keeps alpha out.
    return zelWriteWordImage(words, [&](const ZelWordRows& in, const ZelWordRows& out) {
        const int width = words.width();
        for (int y = 0; y < words.height(); ++y) {
            const QRgb* const source = in[y];
            QRgb* const target = out[y];
            for (int x = 0; x < width; ++x)
                target[x] = ((~source[x] << 1) & 0x00FEFEFEu) | (source[x] & 0xFF000000u);
        }
    });
}

int ZelConvolution::averageSobel(const QImage& image, int n) const
{
    if (image.isNull() || n < 1)
        return 0;
    const QImage canvas = sobelCanvas(image, n);
    if (canvas.isNull())
        return 0;
    const int width = canvas.width();
    const int height = canvas.height();
    quint32 sum = 0;
    if (width >= 3 && height >= 3) {
        const ZelWordRows rows(canvas);
        GreyWindow window(rows, width, GreyOf::Maximum);
        for (int y = 1; y < height - 1; ++y) {
            if (y > 1)
                window.advance(y - 1);
            const quint64 rowSum = sobelEnergyOfRow(window, width);
            if (sum + rowSum <= kSobelLimit) {
                sum += quint32(rowSum);
                continue;
            }
            // The limit is passed in this row: find the pixel, as a test per pixel would.
            for (int x = 1; x < width - 1; ++x) {
                sum += sobelEnergy(window.above(), window.centre(), window.below(), x);
                if (sum > kSobelLimit) {
                    qWarning("Sobel sprengt Integerbereich, fallback used Zeile %d", y);
                    return int(sum / quint32(width) / quint32(y));
                }
            }
        }
    }
    return int(sum / quint32(width) / quint32(height));
}

int ZelConvolution::averageColorSobel(const QImage& image, int n) const
{
    return zelAverageColorSobel(image, n, kColorSobelLimit);
}

QPair<quint32, quint32> ZelConvolution::edgesPerPixel(const QImage& image) const
{
    const int width = image.width();
    const int height = image.height();
    if (height < 3 || width == 0)
        return qMakePair(0u, 0u);
    const QImage words = zelToPixelWords(image);
    if (words.isNull())
        return qMakePair(0u, 0u);
    const ZelWordRows rows(words);
    quint32 sum = 0;
    quint32 squares = 0;
    for (int y = 1; y < height - 1; ++y) {
        const QRgb* const line = rows[y];
        quint64 rowSum = 0;
        quint64 rowSquares = 0;
        for (int x = 1; x < width - 1; ++x) {
            const quint32 red = quint32(qRed(line[x]));
            rowSum += red;
            rowSquares += red * red;
        }
        if (squares + rowSquares <= kSobelLimit) {
            sum += quint32(rowSum);
            squares += quint32(rowSquares);
            continue;
        }
        for (int x = 1; x < width - 1; ++x) {
            const quint32 red = quint32(qRed(line[x]));
            sum += red;
            squares += red * red;
            if (squares > kSobelLimit)
                return qMakePair(sum / quint32(width) / quint32(y), squares / quint32(width) / quint32(y));
        }
    }
    return qMakePair(sum / quint32(width) / quint32(height), squares / quint32(width) / quint32(height));
}
