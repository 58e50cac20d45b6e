#include "ZelImageProcessorImpl_p.h"
#include "ZelParameterDescriptionNumber.h"
#include "ZelProgressSignalizer.h"

#include <QMetaMethod>

#include <memory>

ZelImageProcessorImpl::ZelImageProcessorImpl(const QString& effectName)
    : ZelImageProcessorImpl(QImage(), effectName)
{
}

ZelImageProcessorImpl::ZelImageProcessorImpl(const QImage& image, const QString& effectName)
    : myParameters(effectName, effectName)
    , myProgressSignalizer(new ZelProgressSignalizer)
    , mySourceImage(image)
    , myEffectName(effectName)
{
}

ZelImageProcessorImpl::~ZelImageProcessorImpl()
{
    disconnectProgressSignalizer();
    // A signalizer whose cancelling is switched off is left alive: an uncancellable ImageMagick
    // call may still be reporting to it from another thread.
    if (myProgressSignalizer->cancelAllowed())
        delete myProgressSignalizer;
}

void ZelImageProcessorImpl::setSourceImage(const QImage& image)
{
    mySourceImage = image;
}

void ZelImageProcessorImpl::cancel()
{
    myCancelled.store(true, std::memory_order_relaxed);
    myProgressSignalizer->setCancelled(true);
    disconnectProgressSignalizer();
    emit finished(false);
}

void ZelImageProcessorImpl::setParameters(const ZelUIParameterMap& parameters)
{
    for (auto it = parameters.constBegin(); it != parameters.constEnd(); ++it) {
        if (it.value().second)
            myParameters.setValue(it.key(), it.value().first);
        else
            myParameters.setValueToDefault(it.key());
    }
}

void ZelImageProcessorImpl::setParameters(const QList<ZelParameterDescription>& parameters)
{
    for (const ZelParameterDescription& parameter : parameters)
        myParameters.setValue(parameter.parameterName(), parameter.value());
}

void ZelImageProcessorImpl::setUIParameters(const ZelUIParameterMap& uiParameters)
{
    myParameters.setUIParameters(uiParameters);
}

void ZelImageProcessorImpl::addParameter(const QString&, ZelParameterDescription description,
                                         int row, int column)
{
    myParameters.add(description, row, column);
}

void ZelImageProcessorImpl::addNumberParameter(const QString& key, const QString& visibleName,
                                               const QVariant& value, const QVariant& minimum,
                                               const QVariant& maximum, int row, int column)
{
    ZelParameterDescriptionNumber number;
    number.setParameterName(key);
    number.setVisibleName(visibleName);
    number.setValue(value);
    number.setDefaultValue(value);
    number.setRange(minimum, maximum);
    addParameter(key, number, row, column);
}

void ZelImageProcessorImpl::setParameterValue(const QString& key, int value)
{
    myParameters.setValue(key, QVariant(value));
}

void ZelImageProcessorImpl::setParameterDefaultValue(const QString& key, int value)
{
    myParameters.setDefaultValue(key, QVariant(value));
}

int ZelImageProcessorImpl::parameterIntValue(const QString& key, bool respectEnabled) const
{
    if (respectEnabled && !myParameters.parameter(key).isEnabled())
        return 0;
    return myParameters.value(key).toInt();
}

ZelParameterDescriptionContainer& ZelImageProcessorImpl::parameters()
{
    return myParameters;
}

ZelParameterDescriptionContainer ZelImageProcessorImpl::parameterContainer() const
{
    return myParameters;
}

QImage ZelImageProcessorImpl::sourceImage() const
{
    return mySourceImage;
}

QImage ZelImageProcessorImpl::sourceImageScaled(const QSize& size) const
{
    return mySourceImage.scaled(size, Qt::KeepAspectRatio, Qt::SmoothTransformation);
}

QImage ZelImageProcessorImpl::sectionOfSourceImage(const QRect& rect) const
{
    return mySourceImage.copy(rect);
}

int ZelImageProcessorImpl::countSourceImagePixels() const
{
    return mySourceImage.height() * mySourceImage.width();
}

bool ZelImageProcessorImpl::sourceImageIs8BitIndexedFormat() const
{
    return mySourceImage.format() == QImage::Format_Indexed8;
}

ZelMagickWandWrapper ZelImageProcessorImpl::createMagickWandWrapper() const
{
    return ZelMagickBareScope::active() ? ZelMagickWandWrapper::bare() : ZelMagickWandWrapper(myProgressSignalizer);
}

