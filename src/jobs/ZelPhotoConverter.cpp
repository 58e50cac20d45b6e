#include "ZelPhotoConverter.h"

#include "ZelImageProcessorRedEyeRemoval.h"
#include "ZelPixelMath_p.h"

#include <QMatrix>
#include <QTimer>

#include <mutex>
#include <utility>

// The newest progress of a job, from the job's thread to the converter's. While a delivery is
// queued, and for a short pause after each delivery, newer reports replace the waiting one instead
// of queueing more: every queued delivery wakes the converter's thread, and ImageMagick reports up
// to once per pixel, far faster than any display follows.
class ZelPendingProgress
{
public:
    // Stores the report; true when the caller must queue a delivery.
    bool replace(const QString& name, const QString& subName, int value, int maximum)
    {
        const std::lock_guard<std::mutex> lock(myMutex);
        if (!name.isSharedWith(myName))
            myName = name;
        if (!subName.isSharedWith(mySubName))
            mySubName = subName;
        myValue = value;
        myMaximum = maximum;
        myWaiting = true;
        return !std::exchange(myQueued, true);
    }

    // Whether a report still waits when the job ends: its delivery must be queued now, before
    // finished(), even while a pause holds it back.
    bool waiting()
    {
        const std::lock_guard<std::mutex> lock(myMutex);
        return myWaiting;
    }

    // Hands the waiting report to the converter, which pauses before it takes the next; without
    // one, the next report queues a delivery again.
    bool deliver(ZelPhotoConverter* converter)
    {
        std::unique_lock<std::mutex> lock(myMutex);
        if (!myWaiting) {
            myQueued = false;
            return false;
        }
        const QString name = myName;
        const QString subName = mySubName;
        const int value = myValue;
        const int maximum = myMaximum;
        myWaiting = false;
        lock.unlock();
        converter->setProgress(name, subName, value, maximum);
        return true;
    }

private:
    // A standard mutex, which ThreadSanitizer sees, unlike the inside of Qt 5.
    std::mutex myMutex;
    QString myName;
    QString mySubName;
    int myValue = 0;
    int myMaximum = 0;
    // A report not yet delivered; a delivery queued or pausing in the converter's thread.
    bool myWaiting = false;
    bool myQueued = false;
};

namespace {
// The pause after each delivery of progress.
const int progressPauseMs = 2;
} // namespace

ZelPhotoConverter::ZelPhotoConverter(QObject* parent)
    : QThread(parent)
    , myPendingProgress(QSharedPointer<ZelPendingProgress>::create())
{
    connect(this, &QThread::finished, this, &ZelPhotoConverter::hasFinished);
}

void ZelPhotoConverter::setPhoto(const QImage& photo, const QString& name)
{
    myPhoto = photo;
    myName = name;
    myPhotoChanged = true;
}

QImage ZelPhotoConverter::getPhoto()
{
    myPhotoChanged = false;
    return myResult;
}

bool ZelPhotoConverter::photoChanged() const
{
    return myPhotoChanged;
}

void ZelPhotoConverter::setAutoDestroy(bool autoDestroy)
{
    myAutoDestroy = autoDestroy;
}

void ZelPhotoConverter::rotateByDegrees(int degrees)
{
    myResult = myPhoto.transformed(QMatrix().rotate(degrees), Qt::SmoothTransformation);
}

void ZelPhotoConverter::rotateByDegreesThreaded(int degrees)
{
    // Shared by every converter on purpose (see the class comment).
    static double arguments[1];
    arguments[0] = degrees;
    startJob(RotateJob, arguments);
}

void ZelPhotoConverter::cut(const QRect& rect)
{
    myResult = myPhoto.copy(rect);
}

void ZelPhotoConverter::cutThreaded(const QRect& rect)
{
    // Shared by every converter on purpose (see the class comment).
    static double arguments[4];
    arguments[0] = rect.left();
    arguments[1] = rect.top();
    arguments[2] = rect.right();
    arguments[3] = rect.bottom();
    startJob(CutJob, arguments);
}

void ZelPhotoConverter::removeRedEye(const QRect& region, bool flag)
{
    const QSharedPointer<ZelImageProcessorRedEyeRemoval> redEye(new ZelImageProcessorRedEyeRemoval(myPhoto));
    redEye->setParameters(region, flag);
    applyImageProcessor(redEye);
}

