#ifndef ZELFX_INTERRUPT_H
#define ZELFX_INTERRUPT_H

#include <functional>
#include <memory>

class QSocketNotifier;

// While it lives, Ctrl-C (SIGINT) calls onInterrupt on the thread that created it, from its event
// loop; a thread without one polls interrupted() instead. The handler itself only writes a byte to
// a pipe, which a QSocketNotifier or interrupted() reads. The handler is one-shot: a second Ctrl-C
// ends the process as usual. One at a time.
class InterruptNotifier
{
public:
    // Without onInterrupt, nothing watches the pipe: poll interrupted().
    explicit InterruptNotifier(std::function<void()> onInterrupt = {});
    ~InterruptNotifier();
    InterruptNotifier(const InterruptNotifier&) = delete;
    InterruptNotifier& operator=(const InterruptNotifier&) = delete;

    // Whether Ctrl-C came since the last call.
    bool interrupted();

private:
    std::function<void()> myOnInterrupt;
    int myPipe[2] = {-1, -1};
    std::unique_ptr<QSocketNotifier> myNotifier;
    bool myInstalled = false;
};

#endif
