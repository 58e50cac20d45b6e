#ifndef ZELFX_STUDIO_SHOWCASE_H
#define ZELFX_STUDIO_SHOWCASE_H

#include <QDomElement>
#include <QImage>

#include <memory>

class ZelImageProcessor;
struct QMetaObject;

// Settings that show what an effect does, kept once in tools/zelfx-studio/showcase/<ShortName>.xml
// (the resource :/showcase/) for the studio and `zelfx gallery`: a document as `zelfx settings`
// writes it, whose root may also hold <call>NAME(ARG,...)</call> elements for what lives outside
// the parameter container (a kernel, scale factors), in the syntax of `zelfx apply --call`.
// Effects that show themselves at their defaults have no file.

// The effect's element of its showcase settings; null when there is none.
QDomElement showcaseSettings(const QMetaObject* effect);

// A new effect on image (the caller owns it) with the showcase calls made, so that every effect
// object the studio uses starts from the same state as the showcase; null when the effect cannot
// be constructed.
std::unique_ptr<ZelImageProcessor> createShowcaseEffect(const QMetaObject* effect, const QImage& image = QImage());

#endif
