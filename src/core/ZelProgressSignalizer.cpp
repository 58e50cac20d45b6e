#include "ZelProgressSignalizer.h"

#include <QMetaMethod>

#include <cstring>

ZelProgressSignalizer::ZelProgressSignalizer() = default;

void ZelProgressSignalizer::start()
{
    myCancelled.store(false, std::memory_order_relaxed);
}

void ZelProgressSignalizer::setProgress(int current, int total)
{
    countReceivers();
    if (myProgressChangedReceived.load(std::memory_order_relaxed))
        emit progressChanged(current, total);
    if (void* target = myRelayTarget.load(std::memory_order_acquire))
        myRelay.load(std::memory_order_relaxed)(target, current, total);
}

void ZelProgressSignalizer::countReceivers()
{
    const unsigned changes = myConnectionChanges.load(std::memory_order_acquire);
    if (changes == myReceiversCountedAt.load(std::memory_order_relaxed))
        return;
    static const QMetaMethod progressSignal = QMetaMethod::fromSignal(&ZelProgressSignalizer::progressChanged);
    static const QMetaMethod nameSignal =
        QMetaMethod::fromSignal(qOverload<const QString&>(&ZelProgressSignalizer::processName));
    myProgressChangedReceived.store(isSignalConnected(progressSignal), std::memory_order_relaxed);
    myProcessNameReceived.store(isSignalConnected(nameSignal), std::memory_order_relaxed);
    myReceiversCountedAt.store(changes, std::memory_order_relaxed);
}

// Called by Qt, possibly with its connection lock held: only marks the count as out of date.
void ZelProgressSignalizer::connectNotify(const QMetaMethod&)
{
    myConnectionChanges.fetch_add(1, std::memory_order_release);
}

void ZelProgressSignalizer::disconnectNotify(const QMetaMethod&)
{
    myConnectionChanges.fetch_add(1, std::memory_order_release);
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
    countReceivers();
    if (myProcessNameReceived.load(std::memory_order_relaxed))
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
