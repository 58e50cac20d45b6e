#include "ZelConvolutionKernelGenerator.h"

#include <QtGlobal>

#include <cmath>
#include <cstdint>
#include <limits>

namespace {

// Beyond this radius the kernel alone would not fit in memory.
constexpr int kMaximumGaussRadius = 1 << 20;
constexpr int kMaximumDifferenceHalfWidth = 16;

// The double-to-int conversion of the x86 instruction: out of range or NaN gives INT_MIN.
int truncToInt(double value)
{
    if (!(value > -2147483649.0 && value < 2147483648.0))
        return std::numeric_limits<int>::min();
    return static_cast<int>(value);
}

// The same for 64 bits; an infinite quotient counts as the largest one.
int64_t truncToInt64(double value)
{
    if (value >= 9223372036854775807.0)
        return std::numeric_limits<int64_t>::max();
    if (!(value > -9223372036854775808.0))
        return std::numeric_limits<int64_t>::min();
    return static_cast<int64_t>(value);
}

QVector<QVector<int> > matrix(std::initializer_list<QVector<int> > rows)
{
    return QVector<QVector<int> >(rows);
}

// 10^(k - 1) for the k divisions by 10 that bring quotient down to 10 or less; 0 when it is
// 10 or less already.
double scaleCap(int64_t quotient)
{
    if (quotient <= 10)
        return 0.0;
    int64_t cap = 1;
    for (quotient /= 10; quotient > 10; quotient /= 10)
        cap *= 10;
    return double(cap);
}

} // namespace

class ZelConvolutionKernelGeneratorImpl
{
public:
    void generateLaplace(QVector<QVector<int> >& kernel, double& factor) const
    {
        static const QVector<QVector<int> > laplace = matrix({{1, 1, 1}, {1, -8, 1}, {1, 1, 1}});
        kernel = laplace;
        factor = 8.0;
    }

    void generateHorizontalSobel(QVector<QVector<int> >& kernel, double& factor) const
    {
        static const QVector<QVector<int> > sobel = matrix({{1, 0, -1}, {2, 0, -2}, {1, 0, -1}});
        kernel = sobel;
        factor = 4.0;
    }

    void generateVerticalSobel(QVector<QVector<int> >& kernel, double& factor) const
    {
        static const QVector<QVector<int> > sobel = matrix({{1, 2, 1}, {0, 0, 0}, {-1, -2, -1}});
        kernel = sobel;
        factor = 4.0;
    }

    void generateGaussFilter(double sigma, int radius, QVector<double>& kernel, double& sum) const
    {
        kernel.clear();
        sum = 0.0;
        const int r = radius != 0 ? radius : truncToInt(sigma * 3.0);
        if (!std::isfinite(sigma) || r < 0 || r > kMaximumGaussRadius)
            return;
        const int n = 2 * r + 1;
        kernel.resize(n);
        const double variance = sigma * sigma;
        for (int i = 0; i < n; ++i) {
            const double distance = double(r - i);
            kernel[i] = variance == 0.0 ? 1.0 : std::exp(-(distance * distance) * 0.5 / variance);
        }
        for (int i = 0; i < n; ++i)
            sum += kernel[i];
    }

    void generateGaussFilter(double sigma, int radius, QVector<int>& kernel, double& sum) const
    {
        QVector<double> weights;
        generateGaussFilter(sigma, radius, weights, sum);
        kernel = QVector<int>();
        if (weights.isEmpty())
            return;
        double smallest = weights.first();
        double largest = weights.first();
        for (double weight : weights) {
            smallest = qMin(smallest, weight);
            largest = qMax(largest, weight);
        }
        const double limit = 2147483647.0 / (255.0 * largest * weights.size());
        const double cap = scaleCap(truncToInt64(limit));
        double scale = 1.0;
        while (std::fmod(smallest, 1.0) > 0 && cap > smallest) {
            smallest *= 10;
            scale *= 10;
        }
        kernel.reserve(weights.size());
        for (double weight : weights)
            kernel.append(truncToInt(scale * weight));
        sum = scale * sum;
    }

    void generateHVDifferenceFilter(QVector<QVector<int> >& kernel, double& factor, int size) const
    {
        const int r = qBound(1, size, kMaximumDifferenceHalfWidth);
        const int n = 2 * r + 1;
        QVector<int> row(n);
        for (int j = 0; j < n; ++j)
            row[j] = j < r ? -1 : (j > r ? 1 : 0);
        kernel = QVector<QVector<int> >(n, row);
        factor = double(r) * n;
    }
};

ZelConvolutionKernelGenerator* ZelConvolutionKernelGenerator::myInstance = nullptr;

ZelConvolutionKernelGenerator::ZelConvolutionKernelGenerator()
    : myImpl(new ZelConvolutionKernelGeneratorImpl)
{
}

ZelConvolutionKernelGenerator& ZelConvolutionKernelGenerator::instance()
{
    // A guarded local: the first call is safe from any thread, not only from the main one.
    static const bool created = (myInstance = new ZelConvolutionKernelGenerator, true);
    Q_UNUSED(created);
    return *myInstance;
}

void ZelConvolutionKernelGenerator::generateLaplace(QVector<QVector<int> >& kernel, double& factor)
{
    myImpl->generateLaplace(kernel, factor);
}

void ZelConvolutionKernelGenerator::generateHorizontalSobel(QVector<QVector<int> >& kernel, double& factor)
{
    myImpl->generateHorizontalSobel(kernel, factor);
}

void ZelConvolutionKernelGenerator::generateVerticalSobel(QVector<QVector<int> >& kernel, double& factor)
{
    myImpl->generateVerticalSobel(kernel, factor);
}

void ZelConvolutionKernelGenerator::generateGaussFilter(double sigma, int radius, QVector<double>& kernel,
                                                        double& sum)
{
    myImpl->generateGaussFilter(sigma, radius, kernel, sum);
}

void ZelConvolutionKernelGenerator::generateGaussFilter(double sigma, int radius, QVector<int>& kernel,
                                                        double& sum)
{
    myImpl->generateGaussFilter(sigma, radius, kernel, sum);
}

void ZelConvolutionKernelGenerator::generateHVDifferenceFilter(QVector<QVector<int> >& kernel, double& factor,
                                                               int size)
{
    myImpl->generateHVDifferenceFilter(kernel, factor, size);
}
