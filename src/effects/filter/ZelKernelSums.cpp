#include "ZelKernelSums_p.h"

#include <algorithm>
#include <cmath>

// The lane loops are compiled twice on x86-64, once for AVX2, and the processor picks at load
// time: AVX2 multiplies eight 32-bit lanes in one instruction, SSE2 has no such multiply. The
// 32-bit sums, those of most kernels, get a hand-written AVX2 loop besides.
#if defined(__GNUC__) && !defined(__clang__) && defined(__x86_64__)
#define ZEL_LANE_CLONES __attribute__((target_clones("avx2", "default")))
#define ZEL_INLINE_LANES inline __attribute__((always_inline))
#define ZEL_AVX2_SUMS 1
#include <immintrin.h>
#else
#define ZEL_LANE_CLONES
#define ZEL_INLINE_LANES inline
#endif

namespace {

template <typename Sum>
Sum weightOf(int weight)
{
    return Sum(qint64(weight));
}

// Four taps per sweep over the sums, so that they are loaded and stored once per four taps.
template <typename Sum>
ZEL_INLINE_LANES void sumTaps(const ZelTaps& taps, int count, Sum* __restrict sums)
{
    if (taps.size() == 0) {
        std::fill(sums, sums + count, Sum(0));
        return;
    }
    const uchar* const* lines = taps.lines();
    const int* weights = taps.weights();
    const int size = taps.size();
    for (int first = 0; first < size; first += 4) {
        // Missing taps of the last group read the first line with weight 0.
        const auto line = [&](int i) { return first + i < size ? lines[first + i] : lines[0]; };
        const auto weight = [&](int i) { return first + i < size ? weightOf<Sum>(weights[first + i]) : Sum(0); };
        const uchar* __restrict a = line(0);
        const uchar* __restrict b = line(1);
        const uchar* __restrict c = line(2);
        const uchar* __restrict d = line(3);
        const Sum wa = weight(0), wb = weight(1), wc = weight(2), wd = weight(3);
        if (first == 0) {
            for (int k = 0; k < count; ++k)
                sums[k] = Sum(wa * Sum(a[k]) + wb * Sum(b[k]) + wc * Sum(c[k]) + wd * Sum(d[k]));
        } else {
            for (int k = 0; k < count; ++k)
                sums[k] = Sum(sums[k] + wa * Sum(a[k]) + wb * Sum(b[k]) + wc * Sum(c[k]) + wd * Sum(d[k]));
        }
    }
}

#ifdef ZEL_AVX2_SUMS

// Taps of equal weight at mirrored places, as in every Gaussian, are added before their one
// multiply; a pair's sum of two bytes times the weight stays within the kernel's bound. The
// sums stay in registers over all taps, sixteen lanes at a time.
class MirroredTaps
{
public:
    explicit MirroredTaps(const ZelTaps& taps)
    {
        const int size = taps.size();
        for (int i = 0, j = size - 1; i <= j; ++i, --j) {
            const int weight = taps.weights()[i];
            if (i < j && weight == taps.weights()[j]) {
                add(taps.lines()[i], taps.lines()[j], weight);
                continue;
            }
            add(taps.lines()[i], nullptr, weight);
            if (i < j)
                add(taps.lines()[j], nullptr, taps.weights()[j]);
        }
    }

