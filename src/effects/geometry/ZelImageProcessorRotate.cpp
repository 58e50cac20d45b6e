#include "ZelImageProcessorRotate.h"
#include "ZelImageProcessorImpl_p.h"

#include <QMatrix>

class ZelImageProcessorRotateImpl : public ZelImageProcessorImpl
{
    Q_OBJECT
public:
    explicit ZelImageProcessorRotateImpl(const QImage& image)
        : ZelImageProcessorImpl(image, tr("Rotieren"))
    {
        addNumberParameter(QStringLiteral("Degrees"), tr("Grad"), 0.0, 0.0, 360.0, 0, 0);
    }

    double degrees() const { return myParameters.value(QStringLiteral("Degrees")).toDouble(); }
    void setDegrees(double degrees) { myParameters.setValue(QStringLiteral("Degrees"), degrees); }

public slots:
    QImage result() override
    {
        connectProgressSignalizer();
        QMatrix matrix;
        matrix.rotate(degrees());
        // Qt gives a null image for an angle that is not finite.
        const QImage rotated = sourceImage().transformed(matrix, Qt::SmoothTransformation);
        disconnectProgressSignalizer();
        emit finished(false);
        return rotated;
    }
    QImage generatePreview(const QSize& size) override { return preview(sourceImageScaled(size)); }
    QImage generatePreview(const QRect& rect) override { return preview(sectionOfSourceImage(rect)); }

protected:
    QString progressTitle() const override { return effectName(); }

    QImage preview(const QImage& image) const
    {
        ZelImageProcessorRotate rotate(image);
        rotate.setDegrees(degrees());
        return rotate.result();
    }
};

ZelImageProcessorRotate::ZelImageProcessorRotate(const QImage& image)
    : ZelImageProcessor(image)
{
    // Applications read the tooltip of the flips, rotate and scale under the lower-case key; the
    // trailing blank is part of the source text the translation catalogues look up.
    setProperty("toolTip", tr("Aktuelles Foto rotieren "));
    installImplementation(new ZelImageProcessorRotateImpl(image));
}

void ZelImageProcessorRotate::setDegrees(double degrees)
{
    static_cast<ZelImageProcessorRotateImpl*>(myImpl)->setDegrees(degrees);
}

#include "ZelImageProcessorRotate.moc"
