#ifndef ZELPHOTOCONVERTER_H
#define ZELPHOTOCONVERTER_H

#include "ZelImageProcessor.h"

#include <QImage>
#include <QRect>
#include <QSharedPointer>
#include <QString>
#include <QThread>

// Runs one long edit on one photo, on the caller's thread or on a thread of its own: a rotation
// by whole degrees, a cut, red-eye removal in a region, or any effect.
//
//     converter->setPhoto(photo, name);
//     connect(converter, &QThread::finished, ...);        // then converter->getPhoto()
//     converter->applyImageProcessorThreaded(effect);     // returns at once
//
// An effect's progress reaches this object's thread through a queued connection and leaves it as
// progress(int, int) followed by processName(title, step), so both arrive where the converter
// lives (the thread that created it) once that thread's event loop runs. cancel() is passed on to
// the running effect; rotations and cuts have no effect object and cannot be cancelled, and neither
// can a threaded red-eye job (see removeRedEye()).
//
// Threads. Unlocked, because an application drives one converter from its interface thread:
// - The threaded rotation, cut and red-eye operations keep their arguments in one function-local
//   static array per operation, shared by every converter: starting the same kind of job on a
//   second converter before the first job has read its arguments makes both use the second's
//   values. Start such jobs one at a time, the next once finished() has come.
// - applyImageProcessorThreaded() keeps its effect in the converter, not in static storage:
//   several converters may run effects at once, each with its own effect object. Sharing one
//   effect object between two running jobs is not allowed.
// - Photo and result are unlocked: do not call setPhoto() or getPhoto() while a threaded job
//   runs, and do not start a second job on the same converter before finished().
// - cancel() reaches the effect at once on the thread the effect object lives in (usually the
//   interface thread); called on another thread, it is queued to that thread's event loop.
class ZelPendingProgress;

class ZelPhotoConverter : public QThread
{
    Q_OBJECT
public:
    // The values are fixed; 0 and 1 belong to no operation.
    enum CONVERTJOB {
        NoJob = 0,
        RemoveRedEyeJob = 2,      // arguments: x, y, width, height, flag (1.0 true, -1.0 false)
        RotateJob = 3,            // arguments: degrees
        CutJob = 4,               // arguments: left, top, right, bottom (inclusive corners)
        ImageProcessorJob = 5,    // no arguments: the effect given to applyImageProcessorThreaded
    };
    Q_ENUM(CONVERTJOB)

    explicit ZelPhotoConverter(QObject* parent = nullptr);

    // The name is kept with the photo; no job reads it.
    void setPhoto(const QImage& photo, const QString& name);
    // The output of the last job (null before the first); clears the changed flag.
    QImage getPhoto();
    // Set by setPhoto(), cleared by getPhoto().
    bool photoChanged() const;
    // Delete this object (deleteLater()) when its thread has finished.
    void setAutoDestroy(bool autoDestroy);

    // Synchronous jobs run on the calling thread; the ...Threaded twins start this thread.
    void rotateByDegrees(int degrees);
    void rotateByDegreesThreaded(int degrees);
    // QImage::copy() of rect: parts outside the photo are filled with zeros.
    void cut(const QRect& rect);
    void cutThreaded(const QRect& rect);
    // Runs a ZelImageProcessorRedEyeRemoval on the photo with setParameters(region, flag). The
    // threaded job creates that effect on its own thread, which runs no event loop, so a cancel
    // (queued to the effect's thread) does not reach it; the effect polls none anyway.
    void removeRedEye(const QRect& region, bool flag);
    void removeRedEyeThreaded(const QRect& region, bool flag);
    // Gives the effect the photo as its source; the result is its result() as Format_ARGB32.
    // A null effect gives a null result.
    void applyImageProcessor(QSharedPointer<ZelImageProcessor> processor);
    void applyImageProcessorThreaded(QSharedPointer<ZelImageProcessor> processor);
    // The stored effect's result() as Format_ARGB32; null without an effect.
    QImage runImageProcessor();

    // Stores the job and its argument array, then starts this thread (QThread::InheritPriority).
    // The array must outlive the job; the threaded operations pass their static ones.
    virtual void startJob(CONVERTJOB job, double* arguments);

public slots:
    // Receives the effect's progress: emits progress(value, maximum), then processName(name, subName).
    void setProgress(const QString& name, const QString& subName, int value, int maximum);
    // Emits cancelled(), which reaches the effect of a running job.
    void cancel();

signals:
    void progress(int value, int maximum);
    void processName(const QString& name, const QString& subName);
    void cancelled();

protected:
    // Does what processImage() does, on this thread.
    void run() override;

private slots:
    void hasFinished();
    // Runs the stored job with its stored arguments.
    void processImage();
    // Hands the newest waiting progress report on as progress() and processName().
    void deliverProgress();

private:
    QImage myPhoto;
    QImage myResult;
    QString myName;
    bool myPhotoChanged = true;
    bool myAutoDestroy = false;
    CONVERTJOB myJob = NoJob;
    double* myArguments = nullptr;
    QSharedPointer<ZelImageProcessor> myProcessor;
    QSharedPointer<ZelPendingProgress> myPendingProgress;
};

#endif
