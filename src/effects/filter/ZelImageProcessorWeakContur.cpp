#include "ZelImageProcessorWeakContur.h"
#include "ZelConvolutionKernelGenerator.h"
#include "ZelImageProcessorAdjustRGBIntensity.h"
#include "ZelImageProcessorConvolution.h"
#include "ZelImageProcessorImpl_p.h"
#include "ZelImageProcessorIntensity.h"
#include "ZelImageProcessorInvert.h"

class ZelImageProcessorWeakConturImpl : public ZelImageProcessorImpl
{
    Q_OBJECT
public:
    explicit ZelImageProcessorWeakConturImpl(const QImage& image)
        : ZelImageProcessorImpl(image, tr("Schwache Konturen"))
    {
    }

public slots:
    QImage result() override;
};

QImage ZelImageProcessorWeakConturImpl::result()
{
    QVector<QVector<int> > kernel;
    double factor = 0;
    ZelConvolutionKernelGenerator::instance().generateLaplace(kernel, factor);
    const QImage grey = ZelImageProcessorIntensity(sourceImage()).result();
    ZelImageProcessorConvolution laplace(grey);
    laplace.setParameters(kernel, factor);
    const QImage inverted = ZelImageProcessorInvert(laplace.result()).result();
    ZelImageProcessorAdjustRGBIntensity doubling(inverted);
    doubling.setParameters(200.0);
    const QImage contour = doubling.result();
    emit finished(false);
    return contour;
}

ZelImageProcessorWeakContur::ZelImageProcessorWeakContur(const QImage& image)
    : ZelImageProcessor(image)
{
    setProperty("ToolTip", tr("Kontur zeichnen, schwach"));
    setProperty("IconName", QStringLiteral("ico_weak_contur"));
    installImplementation(new ZelImageProcessorWeakConturImpl(image));
}

#include "ZelImageProcessorWeakContur.moc"
