#include "showcase.h"

#include "effectsettings.h"

#include "../zelfx/showcase.h"

#include "ZelEffectRegistry.h"
#include "ZelImageProcessor.h"


// The resources live in a static library, whose registration the linker would otherwise drop.
static void initShowcaseResources()
{
    Q_INIT_RESOURCE(showcase);
}

QDomElement showcaseSettings(const QMetaObject* effect)
{
    initShowcaseResources();
    const QDomDocument document = showcaseDocument(effect);
    if (document.isNull())
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
