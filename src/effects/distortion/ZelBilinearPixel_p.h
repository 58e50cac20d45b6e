#ifndef ZELBILINEARPIXEL_P_H
#define ZELBILINEARPIXEL_P_H

#include <QColor>

#if defined(__SSE2__)
#include <emmintrin.h>
#endif

// Bilinear blend of the four pixels around a sample point: p00 at (x0, y0), p10 at (x0 + 1, y0),
// p01 at (x0, y0 + 1), p11 at (x0 + 1, y0 + 1); tx and ty are the fractions in [0, 1). With
// alpha set and any corner not opaque, every corner's colour is weighted by p11's alpha alone:
// deliberate, this is the water-ring effect's look, not a premultiplied blend.
//
// Per channel: top = c00 + (c10 - c00) * tx, bottom = c01 + (c11 - c01) * tx, then
// top + (bottom - top) * ty truncated. With SSE2 two channels go through each double operation
// side by side; every lane performs the scalar operations in the scalar order, so the results
// are the same bit for bit.
namespace ZelBilinear {

constexpr double kEpsilon = 1.1920928955078125e-7;

#if defined(__SSE2__)

// Channels as doubles: {blue, green} and {red, alpha}.
struct Channels
{
    __m128d blueGreen;
    __m128d redAlpha;
};

inline Channels channels(QRgb pixel, __m128d weight)
{
    const __m128i zero = _mm_setzero_si128();
    const __m128i ints = _mm_unpacklo_epi16(_mm_unpacklo_epi8(_mm_cvtsi32_si128(int(pixel)), zero), zero);
    return {_mm_mul_pd(_mm_cvtepi32_pd(ints), weight),
            _mm_mul_pd(_mm_cvtepi32_pd(_mm_shuffle_epi32(ints, _MM_SHUFFLE(1, 0, 3, 2))), weight)};
}

inline __m128d blendLanes(__m128d c00, __m128d c10, __m128d c01, __m128d c11, __m128d tx, __m128d ty)
{
    const __m128d top = _mm_add_pd(c00, _mm_mul_pd(_mm_sub_pd(c10, c00), tx));
    const __m128d bottom = _mm_add_pd(c01, _mm_mul_pd(_mm_sub_pd(c11, c01), tx));
    return _mm_add_pd(top, _mm_mul_pd(_mm_sub_pd(bottom, top), ty));
}

// The four blended channels, truncated, as blue, green, red, alpha lanes. Each corner channel is
// multiplied by weight first (1 leaves it as it is; a whole weight up to 255 keeps it exact).
inline __m128i blendChannels(QRgb p00, QRgb p10, QRgb p01, QRgb p11, double tx, double ty, double weight)
{
    const __m128d w = _mm_set1_pd(weight);
    const Channels c00 = channels(p00, w);
    const Channels c10 = channels(p10, w);
    const Channels c01 = channels(p01, w);
    const Channels c11 = channels(p11, w);
    const __m128d x = _mm_set1_pd(tx);
    const __m128d y = _mm_set1_pd(ty);
    const __m128d blueGreen = blendLanes(c00.blueGreen, c10.blueGreen, c01.blueGreen, c11.blueGreen, x, y);
    const __m128d redAlpha = blendLanes(c00.redAlpha, c10.redAlpha, c01.redAlpha, c11.redAlpha, x, y);
    return _mm_unpacklo_epi64(_mm_cvttpd_epi32(blueGreen), _mm_cvttpd_epi32(redAlpha));
}

inline QRgb blendOpaque(QRgb p00, QRgb p10, QRgb p01, QRgb p11, double tx, double ty)
{
    const __m128i lanes = _mm_and_si128(blendChannels(p00, p10, p01, p11, tx, ty, 1.0), _mm_set1_epi32(0xFF));
    const __m128i bytes = _mm_packus_epi16(_mm_packs_epi32(lanes, lanes), lanes);
    return QRgb(_mm_cvtsi128_si32(bytes)) | 0xFF000000u;
}

inline QRgb blendTranslucent(QRgb p00, QRgb p10, QRgb p01, QRgb p11, double tx, double ty, int alpha)
{
    alignas(16) int lanes[4];
    _mm_store_si128(reinterpret_cast<__m128i*>(lanes), blendChannels(p00, p10, p01, p11, tx, ty, alpha));
    return uint(alpha) << 24 | uint(lanes[2] / alpha & 0xFF) << 16 | uint(lanes[1] / alpha & 0xFF) << 8
        | uint(lanes[0] / alpha & 0xFF);
}

#else

inline int blendChannel(QRgb p00, QRgb p10, QRgb p01, QRgb p11, double tx, double ty, int weight, int bit)
{
    const int c00 = int(p00 >> bit & 0xFF) * weight;
    const int c10 = int(p10 >> bit & 0xFF) * weight;
    const int c01 = int(p01 >> bit & 0xFF) * weight;
    const int c11 = int(p11 >> bit & 0xFF) * weight;
    const double top = c00 + (c10 - c00) * tx;
    const double bottom = c01 + (c11 - c01) * tx;
    return static_cast<int>(top + (bottom - top) * ty);
}

inline QRgb blendOpaque(QRgb p00, QRgb p10, QRgb p01, QRgb p11, double tx, double ty)
{
    QRgb result = 0xFF000000u;
    for (const int bit : {16, 8, 0})
        result |= uint(blendChannel(p00, p10, p01, p11, tx, ty, 1, bit) & 0xFF) << bit;
    return result;
}

inline QRgb blendTranslucent(QRgb p00, QRgb p10, QRgb p01, QRgb p11, double tx, double ty, int alpha)
{
    QRgb result = uint(alpha) << 24;
    for (const int bit : {16, 8, 0})
        result |= uint(blendChannel(p00, p10, p01, p11, tx, ty, alpha, bit) / alpha & 0xFF) << bit;
    return result;
}

#endif

} // namespace ZelBilinear

inline QRgb getBilinearPixel(double tx, double ty, bool alpha, QRgb p00, QRgb p10, QRgb p01, QRgb p11)
{
    using namespace ZelBilinear;
    if (p00 == p10 && p00 == p01 && p00 == p11)
        return p00;
    if (tx < kEpsilon && ty < kEpsilon)
        return alpha ? p00 : p00 | 0xFF000000u;
    if (!alpha || (p00 & p10 & p01 & p11) >> 24 == 0xFF)
        return blendOpaque(p00, p10, p01, p11, tx, ty);
    const int a = qAlpha(p11);
    if (a == 0)
        return 0x00FFFFFFu;
    return blendTranslucent(p00, p10, p01, p11, tx, ty, a);
}

#endif
