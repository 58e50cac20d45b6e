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
    ZelImageProcessorOilPaintingImpl()
        : ZelImageProcessorImpl(tr("Ölgemälde"))
    {
        createParameterDescriptions();
    }
    explicit ZelImageProcessorOilPaintingImpl(const QImage& image)
        : ZelImageProcessorImpl(image, tr("Ölgemälde"))
    {
        createParameterDescriptions();
    }

public slots:
    QImage result() override
    {
        connectProgressSignalizer();
        progressSignalizer()->start();
        const int brushSize = myParameters.value(kBrushSize).toInt();
        const QImage source = sourceImage();
        const QImage painted = createMagickWandWrapper().oilPainting(source, effectiveRadius(brushSize, source.size()));
        disconnectProgressSignalizer();
        emit finished(false);
        return painted;
    }
    QImage generatePreview(const QSize& size) override
    {
        return previewWith<ZelImageProcessorOilPainting>(sourceImageScaled(size));
    }
    QImage generatePreview(const QRect& rect) override
    {
        return previewWith<ZelImageProcessorOilPainting>(sectionOfSourceImage(rect));
    }

protected:
    QString progressTitle() const override { return tr("Ölgemälde"); }

private:
    void createParameterDescriptions()
    {
        addNumberParameter(kBrushSize, tr("Pinselradius"), 1, 1, 100, 0, 0);
    }

public:
    ZelImageProcessorOilPainting* myPublic = nullptr;
};

ZelImageProcessorOilPainting::ZelImageProcessorOilPainting()
{
    initImplementation(nullptr);
}

ZelImageProcessorOilPainting::ZelImageProcessorOilPainting(const QImage& image)
    : ZelImageProcessor(image)
{
    initImplementation(&image);
}

void ZelImageProcessorOilPainting::initImplementation(const QImage* image)
{
    setProperty("ToolTip", tr("Dieser Effekt vermittelt den Eindruck eines Ölgemäldes "));
    setProperty("IconName", QStringLiteral("ico_oil_canvas"));
    installImplementation<ZelImageProcessorOilPaintingImpl>(this, image);
}

void ZelImageProcessorOilPainting::cancel() { myImpl->cancel(); }
QImage ZelImageProcessorOilPainting::result() { return myImpl->result(); }
QImage ZelImageProcessorOilPainting::generatePreview(const QSize& size) { return myImpl->generatePreview(size); }
QImage ZelImageProcessorOilPainting::generatePreview(const QRect& rect) { return myImpl->generatePreview(rect); }

#include "ZelImageProcessorOilPainting.moc"
