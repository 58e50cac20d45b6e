#include "ZelImageProcessorStrongContur.h"
#include "ZelConvolutionKernelGenerator.h"
#include "ZelImageProcessorAdjustRGBIntensity.h"
#include "ZelImageProcessorCombine.h"
#include "ZelImageProcessorConvolution.h"
#include "ZelImageProcessorImpl_p.h"
#include "ZelImageProcessorIntensity.h"
#include "ZelImageProcessorInvert.h"

namespace {

QImage sobel(const QImage& grey, const QVector<QVector<int> >& kernel, double factor)
{
    ZelImageProcessorConvolution convolution(grey);
    convolution.setParameters(kernel, factor);
    return convolution.result();
}

} // namespace

class ZelImageProcessorStrongConturImpl : public ZelImageProcessorImpl
{
    Q_OBJECT
public:
    explicit ZelImageProcessorStrongConturImpl(const QImage& image)
        : ZelImageProcessorImpl(image, tr("Starke Konturen"))
    {
    }

public slots:
    QImage result() override;
};

QImage ZelImageProcessorStrongConturImpl::result()
{
    QVector<QVector<int> > horizontalKernel;
    QVector<QVector<int> > verticalKernel;
    double horizontalFactor = 0;
    double verticalFactor = 0;
    ZelConvolutionKernelGenerator::instance().generateHorizontalSobel(horizontalKernel, horizontalFactor);
    ZelConvolutionKernelGenerator::instance().generateVerticalSobel(verticalKernel, verticalFactor);
    const QImage grey = ZelImageProcessorIntensity(sourceImage()).result();
    const QImage horizontal = sobel(grey, horizontalKernel, horizontalFactor);
    const QImage vertical = sobel(grey, verticalKernel, verticalFactor);
    const QImage combined = ZelImageProcessorCombine(horizontal, vertical).result();
    const QImage inverted = ZelImageProcessorInvert(combined).result();
    ZelImageProcessorAdjustRGBIntensity doubling(inverted);
    doubling.setParameters(200.0);
    const QImage contour = doubling.result();
    emit finished(false);
    return contour;
}

ZelImageProcessorStrongContur::ZelImageProcessorStrongContur(const QImage& image)
    : ZelImageProcessor(image)
{
    setProperty("ToolTip", tr("Kontur zeichnen, stark"));
    setProperty("IconName", QStringLiteral("ico_strong_contur"));
    installImplementation(new ZelImageProcessorStrongConturImpl(image));
}

#include "ZelImageProcessorStrongContur.moc"
