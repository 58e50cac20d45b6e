#include "ZelImageProcessorIntensity.h"
#include "ZelHsv_p.h"
#include "ZelImageProcessorImpl_p.h"
#include "ZelTonalImage_p.h"

class ZelImageProcessorIntensityImpl : public ZelImageProcessorImpl
{
    Q_OBJECT
public:
    ZelImageProcessorIntensityImpl()
        : ZelImageProcessorImpl(QString())
    {
    }
    explicit ZelImageProcessorIntensityImpl(const QImage& image)
        : ZelImageProcessorImpl(image, QString())
    {
    }

    ZelImageProcessorIntensity* myPublic = nullptr;

public slots:
    QImage result() override;
    QImage generatePreview(const QSize& size) override
    {
        return previewWith<ZelImageProcessorIntensity>(sourceImageScaled(size));
    }
    QImage generatePreview(const QRect& rect) override
    {
        return previewWith<ZelImageProcessorIntensity>(sectionOfSourceImage(rect));
    }

protected:
    QString progressTitle() const override { return tr("Schwarzweiß"); }
};

QImage ZelImageProcessorIntensityImpl::result()
{
    const QImage source = zelToPixelWords(sourceImage());
    QImage levels = source.isNull() ? QImage() : zelGreyIndexedImage(source.size());
    if (!levels.isNull()) {
        const int width = source.width();
        for (int y = 0; y < source.height(); ++y) {
            const QRgb* in = reinterpret_cast<const QRgb*>(source.constScanLine(y));
            uchar* out = levels.scanLine(y);
            for (int x = 0; x < width; ++x)
                out[x] = uchar(zelHsvValue(in[x]));
        }
    }
    emit finished(false);
    return levels;
}

ZelImageProcessorIntensity::ZelImageProcessorIntensity()
{
    initImplementation(nullptr);
}

ZelImageProcessorIntensity::ZelImageProcessorIntensity(const QImage& image)
    : ZelImageProcessor(image)
{
    initImplementation(&image);
}

void ZelImageProcessorIntensity::initImplementation(const QImage* image)
{
    installImplementation<ZelImageProcessorIntensityImpl>(this, image);
}

void ZelImageProcessorIntensity::cancel() { myImpl->cancel(); }
QImage ZelImageProcessorIntensity::result() { return myImpl->result(); }
QImage ZelImageProcessorIntensity::generatePreview(const QSize& size) { return myImpl->generatePreview(size); }
QImage ZelImageProcessorIntensity::generatePreview(const QRect& rect) { return myImpl->generatePreview(rect); }

#include "ZelImageProcessorIntensity.moc"