QImage ZelImageProcessorImpl::applySubProcessor(ZelImageProcessor* sub)
{
    const QMetaObject::Connection relay = connect(sub, &ZelImageProcessor::progress, this,
                                                  &ZelImageProcessorImpl::progress,
                                                  Qt::DirectConnection);
    const QImage image = sub->result();
    disconnect(relay);
    return image;
}

QImage ZelImageProcessorImpl::previewOf(const QImage& image) const
{
    // The effect's own constructor on one image, the way the registry constructs effects.
    const std::unique_ptr<QObject> object(myPublic->metaObject()->newInstance(Q_ARG(QImage, image)));
    auto* preview = qobject_cast<ZelImageProcessor*>(object.get());
    if (!preview)
        return QImage();
    if (!myParameters.isEmpty())
        preview->setParameters(parameterContainer().parameters());
    // Nobody can see the temporary object's progress or cancel it, so ImageMagick runs without a
    // monitor, which would format a message for every report (once per pixel when dithering).
    const ZelMagickBareScope bare;
    return preview->result();
}

QImage ZelImageProcessorImpl::generatePreview(const QSize& size)
{
    return previewOf(sourceImageScaled(size));
}

QImage ZelImageProcessorImpl::generatePreview(const QRect& rect)
{
    return previewOf(sectionOfSourceImage(rect));
}

bool ZelImageProcessorImpl::isCancelled() const
{
    return myCancelled.load(std::memory_order_relaxed);
}

bool ZelImageProcessorImpl::resetCancel()
{
    return myCancelled.exchange(false, std::memory_order_relaxed);
}

// Direct, because result() may run on another thread than the one that owns the objects; unique,
// so that a result() that follows a cancel mid-run does not relay twice.
static constexpr auto kDirectUnique = Qt::ConnectionType(Qt::DirectConnection | Qt::UniqueConnection);

// The signalizer's reports reach emitProgress() through a plain call, set here, rather than a
// connection to progressChanged: ImageMagick may report once per pixel, and a signal emission
// costs as much as the rest of the report. Setting it twice relays once.
void ZelImageProcessorImpl::connectProgressSignalizer()
{
    myProgressTitleKnown = false;
    myProgressSignalizer->myRelay.store(
        [](void* impl, int current, int total) { static_cast<ZelImageProcessorImpl*>(impl)->emitProgress(current, total); },
        std::memory_order_relaxed);
    myProgressSignalizer->myRelayTarget.store(this, std::memory_order_release);
    connect(this, &ZelImageProcessorImpl::operationCanceled, myProgressSignalizer,
            qOverload<>(&ZelProgressSignalizer::setCancelled), kDirectUnique);
}

void ZelImageProcessorImpl::disconnectProgressSignalizer()
{
    void* relayed = this;
    myProgressSignalizer->myRelayTarget.compare_exchange_strong(relayed, nullptr, std::memory_order_acq_rel);
    disconnect(this, &ZelImageProcessorImpl::operationCanceled, myProgressSignalizer,
               qOverload<>(&ZelProgressSignalizer::setCancelled));
}

ZelProgressSignalizer* ZelImageProcessorImpl::progressSignalizer() const
{
    return myProgressSignalizer;
}

QString ZelImageProcessorImpl::effectName() const
{
    return myEffectName;
}

void ZelImageProcessorImpl::setEffectName(const QString& name)
{
    myEffectName = name;
}

void ZelImageProcessorImpl::setMaximumThreadCount(int count)
{
    myMaximumThreadCount = count;
}

void ZelImageProcessorImpl::setMaximumPriority(QThread::Priority priority)
{
    myMaximumPriority = priority;
}

void ZelImageProcessorImpl::emitProgress(int current, int total)
{
    if (!progressObserved())
        return;
    if (!myProgressTitleKnown) {
        myProgressTitle = progressTitle();
        myProgressTitleKnown = true;
    }
    emit progress(myProgressTitle, progressStep(), current, total);
}

bool ZelImageProcessorImpl::progressObserved() const
{
    return myProgressReceivers.known([this] {
        return (myPublic && myPublic->progressConnected())
            || receivers(SIGNAL(progress(QString, QString, int, int))) > myProgressRelays.load(std::memory_order_relaxed);
    });
}

// Called by Qt, possibly with its connection lock held. Any signal, since connections change rarely.
void ZelImageProcessorImpl::connectNotify(const QMetaMethod&)
{
    myProgressReceivers.changed();
}

void ZelImageProcessorImpl::disconnectNotify(const QMetaMethod&)
{
    myProgressReceivers.changed();
}

QString ZelImageProcessorImpl::progressTitle() const
{
    return QString();
}

QString ZelImageProcessorImpl::progressStep() const
{
    return myProgressSignalizer->processName();
}
