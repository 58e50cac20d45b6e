#include "ZelImageProcessorFlipVertical.h"
#include "ZelImageProcessorImpl_p.h"
#include "ZelPixelWords_p.h"

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
        const QImage source = sourceImage();
        // Pixel words are mirrored by the library itself, onto its own allocation.
        QImage flipped = zelMirroredWords(source, false);
        if (flipped.isNull())
            flipped = source.transformed(QMatrix(-1, 0, 0, 1, 0, 0), Qt::SmoothTransformation);
        disconnectProgressSignalizer();
        emit finished(false);
        return flipped;
    }

protected:
    // Spelt with "c", unlike the effect name: both are source texts the translation catalogues
    // look up.
    QString progressTitle() const override { return tr("Vertical spiegeln"); }
};

ZelImageProcessorFlipVertical::ZelImageProcessorFlipVertical(const QImage& image)
    : ZelImageProcessor(image)
{
    // Applications read the tooltip of the flips, rotate and scale under the lower-case key; the
    // trailing blank is part of the source text the translation catalogues look up.
    setProperty("toolTip", tr("Aktuelles Foto vertikal spiegeln "));
    setProperty("IconName", QStringLiteral("ico_fx_vert_mirror"));
    installImplementation(new ZelImageProcessorFlipVerticalImpl(image));
}

#include "ZelImageProcessorFlipVertical.moc"
