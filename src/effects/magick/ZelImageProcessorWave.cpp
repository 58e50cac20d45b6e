#include "ZelImageProcessorWave.h"
#include "ZelImageProcessorImpl_p.h"
#include "ZelPixelMath_p.h"

namespace {

const QString kNumberOfMaxima = QStringLiteral("NumberOfMaxima");
const QString kAmplitude = QStringLiteral("Amplitude");

} // namespace

class ZelImageProcessorWaveImpl : public ZelImageProcessorImpl
{
    Q_OBJECT
public:
    explicit ZelImageProcessorWaveImpl(const QImage& image)
        : ZelImageProcessorImpl(image, tr("Welle"))
    {
        addNumberParameter(kNumberOfMaxima, tr("Wellenlänge"), 1, 1, 100, 0, 0);
        addNumberParameter(kAmplitude, tr("Amplitude"), 1, 1, 100, 1, 0);
    }

    using ZelImageProcessorImpl::setParameters;
    void setParameters(int numberOfMaxima, double amplitude)
    {
        setParameterValue(kNumberOfMaxima, numberOfMaxima);
        setParameterValue(kAmplitude, zelTruncToInt(amplitude));
    }
    int numOfMaxima() const { return parameterIntValue(kNumberOfMaxima, false); }
    int amplitude() const { return parameterIntValue(kAmplitude, false); }

public slots:
    QImage result() override
    {
        connectProgressSignalizer();
        const QImage source = sourceImage();
        const QImage waved = source.isNull() ? QImage() : wave(source);
        disconnectProgressSignalizer();
        emit finished(false);
        return waved;
    }

protected:
    QString progressTitle() const override { return QStringLiteral("Welle"); }

    QImage wave(const QImage& source) const
    {
        const int width = source.width();
        const int maxima = qMin(numOfMaxima(), width / 4);
        // No maxima (a source narrower than 4 pixels) give an infinite wave length, passed on as it is.
        const double waveLength = 2.0 * width / maxima;
        const double amplitudeInPixels = amplitude() * 0.01 * source.height();
        return createMagickWandWrapper().wave(source, waveLength, amplitudeInPixels);
    }
};

ZelImageProcessorWave::ZelImageProcessorWave(const QImage& image)
    : ZelImageProcessor(image)
{
    setProperty("ToolTip", tr("Dieser Effekt verformt das Foto wellenförmig "));
    setProperty("IconName", QStringLiteral("ico_wave"));
    installImplementation(new ZelImageProcessorWaveImpl(image));
}

void ZelImageProcessorWave::setParameters(int numberOfMaxima, double amplitude)
{
    static_cast<ZelImageProcessorWaveImpl*>(myImpl)->setParameters(numberOfMaxima, amplitude);
}

#include "ZelImageProcessorWave.moc"
