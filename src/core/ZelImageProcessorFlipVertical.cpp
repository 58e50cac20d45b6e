#include "ZelImageProcessorFlipVertical.h"
#include "ZelImageProcessorImpl_p.h"

#include <QMatrix>

class ZelImageProcessorFlipVerticalImpl : public ZelImageProcessorImpl
{
    Q_OBJECT
public:
    explicit ZelImageProcessorFlipVerticalImpl(const QImage& image)
        : ZelImageProcessorImpl(image, tr("Vertikal spiegeln"))
    {
    }

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

protected:
    // Spelt with "c", unlike the effect name; both spellings are the application's.
    QString progressTitle() const override { return tr("Vertical spiegeln"); }
};

ZelImageProcessorFlipVertical::ZelImageProcessorFlipVertical(const QImage& image)
    : ZelImageProcessor(image)
{
    // Lower-case "toolTip" and the trailing blank are the application's, kept as they are.
    setProperty("toolTip", tr("Aktuelles Foto vertikal spiegeln "));
    setProperty("IconName", QStringLiteral("ico_fx_vert_mirror"));
    installImplementation(new ZelImageProcessorFlipVerticalImpl(image));
}

#include "ZelImageProcessorFlipVertical.moc"
