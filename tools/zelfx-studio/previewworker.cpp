#include "previewworker.h"

#include "ZelImageProcessor.h"

#include <QFutureWatcher>
#include <QtConcurrent>

PreviewWorker::PreviewWorker(QObject* parent)
    : QObject(parent)
{
    // Previews replace each other, so one thread is enough and leaves a core to the window.
    myPool.setMaxThreadCount(1);
}

PreviewWorker::~PreviewWorker()
{
    cancel();
    myPool.waitForDone();
}

void PreviewWorker::cancel()
{
    myFuture.cancel();
    if (myInFlight)
        myInFlight->cancel();
    myInFlight.reset();
    ++myGeneration;
}

void PreviewWorker::request(std::shared_ptr<ZelImageProcessor> effect, const QSize& size)
{
    cancel();
    myInFlight = effect;
    const int generation = myGeneration;
    auto* watcher = new QFutureWatcher<QImage>(this);
    // The watcher's connection keeps the effect alive until its picture is back, so that it is
    // deleted on this thread and never while the worker still uses it.
    connect(watcher, &QFutureWatcher<QImage>::finished, this, [this, watcher, generation, effect] {
        watcher->deleteLater();
        if (generation != myGeneration)
            return;
        myInFlight.reset();
        emit previewReady(watcher->result());
    });
    myFuture = QtConcurrent::run(&myPool, [effect, size] { return effect->generatePreview(size); });
    watcher->setFuture(myFuture);
}
