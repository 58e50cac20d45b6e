#include "ZelImageProcessorSwirl.h"
#include "ZelImageProcessorImpl_p.h"

static const QString kAngle = QStringLiteral("Angle");

class ZelImageProcessorSwirlImpl : public ZelImageProcessorImpl
{
    Q_OBJECT
public:
    explicit ZelImageProcessorSwirlImpl(const QImage& image)
        : ZelImageProcessorImpl(image, tr("Verwirbeln"))
    {
        addNumberParameter(kAngle, tr("Winkel"), 15, 0, 359, 0, 0);
    }

public slots:
    QImage result() override
    {
        const double degrees = myParameters.value(kAngle).toDouble();
        return magickResult([&](ZelMagickWandWrapper& magick, const QImage& source) {
            return magick.swirl(source, degrees);
        });
    }

protected:
    QString progressTitle() const override { return tr("Wirbel"); }
};

ZelImageProcessorSwirl::ZelImageProcessorSwirl(const QImage& image)
    : ZelImageProcessor(image)
{
    setProperty("ToolTip", tr("Dieser Effekt vermittelt den Eindruck eines Wirbels "));
    setProperty("IconName", QStringLiteral("ico_swirl"));
    installImplementation(new ZelImageProcessorSwirlImpl(image));
}

#include "ZelImageProcessorSwirl.moc"
