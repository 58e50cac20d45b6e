#include "batch.h"

#include "apply.h"
#include "chain.h"
#include "effects.h"
#include "console.h"
#include "interrupt.h"
#include "options.h"

#include "ZelImageProcessor.h"
#include "ZelMagickWandWrapper_p.h"

#include <QDir>
#include <QElapsedTimer>
#include <QFileInfo>
#include <QHash>
#include <QImageWriter>
#include <QThread>

#include <atomic>
#include <chrono>
#include <condition_variable>
#include <memory>
#include <mutex>
#include <vector>

namespace {

const int progressBarWidth = 30;
const int redrawMilliseconds = 250;

struct Photo
{
    QString input;
    QString output;
    QByteArray format;
    Status status;
    bool done = false;     // status is final
    bool reported = false; // a failure printed
};

// A file's identity for comparing paths: symbolic links and "." resolved where the file exists.
QString identity(const QString& path)
{
    const QFileInfo file(path);
    const QString canonical = file.canonicalFilePath();
    return canonical.isEmpty() ? QDir::cleanPath(file.absoluteFilePath()) : canonical;
}

QByteArray outputFormat(const QString& input, const QByteArray& chosen)
{
    if (!chosen.isEmpty())
        return chosen;
    const QByteArray suffix = QFileInfo(input).suffix().toLower().toLatin1();
    return QImageWriter::supportedImageFormats().contains(suffix) ? suffix : QByteArray("png");
}

// Every photo's output, and the photos that must not run because of it.
std::vector<Photo> planPhotos(const QStringList& inputs, const QDir& outDir, const CommandLine& commandLine)
{
    std::vector<Photo> photos;
    QHash<QString, QString> inputOf; // identity -> input path, to protect inputs
    for (const QString& input : inputs)
        inputOf.insert(identity(input), input);
    QHash<QString, QString> claimedBy; // output identity -> the input that claimed it
    for (const QString& input : inputs) {
        Photo photo;
        photo.input = input;
        photo.format = outputFormat(input, commandLine.format);
        photo.output = outDir.filePath(QFileInfo(input).completeBaseName() + QLatin1Char('.')
                                       + QString::fromLatin1(photo.format));
        const QString output = identity(photo.output);
        QString refusal;
        if (inputOf.contains(output))
            refusal = QStringLiteral("%1 is an input of this batch; it is never overwritten").arg(photo.output);
        else if (claimedBy.contains(output))
            refusal = QStringLiteral("%1 is the output of %2 already").arg(photo.output, claimedBy.value(output));
        else if (!commandLine.overwrite && QFileInfo::exists(photo.output))
            refusal = QStringLiteral("%1 exists; --overwrite replaces it").arg(photo.output);
        claimedBy.insert(output, input);
        if (!refusal.isEmpty()) {
            photo.status = Status::failure(ExitOutputUnwritable,
                                           QStringLiteral("not writing the result of %1: %2").arg(input, refusal));
            photo.done = true;
        }
        photos.push_back(photo);
    }
    return photos;
}

// Whether the job's effect creates ImageMagick wands, tried on a small photo.
bool computesThroughImageMagick(const EffectJob& job)
{
    std::unique_ptr<ZelImageProcessor> effect;
    ChainSteps chainSteps;
    const QImage sample(16, 16, QImage::Format_ARGB32);
    const quint64 before = zelMagickWandsCreated();
    if (createEffect(job.effect, sample, &effect).ok() && applyParameterOptions(effect.get(), job.parameterOptions).ok()
        && (!job.hasChain || appendChain(effect.get(), job.chain, &chainSteps).ok())) {
        effect->result();
    }
    return zelMagickWandsCreated() != before;
}

QString duration(qint64 milliseconds)
{
    const qint64 seconds = (milliseconds + 500) / 1000;
    return QStringLiteral("%1:%2").arg(seconds / 60).arg(seconds % 60, 2, 10, QLatin1Char('0'));
}

// The photos run on worker threads, each taking the next photo that is due; this thread reports
// failures as they come, keeps the bar and watches for Ctrl-C. Each worker holds one photo at a
// time, so memory grows with the number of jobs, not of photos.
//
// Ctrl-C starts no more photos and cancels the ones under way (interrupted is the job's flag
// for that), which are then not written; photos already written stay. A second Ctrl-C ends the
// process at once.
class Batch
{
public:
    Batch(const EffectJob& job, std::vector<Photo> photos, std::atomic<bool>& interrupted)
        : myJob(job)
        , myPhotos(std::move(photos))
        , myInterrupted(interrupted)
    {
        for (const Photo& photo : myPhotos)
            myDue += photo.done ? 0 : 1;
    }

    void run(int jobs)
    {
        QElapsedTimer timer;
        timer.start();
        InterruptNotifier interrupt;
        std::vector<std::unique_ptr<QThread>> workers;
        const int workerCount = qMin(jobs, myDue);
        myWorking = workerCount; // before the first worker starts, which may return at once
        for (int i = 0; i < workerCount; ++i) {
            workers.emplace_back(QThread::create([this] { work(); }));
            workers.back()->start();
        }
        const bool bar = stderrIsTerminal();
        std::unique_lock<std::mutex> locker(myMutex);
        for (;;) {
            if (interrupt.interrupted() && !myInterrupted.exchange(true)) {
                printErr(QStringLiteral("%1zelfx: batch: interrupted, cancelling the photos under way\n")
                             .arg(bar ? QStringLiteral("\r\033[K") : QString()));
                myDrawnBar.clear();
            }
            reportFailures(bar);
            if (bar)
                drawBar(timer.elapsed());
            if (myWorking == 0)
                break;
            myChanged.wait_for(locker, std::chrono::milliseconds(redrawMilliseconds));
        }
        if (bar)
            printErr(QStringLiteral("\n"));
        locker.unlock();
        for (const auto& worker : workers)
            worker->wait();
    }

