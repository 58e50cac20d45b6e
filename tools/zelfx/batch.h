#ifndef ZELFX_BATCH_H
#define ZELFX_BATCH_H

#include "status.h"

#include <QStringList>

// zelfx batch EFFECT OUTDIR INPUT... [apply's --set/--set-ui/--settings/--call/--chain]
//             [--jobs N] [--overwrite] [--format FMT]
// One effect with one set of parameters on many photos, several at once. Each input becomes
// OUTDIR/<its name without the last suffix>.<format>, the format that of the input (its suffix,
// when Qt writes it; PNG otherwise) or --format's. An input is never overwritten, an existing
// output only with --overwrite, and of two inputs with the same output the later one fails. A
// photo that fails is reported and the others go on; the status is that of the first failed
// input in the order given, or success.
Status runBatch(const QStringList& arguments);

#endif
