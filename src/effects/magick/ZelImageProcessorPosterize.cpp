#include "ZelImageProcessorPosterize.h"
#include "ZelImageProcessorImpl_p.h"

class ZelImageProcessorPosterizeImpl : public ZelImageProcessorImpl
{
    Q_OBJECT
public:
    explicit ZelImageProcessorPosterizeImpl(const QImage& image)
        : ZelImageProcessorImpl(image, tr("Poster"))
    {
    }

    using ZelImageProcessorImpl::setParameters;
    void setParameters(int levels, bool dither)
    {
        myLevels = levels;
        myDither = dither;
    }

public slots:
    QImage result() override
    {
        return magickResult([&](ZelMagickWandWrapper& magick, const QImage& source) {
            return magick.posterize(source, myLevels, myDither);
        }, true);
    }
    // The preview objects keep their own levels and dithering, 4 and false: a preview is fast.

protected:
    QString progressTitle() const override { return QStringLiteral("Poster"); }

private:
    int myLevels = 4;
    bool myDither = false;
};

ZelImageProcessorPosterize::ZelImageProcessorPosterize(const QImage& image)
    : ZelImageProcessor(image)
{
    setProperty("ToolTip", tr("Anzahl der Farben verringern, um den Eindruck eines Posters zu vermitteln "));
    setProperty("IconName", QStringLiteral("ico_posterize"));
    installImplementation(new ZelImageProcessorPosterizeImpl(image));
}

void ZelImageProcessorPosterize::setParameters(int levels, bool dither)
{
    static_cast<ZelImageProcessorPosterizeImpl*>(myImpl)->setParameters(levels, dither);
}

#include "ZelImageProcessorPosterize.moc"
