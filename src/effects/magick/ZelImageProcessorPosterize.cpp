#include "ZelImageProcessorPosterize.h"
#include "ZelImageProcessorImpl_p.h"

class ZelImageProcessorPosterizeImpl : public ZelImageProcessorImpl
{
    Q_OBJECT
public:
    ZelImageProcessorPosterizeImpl()
        : ZelImageProcessorImpl(tr("Poster"))
    {
    }
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
        connectProgressSignalizer();
        const QImage source = sourceImage();
        const QImage posterized = createMagickWandWrapper().posterize(source, myLevels, myDither);
        disconnectProgressSignalizer();
        emit finished(true);
        return posterized;
    }
    // The preview objects keep their own levels and dithering: deliberately 4 and false.
    QImage generatePreview(const QSize& size) override
    {
        return previewWith<ZelImageProcessorPosterize>(sourceImageScaled(size));
    }
    QImage generatePreview(const QRect& rect) override
    {
        return previewWith<ZelImageProcessorPosterize>(sectionOfSourceImage(rect));
    }

protected:
    QString progressTitle() const override { return QStringLiteral("Poster"); }

private:
    int myLevels = 4;
    bool myDither = false;

public:
    ZelImageProcessorPosterize* myPublic = nullptr;
};

ZelImageProcessorPosterize::ZelImageProcessorPosterize()
{
    initImplementation(nullptr);
}

ZelImageProcessorPosterize::ZelImageProcessorPosterize(const QImage& image)
    : ZelImageProcessor(image)
{
    initImplementation(&image);
}

void ZelImageProcessorPosterize::initImplementation(const QImage* image)
{
    setProperty("ToolTip", tr("Anzahl der Farben verringern, um den Eindruck eines Posters zu vermitteln "));
    setProperty("IconName", QStringLiteral("ico_posterize"));
    installImplementation<ZelImageProcessorPosterizeImpl>(this, image);
}

void ZelImageProcessorPosterize::setParameters(int levels, bool dither)
{
    static_cast<ZelImageProcessorPosterizeImpl*>(myImpl)->setParameters(levels, dither);
}

void ZelImageProcessorPosterize::cancel() { myImpl->cancel(); }
QImage ZelImageProcessorPosterize::result() { return myImpl->result(); }
QImage ZelImageProcessorPosterize::generatePreview(const QSize& size) { return myImpl->generatePreview(size); }
QImage ZelImageProcessorPosterize::generatePreview(const QRect& rect) { return myImpl->generatePreview(rect); }

#include "ZelImageProcessorPosterize.moc"
