#ifndef ZELCONVOLUTIONKERNELGENERATOR_H
#define ZELCONVOLUTIONKERNELGENERATOR_H

#include <QVector>

class ZelConvolutionKernelGeneratorImpl;

// Kernels for ZelImageProcessorConvolution: fixed 3 x 3 Laplace and Sobel matrices, a Gaussian as
// doubles and the same Gaussian scaled to integers, and a box difference filter of any size. All
// results come back through the reference arguments.
//
// One object per process, created by the first instance() and never deleted. The fixed matrices
// are built on first use and handed out as shared copies.
//
// Threads: the object holds no state that a call changes, so any number of threads may call
// instance() and every operation at once, the first calls included (the object and the fixed
// matrices are created under the one-time guard of function-local statics). Each thread passes
// its own kernel and factor variables: two threads writing into the same QVector, or one reading
// it while another fills it, race. The matrices handed out are implicitly shared copies; a
// caller's write detaches its copy and never reaches the generator's.
class ZelConvolutionKernelGenerator
{
public:
    static ZelConvolutionKernelGenerator& instance();

    // (1, 1, 1), (1, -8, 1), (1, 1, 1); factor 8.0.
    void generateLaplace(QVector<QVector<int> >& kernel, double& factor);
    // (1, 0, -1), (2, 0, -2), (1, 0, -1): the columns differ, so it answers vertical edges;
    // factor 4.0.
    void generateHorizontalSobel(QVector<QVector<int> >& kernel, double& factor);
    // (1, 2, 1), (0, 0, 0), (-1, -2, -1): the rows differ; factor 4.0.
    void generateVerticalSobel(QVector<QVector<int> >& kernel, double& factor);

    // 2r + 1 weights exp(-(r - i)^2 * 0.5 / sigma^2), r = radius, or (int)(3 sigma) when radius
    // is 0; every weight is 1.0 when sigma^2 is exactly 0. sum is the sum of the weights.
    // A radius (or 3 sigma) below 0 or above 2^20, and a sigma that is not finite, give an empty
    // kernel and a sum of 0.
    void generateGaussFilter(double sigma, int radius, QVector<double>& kernel, double& sum);
    // The same weights scaled by a power of ten and truncated: the scale grows while the smallest
    // weight has a fractional part and stays below a cap, 10^(k - 1) for the k divisions by 10
    // that bring 2147483647 / (255 x largest weight x length) down to 10 or less (no scaling
    // when that quotient is 10 or less). sum is the double sum times the scale. Sigma 1.0 gives
    // the scale 10^7: centre 10000000, ends 111089. A scaled weight beyond the int range becomes
    // INT_MIN.
    void generateGaussFilter(double sigma, int radius, QVector<int>& kernel, double& sum);

    // A box difference of half-width r = size, taken into 1 ... 16: 2r + 1 rows of 2r + 1
    // weights, -1 left of the centre column, 0 in it, +1 right of it (the right box minus the
    // left box, answering vertical edges like generateHorizontalSobel). Its transpose is the
    // vertical difference. factor is r (2r + 1), the sum of the positive weights, so that a
    // response divided by it stays within 0 ... 255 for 8-bit values.
    void generateHVDifferenceFilter(QVector<QVector<int> >& kernel, double& factor, int size);

private:
    ZelConvolutionKernelGenerator();
    ~ZelConvolutionKernelGenerator() = delete;
    ZelConvolutionKernelGenerator(const ZelConvolutionKernelGenerator&) = delete;
    ZelConvolutionKernelGenerator& operator=(const ZelConvolutionKernelGenerator&) = delete;

    ZelConvolutionKernelGeneratorImpl* myImpl;
    static ZelConvolutionKernelGenerator* myInstance;
};

#endif
