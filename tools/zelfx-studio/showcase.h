#ifndef ZELFX_STUDIO_SHOWCASE_H
#define ZELFX_STUDIO_SHOWCASE_H

#include <QDomElement>
#include <QImage>

#include <memory>

class ZelImageProcessor;
struct QMetaObject;

// The studio's side of the showcase settings (their format: tools/zelfx/showcase.h).

// The effect's element of its showcase settings; null when there is none.
QDomElement showcaseSettings(const QMetaObject* effect);

// A new effect on image (the caller owns it) set up by its showcase, so that every effect
// object the studio uses starts from the same state as the showcase; null when the effect cannot
// be constructed.
std::unique_ptr<ZelImageProcessor> createShowcaseEffect(const QMetaObject* effect, const QImage& image = QImage());

#endif
