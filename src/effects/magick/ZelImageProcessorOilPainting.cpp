#include "ZelImageProcessorOilPainting.h"
#include "ZelImageProcessorImpl_p.h"
#include "ZelProgressSignalizer.h"

namespace {

const QString kBrushSize = QStringLiteral("BrushSize");

// From the picture's longer side on, the brush covers the whole picture from every pixel and a
// larger one only adds repetitions of the edge, which ImageMagick still visits one by one. From
// twice that length on they no longer change the result (measured: a few pixels of noisy
// pictures still change between once and twice the length, none beyond).
double effectiveRadius(int brushSize, const QSize& size)
{
    return qMin(double(brushSize), 2.0 * qMax(size.width(), size.height()));
}

} // namespace

class ZelImageProcessorOilPaintingImpl : public ZelImageProcessorImpl
{
    Q_OBJECT
public:
    explicit ZelImageProcessorOilPaintingImpl(const QImage& image)
        : ZelImageProcessorImpl(image, tr("Ölgemälde"))
    {
        addNumberParameter(kBrushSize, tr("Pinselradius"), 1, 1, 100, 0, 0);
    }

public slots:
    QImage result() override
    {
        const int brushSize = myParameters.value(kBrushSize).toInt();
        progressSignalizer()->start();
        return magickResult([&](ZelMagickWandWrapper& magick, const QImage& source) {
            return magick.oilPainting(source, effectiveRadius(brushSize, source.size()));
        });
    }

protected:
    QString progressTitle() const override { return tr("Ölgemälde"); }
};

ZelImageProcessorOilPainting::ZelImageProcessorOilPainting(const QImage& image)
    : ZelImageProcessor(image)
{
    setProperty("ToolTip", tr("Dieser Effekt vermittelt den Eindruck eines Ölgemäldes "));
    setProperty("IconName", QStringLiteral("ico_oil_canvas"));
    installImplementation(new ZelImageProcessorOilPaintingImpl(image));
}

#include "ZelImageProcessorOilPainting.moc"
