#include "ZelImageProcessorBlackWhite.h"
#include "ZelImageProcessorImpl_p.h"

class ZelImageProcessorBlackWhiteImpl : public ZelImageProcessorImpl
{
    Q_OBJECT
public:
    explicit ZelImageProcessorBlackWhiteImpl(const QImage& image)
        : ZelImageProcessorImpl(image, tr("Tontrennung"))
    {
    }

public slots:
    QImage result() override
    {
        return magickResult([](ZelMagickWandWrapper& magick, const QImage& source) {
            return magick.blackWhite(source);
        });
    }

protected:
    QString progressTitle() const override { return tr("Tontrennung"); }
};

ZelImageProcessorBlackWhite::ZelImageProcessorBlackWhite(const QImage& image)
    : ZelImageProcessor(image)
{
    setProperty("ToolTip", tr("Tontrennung"));
    // "seperation": the icon sets the application ships use this file name.
    setProperty("IconName", QStringLiteral("ico_tone_seperation"));
    installImplementation(new ZelImageProcessorBlackWhiteImpl(image));
}

#include "ZelImageProcessorBlackWhite.moc"
