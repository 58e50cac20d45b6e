#ifndef ZELHSVBATCH_P_H
#define ZELHSVBATCH_P_H

#include "ZelHsv_p.h"

#include <cstring>

// The HSV steps of ZelHsv_p.h (and so of QColor) for eight pixels at a time, one per lane of
// GCC's generic vectors, for functions compiled for AVX2 (ZEL_AVX2_FUNCTION) that run where
// zelBatchUsesAvx2() says so; elsewhere the pixel loops take the scalar functions of ZelHsv_p.h
// (without AVX2 GCC splits these vectors into single lanes, slower than the scalar code).
// Integers below 2^24 are exact in floats, so every product and sum below is exact, and every
// quotient is taken where the distance of a true quotient from the integers around it exceeds
// the float error: the quotients truncate to the integer ones. Lanes whose ramp falls on a
// rounding tie, where QColor's doubles decide, are flagged for the scalar functions.
// tst_toolkit compares them with ZelHsv_p.h over every input.

// Whether the AVX2 functions run; tests and benchmarks can switch them off.
bool zelBatchUsesAvx2();
void zelSetBatchAvx2Allowed(bool allowed);

#if defined(__GNUC__) && !defined(__clang__) && defined(__x86_64__)
#define ZEL_HAVE_AVX2_PATH 1
#else
#define ZEL_HAVE_AVX2_PATH 0
#endif

namespace ZelBatch {

// Tables read by gather() hold this many entries beyond their last index: the AVX2 gather reads
// four bytes per entry. The tables are built alike where the AVX2 path is not compiled (clang).
constexpr int kGatherPadding = 4;

} // namespace ZelBatch

#if ZEL_HAVE_AVX2_PATH
#include <immintrin.h>

// flatten: the helpers are inlined and so compiled for AVX2 as well.
#define ZEL_AVX2_FUNCTION __attribute__((target("avx2"), flatten))

// The helpers pass vectors by value and are always inlined, also without optimisation, so their
// ABI does not matter. A function compiled for AVX2 that is called from other code must not take
// or return vectors by value: the two sides would pass them differently.
#pragma GCC diagnostic ignored "-Wpsabi"
#define ZEL_BATCH_INLINE inline __attribute__((always_inline))

