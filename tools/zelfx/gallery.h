#ifndef ZELFX_GALLERY_H
#define ZELFX_GALLERY_H

#include "status.h"

#include <QStringList>

// zelfx gallery INPUT OUTDIR: every registered effect with its default parameters on INPUT, as
// OUTDIR/<ShortName>.png, and OUTDIR/index.html showing them.
Status runGallery(const QStringList& arguments);

#endif
