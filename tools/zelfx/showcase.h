#ifndef ZELFX_SHOWCASE_H
#define ZELFX_SHOWCASE_H

#include <QImage>
#include <QString>

class ZelImageProcessor;

// Settings that show what an effect does, kept once as tools/zelfx-studio/showcase/<ShortName>.xml
// and compiled in as :/showcase/ by the programs that use them (zelfx gallery, zelfx-studio).
// A file is a document as `zelfx settings` writes it; its root may also hold
//   <call>NAME(ARG,...)</call>   a call as `zelfx apply --call` takes it (kernels, factors);
//   <chain>ShortName</chain>     a step added with addProcessor, itself set up by its showcase;
//   <reference>ShortName</reference>  setParameters(QImage) with source run through that effect.
// Effects that show themselves at their defaults have no file.

// Sets effect up by its showcase; source is the picture it will work on (needed by <reference>
// only). Returns the document as text, empty when the effect has none. Chain steps are children
// of effect and go with it.
QString applyShowcase(ZelImageProcessor* effect, const QImage& source);

#endif
