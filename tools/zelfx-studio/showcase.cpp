#include "showcase.h"

#include "effectsettings.h"

#include "../zelfx/showcase.h"

#include "ZelEffectRegistry.h"
#include "ZelImageProcessor.h"

#include <QDomDocument>
#include <QFile>

// The resources live in a static library, whose registration the linker would otherwise drop.
static void initShowcaseResources()
{
    Q_INIT_RESOURCE(showcase);
}

QDomElement showcaseSettings(const QMetaObject* effect)
{
    initShowcaseResources();
    QFile file(QStringLiteral(":/showcase/%1.xml").arg(ZelEffectRegistry::shortName(effect)));
    QDomDocument document;
    if (!file.open(QIODevice::ReadOnly) || !document.setContent(&file))
        return QDomElement();
    const QString tag = EffectSettings::tagName(effect, createShowcaseEffect(effect)->parameterContainer());
    return document.documentElement().firstChildElement(tag);
}

std::unique_ptr<ZelImageProcessor> createShowcaseEffect(const QMetaObject* effect, const QImage& image)
{
    initShowcaseResources();
    std::unique_ptr<ZelImageProcessor> processor(ZelEffectRegistry::create(effect, image));
    // The studio works on the user's photo: a showcase picture of its own does not apply.
    if (processor)
        applyShowcase(processor.get(), image, ShowcaseInput::Ignore);
    return processor;
}
