#include "ZelProgressSignalizer.h"
#include "ZelReceiverWatch_p.h"

#include <QMetaMethod>

#include <cstring>

ZelProgressSignalizer::ZelProgressSignalizer()
    : myReceivers(std::make_unique<ZelReceiverWatch>())
{
}

ZelProgressSignalizer::~ZelProgressSignalizer() = default;

void ZelProgressSignalizer::start()
{
    myCancelled.store(false, std::memory_order_relaxed);
}

void ZelProgressSignalizer::setProgress(int current, int total)
{
    if (connectedSignals() & ProgressChangedReceived)
        emit progressChanged(current, total);
    if (void* target = myRelayTarget.load(std::memory_order_acquire))
        myRelay.load(std::memory_order_relaxed)(target, current, total);
}

unsigned ZelProgressSignalizer::connectedSignals() const
{
    return myReceivers->known([this] {
        static const QMetaMethod progressSignal = QMetaMethod::fromSignal(&ZelProgressSignalizer::progressChanged);
        static const QMetaMethod nameSignal =
            QMetaMethod::fromSignal(qOverload<const QString&>(&ZelProgressSignalizer::processName));
        unsigned connected = 0;
        if (isSignalConnected(progressSignal))
            connected |= ProgressChangedReceived;
        if (isSignalConnected(nameSignal))
            connected |= ProcessNameReceived;
        return connected;
    });
}

// Called by Qt, possibly with its connection lock held.
void ZelProgressSignalizer::connectNotify(const QMetaMethod&)
{
    myReceivers->changed();
}

void ZelProgressSignalizer::disconnectNotify(const QMetaMethod&)
{
    myReceivers->changed();
}

void ZelProgressSignalizer::setProcessName(const QString& name)
{
    myProcessName = name;
    myProcessNameSource = QByteArray();
    emit processName(name);
}

void ZelProgressSignalizer::setProcessName(const char* source, QString (*nameOf)(const char* source))
{
    if (myProcessNameSource.isNull() || std::strcmp(myProcessNameSource.constData(), source) != 0) {
        myProcessName = nameOf(source);
        myProcessNameSource = source;
    }
    emitProcessName();
}

void ZelProgressSignalizer::emitProcessName()
{
    if (connectedSignals() & ProcessNameReceived)
        emit processName(myProcessName);
}

QString ZelProgressSignalizer::processName() const
{
    return myProcessName;
}

bool ZelProgressSignalizer::cancelled() const
{
    return myCancelled.load(std::memory_order_relaxed);
}

bool ZelProgressSignalizer::cancelAllowed() const
{
    return myCancelAllowed.load(std::memory_order_relaxed);
}

void ZelProgressSignalizer::setCancelAllowed(bool allowed)
{
    myCancelAllowed.store(allowed, std::memory_order_relaxed);
}

void ZelProgressSignalizer::setCancelled(bool cancelled)
{
    myCancelled.store(cancelled, std::memory_order_relaxed);
}

void ZelProgressSignalizer::setCancelled()
{
    setCancelled(true);
}
