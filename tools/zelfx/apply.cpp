#include "apply.h"

#include "chain.h"
#include "console.h"
#include "effectrunner.h"
#include "effects.h"
#include "imagefiles.h"
#include "options.h"
#include "parameteroptions.h"

#include "ZelImageProcessor.h"

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
    const QString& outputPath = commandLine.positional.at(2);

    const QMetaObject* meta = nullptr;
    status = findEffect(commandLine.positional.at(0), &meta);
    if (!status.ok())
        return status;
    QImage input;
    status = loadInputImage(commandLine.positional.at(1), &input);
    if (!status.ok())
        return status;
    std::unique_ptr<ZelImageProcessor> effect;
    status = createEffect(meta, input, &effect);
    if (!status.ok())
        return status;

    EffectRunner runner(effect.get(), input, commandLine.run);
    status = applyParameterOptions(effect.get(), commandLine.parameterOptions);
    ChainSteps chainSteps;
    if (status.ok() && commandLine.hasChain)
        status = appendChain(effect.get(), commandLine.chain, &chainSteps);
    if (!status.ok())
        return status;
    const QImage output = runner.run();
    if (output.isNull()) {
        return Status::failure(ExitNullImage, QStringLiteral("effect %1 returned a null image; nothing written to %2")
                                                  .arg(effectShortName(meta), outputPath));
    }
    return saveOutputImage(output, outputPath);
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
