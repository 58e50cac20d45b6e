#include "previewworker.h"

#include "ZelEffectRegistry.h"
#include "ZelImageProcessor.h"

#include <QFutureWatcher>
#include <QSet>
#include <QtConcurrent>

namespace {

// Effects whose previews are not the plain "own class, scaled picture, copied
// parameters, result()": they read a second picture, a chain, or state that parameters do not
// carry, scale a parameter by the preview's size, or force values of their own. Building the
// plain object for them would show something else than the library's preview, so they keep
// going through generatePreview and cannot be stopped half-way.
const QSet<QString>& ownPreviewRuleClasses()
{
    static const QSet<QString> classes{
        QStringLiteral("ZelImageProcessorAdjustHSB"),      // its three factors live outside the container
        QStringLiteral("ZelImageProcessorCombine"),        // second picture
        QStringLiteral("ZelImageProcessorCompare"),        // reference scaled alike, figures kept
        QStringLiteral("ZelImageProcessorComposer"),       // runs without its chain
        QStringLiteral("ZelImageProcessorExampleComposer"), // a chain of two effects it owns
        QStringLiteral("ZelImageProcessorSoftLense"),      // softness scaled by the preview width
        QStringLiteral("ZelImageProcessorThreeDGrid"),     // values through its typed setter
        QStringLiteral("ZelImageProcessorPosterize"),      // always 4 levels, no dither
        QStringLiteral("ZelImageProcessorConvolution"),    // always 2-D kernel, no avoided region
        QStringLiteral("ZelImageProcessorImageGrid"),      // source alone, default parameters
        QStringLiteral("ZelImageProcessorFotoCollage"),    // rows and columns exchanged
        QStringLiteral("ZelImageProcessorCut"),            // integer scale factors
        QStringLiteral("ZelImageProcessorScale"),          // always factor 1.0
        QStringLiteral("ZelImageProcessorPhotosInPhoto"),  // no files, no block size
        QStringLiteral("ZelImageProcessorRedEyeRemoval"),  // searches the whole preview
    };
    return classes;
}

} // namespace

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

bool PreviewWorker::usesOwnPreviewRule(const ZelImageProcessor& effect)
{
    return ownPreviewRuleClasses().contains(QString::fromLatin1(effect.metaObject()->className()));
}

void PreviewWorker::cancel()
{
    myFuture.cancel();
    // Thread-safe: stops a plain preview while it runs; a generatePreview one ignores it.
    if (myInFlight)
        myInFlight->cancel();
    myInFlight.reset();
    ++myGeneration;
}

void PreviewWorker::request(std::shared_ptr<ZelImageProcessor> effect, const QImage& source, const QSize& size)
{
    cancel();
    if (!effect)
        return;
    std::shared_ptr<ZelImageProcessor> computing = effect;
    bool plain = !usesOwnPreviewRule(*effect);
    if (plain) {
        // What generatePreview would do on its temporary object, on one we keep. Scaling here,
        // on the window thread, costs little next to the effect and keeps the object's whole
        // life on this thread.
        const QImage scaled = source.scaled(size, Qt::KeepAspectRatio, Qt::SmoothTransformation);
        if (ZelImageProcessor* processor = ZelEffectRegistry::create(effect->metaObject(), scaled)) {
            computing.reset(processor);
            const QList<ZelParameterDescription> parameters = effect->parameterContainer().parameters();
            if (!parameters.isEmpty())
                computing->setParameters(parameters);
        } else {
            plain = false; // no constructor on a picture: the library's preview it is
        }
    }
    myInFlight = computing;
    const int generation = myGeneration;
    auto* watcher = new QFutureWatcher<QImage>(this);
    // The watcher's connection keeps the object alive until its picture is back, so that it is
    // deleted on this thread and never while the worker still uses it.
    connect(watcher, &QFutureWatcher<QImage>::finished, this, [this, watcher, generation, computing] {
        watcher->deleteLater();
        if (generation != myGeneration)
            return;
        myInFlight.reset();
        emit previewReady(watcher->result());
    });
    if (plain)
        myFuture = QtConcurrent::run(&myPool, [computing] { return computing->result(); });
    else
        myFuture = QtConcurrent::run(&myPool, [computing, size] { return computing->generatePreview(size); });
    watcher->setFuture(myFuture);
}