void ZelPhotoConverter::removeRedEyeThreaded(const QRect& region, bool flag)
{
    // Shared by every converter on purpose (see the class comment).
    static double arguments[5];
    arguments[0] = region.x();
    arguments[1] = region.y();
    arguments[2] = region.width();
    arguments[3] = region.height();
    arguments[4] = flag ? 1.0 : -1.0;
    startJob(RemoveRedEyeJob, arguments);
}

void ZelPhotoConverter::applyImageProcessor(QSharedPointer<ZelImageProcessor> processor)
{
    myProcessor = processor;
    if (!myProcessor) {
        myResult = QImage();
        return;
    }
    ZelImageProcessor* effect = myProcessor.data();
    const QMetaObject::Connection cancelRelay =
        connect(this, &ZelPhotoConverter::cancelled, effect, &ZelImageProcessor::cancel);
    // Queued even when the job runs on this object's own thread: progress always arrives through
    // the event loop of the thread the converter lives in. Coalesced (see ZelPendingProgress), so
    // the receiver sees progress rise to the last report.
    // The delivery is a queued call of a slot, not of a functor: what crosses threads is only the
    // pending report, under its own lock.
    const QMetaObject::Connection progressRelay = connect(
        effect, &ZelImageProcessor::progress, this,
        [this](const QString& name, const QString& subName, int value, int maximum) {
            if (myPendingProgress->replace(name, subName, value, maximum))
                QMetaObject::invokeMethod(this, "deliverProgress", Qt::QueuedConnection);
        },
        Qt::DirectConnection);
    effect->setSourceImage(myPhoto);
    myResult = runImageProcessor();
    disconnect(cancelRelay);
    disconnect(progressRelay);
    if (myPendingProgress->waiting())
        QMetaObject::invokeMethod(this, "deliverProgress", Qt::QueuedConnection);
}

void ZelPhotoConverter::applyImageProcessorThreaded(QSharedPointer<ZelImageProcessor> processor)
{
    myProcessor = processor;
    startJob(ImageProcessorJob, nullptr);
}

QImage ZelPhotoConverter::runImageProcessor()
{
    if (!myProcessor)
        return QImage();
    return myProcessor->result().convertToFormat(QImage::Format_ARGB32);
}

void ZelPhotoConverter::startJob(CONVERTJOB job, double* arguments)
{
    myJob = job;
    myArguments = arguments;
    start(QThread::InheritPriority);
}

void ZelPhotoConverter::setProgress(const QString& name, const QString& subName, int value, int maximum)
{
    emit progress(value, maximum);
    emit processName(name, subName);
}

void ZelPhotoConverter::cancel()
{
    emit cancelled();
}

void ZelPhotoConverter::run()
{
    processImage();
}

void ZelPhotoConverter::deliverProgress()
{
    if (myPendingProgress->deliver(this))
        QTimer::singleShot(progressPauseMs, this, &ZelPhotoConverter::deliverProgress);
}

void ZelPhotoConverter::hasFinished()
{
    // deleteLater rather than delete: slots queued on finished() still find the object, and
    // the thread may still be running when finished() arrives.
    if (myAutoDestroy)
        deleteLater();
}

void ZelPhotoConverter::processImage()
{
    if (myJob == ImageProcessorJob) {
        applyImageProcessor(myProcessor);
        return;
    }
    // A job started without its arguments does nothing.
    const double* a = myArguments;
    if (!a)
        return;
    switch (myJob) {
    case RotateJob:
        rotateByDegrees(zelTruncToInt(a[0]));
        break;
    case RemoveRedEyeJob:
        removeRedEye(QRect(zelTruncToInt(a[0]), zelTruncToInt(a[1]), zelTruncToInt(a[2]), zelTruncToInt(a[3])),
                     a[4] > 0.0);
        break;
    case CutJob:
        cut(QRect(QPoint(zelTruncToInt(a[0]), zelTruncToInt(a[1])), QPoint(zelTruncToInt(a[2]), zelTruncToInt(a[3]))));
        break;
    default:
        break;
    }
}