namespace ZelBatch {

constexpr int kLanes = 8;
typedef int32_t Ints __attribute__((vector_size(32)));
typedef float Floats __attribute__((vector_size(32)));

ZEL_BATCH_INLINE Ints load(const void* words)
{
    Ints v;
    std::memcpy(&v, words, sizeof v);
    return v;
}

ZEL_BATCH_INLINE void store(void* words, Ints v)
{
    std::memcpy(words, &v, sizeof v);
}

ZEL_BATCH_INLINE Floats toFloats(Ints v)
{
    return __builtin_convertvector(v, Floats);
}

ZEL_BATCH_INLINE Ints truncated(Floats v)
{
    return __builtin_convertvector(v, Ints);
}

// Lanes where mask is set (all ones) take a, the others b.
ZEL_BATCH_INLINE Ints select(Ints mask, Ints a, Ints b)
{
    return (mask & a) | (~mask & b);
}

ZEL_BATCH_INLINE Ints maximum(Ints a, Ints b)
{
    return select(a > b, a, b);
}

ZEL_BATCH_INLINE Ints minimum(Ints a, Ints b)
{
    return select(a < b, a, b);
}

ZEL_BATCH_INLINE bool anyLane(Ints mask)
{
    uint64_t words[4];
    std::memcpy(words, &mask, sizeof words);
    return (words[0] | words[1] | words[2] | words[3]) != 0;
}

struct Channels
{
    ZEL_BATCH_INLINE explicit Channels(Ints pixels)
        : red((pixels >> 16) & 0xFF)
        , green((pixels >> 8) & 0xFF)
        , blue(pixels & 0xFF)
        , max(maximum(red, maximum(green, blue)))
        , min(minimum(red, minimum(green, blue)))
    {
    }
    Ints red, green, blue, max, min;
};

// zelHsvHue for chromatic lanes (max > min); grey lanes give some value without faults.
// h = base + floor((12000 n + delta) / (200 delta)): the whole degrees of base are split off, so
// the numerator stays below 2^22 and the quotient within 60, at least 1 / 51000 from an integer
// it is not equal to.
ZEL_BATCH_INLINE Ints hue(const Channels& c)
{
    const Ints delta = c.max - c.min;
    const Ints redMax = c.red == c.max;
    const Ints greenMax = ~redMax & (c.green == c.max);
    const Ints blueMax = ~(redMax | greenMax);
    const Ints n = (redMax & (c.green - c.blue)) | (greenMax & (c.blue - c.red)) | (blueMax & (c.red - c.green));
    const Ints base = (redMax & (n < 0) & 360) | (greenMax & 120) | (blueMax & 240);
    const Floats numerator = toFloats(n) * 12000.0f + toFloats(delta);
    const Floats denominator = toFloats(delta | ((delta == 0) & 1)) * 200.0f;
    const Floats quotient = numerator / denominator;
    const Ints whole = truncated(quotient);
    // Truncation rounds negative quotients up; floor is one less there (the mask is -1).
    return base + whole + (toFloats(whole) > quotient);
}

// zelHsvLow: (2 v (255 - s) + 255) / 510; the numerator is odd, the quotient at least 1 / 510
// from an integer.
ZEL_BATCH_INLINE Ints low(Ints s, Ints v)
{
    const Floats numerator = 2.0f * toFloats(v) * toFloats(255 - s) + 255.0f;
    return truncated(numerator * (1.0f / 510.0f));
}

// The ramp channel of zelChromaticHsvToRgb for the distance w (degrees) of each lane, and in
// *ties the lanes on a rounding tie. round(x / 15300) = floor((x + 7650) / 15300) with
// x = v (15300 - s w); a quotient that is not an integer lies at least 1 / 15300 from one, an
// integer one (a tie) may come out one less, which leaves the remainder 15300 instead of 0.
ZEL_BATCH_INLINE Ints ramp(Ints s, Ints v, Ints w, Ints* ties)
{
    const Floats shifted = toFloats(v) * (15300.0f - toFloats(s) * toFloats(w)) + 7650.0f;
    const Ints rounded = truncated(shifted * (1.0f / 15300.0f));
    const Floats remainder = shifted - toFloats(rounded) * 15300.0f;
    *ties = (remainder == 0.0f) | (remainder == 15300.0f);
    return rounded;
}

ZEL_BATCH_INLINE Ints distanceInSector(Ints h, Ints sector)
{
    const Ints intoSector = h - ((sector << 6) - (sector << 2));
    const Ints rising = (sector & 1) == 0;
    return select(rising, 60 - intoSector, intoSector);
}

// Eight table entries at the indices in the lanes; reads four bytes per entry, so the table must
// hold kGatherPadding entries more. AVX2 functions, like chromaticHsvToRgb: without optimisation
// they are called, from AVX2 functions only, with the same ABI on both sides.
template <typename Entry>
__attribute__((target("avx2"))) Ints gather(const Entry* table, Ints indices)
{
    static_assert(sizeof(Entry) <= 2, "entries of one or two bytes");
    const __m256i words = _mm256_i32gather_epi32(reinterpret_cast<const int*>(table), __m256i(indices),
                                                 int(sizeof(Entry)));
    return Ints(_mm256_and_si256(words, _mm256_set1_epi32(sizeof(Entry) == 1 ? 0xFF : 0xFFFF)));
}

// zelChromaticHsvToRgb(h, s, v, low) & 0xFFFFFF for h in 0..359 and s, v in 0..255. Lanes set in
// *ties hold a wrong ramp channel and must be computed by zelChromaticHsvToRgb. The sector comes
// from a multiply-high (h * 1093 >> 16 is h / 60 below 360), the channels are placed by one byte
// shuffle per sector.
__attribute__((target("avx2"))) inline Ints chromaticHsvToRgb(Ints h, Ints s, Ints v, Ints lowChannel, Ints* ties)
{
    const Ints sector = Ints(_mm256_mulhi_epu16(__m256i(h), _mm256_set1_epi32(1093)));
    const Ints rampChannel = ramp(s, v, distanceInSector(h, sector), ties);
    // Bytes 0, 1, 2 of each lane: low, ramp, value.
    const Ints packed = lowChannel | (rampChannel << 8) | (v << 16);
    // Per sector the source bytes of blue, green and red (0x80: zero).
    const __m256i order = _mm256_setr_epi32(int(0x80020100u), int(0x80010200u), int(0x80000201u), int(0x80000102u),
                                            int(0x80010002u), int(0x80020001u), 0, 0);
    const __m256i inLane = _mm256_setr_epi32(0, 0x040404, 0x080808, 0x0C0C0C, 0, 0x040404, 0x080808, 0x0C0C0C);
    const __m256i control = _mm256_add_epi32(_mm256_permutevar8x32_epi32(order, __m256i(sector)), inLane);
    return Ints(_mm256_shuffle_epi8(__m256i(packed), control));
}

} // namespace ZelBatch

#endif // ZEL_HAVE_AVX2_PATH

#endif