    std::vector<const uchar*> first;
    std::vector<const uchar*> second; // null: a single tap
    std::vector<int> weights;

private:
    void add(const uchar* a, const uchar* b, int weight)
    {
        first.push_back(a);
        second.push_back(b);
        weights.push_back(weight);
    }
};

__attribute__((target("avx2"))) inline __m256i eightLanes(const uchar* lanes)
{
    return _mm256_cvtepu8_epi32(_mm_loadl_epi64(reinterpret_cast<const __m128i*>(lanes)));
}

__attribute__((target("avx2"))) void sumTapsAvx2(const ZelTaps& taps, int count, qint32* sums)
{
    const MirroredTaps terms(taps);
    const int size = int(terms.weights.size());
    int k = 0;
    for (; k + 16 <= count; k += 16) {
        __m256i low = _mm256_setzero_si256();
        __m256i high = _mm256_setzero_si256();
        for (int t = 0; t < size; ++t) {
            const __m256i weight = _mm256_set1_epi32(terms.weights[size_t(t)]);
            const uchar* a = terms.first[size_t(t)] + k;
            const uchar* b = terms.second[size_t(t)];
            __m256i lowLanes = eightLanes(a);
            __m256i highLanes = eightLanes(a + 8);
            if (b) {
                lowLanes = _mm256_add_epi32(lowLanes, eightLanes(b + k));
                highLanes = _mm256_add_epi32(highLanes, eightLanes(b + k + 8));
            }
            low = _mm256_add_epi32(low, _mm256_mullo_epi32(lowLanes, weight));
            high = _mm256_add_epi32(high, _mm256_mullo_epi32(highLanes, weight));
        }
        _mm256_storeu_si256(reinterpret_cast<__m256i*>(sums + k), low);
        _mm256_storeu_si256(reinterpret_cast<__m256i*>(sums + k + 8), high);
    }
    for (; k < count; ++k) {
        qint32 sum = 0;
        for (int i = 0; i < taps.size(); ++i)
            sum += taps.weights()[i] * qint32(taps.lines()[i][k]);
        sums[k] = sum;
    }
}

bool hasAvx2()
{
    static const bool avx2 = __builtin_cpu_supports("avx2");
    return avx2;
}

#endif

// With |factor| >= 1 the quotient of a sum of up to 32 bits stays within int: no range check.
template <typename Sum>
bool quotientsFitInt(double factor)
{
    return sizeof(Sum) <= 4 && std::isfinite(factor) && std::fabs(factor) >= 1.0;
}

template <typename Sum>
ZEL_INLINE_LANES void storeTruncated(const Sum* __restrict sums, uchar* __restrict out, int count, double factor)
{
    if (quotientsFitInt<Sum>(factor)) {
        for (int k = 0; k < count; ++k)
            out[k] = uchar(int(zelSumValue(sums[k]) / factor));
        return;
    }
    for (int k = 0; k < count; ++k)
        out[k] = uchar(zelTruncToInt(zelSumValue(sums[k]) / factor));
}

template <typename Sum>
ZEL_INLINE_LANES void storeRounded(const Sum* __restrict sums, uchar* __restrict out, int count, double factor)
{
    if (quotientsFitInt<Sum>(factor)) {
        for (int k = 0; k < count; ++k) {
            const double value = zelSumValue(sums[k]) / factor + 0.5;
            const int truncated = int(value);
            out[k] = uchar(truncated - (value < truncated ? 1 : 0));
        }
        return;
    }
    for (int k = 0; k < count; ++k)
        out[k] = uchar(zelTruncToInt(std::floor(zelSumValue(sums[k]) / factor + 0.5)));
}

} // namespace

ZEL_LANE_CLONES void zelSumTaps(const ZelTaps& taps, int count, qint16* sums)
{
    sumTaps(taps, count, sums);
}

ZEL_LANE_CLONES void zelSumTaps(const ZelTaps& taps, int count, qint32* sums)
{
#ifdef ZEL_AVX2_SUMS
    if (hasAvx2()) {
        sumTapsAvx2(taps, count, sums);
        return;
    }
#endif
    sumTaps(taps, count, sums);
}

ZEL_LANE_CLONES void zelSumTaps(const ZelTaps& taps, int count, quint64* sums)
{
    sumTaps(taps, count, sums);
}

ZEL_LANE_CLONES void zelStoreTruncatedQuotients(const qint16* sums, uchar* out, int count, double factor)
{
    storeTruncated(sums, out, count, factor);
}

ZEL_LANE_CLONES void zelStoreTruncatedQuotients(const qint32* sums, uchar* out, int count, double factor)
{
    storeTruncated(sums, out, count, factor);
}

ZEL_LANE_CLONES void zelStoreTruncatedQuotients(const quint64* sums, uchar* out, int count, double factor)
{
    storeTruncated(sums, out, count, factor);
}

ZEL_LANE_CLONES void zelStoreRoundedQuotients(const qint16* sums, uchar* out, int count, double factor)
{
    storeRounded(sums, out, count, factor);
}

ZEL_LANE_CLONES void zelStoreRoundedQuotients(const qint32* sums, uchar* out, int count, double factor)
{
    storeRounded(sums, out, count, factor);
}

ZEL_LANE_CLONES void zelStoreRoundedQuotients(const quint64* sums, uchar* out, int count, double factor)
{
    storeRounded(sums, out, count, factor);
}
