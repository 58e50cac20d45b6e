#include "apply.h"
#include "batch.h"
#include "bench.h"
#include "console.h"
#include "describe.h"
#include "gallery.h"
#include "status.h"

#include <QApplication>
#include <QLoggingCategory>
#include <QStringList>

namespace {

const char synopsis[] =
    "usage: zelfx [--verbose] COMMAND ...\n"
    "       zelfx list [--json | --bench]\n"
    "       zelfx describe EFFECT [--json]\n"
    "       zelfx settings EFFECT [--set KEY=VALUE]... [--set-ui KEY=VALUE]... [--settings FILE]\n"
    "       zelfx apply EFFECT INPUT OUTPUT [options]\n"
    "       zelfx batch EFFECT OUTDIR INPUT... [--jobs N] [--overwrite] [--format FMT] [--set ...] [--set-ui ...]\n"
    "                   [--settings ...] [--call ...] [--chain ...]\n"
    "       zelfx gallery INPUT OUTDIR\n"
    "       zelfx bench EFFECT [--size WxH] [--repeat N] [--set ...] [--set-ui ...] [--settings ...] [--call ...]\n";

const char optionHelp[] =
    "  --verbose             show the library's debug messages (hidden otherwise)\n"
    "apply options, applied in the order given:\n"
    "  --set KEY=VALUE       set a parameter\n"
    "  --set-ui KEY=VALUE    set a parameter in the units the editing panel shows\n"
    "  --settings FILE       read parameters from XML written by zelfx settings\n"
    "  --call \"NAME(ARG,...)\" call an invokable method of the effect\n"
    "  --preview WxH | --section X,Y,W,H   compute a preview instead of the result\n"
    "  --trace               print the effect's signals on stderr\n"
    "  --cancel-after N      cancel the effect from inside its N-th progress signal\n"
    "  --chain STEPS         for Composer: run the steps EFFECT[:KEY=VALUE]...;EFFECT... in order\n"
    "  --time                print the time of the computation\n"
    "  --threaded            compute the result on a ZelPhotoConverter's thread; Ctrl-C cancels it\n"
    "batch: apply's --set, --set-ui, --settings, --call and --chain to every INPUT, several at once;\n"
    "  each INPUT becomes OUTDIR/NAME.EXT (NAME without its last suffix, EXT the input's when Qt\n"
    "  writes that format, else png). Inputs are never overwritten; a photo that fails is reported\n"
    "  and the others go on; the status is that of the first failed INPUT. Ctrl-C starts no more\n"
    "  photos and cancels those under way, which are not written.\n"
    "  --jobs N              photos computed at once (default: one per core)\n"
    "  --overwrite           replace existing outputs (else they are reported and left alone)\n"
    "  --format FMT          write every output in FMT (png, jpg, ...)\n"
    "Input files that are missing, empty, directories, no image, or damaged or truncated (also when\n"
    "Qt could decode part of them) are refused, naming the file; no output is written then.\n"
    "exit status:\n"
    "  0 success   2 usage, effect or parameter error   3 input unreadable\n"
    "  4 output unwritable, or it would replace an input (or, without --overwrite, a file)\n"
    "  5 the effect returned no image (too large to allocate, or refused)\n"
    "  6 ImageMagick refused or failed the effect's operation (apply, batch; gallery goes on)\n"
    "  130 batch interrupted by Ctrl-C\n";

// Without a display, Qt's default platform plugin would abort the tool.
void selectOffscreenPlatformWithoutDisplay()
{
    if (qEnvironmentVariableIsSet("QT_QPA_PLATFORM") || qEnvironmentVariableIsSet("DISPLAY")
        || qEnvironmentVariableIsSet("WAYLAND_DISPLAY")) {
        return;
    }
    qputenv("QT_QPA_PLATFORM", "offscreen");
}

// The library writes debug lines for its own maintainers (every ImageMagick operation says so
// when it ends); a user sees them only on request. ImageMagick's refusals and failures, off in
// the library by default, are on: apply, batch and gallery catch them and report the failure.
// QT_LOGGING_RULES still overrides these rules.
void showLibraryDebugMessages(bool show)
{
    const QString magick = QStringLiteral("\nzel.magick.warning=true\nzel.magick.critical=true");
    QLoggingCategory::setFilterRules((show ? QStringLiteral("default.debug=true\nzel.*.debug=true")
                                           : QStringLiteral("default.debug=false"))
                                     + magick);
}

Status dispatch(const QStringList& arguments)
{
    if (arguments.isEmpty())
        return Status::usageError(QStringLiteral("no command given"));
    const QString command = arguments.first();
    const QStringList rest = arguments.mid(1);
    if (command == QLatin1String("list"))
        return runList(rest);
    if (command == QLatin1String("describe"))
        return runDescribe(rest);
    if (command == QLatin1String("settings"))
        return runSettings(rest);
    if (command == QLatin1String("apply"))
        return runApply(rest);
    if (command == QLatin1String("batch"))
        return runBatch(rest);
    if (command == QLatin1String("gallery"))
        return runGallery(rest);
    if (command == QLatin1String("bench"))
        return runBench(rest);
    return Status::usageError(QStringLiteral("unknown command %1").arg(command));
}

} // namespace

int main(int argc, char* argv[])
{
    selectOffscreenPlatformWithoutDisplay();
    QStringList arguments;
    for (int i = 1; i < argc; ++i)
        arguments << QString::fromLocal8Bit(argv[i]);
    const bool verbose = arguments.removeAll(QStringLiteral("--verbose")) > 0;
    showLibraryDebugMessages(verbose);
    if (arguments.size() == 1
        && (arguments.first() == QLatin1String("--help") || arguments.first() == QLatin1String("-h")
            || arguments.first() == QLatin1String("help"))) {
        printOut(QString::fromLatin1(synopsis) + QString::fromLatin1(optionHelp));
        return ExitSuccess;
    }

    // Qt sees no user arguments, so it cannot take an input file for one of its own options.
    int qtArgc = 1;
    QApplication application(qtArgc, argv);
    QApplication::setApplicationName(QStringLiteral("zelfx"));

    const Status status = dispatch(arguments);
    if (!status.ok())
        printErr(QStringLiteral("zelfx: %1\n").arg(status.message));
    if (status.printUsage)
        printErr(QString::fromLatin1(synopsis) + QStringLiteral("zelfx --help lists the apply options.\n"));
    return status.code;
}
