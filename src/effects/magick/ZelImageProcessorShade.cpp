#include "ZelImageProcessorShade.h"
#include "ZelImageProcessorImpl_p.h"

class ZelImageProcessorShadeImpl : public ZelImageProcessorImpl
{
    Q_OBJECT
public:
    explicit ZelImageProcessorShadeImpl(const QImage& image)
        : ZelImageProcessorImpl(image, tr("Relief"))
    {
    }

public slots:
    QImage result() override
    {
        return magickResult([&](ZelMagickWandWrapper& magick, const QImage& source) {
            return magick.shade(source);
        });
    }

protected:
    // The sketch's title: progress dialogs and their translations know the relief under it.
    QString progressTitle() const override { return QStringLiteral("Sketch"); }
};

ZelImageProcessorShade::ZelImageProcessorShade(const QImage& image)
    : ZelImageProcessor(image)
{
    setProperty("ToolTip", tr("Dieser Effekt vermittelt den Eindruck eines Reliefs "));
    setProperty("IconName", QStringLiteral("ico_relief2"));
    installImplementation(new ZelImageProcessorShadeImpl(image));
}

#include "ZelImageProcessorShade.moc"
