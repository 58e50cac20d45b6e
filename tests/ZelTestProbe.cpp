#include "ZelTestProbe.h"
#include "ZelImageProcessorImpl_p.h"
#include "ZelParameterDescriptionNumber.h"
#include "ZelProgressSignalizer.h"

#include <atomic>

class ZelImageProcessorProbeImpl : public ZelImageProcessorImpl
{
    Q_OBJECT
public:
    explicit ZelImageProcessorProbeImpl(const QImage& image)
        : ZelImageProcessorImpl(image, QStringLiteral("Probe"))
    {
        ZelParameterDescriptionNumber strength = number("AStrength", 0.5, 0.0, 1.0);
        strength.setUserVisibleRange(0, 100);
        addParameter(strength.parameterName(), strength, 0, 0);
        ZelParameterDescriptionNumber blur = number("BBlur", 3, 0, 10);
        blur.setCheckable(true);
        addParameter(blur.parameterName(), blur, 1, 0);
        addParameter("CColor", plain("CColor", QColor(255, 0, 0)), 2, 0);
        addParameter("DSize", plain("DSize", QSize(640, 480)), 0, 1);
        ZelParameterDescription flag = plain("EFlag", false);
        flag.setUIVisiblity(false);
        addParameter(flag.parameterName(), flag, 1, 1);
        addParameter("FArea", plain("FArea", QRect(1, 2, 3, 4)), 2, 1);
        addParameter("GLabel", plain("GLabel", QStringLiteral("hello")), 3, 1);
    }

    ZelImageProcessorProbe::Behaviour behaviour;
    std::atomic<QThread*> lastResultThread{nullptr};
    QSize lastSourceSize;
    int lastStrengthPercent = -1;

public slots:
    QImage result() override
    {
        lastResultThread.store(QThread::currentThread());
        lastSourceSize = sourceImage().size();
        lastStrengthPercent = qRound(myParameters.value("AStrength").toDouble() * 100);
        connectProgressSignalizer();
        myProgressSignalizer->setProcessName(QStringLiteral("step"));
        myProgressSignalizer->setProgress(1, 2);
        myProgressSignalizer->setProgress(2, 2);
        disconnectProgressSignalizer();
        if (resetCancel())
            return sourceImage();
        QImage image = sourceImage();
        if (behaviour.outputFormat != QImage::Format_Invalid)
            image = image.convertToFormat(behaviour.outputFormat);
        if (behaviour.mark != 0 && !image.isNull()) {
            QRgb* row = reinterpret_cast<QRgb*>(image.scanLine(0));
            for (int x = 0; x < image.width(); ++x) {
                if (row[x] == 0xFF000000u) {
                    row[x] = behaviour.mark;
                    break;
                }
            }
        }
        emit finished(false);
        return image;
    }

protected:
    QString progressTitle() const override { return QStringLiteral("Probe title"); }

private:
    static ZelParameterDescriptionNumber number(const QString& key, const QVariant& value, const QVariant& minimum,
                                                const QVariant& maximum)
    {
        ZelParameterDescriptionNumber number;
        number.setParameterName(key);
        number.setVisibleName(key.mid(1));
        number.setValue(value);
        number.setDefaultValue(value);
        number.setRange(minimum, maximum);
        return number;
    }

    static ZelParameterDescription plain(const QString& key, const QVariant& value)
    {
        ZelParameterDescription plain;
        plain.setParameterName(key);
        plain.setVisibleName(key.mid(1));
        plain.setValue(value);
        plain.setDefaultValue(value);
        return plain;
    }
};

ZelImageProcessorProbe::ZelImageProcessorProbe(const QImage& image)
    : ZelImageProcessor(image)
{
    setProperty("ToolTip", QStringLiteral("probe tooltip"));
    installImplementation(new ZelImageProcessorProbeImpl(image));
}

ZelImageProcessorProbeImpl* ZelImageProcessorProbe::impl() const
{
    return static_cast<ZelImageProcessorProbeImpl*>(myImpl);
}

ZelImageProcessorProbe::Behaviour& ZelImageProcessorProbe::behaviour() { return impl()->behaviour; }
QThread* ZelImageProcessorProbe::lastResultThread() const { return impl()->lastResultThread.load(); }
QSize ZelImageProcessorProbe::lastSourceSize() const { return impl()->lastSourceSize; }
int ZelImageProcessorProbe::lastStrengthPercent() const { return impl()->lastStrengthPercent; }
void ZelImageProcessorProbe::setXMLTagName(const QString& name) { myImpl->parameters().setXMLTagName(name); }

#include "ZelTestProbe.moc"
