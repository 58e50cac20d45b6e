#ifndef ZELIMAGEPROCESSORIMPL_P_H
#define ZELIMAGEPROCESSORIMPL_P_H

#include "ZelImageProcessor.h"
#include "ZelMagickWandWrapper_p.h"
#include "ZelParameterDescriptionContainer.h"
#include "ZelReceiverWatch_p.h"

#include <QImage>
#include <QObject>
#include <QString>
#include <QThread>

#include <atomic>

class ZelProgressSignalizer;

// The base of every effect implementation: the source image, the parameter container, the
// progress signalizer and the cancel flag, plus the helpers effects compute with.
//
// An effect's result() follows one skeleton: connectProgressSignalizer(), read the parameters
// by key, compute (polling resetCancel() once per row), disconnectProgressSignalizer(), emit
// finished(...), return the image.
class ZelImageProcessorImpl : public QObject
{
    Q_OBJECT
    friend class ZelImageProcessor;

public:
    explicit ZelImageProcessorImpl(const QString& effectName);
    ZelImageProcessorImpl(const QImage& image, const QString& effectName);
    // Deletes the signalizer only while cancelling is allowed; a signalizer whose cancelling is
    // switched off is left alive on purpose.
    ~ZelImageProcessorImpl() override;

    virtual void setSourceImage(const QImage& image);
    // Sets the cancel flags, disconnects the signalizer and emits finished(false).
    virtual void cancel();
    virtual void setParameters(const ZelUIParameterMap& parameters);
    virtual void setParameters(const QList<ZelParameterDescription>& parameters);
    virtual void setUIParameters(const ZelUIParameterMap& uiParameters);

    // The key is not used for filing: the container files under the description's own name.
    void addParameter(const QString& key, ZelParameterDescription description, int row, int column);
    // The common case: a numeric parameter under key with value and default value, a range and
    // nothing else (no user-visible range, not checkable), filed at (row, column).
    void addNumberParameter(const QString& key, const QString& visibleName, const QVariant& value,
                            const QVariant& minimum, const QVariant& maximum, int row, int column);
    void setParameterValue(const QString& key, int value);
    void setParameterDefaultValue(const QString& key, int value);
    // 0 for a disabled parameter when respectEnabled is true, else the value as int.
    int parameterIntValue(const QString& key, bool respectEnabled) const;
    ZelParameterDescriptionContainer& parameters();
    ZelParameterDescriptionContainer parameterContainer() const;

    QImage sourceImage() const;
    QImage sourceImageScaled(const QSize& size) const;
    QImage sectionOfSourceImage(const QRect& rect) const;
    int countSourceImagePixels() const;
    bool sourceImageIs8BitIndexedFormat() const;

    // The bridge into ImageMagick, reporting through this effect's signalizer; bare inside a
    // ZelMagickBareScope.
    ZelMagickWandWrapper createMagickWandWrapper() const;

    // Runs sub->result() with sub's progress relayed as this object's progress.
    QImage applySubProcessor(ZelImageProcessor* sub);

    bool isCancelled() const;
    // Returns whether a cancel was requested and clears the request.
    bool resetCancel();

    void connectProgressSignalizer();
    void disconnectProgressSignalizer();
    ZelProgressSignalizer* progressSignalizer() const;

    QString effectName() const;
    void setEffectName(const QString& name);
    void setMaximumThreadCount(int count);
    void setMaximumPriority(QThread::Priority priority);

    // A temporary object of the effect's own public class on image, with a copy of this effect's
    // parameter values, and its result(). Previews report no progress and cannot be cancelled
    // from outside.
    QImage previewOf(const QImage& image) const;

    // The result() of an effect computed through ImageMagick: compute(wrapper, source) runs
    // while the wrapper reports this effect's progress; finished(finishedFlag) follows.
    template <class Compute>
    QImage magickResult(Compute compute, bool finishedFlag = false)
    {
        connectProgressSignalizer();
        ZelMagickWandWrapper magick = createMagickWandWrapper();
        const QImage image = compute(magick, sourceImage());
        disconnectProgressSignalizer();
        emit finished(finishedFlag);
        return image;
    }

public slots:
    virtual QImage result() = 0;
    // previewOf() the scaled source and of the section; effects whose previews need more (a
    // second image, a scaled parameter) override them.
    virtual QImage generatePreview(const QSize& size);
    virtual QImage generatePreview(const QRect& rect);

signals:
    void progress(const QString& title, const QString& step, int current, int total);
    void operationCanceled();
    void finished(bool flag);

protected slots:
    // Relays the signalizer's progress as progress(progressTitle(), progressStep(), current, total),
    // unless nobody could see it (see progressObserved()). The title is asked for once after each
    // connectProgressSignalizer(): ImageMagick reports up to once per pixel.
    void emitProgress(int current, int total);

protected:
    // Whether anything receives this object's progress: the public object's receivers, or a
    // receiver of this object's own signal other than the public object's relay.
    bool progressObserved() const;
    void connectNotify(const QMetaMethod& signal) override;
    void disconnectNotify(const QMetaMethod& signal) override;

    // The fixed first argument of this effect's progress signal.
    virtual QString progressTitle() const;
    // The second argument: the signalizer's name of the running step, unless an effect
    // reports none.
    virtual QString progressStep() const;

    ZelParameterDescriptionContainer myParameters;
    ZelProgressSignalizer* myProgressSignalizer;
    // The public object this implementation belongs to; previews construct its class.
    ZelImageProcessor* myPublic = nullptr;
    QImage mySourceImage;
    QString myEffectName;
    std::atomic<bool> myCancelled{false};
    int myMaximumThreadCount = 1;
    QThread::Priority myMaximumPriority = QThread::NormalPriority;

private:
    // The title of the current run, once emitProgress() has asked progressTitle() for it.
    QString myProgressTitle;
    bool myProgressTitleKnown = false;
    // Whether anything receives progress, asked again after a connection of this object or of
    // the public one changed; how many of this object's receivers are the public object's relay
    // (counted by the public object).
    ZelReceiverWatch myProgressReceivers;
    std::atomic<int> myProgressRelays{0};
};

#endif
