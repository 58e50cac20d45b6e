#include "ZelImageProcessorSepia.h"
#include "ZelImageProcessorGrayscale.h"
#include "ZelImageProcessorImpl_p.h"
#include "ZelPixelMath_p.h"

#include <QColor>
#include <QVector>

namespace {

const QString kStrength = QStringLiteral("Strength");
constexpr int kSepiaHue = 26;

// QColor::fromHsv(26, saturation, i).rgb() for every grey i; QColor refuses saturations outside
// 0..255 (with a warning each) and gives its invalid colour, opaque black, which is taken here
// without the 256 warnings.
QVector<QRgb> sepiaColorTable(int saturation, int size)
{
    QVector<QRgb> table(size, qRgb(0, 0, 0));
    if (saturation < 0 || saturation > 255)
        return table;
    for (int value = 0; value < size; ++value)
        table[value] = QColor::fromHsv(kSepiaHue, saturation, value).rgb();
    return table;
}

} // namespace

class ZelImageProcessorSepiaImpl : public ZelImageProcessorImpl
{
    Q_OBJECT
public:
    explicit ZelImageProcessorSepiaImpl(const QImage& image)
        : ZelImageProcessorImpl(image, tr("Sepia"))
    {
        addNumberParameter(kStrength, tr("Stärke"), 50, 0, 100, 0, 0);
    }

public slots:
    QImage result() override
    {
        const int saturation = zelTruncToInt(myParameters.value(kStrength).toInt() * 2.55);
        ZelImageProcessorGrayscale grayscale(sourceImage());
        grayscale.setParamters(QImage::Format_Indexed8);
        QImage sepia = grayscale.result();
        if (!sepia.isNull()) {
            sepia.setColorTable(sepiaColorTable(saturation, sepia.colorCount()));
            sepia = sepia.convertToFormat(QImage::Format_ARGB32);
        }
        emit finished(false);
        return sepia;
    }

protected:
    QString progressTitle() const override { return tr("Sepia"); }
};

ZelImageProcessorSepia::ZelImageProcessorSepia(const QImage& image)
    : ZelImageProcessor(image)
{
    setProperty("ToolTip", tr("Farben des Fotos in Sepiafarben umwandeln "));
    setProperty("IconName", QStringLiteral("ico_sepia"));
    installImplementation(new ZelImageProcessorSepiaImpl(image));
}

#include "ZelImageProcessorSepia.moc"
