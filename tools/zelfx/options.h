#ifndef ZELFX_OPTIONS_H
#define ZELFX_OPTIONS_H

#include "effectrunner.h"
#include "parameteroptions.h"
#include "status.h"

#include <QByteArray>
#include <QList>
#include <QSize>
#include <QStringList>

struct CommandLine
{
    QStringList positional;
    QList<ParameterOption> parameterOptions; // in command-line order
    RunOptions run;
    QSize benchSize{6000, 4000};
    int repeat = 5;
    bool json = false;
    bool benchList = false;
    QString chain;
    bool hasChain = false;
    int jobs = 0; // 0: as many as the machine has cores
    bool overwrite = false;
    QByteArray format; // empty: by the input's suffix
};

// Which options a command takes.
enum OptionGroup {
    AcceptJson = 0x01,             // --json
    AcceptBenchList = 0x02,        // --bench
    AcceptParameterOptions = 0x04, // --set, --set-ui, --settings, --call
    AcceptRunOptions = 0x08,       // --preview, --section, --trace, --cancel-after, --time, --threaded
    AcceptBenchOptions = 0x10,     // --size, --repeat
    AcceptChain = 0x20,            // --chain
    AcceptBatchOptions = 0x40,     // --jobs, --overwrite, --format
};

// Options may stand anywhere; every other argument is positional. Option values are checked here
// (sizes, counts), parameter options only when they are applied.
Status parseCommandLine(const QString& command, const QStringList& arguments, int acceptedGroups,
                        CommandLine* commandLine);

// Fails with a usage error unless there are exactly as many positional arguments as names.
Status expectPositional(const QString& command, const CommandLine& commandLine, const QStringList& names);

#endif
