#include "messagecapture.h"

#include <QtGlobal>

#include <mutex>

namespace {
thread_local MessageCapture* innermostCapture = nullptr;
QtMessageHandler previousHandler = nullptr;
std::once_flag handlerInstalled;
} // namespace

// Installed once for the whole process and never removed: removing it while another thread logs
// could lose that thread's message, and without a capture on a thread it only passes messages on.
void captureMessage(QtMsgType type, const QMessageLogContext& context, const QString& message)
{
    for (MessageCapture* capture = innermostCapture; capture; capture = capture->myOuter) {
        if (capture->myAccept(type, context.category ? context.category : "default")) {
            capture->myMessages << message;
            return;
        }
    }
    previousHandler(type, context, message); // Qt's default handler when none was installed
}

MessageCapture::MessageCapture(Filter accept)
    : myAccept(std::move(accept))
    , myOuter(innermostCapture)
{
    std::call_once(handlerInstalled, [] { previousHandler = qInstallMessageHandler(captureMessage); });
    innermostCapture = this;
}

MessageCapture::~MessageCapture()
{
    innermostCapture = myOuter;
}
