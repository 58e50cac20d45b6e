#include "ZelImageProcessorCharcoal.h"
#include "ZelConvolutionKernelGenerator.h"
#include "ZelImageAllocation_p.h"
#include "ZelImageProcessorContrastStretch.h"
#include "ZelImageProcessorConvolution.h"
#include "ZelImageProcessorGrayscale.h"
#include "ZelImageProcessorImpl_p.h"
#include "ZelImageProcessorInvert.h"
#include "ZelKernelSums_p.h"

#include <vector>

namespace {

const QString kRadius = QStringLiteral("Radius");
constexpr int kMaximumRadius = 100;

QVector<QVector<int> > transposed(const QVector<QVector<int> >& kernel)
{
    QVector<QVector<int> > result(kernel.isEmpty() ? 0 : kernel.first().size(), QVector<int>(kernel.size()));
    for (int i = 0; i < kernel.size(); ++i) {
        for (int j = 0; j < kernel.at(i).size(); ++j)
            result[j][i] = kernel.at(i).at(j);
    }
    return result;
}

// min(255, trunc((|horizontal| + |vertical|) / factor)).
uchar edgeByte(qint64 horizontal, qint64 vertical, double factor)
{
    const double magnitude = (double(qAbs(horizontal)) + double(qAbs(vertical))) / factor;
    return uchar(magnitude >= 255.0 ? 255 : int(magnitude));
}

} // namespace

class ZelImageProcessorCharcoalImpl : public ZelImageProcessorImpl
{
    Q_OBJECT
public:
    explicit ZelImageProcessorCharcoalImpl(const QImage& image)
        : ZelImageProcessorImpl(image, tr("Kohlezeichnung"))
    {
        createParameterDescriptions();
    }

public slots:
    QImage result() override;

protected:
    QString progressTitle() const override { return tr("Kohlezeichnung"); }
    QString progressStep() const override { return QString(); }

private:
    void createParameterDescriptions() { addNumberParameter(kRadius, tr("Stiftstärke"), 50, 0, kMaximumRadius, 0, 0); }
    int radius() const { return qBound(0, myParameters.value(kRadius).toInt(), kMaximumRadius); }
    QImage convolute(const QImage& image);
    template <typename Sum>
    QImage edges(const QImage& image, const QVector<QVector<int> >& horizontal, double factor);
    QImage softened(const QImage& image);
};

QImage ZelImageProcessorCharcoalImpl::result()
{
    ZelImageProcessorGrayscale grayscale(sourceImage());
    grayscale.setParamters(QImage::Format_Indexed8);
    QImage image = applySubProcessor(&grayscale);
    if (!image.isNull() && !isCancelled())
        image = convolute(image);
    if (!image.isNull() && !isCancelled()) {
        ZelImageProcessorInvert invert(image);
        image = applySubProcessor(&invert);
    }
    if (!image.isNull() && !isCancelled())
        image = softened(image);
    if (!image.isNull() && !isCancelled()) {
        ZelImageProcessorContrastStretch stretch(image);
        image = applySubProcessor(&stretch);
    }
    // cancel() has sent finished already.
    if (resetCancel())
        return sourceImage();
    emit finished(false);
    return image.convertToFormat(QImage::Format_ARGB32);
}

QImage ZelImageProcessorCharcoalImpl::convolute(const QImage& image)
{
    QVector<QVector<int> > kernel;
    double factor = 0;
    ZelConvolutionKernelGenerator::instance().generateHVDifferenceFilter(kernel, factor, radius() / 25 + 1);
    ZelKernelWeight weight;
    for (const QVector<int>& row : kernel)
        weight.add(row);
    return zelWithSumType(weight, [&](auto zero) { return edges<decltype(zero)>(image, kernel, factor); });
}

template <typename Sum>
QImage ZelImageProcessorCharcoalImpl::edges(const QImage& image, const QVector<QVector<int> >& horizontal,
                                            double factor)
{
    QImage edge = zelBlankLike(image);
    if (edge.isNull())
        return edge;
    const QVector<QVector<int> > vertical = transposed(horizontal);
    const int size = horizontal.size();
    const int width = image.width();
    const int height = image.height();
    const ZelInnerSpan inner(width, size, size / 2);
    std::vector<Sum> horizontalSums(size_t(inner.end - inner.first));
    std::vector<Sum> verticalSums(horizontalSums.size());
    for (int y = 0; y < height; ++y) {
        zelKernelRowSums(image, 1, horizontal, size, size, y, inner.first, inner.end, horizontalSums.data());
        zelKernelRowSums(image, 1, vertical, size, size, y, inner.first, inner.end, verticalSums.data());
        uchar* out = edge.scanLine(y);
        for (int x = inner.first; x < inner.end; ++x) {
            const size_t k = size_t(x - inner.first);
            out[x] = edgeByte(zelSumInteger(horizontalSums[k]), zelSumInteger(verticalSums[k]), factor);
        }
        inner.forEachOuterPixel(width, [&](int x) {
            out[x] = edgeByte(zelClampedKernelSum(image, horizontal, size, size, x, y),
                              zelClampedKernelSum(image, vertical, size, size, x, y), factor);
        });
        emitProgress(y, height - 1);
        if (isCancelled())
            return QImage();
    }
    return edge;
}

QImage ZelImageProcessorCharcoalImpl::softened(const QImage& image)
{
    const double sigma = qMax(qMin(radius() * 0.5, 5.0), 1.0);
    QVector<int> kernel;
    double norm = 0;
    ZelConvolutionKernelGenerator::instance().generateGaussFilter(sigma, 0, kernel, norm);
    ZelImageProcessorConvolution blur(image);
    blur.setParameters(kernel, norm);
    return applySubProcessor(&blur);
}

ZelImageProcessorCharcoal::ZelImageProcessorCharcoal(const QImage& image)
    : ZelImageProcessor(image)
{
    setProperty("ToolTip", tr("Dieser Effekt vermittelt den Eindruck einer Kohlezeichnung "));
    setProperty("IconName", QStringLiteral("ico_charcoal"));
    installImplementation(new ZelImageProcessorCharcoalImpl(image));
}

#include "ZelImageProcessorCharcoal.moc"
