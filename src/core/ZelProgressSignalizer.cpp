#include "ZelProgressSignalizer.h"

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
    emit processName(name);
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
