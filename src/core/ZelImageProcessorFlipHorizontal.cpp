#include "ZelImageProcessorFlipHorizontal.h"
#include "ZelImageProcessorImpl_p.h"
#include "ZelPixelWords_p.h"

#include <QMatrix>

class ZelImageProcessorFlipHorizontalImpl : public ZelImageProcessorImpl
{
    Q_OBJECT
public:
    explicit ZelImageProcessorFlipHorizontalImpl(const QImage& image)
        : ZelImageProcessorImpl(image, tr("Horizontal spiegeln"))
    {
    }

public slots:
    QImage result() override
    {
        connectProgressSignalizer();
        // y is negated: the mirror axis is horizontal.
        const QImage source = sourceImage();
        // Pixel words are mirrored by the library itself, onto its own allocation.
        QImage flipped = zelMirroredWords(source, true);
        if (flipped.isNull())
            flipped = source.transformed(QMatrix(1, 0, 0, -1, 0, 0), Qt::SmoothTransformation);
        disconnectProgressSignalizer();
        emit finished(false);
        return flipped;
    }

protected:
    QString progressTitle() const override { return tr("Horizontal spiegeln"); }
};

ZelImageProcessorFlipHorizontal::ZelImageProcessorFlipHorizontal(const QImage& image)
    : ZelImageProcessor(image)
{
    // Applications read the tooltip of the flips, rotate and scale under the lower-case key; the
    // trailing blank is part of the source text the translation catalogues look up.
    setProperty("toolTip", tr("Aktuelles Foto horizontal spiegeln "));
    setProperty("IconName", QStringLiteral("ico_fx_horiz_mirror"));
    installImplementation(new ZelImageProcessorFlipHorizontalImpl(image));
}

#include "ZelImageProcessorFlipHorizontal.moc"
