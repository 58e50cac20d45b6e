#include "ZelImageProcessorAdjustHSB.h"
#include "ZelImageProcessorImpl_p.h"

class ZelImageProcessorAdjustHSBImpl : public ZelImageProcessorImpl
{
    Q_OBJECT
public:
    explicit ZelImageProcessorAdjustHSBImpl(const QImage& image)
        : ZelImageProcessorImpl(image, tr("Einfärben"))
    {
    }

    using ZelImageProcessorImpl::setParameters;
    void setParameters(double first, double second, double third)
    {
        myFirst = first;
        mySecond = second;
        myThird = third;
    }

public slots:
    QImage result() override
    {
        connectProgressSignalizer();
        // Rotated (hue = second, saturation = third, brightness = first): settings saved by
        // existing installations give their values in this order. The relay stays connected
        // after the result (harmless: it is connected uniquely), as progress observers written
        // against earlier versions saw it.
        const QImage modulated = createMagickWandWrapper().adjustHSB(sourceImage(), mySecond, myThird, myFirst);
        emit finished(true);
        return modulated;
    }
    QImage generatePreview(const QSize& size) override { return previewOn(sourceImageScaled(size)); }
    QImage generatePreview(const QRect& rect) override { return previewOn(sectionOfSourceImage(rect)); }

protected:
    QString progressTitle() const override { return tr("Einfärben"); }

private:
    QImage previewOn(const QImage& image) const
    {
        ZelImageProcessorAdjustHSB preview(image);
        preview.setParameters(myFirst, mySecond, myThird);
        return preview.result();
    }

    // ImageMagick's neutral modulation.
    double myFirst = 100;
    double mySecond = 100;
    double myThird = 100;
};

ZelImageProcessorAdjustHSB::ZelImageProcessorAdjustHSB(const QImage& image)
    : ZelImageProcessor(image)
{
    setProperty("ToolTip", tr("Tönung und Sättigung anpassen "));
    setProperty("IconName", QStringLiteral("ico_hsb"));
    installImplementation(new ZelImageProcessorAdjustHSBImpl(image));
}

void ZelImageProcessorAdjustHSB::setParameters(double first, double second, double third)
{
    static_cast<ZelImageProcessorAdjustHSBImpl*>(myImpl)->setParameters(first, second, third);
}

#include "ZelImageProcessorAdjustHSB.moc"
