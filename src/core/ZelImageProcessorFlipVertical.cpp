#include "ZelImageProcessorFlipVertical.h"
#include "ZelImageProcessorImpl_p.h"

#include <QMatrix>

class ZelImageProcessorFlipVerticalImpl : public ZelImageProcessorImpl
{
    Q_OBJECT
public:
    ZelImageProcessorFlipVerticalImpl()
        : ZelImageProcessorImpl(tr("Vertikal spiegeln"))
    {
    }
    explicit ZelImageProcessorFlipVerticalImpl(const QImage& image)
        : ZelImageProcessorImpl(image, tr("Vertikal spiegeln"))
    {
    }

    ZelImageProcessorFlipVertical* myPublic = nullptr;

public slots:
    QImage result() override
    {
        connectProgressSignalizer();
        // x is negated: the mirror axis is vertical.
        const QImage flipped = sourceImage().transformed(QMatrix(-1, 0, 0, 1, 0, 0), Qt::SmoothTransformation);
        disconnectProgressSignalizer();
        emit finished(false);
        return flipped;
    }
    QImage generatePreview(const QSize& size) override
    {
        return previewWith<ZelImageProcessorFlipVertical>(sourceImageScaled(size));
    }
    QImage generatePreview(const QRect& rect) override
    {
        return previewWith<ZelImageProcessorFlipVertical>(sectionOfSourceImage(rect));
    }

protected:
    // Spelt with "c", unlike the effect name; both spellings are the application's.
    QString progressTitle() const override { return tr("Vertical spiegeln"); }
};

ZelImageProcessorFlipVertical::ZelImageProcessorFlipVertical()
{
    initImplementation(nullptr);
}

ZelImageProcessorFlipVertical::ZelImageProcessorFlipVertical(const QImage& image)
    : ZelImageProcessor(image)
{
    initImplementation(&image);
}

void ZelImageProcessorFlipVertical::initImplementation(const QImage* image)
{
    // Lower-case "toolTip" and the trailing blank are the application's, kept as they are.
    setProperty("toolTip", tr("Aktuelles Foto vertikal spiegeln "));
    setProperty("IconName", QStringLiteral("ico_fx_vert_mirror"));
    installImplementation<ZelImageProcessorFlipVerticalImpl>(this, image);
}

void ZelImageProcessorFlipVertical::cancel() { myImpl->cancel(); }
QImage ZelImageProcessorFlipVertical::result() { return myImpl->result(); }
QImage ZelImageProcessorFlipVertical::generatePreview(const QSize& size) { return myImpl->generatePreview(size); }
QImage ZelImageProcessorFlipVertical::generatePreview(const QRect& rect) { return myImpl->generatePreview(rect); }

#include "ZelImageProcessorFlipVertical.moc"
