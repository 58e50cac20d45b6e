#include "interrupt.h"

#include <QSocketNotifier>

#include <cerrno>
#include <csignal>
#include <fcntl.h>
#include <unistd.h>

namespace {

volatile std::sig_atomic_t interruptWriteEnd = -1;
struct sigaction previousAction;

extern "C" void writeInterruptByte(int)
{
    const int savedErrno = errno;
    const char byte = 1;
    // Non-blocking: a full pipe already holds a pending interrupt.
    [[maybe_unused]] const ssize_t written = ::write(interruptWriteEnd, &byte, 1);
    errno = savedErrno;
}

} // namespace

InterruptNotifier::InterruptNotifier(std::function<void()> onInterrupt)
    : myOnInterrupt(std::move(onInterrupt))
{
    if (::pipe2(myPipe, O_CLOEXEC | O_NONBLOCK) != 0) {
        myPipe[0] = myPipe[1] = -1;
        return;
    }
    if (myOnInterrupt) {
        myNotifier = std::make_unique<QSocketNotifier>(myPipe[0], QSocketNotifier::Read);
        QObject::connect(myNotifier.get(), &QSocketNotifier::activated, [this] {
            if (interrupted())
                myOnInterrupt();
        });
    }
    interruptWriteEnd = myPipe[1];

    struct sigaction action = {};
    action.sa_handler = writeInterruptByte;
    sigemptyset(&action.sa_mask);
    action.sa_flags = SA_RESETHAND | SA_RESTART;
    myInstalled = ::sigaction(SIGINT, &action, &previousAction) == 0;
}

InterruptNotifier::~InterruptNotifier()
{
    if (myInstalled)
        ::sigaction(SIGINT, &previousAction, nullptr);
    interruptWriteEnd = -1;
    myNotifier.reset();
    for (const int end : myPipe) {
        if (end >= 0)
            ::close(end);
    }
}

bool InterruptNotifier::interrupted()
{
    char bytes[16];
    bool interrupted = false;
    while (myPipe[0] >= 0 && ::read(myPipe[0], bytes, sizeof bytes) > 0)
        interrupted = true;
    return interrupted;
}
