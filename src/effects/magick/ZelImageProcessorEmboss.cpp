#include "ZelImageProcessorEmboss.h"
#include "ZelImageProcessorImpl_p.h"

class ZelImageProcessorEmbossImpl : public ZelImageProcessorImpl
{
    Q_OBJECT
public:
    explicit ZelImageProcessorEmbossImpl(const QImage& image)
        : ZelImageProcessorImpl(image, tr("Gravur"))
    {
    }

public slots:
    QImage result() override
    {
        return magickResult([&](ZelMagickWandWrapper& magick, const QImage& source) {
            return magick.emboss(source, 0.0, 1.2);
        });
    }

protected:
    QString progressTitle() const override { return tr("Gravur"); }
};

ZelImageProcessorEmboss::ZelImageProcessorEmboss(const QImage& image)
    : ZelImageProcessor(image)
{
    setProperty("ToolTip", tr("Dieser Effekt vermittelt den Eindruck einer Gravur "));
    setProperty("IconName", QStringLiteral(":tessaroon/emboss.png"));
    installImplementation(new ZelImageProcessorEmbossImpl(image));
}

#include "ZelImageProcessorEmboss.moc"
