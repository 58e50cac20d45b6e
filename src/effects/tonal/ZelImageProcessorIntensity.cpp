#include "ZelImageProcessorIntensity.h"
#include "ZelHsv_p.h"
#include "ZelImageProcessorImpl_p.h"
#include "ZelTonalImage_p.h"

class ZelImageProcessorIntensityImpl : public ZelImageProcessorImpl
{
    Q_OBJECT
public:
    explicit ZelImageProcessorIntensityImpl(const QImage& image)
        : ZelImageProcessorImpl(image, QString())
    {
    }

public slots:
    QImage result() override;

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

ZelImageProcessorIntensity::ZelImageProcessorIntensity(const QImage& image)
    : ZelImageProcessor(image)
{
    installImplementation(new ZelImageProcessorIntensityImpl(image));
}

#include "ZelImageProcessorIntensity.moc"
