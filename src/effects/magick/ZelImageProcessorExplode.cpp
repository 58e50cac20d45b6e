#include "ZelImageProcessorExplode.h"
#include "ZelImageProcessorImpl_p.h"

static const QString kStrength = QStringLiteral("Strength");

class ZelImageProcessorExplodeImpl : public ZelImageProcessorImpl
{
    Q_OBJECT
public:
    explicit ZelImageProcessorExplodeImpl(const QImage& image)
        : ZelImageProcessorImpl(image, tr("Explosion"))
    {
        addNumberParameter(kStrength, tr("Stärke"), 0, 0, 100, 0, 0);
    }

    int strength() const { return parameterIntValue(kStrength, false); }

public slots:
    QImage result() override
    {
        // Not negated: settings saved by existing installations expect an explosion that
        // implodes like the implosion.
        return magickResult([&](ZelMagickWandWrapper& magick, const QImage& source) {
            return magick.explode(source, strength());
        });
    }

protected:
    QString progressTitle() const override { return tr("Explosion"); }
    QString progressStep() const override { return QString(); }
};

ZelImageProcessorExplode::ZelImageProcessorExplode(const QImage& image)
    : ZelImageProcessor(image)
{
    setProperty("ToolTip", tr("Dieser Effekt vermittelt den Eindruck einer Explosion "));
    setProperty("IconName", QStringLiteral("ico_explosion"));
    installImplementation(new ZelImageProcessorExplodeImpl(image));
}

#include "ZelImageProcessorExplode.moc"
