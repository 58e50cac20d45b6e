#ifndef ZELFX_STUDIO_PREVIEWWORKER_H
#define ZELFX_STUDIO_PREVIEWWORKER_H

#include <QFuture>
#include <QImage>
#include <QObject>
#include <QSize>
#include <QThreadPool>

#include <memory>

class ZelImageProcessor;

// Computes previews through the effect's generatePreview on a thread of its own, so that the
// window stays responsive while a slider moves. Only the newest request is shown: a request
// cancels the one before it, which is skipped if it has not started yet. One that runs already
// runs to its end (generatePreview computes on a temporary effect object that cancel() cannot
// reach), and its picture is dropped.
class PreviewWorker : public QObject
{
    Q_OBJECT
public:
    explicit PreviewWorker(QObject* parent = nullptr);
    ~PreviewWorker() override;

    // effect holds the visible part of the photo as its source; size is its size on screen.
    void request(std::shared_ptr<ZelImageProcessor> effect, const QSize& size);
    // Cancels the preview in flight and forgets it.
    void cancel();
    bool isBusy() const { return myInFlight != nullptr; }

signals:
    void previewReady(const QImage& preview);

private:
    QThreadPool myPool;
    std::shared_ptr<ZelImageProcessor> myInFlight;
    QFuture<QImage> myFuture;
    int myGeneration = 0;
};

#endif
