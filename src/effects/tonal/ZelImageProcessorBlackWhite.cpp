#include "ZelImageProcessorBlackWhite.h"
#include "ZelImageProcessorImpl_p.h"

class ZelImageProcessorBlackWhiteImpl : public ZelImageProcessorImpl
{
    Q_OBJECT
public:
    ZelImageProcessorBlackWhiteImpl()
        : ZelImageProcessorImpl(tr("Tontrennung"))
    {
    }
    explicit ZelImageProcessorBlackWhiteImpl(const QImage& image)
        : ZelImageProcessorImpl(image, tr("Tontrennung"))
    {
    }

    ZelImageProcessorBlackWhite* myPublic = nullptr;

public slots:
    QImage result() override
    {
        connectProgressSignalizer();
        const QImage twoGreys = createMagickWandWrapper().blackWhite(sourceImage());
        disconnectProgressSignalizer();
        emit finished(false);
        return twoGreys;
    }
    QImage generatePreview(const QSize& size) override
    {
        return previewWith<ZelImageProcessorBlackWhite>(sourceImageScaled(size));
    }
    QImage generatePreview(const QRect& rect) override
    {
        return previewWith<ZelImageProcessorBlackWhite>(sectionOfSourceImage(rect));
    }

protected:
    QString progressTitle() const override { return tr("Tontrennung"); }
};

ZelImageProcessorBlackWhite::ZelImageProcessorBlackWhite()
{
    initImplementation(nullptr);
}

ZelImageProcessorBlackWhite::ZelImageProcessorBlackWhite(const QImage& image)
    : ZelImageProcessor(image)
{
    initImplementation(&image);
}

void ZelImageProcessorBlackWhite::initImplementation(const QImage* image)
{
    setProperty("ToolTip", tr("Tontrennung"));
    // "seperation": the application's icon is named so.
    setProperty("IconName", QStringLiteral("ico_tone_seperation"));
    installImplementation<ZelImageProcessorBlackWhiteImpl>(this, image);
}

void ZelImageProcessorBlackWhite::cancel() { myImpl->cancel(); }
QImage ZelImageProcessorBlackWhite::result() { return myImpl->result(); }
QImage ZelImageProcessorBlackWhite::generatePreview(const QSize& size) { return myImpl->generatePreview(size); }
QImage ZelImageProcessorBlackWhite::generatePreview(const QRect& rect) { return myImpl->generatePreview(rect); }

#include "ZelImageProcessorBlackWhite.moc"
