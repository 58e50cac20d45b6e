#include "ZelImageProcessorFlipHorizontal.h"
#include "ZelImageProcessorImpl_p.h"

#include <QMatrix>

class ZelImageProcessorFlipHorizontalImpl : public ZelImageProcessorImpl
{
    Q_OBJECT
public:
    ZelImageProcessorFlipHorizontalImpl()
        : ZelImageProcessorImpl(tr("Horizontal spiegeln"))
    {
    }
    explicit ZelImageProcessorFlipHorizontalImpl(const QImage& image)
        : ZelImageProcessorImpl(image, tr("Horizontal spiegeln"))
    {
    }

    ZelImageProcessorFlipHorizontal* myPublic = nullptr;

public slots:
    QImage result() override
    {
        connectProgressSignalizer();
        // y is negated: the mirror axis is horizontal.
        const QImage flipped = sourceImage().transformed(QMatrix(1, 0, 0, -1, 0, 0), Qt::SmoothTransformation);
        disconnectProgressSignalizer();
        emit finished(false);
        return flipped;
    }
    QImage generatePreview(const QSize& size) override
    {
        return previewWith<ZelImageProcessorFlipHorizontal>(sourceImageScaled(size));
    }
    QImage generatePreview(const QRect& rect) override
    {
        return previewWith<ZelImageProcessorFlipHorizontal>(sectionOfSourceImage(rect));
    }

protected:
    QString progressTitle() const override { return tr("Horizontal spiegeln"); }
};

ZelImageProcessorFlipHorizontal::ZelImageProcessorFlipHorizontal()
{
    initImplementation(nullptr);
}

ZelImageProcessorFlipHorizontal::ZelImageProcessorFlipHorizontal(const QImage& image)
    : ZelImageProcessor(image)
{
    initImplementation(&image);
}

void ZelImageProcessorFlipHorizontal::initImplementation(const QImage* image)
{
    // Lower-case "toolTip" and the trailing blank are the application's, kept as they are.
    setProperty("toolTip", tr("Aktuelles Foto horizontal spiegeln "));
    setProperty("IconName", QStringLiteral("ico_fx_horiz_mirror"));
    installImplementation<ZelImageProcessorFlipHorizontalImpl>(this, image);
}

void ZelImageProcessorFlipHorizontal::cancel() { myImpl->cancel(); }
QImage ZelImageProcessorFlipHorizontal::result() { return myImpl->result(); }
QImage ZelImageProcessorFlipHorizontal::generatePreview(const QSize& size) { return myImpl->generatePreview(size); }
QImage ZelImageProcessorFlipHorizontal::generatePreview(const QRect& rect) { return myImpl->generatePreview(rect); }

#include "ZelImageProcessorFlipHorizontal.moc"
