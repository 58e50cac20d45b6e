#ifndef ZELFX_MESSAGECAPTURE_H
#define ZELFX_MESSAGECAPTURE_H

#include <QStringList>
#include <QtGlobal>

#include <functional>

// While it lives, takes the Qt log messages of its own thread that accept() selects out of the
// log and keeps them; every other message goes on to the handler installed before. Image readers
// report damaged data only as warnings (libjpeg's "Premature end of JPEG file" after decoding
// half a photo, libpng's errors), and the library reports ImageMagick's failures through a logging
// category: a capture around the call turns both into a failure of that call, and jobs on other
// threads keep their messages apart. Captures on one thread nest; the innermost sees a message
// first, and one it does not take goes to the next.
class MessageCapture
{
public:
    using Filter = std::function<bool(QtMsgType type, const char* category)>;

    explicit MessageCapture(Filter accept);
    ~MessageCapture();
    MessageCapture(const MessageCapture&) = delete;
    MessageCapture& operator=(const MessageCapture&) = delete;

    const QStringList& messages() const { return myMessages; }

private:
    friend void captureMessage(QtMsgType, const QMessageLogContext&, const QString&);

    Filter myAccept;
    QStringList myMessages;
    MessageCapture* myOuter;
};

#endif
