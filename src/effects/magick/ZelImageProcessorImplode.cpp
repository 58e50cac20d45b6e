#include "ZelImageProcessorImplode.h"
#include "ZelImageProcessorImpl_p.h"

static const QString kStrength = QStringLiteral("Strength");

class ZelImageProcessorImplodeImpl : public ZelImageProcessorImpl
{
    Q_OBJECT
public:
    explicit ZelImageProcessorImplodeImpl(const QImage& image)
        : ZelImageProcessorImpl(image, tr("Implosion"))
    {
        addNumberParameter(kStrength, tr("Stärke"), 0, 0, 100, 0, 0);
    }

    int strength() const { return parameterIntValue(kStrength, false); }

public slots:
    QImage result() override
    {
        return magickResult([&](ZelMagickWandWrapper& magick, const QImage& source) {
            return magick.implode(source, strength());
        });
    }

protected:
    QString progressTitle() const override { return tr("Implosion"); }
    QString progressStep() const override { return QString(); }
};

ZelImageProcessorImplode::ZelImageProcessorImplode(const QImage& image)
    : ZelImageProcessor(image)
{
    setProperty("ToolTip", tr("Dieser Effekt vermittelt den Eindruck einer Implosion "));
    setProperty("IconName", QStringLiteral("ico_implosion"));
    installImplementation(new ZelImageProcessorImplodeImpl(image));
}

#include "ZelImageProcessorImplode.moc"
