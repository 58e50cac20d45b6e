#ifndef ZELFX_EFFECTRUNNER_H
#define ZELFX_EFFECTRUNNER_H

#include <QImage>
#include <QObject>
#include <QRect>
#include <QSize>
#include <QString>

#include <atomic>
#include <functional>
#include <mutex>
#include <vector>

class ZelImageProcessor;
class ZelPhotoConverter;

struct RunOptions
{
    enum class Output { Result, Preview, Section };
    Output output = Output::Result;
    QSize previewSize;
    QRect section;
    bool trace = false;
    int cancelAfter = 0; // 0: never
    bool time = false;
    bool threaded = false; // only with Output::Result
    bool progressBar = true; // on a terminal; batch draws one bar of its own instead
    // Batch's Ctrl-C: once set, the effect is cancelled at its next progress report.
    const std::atomic<bool>* interrupted = nullptr;
};

// Runs an effect the way apply's options ask: traces its signals on stderr, cancels it from
// inside its N-th progress signal or once a batch is interrupted, draws a progress bar when
// stderr is a terminal and times the call alone.
//
// Threaded, the effect runs as the job of a ZelPhotoConverter on the converter's thread while
// this thread waits in an event loop: the converter's progress(int, int) and processName(title,
// step), which it emits as a pair, feed the same trace, bar and cancel as the effect's own
// progress does otherwise, the effect's finished and operationCanceled are traced once the job
// has ended (after the last progress, which the converter may deliver after them), and Ctrl-C
// cancels the job.
class EffectRunner : public QObject
{
public:
    // Listens from construction on, so signals emitted while options are applied are seen too.
    // photo: what a threaded run hands to the converter, which makes it the effect's source.
    EffectRunner(ZelImageProcessor* effect, const QImage& photo, const RunOptions& options);

    QImage run();
    // Whether run() cancelled the effect because the batch was interrupted.
    bool interrupted() const { return myInterruptSeen; }

private:
    QImage compute();
    QImage computeThreaded();
    void onProgress(const QString& title, const QString& step, int current, int total);
    void onConverterProgress(int current, int total);
    void onConverterProcessName(const QString& title, const QString& step);
    // Threaded: keeps a trace of the effect's signals, from any thread, for the job's end.
    void traceAtJobEnd(std::function<void()> trace);
    void onFinished(bool flag);
    void onCanceled();
    void onInterrupt();
    void cancel();
    void drawProgressBar(const QString& title, int current, int total);
    void endProgressBar();

    ZelImageProcessor* myEffect;
    QImage myPhoto;
    RunOptions myOptions;
    bool myShowsProgressBar;
    bool myProgressBarDrawn = false;
    int myDrawnPercent = -1;
    int myProgressCount = 0;
    bool myInterruptSeen = false;
    ZelPhotoConverter* myConverter = nullptr; // while a threaded run is under way
    int myConverterCurrent = 0;
    int myConverterTotal = 0;
    std::mutex myJobSignalsMutex;
    std::vector<std::function<void()>> myJobSignals;
};

#endif
