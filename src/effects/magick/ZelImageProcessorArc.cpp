#include "ZelImageProcessorArc.h"
#include "ZelImageProcessorImpl_p.h"
#include "ZelPixelMath_p.h"

namespace {

const QString kArcAngle = QStringLiteral("AArcAngle");
const QString kRotateAngle = QStringLiteral("BRotateAngle");
const QString kInnerRadius = QStringLiteral("CInnerRadius");
const QString kOuterRadius = QStringLiteral("DOuterRadius");

} // namespace

class ZelImageProcessorArcImpl : public ZelImageProcessorImpl
{
    Q_OBJECT
public:
    explicit ZelImageProcessorArcImpl(const QImage& image)
        : ZelImageProcessorImpl(image, tr("Kreisbogen"))
    {
        addNumberParameter(kArcAngle, tr("Größe des Kreisbogens"), 180, 0, 360, 0, 0);
        addNumberParameter(kRotateAngle, tr("Rotationswinkel"), 0, 0, 360, 1, 0);
        addNumberParameter(kInnerRadius, tr("Innenradius"), 25, 0, 100, 2, 0);
        addNumberParameter(kOuterRadius, tr("Außenradius"), 75, 0, 100, 3, 0);
    }

    using ZelImageProcessorImpl::setParameters;
    void setParameters(int arcAngle, int rotateAngle, double innerRadius, double outerRadius)
    {
        setParameterValue(kArcAngle, arcAngle);
        setParameterValue(kRotateAngle, rotateAngle);
        setParameterValue(kInnerRadius, zelTruncToInt(innerRadius));
        setParameterValue(kOuterRadius, zelTruncToInt(outerRadius));
    }
    int arcAngle() const { return parameterIntValue(kArcAngle, false); }
    int rotateAngle() const { return parameterIntValue(kRotateAngle, false); }
    int innerRadius() const { return parameterIntValue(kInnerRadius, false); }
    int outerRadius() const { return parameterIntValue(kOuterRadius, false); }

public slots:
    QImage result() override
    {
        return magickResult([&](ZelMagickWandWrapper& magick, const QImage& source) {
            return magick.arc(source, arcAngle(), rotateAngle(), outerRadius() / 100.0, innerRadius() / 100.0);
        });
    }

protected:
    QString progressTitle() const override { return tr("Kreisbogen erzeugen"); }
};

ZelImageProcessorArc::ZelImageProcessorArc(const QImage& image)
    : ZelImageProcessor(image)
{
    setProperty("ToolTip", tr("Foto in einen Kreisbogen umwandeln "));
    setProperty("IconName", QStringLiteral("ico_arc"));
    installImplementation(new ZelImageProcessorArcImpl(image));
}

void ZelImageProcessorArc::setParameters(int arcAngle, int rotateAngle, double innerRadius, double outerRadius)
{
    static_cast<ZelImageProcessorArcImpl*>(myImpl)->setParameters(arcAngle, rotateAngle, innerRadius, outerRadius);
}

#include "ZelImageProcessorArc.moc"
