#ifndef ZELPROGRESSSIGNALIZER_H
#define ZELPROGRESSSIGNALIZER_H

#include <QObject>
#include <QString>

#include <atomic>

// The relay through which computations that are not Qt code (ImageMagick) report progress into
// an effect and see its cancel request. Each effect implementation owns one.
//
// The flags are written by the thread that cancels and read by the thread that computes; they are
// relaxed atomics, lock-free like a plain bool.
class ZelProgressSignalizer : public QObject
{
    Q_OBJECT
public:
    ZelProgressSignalizer();

    // Clears the cancel request; called whenever a new image is handed to ImageMagick.
    void start();
    // Emits progressChanged(current, total); stores nothing.
    void setProgress(int current, int total);
    void setProcessName(const QString& name);
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

private:
    std::atomic<bool> myCancelled{false};
    std::atomic<bool> myCancelAllowed{true};
    QString myProcessName;
};

#endif
