#ifndef ZELFX_STATUS_H
#define ZELFX_STATUS_H

#include <QString>

// Exit statuses; scripts depend on these numbers.
enum ExitCode {
    ExitSuccess = 0,
    ExitUsage = 2, // usage, effect or parameter error
    ExitInputUnreadable = 3,
    ExitOutputUnwritable = 4,
    ExitNullImage = 5,       // the effect returned no image (too large to allocate, or refused)
    ExitEffectFailed = 6,    // ImageMagick refused or failed the effect's operation
    ExitInterrupted = 130,   // batch stopped by Ctrl-C (128 + SIGINT, as shells report it)
};

// The outcome of one step of a command: success, or an exit code with its message for stderr.
struct Status
{
    int code = ExitSuccess;
    QString message;
    bool printUsage = false;

    bool ok() const { return code == ExitSuccess; }

    static Status success() { return Status(); }
    static Status failure(int code, const QString& message) { return Status{code, message, false}; }
    static Status usageError(const QString& message) { return Status{ExitUsage, message, true}; }
};

#endif
