#include "apply.h"

#include "chain.h"
#include "console.h"
#include "effects.h"
#include "imagefiles.h"
#include "messagecapture.h"
#include "options.h"

#include "ZelImageProcessor.h"

#include <cstring>
#include <mutex>

namespace {
bool wasInterrupted(const EffectJob& job)
{
    return job.run.interrupted && job.run.interrupted->load(std::memory_order_relaxed);
}
} // namespace

bool isMagickFailure(QtMsgType type, const char* category)
{
    return (type == QtWarningMsg || type == QtCriticalMsg) && std::strcmp(category, "zel.magick") == 0;
}

Status effectJobFrom(const QString& effectName, const CommandLine& commandLine, EffectJob* job)
{
    job->parameterOptions = commandLine.parameterOptions;
    job->chain = commandLine.chain;
    job->hasChain = commandLine.hasChain;
    job->run = commandLine.run;
    return findEffect(effectName, &job->effect);
}

Status tryEffectJob(const EffectJob& job)
{
    std::unique_ptr<ZelImageProcessor> effect;
    ChainSteps chainSteps;
    Status status = createEffect(job.effect, QImage(), &effect);
    if (status.ok())
        status = applyParameterOptions(effect.get(), job.parameterOptions);
    if (status.ok() && job.hasChain)
        status = appendChain(effect.get(), job.chain, &chainSteps);
    return status;
}

Status applyEffectToFile(const EffectJob& job, const QString& inputPath, const QString& outputPath,
                         const QByteArray& format)
{
    QImage input;
    Status status = loadInputImage(inputPath, &input);
    if (!status.ok())
        return status;
    std::unique_ptr<ZelImageProcessor> effect;
    status = createEffect(job.effect, input, &effect);
    if (!status.ok())
        return status;
    // Listening before the options are applied: --call may already make the effect signal.
    EffectRunner runner(effect.get(), input, job.run);
    const MessageCapture magickFailures(isMagickFailure);
    ChainSteps chainSteps;
    status = applyParameterOptions(effect.get(), job.parameterOptions);
    if (status.ok() && job.hasChain)
        status = appendChain(effect.get(), job.chain, &chainSteps);
    if (!status.ok())
        return status;
    QImage output;
    {
        static std::mutex turn;
        std::unique_lock<std::mutex> locker(turn, std::defer_lock);
        if (job.takesTurns)
            locker.lock();
        if (!wasInterrupted(job))
            output = runner.run();
    }
    const QString name = effectShortName(job.effect);
    if (wasInterrupted(job) && (output.isNull() || runner.interrupted()))
        return Status::failure(ExitInterrupted, QStringLiteral("interrupted before %1 was done; nothing written to %2")
                                                    .arg(inputPath, outputPath));
    if (!magickFailures.messages().isEmpty()) {
        return Status::failure(ExitEffectFailed, QStringLiteral("effect %1 failed on %2: %3; nothing written to %4")
                                                     .arg(name, inputPath, magickFailures.messages().join(QStringLiteral("; ")), outputPath));
    }
    if (output.isNull()) {
        return Status::failure(ExitNullImage, QStringLiteral("effect %1 returned a null image for %2 (%3x%4; too large "
                                                             "to allocate, or refused); nothing written to %5")
                                                  .arg(name, inputPath)
                                                  .arg(input.width())
                                                  .arg(input.height())
                                                  .arg(outputPath));
    }
    return saveOutputImage(output, outputPath, format);
}

Status runApply(const QStringList& arguments)
{
    const QString command = QStringLiteral("apply");
    CommandLine commandLine;
    Status status = parseCommandLine(command, arguments, AcceptParameterOptions | AcceptRunOptions | AcceptChain,
                                     &commandLine);
    if (status.ok())
        status = expectPositional(command, commandLine, {QStringLiteral("EFFECT"), QStringLiteral("INPUT"),
                                                         QStringLiteral("OUTPUT")});
    if (!status.ok())
        return status;
    EffectJob job;
    status = effectJobFrom(commandLine.positional.at(0), commandLine, &job);
    if (!status.ok())
        return status;
    return applyEffectToFile(job, commandLine.positional.at(1), commandLine.positional.at(2));
}

Status runSettings(const QStringList& arguments)
{
    const QString command = QStringLiteral("settings");
    CommandLine commandLine;
    Status status = parseCommandLine(command, arguments, AcceptParameterOptions, &commandLine);
    if (status.ok())
        status = expectPositional(command, commandLine, {QStringLiteral("EFFECT")});
    if (!status.ok())
        return status;

    const QMetaObject* meta = nullptr;
    status = findEffect(commandLine.positional.at(0), &meta);
    if (!status.ok())
        return status;
    std::unique_ptr<ZelImageProcessor> effect;
    status = createEffect(meta, QImage(), &effect);
    if (status.ok())
        status = applyParameterOptions(effect.get(), commandLine.parameterOptions);
    if (!status.ok())
        return status;

    QString xml;
    status = settingsDocument(*effect, &xml);
    if (status.ok())
        printOut(xml);
    return status;
}
