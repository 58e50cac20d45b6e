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
    ZelImageProcessorWeakConturImpl()
        : ZelImageProcessorImpl(tr("Schwache Konturen"))
    {
    }
    explicit ZelImageProcessorWeakConturImpl(const QImage& image)
        : ZelImageProcessorImpl(image, tr("Schwache Konturen"))
    {
    }

public slots:
    QImage result() override;
    QImage generatePreview(const QSize& size) override
    {
        return previewWith<ZelImageProcessorWeakContur>(sourceImageScaled(size));
    }
    QImage generatePreview(const QRect& rect) override
    {
        return previewWith<ZelImageProcessorWeakContur>(sectionOfSourceImage(rect));
    }

public:
    ZelImageProcessorWeakContur* myPublic = nullptr;
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

ZelImageProcessorWeakContur::ZelImageProcessorWeakContur()
{
    initImplementation(nullptr);
}

ZelImageProcessorWeakContur::ZelImageProcessorWeakContur(const QImage& image)
    : ZelImageProcessor(image)
{
    initImplementation(&image);
}

void ZelImageProcessorWeakContur::initImplementation(const QImage* image)
{
    setProperty("ToolTip", tr("Kontur zeichnen, schwach"));
    setProperty("IconName", QStringLiteral("ico_weak_contur"));
    installImplementation<ZelImageProcessorWeakConturImpl>(this, image);
}

void ZelImageProcessorWeakContur::cancel() { myImpl->cancel(); }
QImage ZelImageProcessorWeakContur::result() { return myImpl->result(); }
QImage ZelImageProcessorWeakContur::generatePreview(const QSize& size) { return myImpl->generatePreview(size); }
QImage ZelImageProcessorWeakContur::generatePreview(const QRect& rect) { return myImpl->generatePreview(rect); }

#include "ZelImageProcessorWeakContur.moc"
