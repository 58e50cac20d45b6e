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
    emit progressChanged(current, total);
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
    static const QMetaMethod signal =
        QMetaMethod::fromSignal(qOverload<const QString&>(&ZelProgressSignalizer::processName));
    if (isSignalConnected(signal))
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
