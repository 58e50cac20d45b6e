#include "ZelImageProcessorScale.h"
#include "ZelImageProcessorImpl_p.h"

#include <QMatrix>

class ZelImageProcessorScaleImpl : public ZelImageProcessorImpl
{
    Q_OBJECT
public:
    explicit ZelImageProcessorScaleImpl(const QImage& image)
        : ZelImageProcessorImpl(image, tr("Skalieren"))
    {
    }

    void setFactors(double horizontal, double vertical)
    {
        myHorizontalFactor = horizontal;
        myVerticalFactor = vertical;
    }

public slots:
    QImage result() override
    {
        connectProgressSignalizer();
        // Qt gives a null image for factors whose result cannot be allocated, is empty or is not finite.
        const QImage scaled = sourceImage().transformed(QMatrix().scale(myHorizontalFactor, myVerticalFactor),
                                                        Qt::SmoothTransformation);
        disconnectProgressSignalizer();
        emit finished(false);
        return scaled;
    }
    // Deliberately without the factors: previews show the image at factor 1.0.

protected:
    QString progressTitle() const override { return effectName(); }

private:
    double myHorizontalFactor = 1.0;
    double myVerticalFactor = 1.0;
};

ZelImageProcessorScale::ZelImageProcessorScale(const QImage& image)
    : ZelImageProcessor(image)
{
    // Applications read the tooltip of the flips, rotate and scale under the lower-case key; the
    // trailing blank is part of the source text the translation catalogues look up.
    setProperty("toolTip", tr("Breite und Höhe des Fotos ändern "));
    setProperty("IconName", QStringLiteral("ico_scale"));
    installImplementation(new ZelImageProcessorScaleImpl(image));
}

void ZelImageProcessorScale::setParameters(double horizontal, double vertical)
{
    static_cast<ZelImageProcessorScaleImpl*>(myImpl)->setFactors(horizontal, vertical);
}

#include "ZelImageProcessorScale.moc"
