#ifndef ZELFX_STUDIO_PREVIEWWORKER_H
#define ZELFX_STUDIO_PREVIEWWORKER_H

#include <QFuture>
#include <QImage>
#include <QObject>
#include <QSize>
#include <QThreadPool>

#include <memory>

class ZelImageProcessor;

// Computes previews on a thread of its own, so that the window stays responsive while a slider
// moves. Only the newest request is shown: a request cancels the one before it.
//
// Most effects preview the plain way: an object of the effect's own class on the scaled picture,
// given a copy of the parameter values, and its result(). The worker builds that object itself
// and keeps it, so that a newer request can cancel() it while it runs. The few effects whose
// previews follow a rule of their own (see usesOwnPreviewRule) go through generatePreview, which
// computes on a temporary object out of our reach: such a preview is skipped if it has not started
// yet, and otherwise runs to its end and its picture is dropped.
class PreviewWorker : public QObject
{
    Q_OBJECT
public:
    explicit PreviewWorker(QObject* parent = nullptr);
    ~PreviewWorker() override;

    // effect holds source, the visible part of the photo, as its source; size is its size on
    // screen.
    void request(std::shared_ptr<ZelImageProcessor> effect, const QImage& source, const QSize& size);
    // Cancels the preview in flight and forgets it.
    void cancel();
    bool isBusy() const { return myInFlight != nullptr; }
    // The object that computes the current preview: the one built here for a plain preview, the
    // effect itself for one through generatePreview. Null when idle.
    ZelImageProcessor* inFlight() const { return myInFlight.get(); }

    // True for the effect classes whose previews differ from the plain way above.
    static bool usesOwnPreviewRule(const ZelImageProcessor& effect);

signals:
    void previewReady(const QImage& preview);

private:
    QThreadPool myPool;
    std::shared_ptr<ZelImageProcessor> myInFlight;
    QFuture<QImage> myFuture;
    int myGeneration = 0;
};

#endif
