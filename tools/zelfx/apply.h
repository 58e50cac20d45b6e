#ifndef ZELFX_APPLY_H
#define ZELFX_APPLY_H

#include "effectrunner.h"
#include "parameteroptions.h"
#include "status.h"

#include <QByteArray>
#include <QList>
#include <QStringList>

struct CommandLine;

// One effect with one set of parameters, as apply and batch take it from the command line; each
// photo it is applied to gets a fresh effect on that photo, changed by the same options.
struct EffectJob
{
    const QMetaObject* effect = nullptr;
    QList<ParameterOption> parameterOptions; // in command-line order
    QString chain;
    bool hasChain = false;
    RunOptions run;
    // The effect's computations take turns across the jobs of a batch: set for effects that
    // compute through ImageMagick, which ran slower two at once in one process than one after
    // the other; reading and writing the photos still overlap.
    bool takesTurns = false;
};

// The effect named (ExitUsage when unknown) with the command line's options.
Status effectJobFrom(const QString& effectName, const CommandLine& commandLine, EffectJob* job);
// The job's options applied once to a photo-less effect: a wrong key, value or chain step is
// found before any photo is read.
Status tryEffectJob(const EffectJob& job);

// Reads inputPath, runs the job's effect on it and writes the result to outputPath in format (by
// the suffix when empty). Nothing is written when any step fails: input unreadable
// (ExitInputUnreadable), option refused (ExitUsage), ImageMagick failure reported by the library
// (ExitEffectFailed), null result (ExitNullImage), output unwritable (ExitOutputUnwritable).
// Safe to run on several threads at once, each with its own job.
Status applyEffectToFile(const EffectJob& job, const QString& inputPath, const QString& outputPath,
                         const QByteArray& format = QByteArray());

// For a MessageCapture: the library reports ImageMagick's refusals and failures as warnings of the
// category "zel.magick" (off unless turned on; zelfx's main turns it on).
bool isMagickFailure(QtMsgType type, const char* category);

// zelfx apply EFFECT INPUT OUTPUT [options]
Status runApply(const QStringList& arguments);
// zelfx settings EFFECT [--set KEY=VALUE]... [--set-ui KEY=VALUE]... [--settings FILE]
Status runSettings(const QStringList& arguments);

#endif
