#ifndef ZELFX_STUDIO_EFFECTSETTINGS_H
#define ZELFX_STUDIO_EFFECTSETTINGS_H

#include "ZelParameterDescriptionContainer.h"

#include <QDomElement>
#include <QString>

struct QMetaObject;

// An effect's settings as the studio hands them to effects and keeps them in files.
//
// A numeric parameter written while its data is shared with another container turns plain and
// loses its value/user-visible mapping. The panel keeps a copy of the container it was built
// from, so the studio never writes through that one: every container returned here comes from a
// short-lived effect object of its own and is shared with nobody when it is written.
namespace EffectSettings {

// The effect's parameters after its showcase calls, with the values of settings applied (a null element applies
// nothing); the caller is the only owner.
ZelParameterDescriptionContainer unsharedContainer(const QMetaObject* effect,
                                                   const QDomElement& settings = QDomElement());
// The same, then the panel's values (in user-visible units) mapped to value units.
ZelParameterDescriptionContainer withUIValues(const QMetaObject* effect, const QDomElement& settings,
                                              const ZelUIParameterMap& uiValues);

// The element name the effect's settings are stored under: the container's tag name, or the
// class name when that is no valid XML name.
QString tagName(const QMetaObject* effect, const ZelParameterDescriptionContainer& container);
// The document `zelfx settings` writes: the container under a <zelfx effect="ClassName"> root.
QString toXml(const QMetaObject* effect, const ZelParameterDescriptionContainer& container);
bool save(const QString& path, const QMetaObject* effect, const ZelParameterDescriptionContainer& container,
          QString* error);
// The effect's element of a settings document (from a file or a string); null with an error.
QDomElement readFile(const QString& path, const QMetaObject* effect, QString* error);
QDomElement readText(const QString& xml, const QMetaObject* effect, QString* error);

} // namespace EffectSettings

#endif
