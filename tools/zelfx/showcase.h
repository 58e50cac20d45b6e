#ifndef ZELFX_SHOWCASE_H
#define ZELFX_SHOWCASE_H

#include <QDomDocument>
#include <QImage>
#include <QString>

class ZelImageProcessor;
struct QMetaObject;

// Settings that show what an effect does, kept once as tools/zelfx-studio/showcase/<ShortName>.xml
// and compiled in as :/showcase/ by the programs that use them (zelfx gallery, zelfx-studio).
// A file is a document as `zelfx settings` writes it; its root may also hold
//   <call>NAME(ARG,...)</call>   a call as `zelfx apply --call` takes it (kernels, factors);
//   <chain>ShortName</chain>     a step added with addProcessor, itself set up by its showcase;
//   <reference>ShortName</reference>  setParameters(QImage) with source run through that effect;
//   <input photo="NAME" section="X,Y,W,H" contrast="PERCENT"><call>...</call></input>
//                                the picture the showcase is made on, for effects that show
//                                nothing on an ordinary photo: NAME a picture compiled in beside
//                                these files (else source), section the part of it kept,
//                                contrast the share of its tonal range kept around mid-grey; the
//                                calls inside refer to that picture (a region on it, say). Every
//                                attribute is optional.
// Effects that show themselves at their defaults have no file.

// The effect's showcase file; a null document when it has none.
QDomDocument showcaseDocument(const QMetaObject* effect);

// Whether <input> replaces the effect's source: yes for a showcase of its own (the gallery), no
// where the effect works on the user's photo (the studio), which skips the element whole.
enum class ShowcaseInput { Use, Ignore };

// Sets effect up by its showcase; source is the picture it will work on (needed by <reference>
// and <input>). Returns the document as text, empty when the effect has none. Chain steps are
// children of effect and go with it.
QString applyShowcase(ZelImageProcessor* effect, const QImage& source, ShowcaseInput input = ShowcaseInput::Use);

#endif
