#include "showcase.h"

#include "effectsettings.h"

#include "ZelEffectRegistry.h"

#include <QFile>

QDomElement showcaseSettings(const QMetaObject* effect)
{
    const QString path = QStringLiteral(":/studio/showcase/%1.xml").arg(ZelEffectRegistry::shortName(effect));
    if (!QFile::exists(path))
        return QDomElement();
    QString error;
    const QDomElement settings = EffectSettings::readFile(path, effect, &error);
    if (settings.isNull())
        qWarning("zelfx-studio: showcase settings %s: %s", qPrintable(path), qPrintable(error));
    return settings;
}
