#ifndef ZELCONVOLUTION_P_H
#define ZELCONVOLUTION_P_H

#include <QImage>

#include <cstdint>

// Division of a 15-bit numerator by a divisor of at least 2 as a 16-bit multiply-high and a
// shift, the form SSE2 computes eight at a time: n / d = mulhi(n, multiplier) >> shift for every
// n below 2^15. For d = 2^s the multiplier is 2^(16 - s) and there is no shift; otherwise, with
// s = floor(log2 d), the multiplier is ceil(2^(16 + s) / d), below 2^16, and the error it adds,
// n (multiplier d - 2^(16 + s)) / (d 2^(16 + s)), stays below 1 / d.
struct ZelWordDivider
{
    explicit ZelWordDivider(int divisor)
    {
        int s = 0;
        while ((2 << s) <= divisor)
            ++s;
        if (divisor == (1 << s)) {
            multiplier = uint16_t(1u << (16 - s));
            shift = 0;
        } else {
            multiplier = uint16_t(((uint32_t(1) << (16 + s)) + uint32_t(divisor) - 1) / uint32_t(divisor));
            shift = s;
        }
    }

    int divide(int numerator) const
    {
        return int((uint32_t(numerator) * multiplier) >> 16 >> shift);
    }

    uint16_t multiplier;
    int shift;
};

// The grey convolution computes in 16-bit lanes when every partial sum of weights times grey
// levels fits: the positive and the negative weights each sum to at most 32767 / 255, and the
// divisor is at least 2 and below 2^15. All seven kernels of ZelConvolution qualify.
bool zelKernelFitsWords(const int kernel[9], int divisor);

// averageColorSobel with the limit of its 64-bit sum as a parameter, so that the fallback can be
// reached with small images.
int zelAverageColorSobel(const QImage& image, int n, qint64 limit);

#endif
