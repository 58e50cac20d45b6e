#include "effectrunner.h"

#include "console.h"
#include "interrupt.h"

#include "ZelImageProcessor.h"
#include "ZelPhotoConverter.h"

#include <QElapsedTimer>
#include <QEventLoop>
#include <QSharedPointer>

#include <atomic>

namespace {
const int progressBarWidth = 30;

QString traceFlag(bool flag)
{
    return flag ? QStringLiteral("true") : QStringLiteral("false");
}
} // namespace

EffectRunner::EffectRunner(ZelImageProcessor* effect, const QImage& photo, const RunOptions& options)
    : myEffect(effect)
    , myPhoto(photo)
    , myOptions(options)
    // Trace lines and a redrawn bar would garble each other.
    , myShowsProgressBar(options.progressBar && stderrIsTerminal() && !options.trace)
{
    if (!options.threaded) {
        connect(effect, &ZelImageProcessor::progress, this, &EffectRunner::onProgress, Qt::DirectConnection);
        connect(effect, &ZelImageProcessor::finished, this, &EffectRunner::onFinished, Qt::DirectConnection);
        connect(effect, &ZelImageProcessor::operationCanceled, this, &EffectRunner::onCanceled, Qt::DirectConnection);
        return;
    }
    // Threaded, progress comes through the converter, which may deliver its last report after the
    // effect finished; the effect's other signals wait for the job's end to be traced.
    connect(effect, &ZelImageProcessor::finished, this,
            [this](bool flag) { traceAtJobEnd([this, flag] { onFinished(flag); }); }, Qt::DirectConnection);
    connect(effect, &ZelImageProcessor::operationCanceled, this, [this] { traceAtJobEnd([this] { onCanceled(); }); },
            Qt::DirectConnection);
}

void EffectRunner::traceAtJobEnd(std::function<void()> trace)
{
    const std::lock_guard<std::mutex> lock(myJobSignalsMutex);
    myJobSignals.push_back(std::move(trace));
}

QImage EffectRunner::run()
{
    QElapsedTimer timer;
    timer.start();
    const QImage image = compute();
    const double milliseconds = timer.nsecsElapsed() / 1e6;
    endProgressBar();
    if (myOptions.time)
        printOut(QStringLiteral("time_ms\t%1\n").arg(milliseconds, 0, 'f', 3));
    return image;
}

QImage EffectRunner::compute()
{
    switch (myOptions.output) {
    case RunOptions::Output::Preview:
        return myEffect->generatePreview(myOptions.previewSize);
    case RunOptions::Output::Section:
        return myEffect->generatePreview(myOptions.section);
    case RunOptions::Output::Result:
        break;
    }
    return myOptions.threaded ? computeThreaded() : myEffect->result();
}

QImage EffectRunner::computeThreaded()
{
    // apply owns the effect; the converter only borrows it.
    const QSharedPointer<ZelImageProcessor> borrowed(myEffect, [](ZelImageProcessor*) {});
    ZelPhotoConverter converter;
    converter.setPhoto(myPhoto, QString());
    connect(&converter, &ZelPhotoConverter::progress, this, &EffectRunner::onConverterProgress);
    connect(&converter, &ZelPhotoConverter::processName, this, &EffectRunner::onConverterProcessName);
    QEventLoop loop;
    connect(&converter, &QThread::finished, &loop, &QEventLoop::quit);
    // The job's end once more, as the last thing its thread does with the converter, through an
    // atomic: ThreadSanitizer cannot see the locks of Qt's queued quit, and would take the
    // converter's destruction for a race with the job.
    std::atomic<bool> jobEnded{false};
    connect(&converter, &QThread::finished, [&jobEnded] { jobEnded.store(true, std::memory_order_release); });
    const InterruptNotifier interrupt([this] { onInterrupt(); });

    myConverter = &converter;
    converter.applyImageProcessorThreaded(borrowed);
    loop.exec();
    while (!jobEnded.load(std::memory_order_acquire))
        QThread::yieldCurrentThread();
    converter.wait();
    myConverter = nullptr;
    std::vector<std::function<void()>> traces;
    {
        const std::lock_guard<std::mutex> lock(myJobSignalsMutex);
        traces.swap(myJobSignals);
    }
    for (const auto& trace : traces)
        trace();
    return converter.getPhoto();
}

void EffectRunner::onProgress(const QString& title, const QString& step, int current, int total)
{
    ++myProgressCount;
    if (myOptions.trace)
        printErr(QStringLiteral("progress\t%1\t%2\t%3\t%4\n").arg(title, step).arg(current).arg(total));
    if (myShowsProgressBar)
        drawProgressBar(title, current, total);
    if (myProgressCount == myOptions.cancelAfter)
        cancel();
    else if (myOptions.interrupted && myOptions.interrupted->load(std::memory_order_relaxed) && !myInterruptSeen) {
        myInterruptSeen = true;
        cancel();
    }
}

void EffectRunner::onConverterProgress(int current, int total)
{
    myConverterCurrent = current;
    myConverterTotal = total;
}

void EffectRunner::onConverterProcessName(const QString& title, const QString& step)
{
    onProgress(title, step, myConverterCurrent, myConverterTotal);
}

void EffectRunner::onInterrupt()
{
    endProgressBar();
    printErr(QStringLiteral("zelfx: interrupted, cancelling the effect\n"));
    cancel();
}

void EffectRunner::cancel()
{
    if (myConverter)
        myConverter->cancel();
    else
        myEffect->cancel();
}

void EffectRunner::onFinished(bool flag)
{
    if (myOptions.trace)
        printErr(QStringLiteral("finished\t%1\n").arg(traceFlag(flag)));
}

void EffectRunner::onCanceled()
{
    if (myOptions.trace)
        printErr(QStringLiteral("operationCanceled\n"));
}

void EffectRunner::drawProgressBar(const QString& title, int current, int total)
{
    const int percent = total > 0 ? int(qBound<qint64>(0, qint64(current) * 100 / total, 100)) : 0;
    if (myProgressBarDrawn && percent == myDrawnPercent)
        return;
    myDrawnPercent = percent;
    const int filled = percent * progressBarWidth / 100;
    printErr(QStringLiteral("\r[%1%2] %3% %4")
                 .arg(QString(filled, QLatin1Char('#')), QString(progressBarWidth - filled, QLatin1Char(' ')))
                 .arg(percent, 3)
                 .arg(title));
    myProgressBarDrawn = true;
}

void EffectRunner::endProgressBar()
{
    if (myProgressBarDrawn)
        printErr(QStringLiteral("\n"));
    myProgressBarDrawn = false;
}
