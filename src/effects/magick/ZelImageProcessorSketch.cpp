#include "ZelImageProcessorSketch.h"
#include "ZelImageProcessorImpl_p.h"

class ZelImageProcessorSketchImpl : public ZelImageProcessorImpl
{
    Q_OBJECT
public:
    explicit ZelImageProcessorSketchImpl(const QImage& image)
        : ZelImageProcessorImpl(image, tr("Strichzeichnung"))
    {
    }

public slots:
    QImage result() override
    {
        return magickResult([&](ZelMagickWandWrapper& magick, const QImage& source) {
            return magick.sketch(source, 20.0, 20.0, 120.0);
        });
    }

protected:
    QString progressTitle() const override { return QStringLiteral("Sketch"); }
};

ZelImageProcessorSketch::ZelImageProcessorSketch(const QImage& image)
    : ZelImageProcessor(image)
{
    setProperty("ToolTip", tr("Dieser Effekt vermittelt den Eindruck einer Strichzeichnung "));
    setProperty("IconName", QStringLiteral(":tessaroon/effectSketch.png"));
    installImplementation(new ZelImageProcessorSketchImpl(image));
}

#include "ZelImageProcessorSketch.moc"
