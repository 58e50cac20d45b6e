#ifndef ZELPROGRESSSIGNALIZER_H
#define ZELPROGRESSSIGNALIZER_H

#include <QByteArray>
#include <QObject>
#include <QString>

#include <atomic>
#include <memory>

class ZelReceiverWatch;

// The relay through which computations that are not Qt code (ImageMagick) report progress into
// an effect and see its cancel request. Each effect implementation owns one.
//
// The flags are written by the thread that cancels and read by the thread that computes; they are
// relaxed atomics, lock-free like a plain bool.
//
// ImageMagick's dithering reports once per pixel, so a report must cost next to nothing: a step
// name given as the same C string again allocates nothing, the signals are emitted only while
// something is connected to them (asked of Qt again only after a connection changed), and the
// running effect implementation gets each report through a plain call rather than a connection
// (see ZelImageProcessorImpl::connectProgressSignalizer()), after the signal's receivers.
class ZelProgressSignalizer : public QObject
{
    Q_OBJECT
public:
    ZelProgressSignalizer();
    ~ZelProgressSignalizer() override;

    // Clears the cancel request; called whenever a new image is handed to ImageMagick.
    void start();
    // Emits progressChanged(current, total); stores nothing.
    void setProgress(int current, int total);
    void setProcessName(const QString& name);
    // setProcessName(nameOf(source)) for a computation that names its step with a C string.
    // nameOf runs, and a new name is made, only when source differs from the text the current
    // name was made from.
    void setProcessName(const char* source, QString (*nameOf)(const char* source));
    QString processName() const;
    bool cancelled() const;
    bool cancelAllowed() const;
    void setCancelAllowed(bool allowed);

public slots:
    void setCancelled(bool cancelled);
    void setCancelled();

signals:
    void progressChanged(int current, int total);
    void processName(const QString& name);

protected:
    void connectNotify(const QMetaMethod& signal) override;
    void disconnectNotify(const QMetaMethod& signal) override;

private:
    friend class ZelImageProcessorImpl;

    enum Receiver : unsigned { ProgressChangedReceived = 1, ProcessNameReceived = 2 };
    // Which signals have receivers, as Receiver bits.
    unsigned connectedSignals() const;
    void emitProcessName();

    std::atomic<bool> myCancelled{false};
    std::atomic<bool> myCancelAllowed{true};
    QString myProcessName;
    // The C string myProcessName was made from; null when it was given as a QString.
    QByteArray myProcessNameSource;
    // The effect implementation a report is relayed to, and how.
    std::atomic<void (*)(void* target, int current, int total)> myRelay{nullptr};
    std::atomic<void*> myRelayTarget{nullptr};
    std::unique_ptr<ZelReceiverWatch> myReceivers;
};

#endif
