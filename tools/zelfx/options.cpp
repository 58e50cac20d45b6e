#include "options.h"

#include "valueconversion.h"

#include <QImageWriter>
#include <QVariant>

namespace {

struct OptionDefinition
{
    const char* name;
    int group;
    bool takesValue;
    Status (*apply)(const QString& value, CommandLine* commandLine);
};

Status parsePositiveSize(const char* option, const QString& text, QSize* size)
{
    QVariant value;
    if (convertText(text, QMetaType::QSize, &value) && !value.toSize().isEmpty()) {
        *size = value.toSize();
        return Status::success();
    }
    return Status::usageError(QStringLiteral("%1 expects WxH with a positive width and height, got \"%2\"")
                                  .arg(QLatin1String(option), text));
}

Status parsePositiveCount(const char* option, const QString& text, int* count)
{
    bool ok = false;
    const int number = text.trimmed().toInt(&ok);
    if (ok && number > 0) {
        *count = number;
        return Status::success();
    }
    return Status::usageError(QStringLiteral("%1 expects a positive whole number, got \"%2\"")
                                  .arg(QLatin1String(option), text));
}

Status parseSection(const QString& text, QRect* section)
{
    QVariant value;
    if (convertText(text, QMetaType::QRect, &value) && !value.toRect().isEmpty()) {
        *section = value.toRect();
        return Status::success();
    }
    return Status::usageError(
        QStringLiteral("--section expects X,Y,W,H with a positive width and height, got \"%1\"").arg(text));
}

Status threadedExcludesPreviews()
{
    return Status::usageError(QStringLiteral("--threaded computes the full result; it excludes --preview and --section"));
}

Status selectOutput(RunOptions::Output output, CommandLine* commandLine)
{
    RunOptions::Output& selected = commandLine->run.output;
    if (selected != RunOptions::Output::Result && selected != output)
        return Status::usageError(QStringLiteral("--preview and --section exclude each other"));
    if (commandLine->run.threaded)
        return threadedExcludesPreviews();
    selected = output;
    return Status::success();
}

Status addParameterOption(ParameterOption::Kind kind, const QString& value, CommandLine* commandLine)
{
    commandLine->parameterOptions.append(ParameterOption{kind, value});
    return Status::success();
}

Status selectChain(const QString& chainText, CommandLine* commandLine)
{
    if (commandLine->hasChain)
        return Status::usageError(QStringLiteral("--chain may be given once; separate its steps with ;"));
    commandLine->chain = chainText;
    commandLine->hasChain = true;
    return Status::success();
}

const OptionDefinition optionDefinitions[] = {
    {"--json", AcceptJson, false,
     [](const QString&, CommandLine* c) {
         c->json = true;
         return Status::success();
     }},
    {"--bench", AcceptBenchList, false,
     [](const QString&, CommandLine* c) {
         c->benchList = true;
         return Status::success();
     }},
    {"--set", AcceptParameterOptions, true,
     [](const QString& v, CommandLine* c) { return addParameterOption(ParameterOption::Set, v, c); }},
    {"--set-ui", AcceptParameterOptions, true,
     [](const QString& v, CommandLine* c) { return addParameterOption(ParameterOption::SetUI, v, c); }},
    {"--settings", AcceptParameterOptions, true,
     [](const QString& v, CommandLine* c) { return addParameterOption(ParameterOption::Settings, v, c); }},
    {"--call", AcceptParameterOptions, true,
     [](const QString& v, CommandLine* c) { return addParameterOption(ParameterOption::Call, v, c); }},
    {"--preview", AcceptRunOptions, true,
     [](const QString& v, CommandLine* c) {
         const Status status = parsePositiveSize("--preview", v, &c->run.previewSize);
         return status.ok() ? selectOutput(RunOptions::Output::Preview, c) : status;
     }},
    {"--section", AcceptRunOptions, true,
     [](const QString& v, CommandLine* c) {
         const Status status = parseSection(v, &c->run.section);
         return status.ok() ? selectOutput(RunOptions::Output::Section, c) : status;
     }},
    {"--trace", AcceptRunOptions, false,
     [](const QString&, CommandLine* c) {
         c->run.trace = true;
         return Status::success();
     }},
    {"--cancel-after", AcceptRunOptions, true,
     [](const QString& v, CommandLine* c) { return parsePositiveCount("--cancel-after", v, &c->run.cancelAfter); }},
    {"--time", AcceptRunOptions, false,
     [](const QString&, CommandLine* c) {
         c->run.time = true;
         return Status::success();
     }},
    {"--chain", AcceptChain, true, [](const QString& v, CommandLine* c) { return selectChain(v, c); }},
    {"--threaded", AcceptRunOptions, false,
     [](const QString&, CommandLine* c) {
         if (c->run.output != RunOptions::Output::Result)
             return threadedExcludesPreviews();
         c->run.threaded = true;
         return Status::success();
     }},
    {"--jobs", AcceptBatchOptions, true,
     [](const QString& v, CommandLine* c) { return parsePositiveCount("--jobs", v, &c->jobs); }},
    {"--overwrite", AcceptBatchOptions, false,
     [](const QString&, CommandLine* c) {
         c->overwrite = true;
         return Status::success();
     }},
    {"--format", AcceptBatchOptions, true,
     [](const QString& v, CommandLine* c) {
         c->format = v.trimmed().toLower().toLatin1();
         if (QImageWriter::supportedImageFormats().contains(c->format))
             return Status::success();
         return Status::usageError(QStringLiteral("--format: cannot write \"%1\"; writable formats: %2")
                                       .arg(v, QString::fromLatin1(QImageWriter::supportedImageFormats().join(", "))));
     }},
    {"--size", AcceptBenchOptions, true,
     [](const QString& v, CommandLine* c) { return parsePositiveSize("--size", v, &c->benchSize); }},
    {"--repeat", AcceptBenchOptions, true,
     [](const QString& v, CommandLine* c) { return parsePositiveCount("--repeat", v, &c->repeat); }},
};

const OptionDefinition* findOption(const QString& name, int acceptedGroups)
{
    for (const OptionDefinition& definition : optionDefinitions) {
        if ((definition.group & acceptedGroups) && name == QLatin1String(definition.name))
            return &definition;
    }
    return nullptr;
}

} // namespace

Status parseCommandLine(const QString& command, const QStringList& arguments, int acceptedGroups,
                        CommandLine* commandLine)
{
    for (int i = 0; i < arguments.size(); ++i) {
        const QString& argument = arguments.at(i);
        if (!argument.startsWith(QLatin1String("--"))) {
            commandLine->positional << argument;
            continue;
        }
        const OptionDefinition* option = findOption(argument, acceptedGroups);
        if (!option)
            return Status::usageError(QStringLiteral("unknown option %1 for %2").arg(argument, command));
        QString value;
        if (option->takesValue) {
            if (++i == arguments.size())
                return Status::usageError(QStringLiteral("option %1 needs a value").arg(argument));
            value = arguments.at(i);
        }
        const Status status = option->apply(value, commandLine);
        if (!status.ok())
            return status;
    }
    return Status::success();
}

Status expectPositional(const QString& command, const CommandLine& commandLine, const QStringList& names)
{
    if (commandLine.positional.size() == names.size())
        return Status::success();
    const QString expected = names.isEmpty() ? QStringLiteral("no arguments") : names.join(QLatin1Char(' '));
    return Status::usageError(QStringLiteral("%1 expects %2, got %3 argument(s)")
                                  .arg(command, expected)
                                  .arg(commandLine.positional.size()));
}
