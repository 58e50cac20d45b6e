#include "ZelEffectRegistry.h"

#include "ZelImageProcessor.h"
#include "ZelImageProcessorExampleGauss.h"
#include "ZelImageProcessorExampleGrayscale.h"
#include "ZelImageProcessorFlipHorizontal.h"
#include "ZelImageProcessorFlipVertical.h"
#include "ZelImageProcessorTemplate.h"

#include <QMetaObject>

namespace {

const QString kClassPrefix = QStringLiteral("ZelImageProcessor");

// Every public effect class, one line each.
const QList<const QMetaObject*> kEffects = {
    &ZelImageProcessorFlipHorizontal::staticMetaObject,
    &ZelImageProcessorFlipVertical::staticMetaObject,
    &ZelImageProcessorExampleGauss::staticMetaObject,
    &ZelImageProcessorExampleGrayscale::staticMetaObject,
    &ZelImageProcessorTemplate::staticMetaObject,
};

} // namespace

QList<const QMetaObject*> ZelEffectRegistry::effects()
{
    return kEffects;
}

QString ZelEffectRegistry::shortName(const QMetaObject* effect)
{
    const QString className = QString::fromLatin1(effect->className());
    return className.startsWith(kClassPrefix) ? className.mid(kClassPrefix.size()) : className;
}

const QMetaObject* ZelEffectRegistry::find(const QString& name)
{
    for (const QMetaObject* effect : kEffects) {
        if (name.compare(QLatin1String(effect->className()), Qt::CaseInsensitive) == 0
            || name.compare(shortName(effect), Qt::CaseInsensitive) == 0)
            return effect;
    }
    return nullptr;
}

ZelImageProcessor* ZelEffectRegistry::create(const QMetaObject* effect, const QImage& image)
{
    if (!effect)
        return nullptr;
    QObject* object = image.isNull() ? effect->newInstance() : effect->newInstance(Q_ARG(QImage, image));
    auto* processor = qobject_cast<ZelImageProcessor*>(object);
    if (!processor)
        delete object;
    return processor;
}
