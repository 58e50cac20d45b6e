#include "ZelImageProcessorInvert.h"
#include "ZelImageProcessorImpl_p.h"
#include "ZelTonalImage_p.h"

class ZelImageProcessorInvertImpl : public ZelImageProcessorImpl
{
    Q_OBJECT
public:
    explicit ZelImageProcessorInvertImpl(const QImage& image)
        : ZelImageProcessorImpl(image, QString())
    {
    }

public slots:
    QImage result() override;

protected:
    QString progressTitle() const override { return tr("Invertieren"); }
};

QImage ZelImageProcessorInvertImpl::result()
{
    const QImage source = zelToPointOperationFormat(sourceImage());
    QImage inverted = zelBlankLike(source);
    if (!inverted.isNull()) {
        const QString title = progressTitle();
        const bool indexed = source.format() == QImage::Format_Indexed8;
        const int width = source.width();
        const int height = source.height();
        for (int y = 0; y < height; ++y) {
            if (indexed) {
                const uchar* in = source.constScanLine(y);
                uchar* out = inverted.scanLine(y);
                for (int x = 0; x < width; ++x)
                    out[x] = uchar(255 - in[x]);
            } else {
                const QRgb* in = reinterpret_cast<const QRgb*>(source.constScanLine(y));
                QRgb* out = reinterpret_cast<QRgb*>(inverted.scanLine(y));
                // Alpha becomes 255 on purpose: an inverted picture is always opaque.
                for (int x = 0; x < width; ++x)
                    out[x] = ~in[x] | 0xFF000000u;
            }
            emit progress(title, QString(), y, height - 1);
        }
    }
    emit finished(false);
    return inverted;
}

ZelImageProcessorInvert::ZelImageProcessorInvert(const QImage& image)
    : ZelImageProcessor(image)
{
    installImplementation(new ZelImageProcessorInvertImpl(image));
}

#include "ZelImageProcessorInvert.moc"
