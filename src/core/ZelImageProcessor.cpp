#include "ZelImageProcessor.h"
#include "ZelImageProcessorImpl_p.h"

#include <QMetaMethod>

namespace {

// The throw-away implementation a bare ZelImageProcessor starts with, until the derived
// constructor installs the effect's own.
class ZelImageProcessorPlaceholderImpl : public ZelImageProcessorImpl
{
public:
    explicit ZelImageProcessorPlaceholderImpl(const QImage& image)
        : ZelImageProcessorImpl(image, QString())
    {
    }
    QImage result() override { return QImage(); }
    QImage generatePreview(const QSize&) override { return QImage(); }
    QImage generatePreview(const QRect&) override { return QImage(); }
};

} // namespace

ZelImageProcessor::ZelImageProcessor()
    : ZelImageProcessor(QImage())
{
}

ZelImageProcessor::ZelImageProcessor(const QImage& image)
    : myImpl(new ZelImageProcessorPlaceholderImpl(image))
{
    myImpl->myPublic = this;
    connectProgressRelay();
}

ZelImageProcessor::~ZelImageProcessor()
{
    delete myImpl;
    myImpl = nullptr;
}

void ZelImageProcessor::setSourceImage(const QImage& image)
{
    myImpl->setSourceImage(image);
}

void ZelImageProcessor::setParameters(const QList<ZelParameterDescription>& parameters)
{
    myImpl->setParameters(parameters);
}

void ZelImageProcessor::setParameters(const ZelUIParameterMap& parameters)
{
    myImpl->setParameters(parameters);
}

void ZelImageProcessor::setUIParameters(const ZelUIParameterMap& uiParameters)
{
    myImpl->setUIParameters(uiParameters);
}

void ZelImageProcessor::setParameters(const ZelParameterDescriptionContainer& container)
{
    myImpl->myParameters = container;
}

ZelParameterDescriptionContainer ZelImageProcessor::parameterContainer() const
{
    return myImpl->parameterContainer();
}

QString ZelImageProcessor::effectName() const
{
    return myImpl->effectName();
}

void ZelImageProcessor::setEffectName(const QString& name)
{
    myImpl->setEffectName(name);
}

void ZelImageProcessor::cancel()
{
    myImpl->cancel();
}

QImage ZelImageProcessor::result()
{
    return myImpl->result();
}

QImage ZelImageProcessor::generatePreview(const QSize& size)
{
    return myImpl->generatePreview(size);
}

QImage ZelImageProcessor::generatePreview(const QRect& rect)
{
    return myImpl->generatePreview(rect);
}

void ZelImageProcessor::installImplementation(ZelImageProcessorImpl* impl)
{
    disconnectImplementation();
    delete myImpl;
    myImpl = impl;
    myImpl->myPublic = this;
    connectImplementation();
}

void ZelImageProcessor::setMaximumThreadCount(int count)
{
    myImpl->setMaximumThreadCount(count);
}

void ZelImageProcessor::setMaximumPriority(QThread::Priority priority)
{
    myImpl->setMaximumPriority(priority);
}

void ZelImageProcessor::connectNotify(const QMetaMethod&)
{
    if (myImpl)
        myImpl->myProgressReceivers.changed();
}

void ZelImageProcessor::disconnectNotify(const QMetaMethod& signal)
{
    connectNotify(signal);
}

void ZelImageProcessor::connectProgressRelay()
{
    myImpl->myProgressRelays.fetch_add(1, std::memory_order_relaxed);
    connect(myImpl, &ZelImageProcessorImpl::progress, this, &ZelImageProcessor::progress,
            Qt::DirectConnection);
}

bool ZelImageProcessor::progressConnected() const
{
    static const QMetaMethod signal = QMetaMethod::fromSignal(&ZelImageProcessor::progress);
    return isSignalConnected(signal);
}

void ZelImageProcessor::connectImplementation()
{
    connectProgressRelay();
    connect(myImpl, &ZelImageProcessorImpl::operationCanceled, this,
            &ZelImageProcessor::operationCanceled, Qt::DirectConnection);
    connect(myImpl, &ZelImageProcessorImpl::finished, this, &ZelImageProcessor::finished,
            Qt::DirectConnection);
}

void ZelImageProcessor::disconnectImplementation()
{
    if (!myImpl)
        return;
    disconnect(myImpl, nullptr, this, nullptr);
    disconnect(this, nullptr, myImpl, nullptr);
    myImpl->myProgressRelays.store(0, std::memory_order_relaxed);
    myImpl->myProgressReceivers.changed();
}
