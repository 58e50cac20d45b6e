#ifndef ZELFX_EFFECTRUNNER_H
#define ZELFX_EFFECTRUNNER_H

#include <QImage>
#include <QObject>
#include <QRect>
#include <QSize>
#include <QString>

class ZelImageProcessor;

struct RunOptions
{
    enum class Output { Result, Preview, Section };
    Output output = Output::Result;
    QSize previewSize;
    QRect section;
    bool trace = false;
    int cancelAfter = 0; // 0: never
    bool time = false;
};

// Runs an effect the way apply's options ask: traces its signals on stderr, cancels it from
// inside its N-th progress signal, draws a progress bar when stderr is a terminal and times the
// call alone.
class EffectRunner : public QObject
{
public:
    // Listens from construction on, so signals emitted while options are applied are seen too.
    EffectRunner(ZelImageProcessor* effect, const RunOptions& options);

    QImage run();

private:
    QImage compute();
    void onProgress(const QString& title, const QString& step, int current, int total);
    void onFinished(bool flag);
    void onCanceled();
    void drawProgressBar(const QString& title, int current, int total);
    void endProgressBar();

    ZelImageProcessor* myEffect;
    RunOptions myOptions;
    bool myShowsProgressBar;
    bool myProgressBarDrawn = false;
    int myDrawnPercent = -1;
    int myProgressCount = 0;
};

#endif
