#ifndef ZELFX_EFFECTS_H
#define ZELFX_EFFECTS_H

#include "status.h"

#include <QImage>
#include <QList>
#include <QMetaMethod>
#include <QString>
#include <QStringList>

#include <memory>

class QObject;
class ZelImageProcessor;
class ZelParameterDescriptionContainer;

// The class name without the "ZelImageProcessor" prefix: how messages and file names name an effect.
QString effectShortName(const QMetaObject* effect);
// By class or short name; an unknown name fails with ExitUsage, listing the known effects.
Status findEffect(const QString& name, const QMetaObject** effect);
// On image, or default-constructed when image is null; fails with ExitUsage.
Status createEffect(const QMetaObject* meta, const QImage& image, std::unique_ptr<ZelImageProcessor>* effect);

QString effectToolTip(const QObject* effect);
QString effectIconName(const QObject* effect);

// Public methods and slots declared below QObject, each signature once; signals excluded.
QList<QMetaMethod> invokableMethods(const QMetaObject* meta);
QStringList invokableSignatures(const QMetaObject* meta);

// The element name the container's XML is written under: its tag name, or its type name while
// that is empty.
QString containerTagName(const ZelParameterDescriptionContainer& container);
// The element zelfx files an effect's settings under: the container's, unless that is no valid
// XML name (effects file under their display name, "Horizontal spiegeln", or an empty one);
// then the class name.
QString settingsTagName(const ZelImageProcessor& effect);

#endif
