#include "ZelImageProcessorRotate.h"
#include "ZelImageProcessorImpl_p.h"

#include <QMatrix>

class ZelImageProcessorRotateImpl : public ZelImageProcessorImpl
{
    Q_OBJECT
public:
    ZelImageProcessorRotateImpl()
        : ZelImageProcessorImpl(tr("Rotieren"))
    {
        createParameterDescriptions();
    }
    explicit ZelImageProcessorRotateImpl(const QImage& image)
        : ZelImageProcessorImpl(image, tr("Rotieren"))
    {
        createParameterDescriptions();
    }

    double degrees() const { return myParameters.value(QStringLiteral("Degrees")).toDouble(); }
    void setDegrees(double degrees) { myParameters.setValue(QStringLiteral("Degrees"), degrees); }

    ZelImageProcessorRotate* myPublic = nullptr;

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

private:
    void createParameterDescriptions()
    {
        addNumberParameter(QStringLiteral("Degrees"), tr("Grad"), 0.0, 0.0, 360.0, 0, 0);
    }

    QImage preview(const QImage& image) const
    {
        ZelImageProcessorRotate rotate(image);
        rotate.setDegrees(degrees());
        return rotate.result();
    }
};

ZelImageProcessorRotate::ZelImageProcessorRotate()
{
    initImplementation(nullptr);
}

ZelImageProcessorRotate::ZelImageProcessorRotate(const QImage& image)
    : ZelImageProcessor(image)
{
    initImplementation(&image);
}

void ZelImageProcessorRotate::initImplementation(const QImage* image)
{
    // Lower-case "toolTip" and the trailing blank are the application's, kept as they are.
    setProperty("toolTip", tr("Aktuelles Foto rotieren "));
    installImplementation<ZelImageProcessorRotateImpl>(this, image);
}

void ZelImageProcessorRotate::setDegrees(double degrees)
{
    static_cast<ZelImageProcessorRotateImpl*>(myImpl)->setDegrees(degrees);
}

void ZelImageProcessorRotate::cancel() { myImpl->cancel(); }
QImage ZelImageProcessorRotate::result() { return myImpl->result(); }
QImage ZelImageProcessorRotate::generatePreview(const QSize& size) { return myImpl->generatePreview(size); }
QImage ZelImageProcessorRotate::generatePreview(const QRect& rect) { return myImpl->generatePreview(rect); }

#include "ZelImageProcessorRotate.moc"
