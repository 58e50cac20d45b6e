#ifndef ZELFX_STUDIO_SHOWCASE_H
#define ZELFX_STUDIO_SHOWCASE_H

#include <QDomElement>

struct QMetaObject;

// The settings that show what an effect does (tools/zelfx-studio/showcase/<ShortName>.xml, in the
// format `zelfx settings` writes), or a null element for an effect that shows itself at its
// defaults. The studio's icons and the first view of each effect use them.
QDomElement showcaseSettings(const QMetaObject* effect);

#endif
