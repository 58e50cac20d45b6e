#ifndef ZELIMAGEPROCESSOR_H
#define ZELIMAGEPROCESSOR_H

#include "ZelParameterDescriptionContainer.h"

#include <QImage>
#include <QList>
#include <QObject>
#include <QRect>
#include <QSize>
#include <QThread>

class ZelImageProcessorImpl;

// The public face of every effect. An application constructs a ZelImageProcessorX with a photo,
// sets parameters, connects progress and calls result() or generatePreview(); the work is done
// by the effect's implementation object, which this object owns and whose signals it relays.
//
// result() runs on the calling thread, and so do progress and finished. cancel() may be called
// from any thread. finished(bool) marks the end of the work, not its success: most effects pass
// false on success as well.
class ZelImageProcessor : public QObject
{
    Q_OBJECT
public:
    ZelImageProcessor();
    explicit ZelImageProcessor(const QImage& image);
    ~ZelImageProcessor() override;

    Q_INVOKABLE virtual void setSourceImage(const QImage& image);
    // Copies the values of the listed parameters by name; ranges and labels stay as they are.
    Q_INVOKABLE virtual void setParameters(const QList<ZelParameterDescription>& parameters);
    // Sets every entry whose switch is on to its value and resets the others to their default.
    void setParameters(const ZelUIParameterMap& parameters);
    // The same, with values in the units the editing panel shows.
    void setUIParameters(const ZelUIParameterMap& uiParameters);
    // Replaces the whole parameter container.
    void setParameters(const ZelParameterDescriptionContainer& container);
    ZelParameterDescriptionContainer parameterContainer() const;

    QString effectName() const;
    void setEffectName(const QString& name);

    // Relay the implementation's progress, operationCanceled and finished as this object's
    // signals (direct connections), or cut every connection between the two.
    void connectImplementation();
    void disconnectImplementation();

public slots:
    // Every effect class declares these four slots again, so that its own meta-object lists them,
    // and forwards them here, to its implementation. The last three stay pure so that no effect
    // forgets to.
    virtual void cancel();
    virtual QImage result() = 0;
    virtual QImage generatePreview(const QSize& size) = 0;
    virtual QImage generatePreview(const QRect& rect) = 0;
    // Stored only; no effect of this library reads them back.
    void setMaximumThreadCount(int count);
    void setMaximumPriority(QThread::Priority priority);

signals:
    // title: the effect's progress title; step: the name of the running step.
    void progress(const QString& title, const QString& step, int current, int total);
    void operationCanceled();
    void finished(bool flag);

protected:
    friend class ZelImageProcessorImpl;

    // Every effect constructor ends here: impl, which this object owns from now on, replaces the
    // current implementation (the placeholder made above, or a base effect's) and its three
    // signals are relayed as this object's.
    void installImplementation(ZelImageProcessorImpl* impl);

    ZelImageProcessorImpl* myImpl;

    // Tell the implementation that what receives progress may have changed.
    void connectNotify(const QMetaMethod& signal) override;
    void disconnectNotify(const QMetaMethod& signal) override;

private:
    // Whether anything receives this object's progress.
    bool progressConnected() const;
    // The relay of the implementation's progress as this object's, counted by the implementation.
    void connectProgressRelay();
};

#endif
