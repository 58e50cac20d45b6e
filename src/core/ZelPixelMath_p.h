#ifndef ZELPIXELMATH_P_H
#define ZELPIXELMATH_P_H

#include <cmath>
#include <cstdint>
#include <limits>

// Conversions of doubles to integers as the effects define them: truncation toward zero. A value
// that does not fit (or NaN) gives INT_MIN, as the x86 conversion instruction does, instead of
// undefined behaviour.
inline int zelTruncToInt(double value)
{
    if (!(value > -2147483649.0 && value < 2147483648.0))
        return std::numeric_limits<int>::min();
    return static_cast<int>(value);
}

// Clamps to the range of a 32-bit unsigned integer (NaN gives 0) and truncates.
inline uint32_t zelClampToUInt32(double value)
{
    if (!(value > 0.0))
        return 0;
    if (value >= 4294967295.0)
        return 4294967295u;
    return static_cast<uint32_t>(value);
}

#endif