    const std::vector<Photo>& photos() const { return myPhotos; }

private:
    void work()
    {
        for (;;) {
            std::unique_lock<std::mutex> locker(myMutex);
            while (myNext < myPhotos.size() && myPhotos[myNext].done)
                ++myNext;
            if (myNext == myPhotos.size() || myInterrupted.load(std::memory_order_relaxed)) {
                --myWorking;
                myChanged.notify_all();
                return;
            }
            Photo& photo = myPhotos[myNext++];
            locker.unlock();
            const Status status = applyEffectToFile(myJob, photo.input, photo.output, photo.format);
            locker.lock();
            photo.status = status;
            photo.done = true;
            ++myFinished;
            myChanged.notify_all();
        }
    }

    // Under the lock.
    void reportFailures(bool bar)
    {
        for (Photo& photo : myPhotos) {
            if (!photo.done || photo.reported || photo.status.ok())
                continue;
            photo.reported = true;
            printErr(QStringLiteral("%1zelfx: batch: %2\n").arg(bar ? QStringLiteral("\r\033[K") : QString(), photo.status.message));
            myDrawnBar.clear(); // the message took the bar's line
        }
    }

    // Under the lock: photos done of all due, and the time left at the pace so far; drawn again
    // only when its text changes.
    void drawBar(qint64 elapsed)
    {
        const int filled = myDue > 0 ? myFinished * progressBarWidth / myDue : progressBarWidth;
        QString left;
        if (myFinished > 0 && myFinished < myDue)
            left = QStringLiteral(", %1 left").arg(duration(elapsed * (myDue - myFinished) / myFinished));
        const QString bar = QStringLiteral("[%1%2] %3/%4 photos%5")
                                .arg(QString(filled, QLatin1Char('#')), QString(progressBarWidth - filled, QLatin1Char(' ')))
                                .arg(myFinished)
                                .arg(myDue)
                                .arg(left);
        if (bar != myDrawnBar)
            printErr(QStringLiteral("\r%1\033[K").arg(bar));
        myDrawnBar = bar;
    }

    const EffectJob& myJob;
    std::vector<Photo> myPhotos;
    std::atomic<bool>& myInterrupted;
    int myDue = 0;
    int myFinished = 0;
    int myWorking = 0; // workers not yet returned
    size_t myNext = 0;
    QString myDrawnBar;
    // Standard ones rather than Qt's, so that ThreadSanitizer sees them.
    std::mutex myMutex;
    std::condition_variable myChanged;
};

} // namespace

Status runBatch(const QStringList& arguments)
{
    const QString command = QStringLiteral("batch");
    CommandLine commandLine;
    Status status = parseCommandLine(command, arguments, AcceptParameterOptions | AcceptChain | AcceptBatchOptions,
                                     &commandLine);
    if (status.ok() && commandLine.positional.size() < 3)
        status = Status::usageError(QStringLiteral("batch expects EFFECT OUTDIR INPUT..., got %1 argument(s)")
                                        .arg(commandLine.positional.size()));
    EffectJob job;
    if (status.ok())
        status = effectJobFrom(commandLine.positional.at(0), commandLine, &job);
    if (status.ok())
        status = tryEffectJob(job);
    if (!status.ok())
        return status;
    job.run.progressBar = false;
    std::atomic<bool> interrupted{false};
    job.run.interrupted = &interrupted;
    job.takesTurns = computesThroughImageMagick(job);

    const QDir outDir(commandLine.positional.at(1));
    if (!QDir().mkpath(outDir.path()))
        return Status::failure(ExitOutputUnwritable, QStringLiteral("cannot create output directory %1").arg(outDir.path()));
    const QStringList inputs = commandLine.positional.mid(2);
    Batch batch(job, planPhotos(inputs, outDir, commandLine), interrupted);
    batch.run(commandLine.jobs > 0 ? commandLine.jobs : QThread::idealThreadCount());

    int written = 0;
    const Status* firstFailure = nullptr;
    for (const Photo& photo : batch.photos()) {
        written += photo.done && photo.status.ok() ? 1 : 0;
        if (!photo.status.ok() && !firstFailure)
            firstFailure = &photo.status;
    }
    printOut(QStringLiteral("%1 of %2 photos written to %3\n").arg(written).arg(inputs.size()).arg(outDir.path()));
    if (interrupted.load()) {
        return Status::failure(ExitInterrupted, QStringLiteral("batch: interrupted; %1 of %2 photos not written")
                                                    .arg(inputs.size() - written)
                                                    .arg(inputs.size()));
    }
    if (!firstFailure)
        return Status::success();
    return Status::failure(firstFailure->code, QStringLiteral("batch: %1 of %2 photos failed")
                                                   .arg(inputs.size() - written)
                                                   .arg(inputs.size()));
}
