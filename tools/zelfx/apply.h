#ifndef ZELFX_APPLY_H
#define ZELFX_APPLY_H

#include "status.h"

#include <QStringList>

// zelfx apply EFFECT INPUT OUTPUT [options]
Status runApply(const QStringList& arguments);
// zelfx settings EFFECT [--set KEY=VALUE]... [--set-ui KEY=VALUE]... [--settings FILE]
Status runSettings(const QStringList& arguments);

#endif
