#ifndef ZELRECEIVERWATCH_P_H
#define ZELRECEIVERWATCH_P_H

#include <atomic>

// What an object that reports up to once per pixel knows of its signals' receivers: asking Qt
// costs more than the rest of a report, so the answer is kept and asked for again only after a
// connection changed. The owner calls changed() from connectNotify() and disconnectNotify(),
// where Qt may hold its connection lock, and reads the answer with known(ask) on the thread
// that reports.
class ZelReceiverWatch
{
public:
    void changed() { myChanges.fetch_add(1, std::memory_order_release); }

    // ask() returns the answer as bits, one per signal or condition the owner needs to know.
    template <class Ask>
    unsigned known(Ask ask) const
    {
        const unsigned changes = myChanges.load(std::memory_order_acquire);
        if (changes != myAskedAt.load(std::memory_order_relaxed)) {
            myAnswer.store(ask(), std::memory_order_relaxed);
            myAskedAt.store(changes, std::memory_order_relaxed);
        }
        return myAnswer.load(std::memory_order_relaxed);
    }

private:
    std::atomic<unsigned> myChanges{1};
    mutable std::atomic<unsigned> myAskedAt{0};
    mutable std::atomic<unsigned> myAnswer{0};
};

#endif
