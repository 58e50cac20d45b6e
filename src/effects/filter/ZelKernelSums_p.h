#ifndef ZELKERNELSUMS_P_H
#define ZELKERNELSUMS_P_H

#include "ZelPixelMath_p.h"

#include <QImage>
#include <QVector>

#include <cstdint>
#include <vector>

// Integer convolution sums over byte lanes. An 8-bit indexed row has one lane per pixel, a 32-bit
// row four (the bytes of each pixel word); every lane is summed with the same lane of its
// neighbours. The sums are exact: their type is chosen per kernel so that 255 x the kernel's
// absolute weight fits. The 64-bit sums are unsigned, so that even a kernel too heavy for them
// wraps around instead of overflowing; they are read back as signed values.

enum class ZelSumType { Int16, Int32, Int64 };

inline ZelSumType zelSumTypeFor(qint64 absoluteWeight)
{
    if (absoluteWeight * 255 <= 32767)
        return ZelSumType::Int16;
    if (absoluteWeight * 255 <= 2147483647)
        return ZelSumType::Int32;
    return ZelSumType::Int64;
}

// Stops counting at 2^40, which is heavy enough for 64-bit sums.
inline qint64 zelAbsoluteWeight(const QVector<int>& kernel, qint64 total = 0)
{
    for (int weight : kernel) {
        total += weight < 0 ? -qint64(weight) : qint64(weight);
        if (total > (qint64(1) << 40))
            return qint64(1) << 40;
    }
    return total;
}

inline qint64 zelSumInteger(qint16 sum) { return sum; }
inline qint64 zelSumInteger(qint32 sum) { return sum; }
inline qint64 zelSumInteger(quint64 sum) { return qint64(sum); }
inline double zelSumValue(qint16 sum) { return sum; }
inline double zelSumValue(qint32 sum) { return sum; }
inline double zelSumValue(quint64 sum) { return double(qint64(sum)); }

// The pixels [first, end) of a row of width pixels whose taps, taps - 1 - centre to the right of
// them and centre to the left, all lie inside the row; every other pixel needs clamped taps.
struct ZelInnerSpan
{
    ZelInnerSpan(int width, int taps, int centre)
        : first(qMin(centre, width))
        , end(qBound(first, width - (taps - 1 - centre), width))
    {
    }
    template <typename Visit>
    void forEachOuterPixel(int width, Visit visit) const
    {
        for (int x = 0; x < first; ++x)
            visit(x);
        for (int x = end; x < width; ++x)
            visit(x);
    }
    const int first;
    const int end;
};

inline int zelClampIndex(int index, int size)
{
    return index < 0 ? 0 : (index >= size ? size - 1 : index);
}

// The taps of one sum: the lanes each reads and its weight; taps of weight 0 are left out.
class ZelTaps
{
public:
    void clear()
    {
        myLines.clear();
        myWeights.clear();
    }
    void add(const uchar* lanes, int weight)
    {
        if (weight == 0)
            return;
        myLines.push_back(lanes);
        myWeights.push_back(weight);
    }
    int size() const { return int(myLines.size()); }
    const uchar* const* lines() const { return myLines.data(); }
    const int* weights() const { return myWeights.data(); }

private:
    std::vector<const uchar*> myLines;
    std::vector<int> myWeights;
};

// sums[k] = the sum over the taps of weight x lanes[k], for k < count.
void zelSumTaps(const ZelTaps& taps, int count, qint16* sums);
void zelSumTaps(const ZelTaps& taps, int count, qint32* sums);
void zelSumTaps(const ZelTaps& taps, int count, quint64* sums);

// out[k] = the low 8 bits of trunc(sums[k] / factor), the division in double.
void zelStoreTruncatedQuotients(const qint16* sums, uchar* out, int count, double factor);
void zelStoreTruncatedQuotients(const qint32* sums, uchar* out, int count, double factor);
void zelStoreTruncatedQuotients(const quint64* sums, uchar* out, int count, double factor);

// out[k] = the low 8 bits of floor(sums[k] / factor + 0.5).
void zelStoreRoundedQuotients(const qint16* sums, uchar* out, int count, double factor);
void zelStoreRoundedQuotients(const qint32* sums, uchar* out, int count, double factor);
void zelStoreRoundedQuotients(const quint64* sums, uchar* out, int count, double factor);

// Sums of a 2-D kernel for the lanes of pixels firstX ... endX - 1 of output row y: kernel row i
// (i < rows) reads image row y - rows / 2 + i, clamped into the image, and kernel column j
// (j < columns) reads pixel x - columns / 2 + j, which the caller keeps inside the row.
template <typename Sum>
void zelKernelRowSums(const QImage& image, int lanesPerPixel, const QVector<QVector<int> >& kernel, int rows,
                      int columns, int y, int firstX, int endX, Sum* sums)
{
    const int count = (endX - firstX) * lanesPerPixel;
    if (count <= 0)
        return;
    ZelTaps taps;
    for (int i = 0; i < rows; ++i) {
        const uchar* line = image.constScanLine(zelClampIndex(y - rows / 2 + i, image.height()));
        const QVector<int>& weights = kernel.at(i);
        for (int j = 0; j < columns; ++j)
            taps.add(line + (firstX - columns / 2 + j) * lanesPerPixel, weights.at(j));
    }
    zelSumTaps(taps, count, sums);
}

// The same sum for one pixel of an 8-bit image, with rows and columns clamped into the image.
inline qint64 zelClampedKernelSum(const QImage& image, const QVector<QVector<int> >& kernel, int rows, int columns,
                                  int x, int y)
{
    quint64 sum = 0;
    for (int i = 0; i < rows; ++i) {
        const uchar* line = image.constScanLine(zelClampIndex(y - rows / 2 + i, image.height()));
        const QVector<int>& weights = kernel.at(i);
        for (int j = 0; j < columns; ++j)
            sum += quint64(qint64(weights.at(j))) * line[zelClampIndex(x - columns / 2 + j, image.width())];
    }
    return qint64(sum);
}

#endif
