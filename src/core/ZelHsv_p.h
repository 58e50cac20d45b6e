#ifndef ZELHSV_P_H
#define ZELHSV_P_H

#include <QRgb>
#include <QtGlobal>

#include <cstdint>

// QColor's HSV conversions of Qt 5.15, bit for bit, without a QColor per pixel:
// zelRgbToHsv gives what QColor(rgb).getHsv(&h, &s, &v) gives, zelHsvToRgb what
// QColor::setHsv(h, s, v, 255) followed by rgb() gives.
//
// QColor widens each channel to 16 bits (c * 257), computes in doubles, rounds to 16 bits and
// returns 8-bit channels by a rounded division by 257. Away from rounding ties the doubles agree
// with exact integer arithmetic, which is what these functions use; on a tie the doubles decide,
// so the cases that can tie take Qt's own double expressions. tst_tonal proves both directions
// against QColor over every input the effects can produce.
//
// The tables are built at compile time, so that no initialisation guard is tested per pixel.

// The 8-bit channel QColor reports for a 16-bit one: round(x / 257).
constexpr int zelDiv257(int x)
{
    return (x + 128 - ((x + 128) >> 8)) >> 8;
}

// The HSV value, max(red, green, blue).
inline int zelHsvValue(QRgb rgb)
{
    return qMax(qRed(rgb), qMax(qGreen(rgb), qBlue(rgb)));
}

namespace ZelHsvDetail {

// QColor's saturation from the channel maximum and minimum: delta / max in doubles, where
// exact ties (65535 * delta / max ending in .5) are common.
constexpr int saturationInDoubles(int maximum, int minimum)
{
    if (maximum == minimum)
        return 0;
    const double max = (maximum * 257) / 65535.0;
    const double min = (minimum * 257) / 65535.0;
    return zelDiv257(qRound(((max - min) / max) * 65535));
}

// Indexed by max << 8 | min; entries with min > max are 0.
struct SaturationTable
{
    constexpr SaturationTable()
    {
        for (int max = 0; max < 256; ++max)
            for (int min = 0; min <= max; ++min)
                entries[max << 8 | min] = uint8_t(saturationInDoubles(max, min));
    }
    uint8_t entries[256 * 256] = {};
};

inline constexpr SaturationTable kSaturation{};

// Rounded-up reciprocals of 200 * delta: (n * entries[delta]) >> 41 is n / (200 * delta),
// exact for numerators below 2^25. Entry 0 is 0.
struct HueReciprocals
{
    constexpr HueReciprocals()
    {
        for (int delta = 1; delta < 256; ++delta)
            entries[delta] = (uint64_t(1) << 41) / uint64_t(200 * delta) + 1;
    }
    uint64_t entries[256] = {};
};

inline constexpr HueReciprocals kHueReciprocals{};

// For each hue in degrees: bits 0..5 the distance w of the ramp channel's formula (to the end
// of a rising sector, into a falling one), bit 6 set for rising sectors, and from bit 8 on the
// shifts that place value, ramp and low among red (16), green (8) and blue (0), one byte each.
struct HueSectors
{
    constexpr HueSectors()
    {
        constexpr uint32_t valueShift[6] = {16, 8, 8, 0, 0, 16};
        constexpr uint32_t rampShift[6] = {8, 16, 0, 8, 16, 0};
        constexpr uint32_t lowShift[6] = {0, 0, 16, 16, 8, 8};
        for (int h = 0; h < 360; ++h) {
            const int sector = h / 60;
            const bool rising = sector % 2 == 0;
            const uint32_t w = uint32_t(rising ? 60 - h % 60 : h % 60);
            entries[h] = w | uint32_t(rising) << 6 | valueShift[sector] << 8 | rampShift[sector] << 16
                | lowShift[sector] << 24;
        }
    }
    uint32_t entries[360] = {};
};

inline constexpr HueSectors kHueSectors{};

// QColor's 16-bit ramp channel in the middle of a hue sector in Qt's own doubles: q (falling)
// or t (rising).
inline int rampInDoubles(int h, int s, int v, bool rising)
{
    const double hue = (h * 100) / 6000.0;
    const int sector = int(hue);
    const double fraction = hue - sector;
    const double saturation = (s * 257) / 65535.0;
    const double value = (v * 257) / 65535.0;
    const double ramp = rising ? value * (1.0 - (saturation * (1.0 - fraction)))
                               : value * (1.0 - (saturation * fraction));
    return qRound(ramp * 65535);
}

// The 8-bit ramp channel: QColor rounds 257 v (15300 - s w) / 15300 to 16 bits and that by 257,
// where w is the distance into the sector in degrees (q) or to its end (t). The two roundings
// give round(x / 15300) with x = v (15300 - s w), and they tie together, exactly when x is an
// odd multiple of 7650; there Qt's doubles decide.
inline int ramp(int h, int s, int v, int w, bool rising)
{
    const uint32_t x = uint32_t(v) * uint32_t(15300 - s * w);
    const uint32_t rounded = (x + 7650u) / 15300u;
    if (rounded * 15300u == x + 7650u)
        return zelDiv257(rampInDoubles(h, s, v, rising));
    return int(rounded);
}

} // namespace ZelHsvDetail

