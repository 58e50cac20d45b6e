#include "ZelImageProcessorGrayscale.h"
#include "ZelImageProcessorImpl_p.h"
#include "ZelTonalImage_p.h"

namespace {

inline uint greyOf(QRgb pixel)
{
    return uint(11 * qRed(pixel) + 16 * qGreen(pixel) + 5 * qBlue(pixel)) >> 5;
}

bool isValidFormat(QImage::Format format)
{
    return format > QImage::Format_Invalid && format < QImage::NImageFormats;
}

} // namespace

class ZelImageProcessorGrayscaleImpl : public ZelImageProcessorImpl
{
    Q_OBJECT
public:
    explicit ZelImageProcessorGrayscaleImpl(const QImage& image)
        : ZelImageProcessorImpl(image, tr("Schwarzweiß"))
    {
    }

    using ZelImageProcessorImpl::setParameters;
    void setParameters(QImage::Format format) { myFormat = format; }

public slots:
    QImage result() override;

protected:
    QString progressTitle() const override { return tr("Graustufen"); }

private:
    QImage greyImage(const QImage& source);

    QImage::Format myFormat = QImage::Format_ARGB32;
};

QImage ZelImageProcessorGrayscaleImpl::greyImage(const QImage& source)
{
    const bool indexed = myFormat == QImage::Format_Indexed8;
    const bool opaque = myFormat == QImage::Format_RGB32;
    QImage grey = indexed ? zelGreyIndexedImage(source.size())
                          : zelNewImage(source.size(), opaque ? QImage::Format_RGB32 : QImage::Format_ARGB32);
    if (grey.isNull())
        return grey;
    const QString title = progressTitle();
    const int width = source.width();
    const int height = source.height();
    for (int y = 0; y < height; ++y) {
        const QRgb* in = reinterpret_cast<const QRgb*>(source.constScanLine(y));
        if (indexed) {
            uchar* out = grey.scanLine(y);
            for (int x = 0; x < width; ++x)
                out[x] = uchar(greyOf(in[x]));
        } else {
            QRgb* out = reinterpret_cast<QRgb*>(grey.scanLine(y));
            const QRgb alphaMask = opaque ? 0 : 0xFF000000u;
            const QRgb opaqueAlpha = opaque ? 0xFF000000u : 0;
            for (int x = 0; x < width; ++x)
                out[x] = (in[x] & alphaMask) | opaqueAlpha | greyOf(in[x]) * 0x010101u;
        }
        emit progress(title, QString(), y, height - 1);
    }
    return grey;
}

QImage ZelImageProcessorGrayscaleImpl::result()
{
    const QImage source = zelToPixelWords(sourceImage());
    QImage grey;
    if (!source.isNull() && isValidFormat(myFormat)) {
        grey = greyImage(source);
        if (!grey.isNull() && grey.format() != myFormat)
            grey = zelConvertImage(grey, myFormat);
    }
    emit finished(false);
    return grey;
}

ZelImageProcessorGrayscale::ZelImageProcessorGrayscale(const QImage& image)
    : ZelImageProcessor(image)
{
    setProperty("ToolTip", tr("Foto in Schwarz-Weiß-Foto verwandeln "));
    setProperty("IconName", QStringLiteral("ico_black_white"));
    installImplementation(new ZelImageProcessorGrayscaleImpl(image));
}

void ZelImageProcessorGrayscale::setParamters(QImage::Format format)
{
    static_cast<ZelImageProcessorGrayscaleImpl*>(myImpl)->setParameters(format);
}

#include "ZelImageProcessorGrayscale.moc"
