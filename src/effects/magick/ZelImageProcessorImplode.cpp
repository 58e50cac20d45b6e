#include "ZelImageProcessorImplode.h"
#include "ZelImageProcessorImpl_p.h"

namespace {

const QString kStrength = QStringLiteral("Strength");

} // namespace

class ZelImageProcessorImplodeImpl : public ZelImageProcessorImpl
{
    Q_OBJECT
public:
    explicit ZelImageProcessorImplodeImpl(const QImage& image)
        : ZelImageProcessorImpl(image, tr("Implosion"))
    {
        createParameterDescriptions();
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

private:
    void createParameterDescriptions()
    {
        addNumberParameter(kStrength, tr("Stärke"), 0, 0, 100, 0, 0);
    }
};

ZelImageProcessorImplode::ZelImageProcessorImplode(const QImage& image)
    : ZelImageProcessor(image)
{
    setProperty("ToolTip", tr("Dieser Effekt vermittelt den Eindruck einer Implosion "));
    setProperty("IconName", QStringLiteral("ico_implosion"));
    installImplementation(new ZelImageProcessorImplodeImpl(image));
}

#include "ZelImageProcessorImplode.moc"