// QColor's saturation by max << 8 | min of the channels.
inline const uint8_t* zelHsvSaturationTable()
{
    return ZelHsvDetail::kSaturation.entries;
}

// QColor's hue in whole degrees (0..359) for a chromatic pixel (max > min): with
// hue = base + 60 n / delta, h = floor(round(100 hue) / 100)
// = floor((12000 n + (200 base + 1) delta) / (200 delta)). Ties of the rounding to hundredths
// never fall just below a whole degree, so the exact quotient matches QColor's doubles. A grey
// (max == min) gives 0, which with its saturation 0 converts back to the same grey.
inline int zelHsvHue(int red, int green, int blue, int max, int min)
{
    const int delta = max - min;
    int n, base;
    if (red == max) {
        n = green - blue;
        base = n < 0 ? 360 : 0;
    } else if (green == max) {
        n = blue - red;
        base = 120;
    } else {
        n = red - green;
        base = 240;
    }
    const uint64_t numerator = uint64_t(12000 * n + (200 * base + 1) * delta);
    return int((numerator * ZelHsvDetail::kHueReciprocals.entries[delta]) >> 41);
}

// QColor(rgb).getHsv(&h, &s, &v): h is -1 for greys; alpha plays no part.
inline void zelRgbToHsv(QRgb rgb, int& h, int& s, int& v)
{
    const int red = qRed(rgb);
    const int green = qGreen(rgb);
    const int blue = qBlue(rgb);
    const int max = qMax(red, qMax(green, blue));
    const int min = qMin(red, qMin(green, blue));
    v = max;
    if (max == min) {
        h = -1;
        s = 0;
        return;
    }
    s = zelHsvSaturationTable()[max << 8 | min];
    h = zelHsvHue(red, green, blue, max, min);
}

// QColor's 8-bit p channel: round(v (255 - s) / 255), rounded twice like the ramp;
// v (255 - s) never lies halfway.
constexpr int zelHsvLow(int s, int v)
{
    return (2 * v * (255 - s) + 255) / 510;
}

// zelHsvToRgb for 0 <= h < 360 and s, v in 0..255 (s = 0 gives the grey of v, as in QColor),
// with low = zelHsvLow(s, v) given.
inline QRgb zelChromaticHsvToRgb(int h, int s, int v, int low)
{
    const uint32_t sector = ZelHsvDetail::kHueSectors.entries[h];
    const uint ramp = uint(ZelHsvDetail::ramp(h, s, v, int(sector & 63), (sector >> 6) & 1));
    return 0xFF000000u | uint(v) << ((sector >> 8) & 0xFF) | ramp << ((sector >> 16) & 0xFF)
        | uint(low) << (sector >> 24);
}

inline QRgb zelChromaticHsvToRgb(int h, int s, int v)
{
    return zelChromaticHsvToRgb(h, s, v, zelHsvLow(s, v));
}

// QColor::setHsv(h, s, v, 255) and rgb(), for s and v in 0..255 and any h: h = -1 (or s = 0)
// gives the grey of v, h >= 360 wraps, h < -1 makes QColor invalid (it warns) and rgb() of an
// invalid colour is opaque black.
inline QRgb zelHsvToRgb(int h, int s, int v)
{
    if (h < -1)
        return 0xFF000000u;
    if (h == -1)
        return qRgb(v, v, v);
    return zelChromaticHsvToRgb(h % 360, s, v);
}

#endif
