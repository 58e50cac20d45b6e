#include "showcase.h"

#include "effectsettings.h"
#include "parameteroptions.h"

#include "ZelEffectRegistry.h"
#include "ZelImageProcessor.h"

#include <QDomDocument>
#include <QFile>

// The resources live in a static library, whose registration the linker would otherwise drop.
static void initShowcaseResources()
{
    Q_INIT_RESOURCE(showcase);
}

namespace {

QDomDocument showcaseDocument(const QMetaObject* effect)
{
    initShowcaseResources();
    QFile file(QStringLiteral(":/showcase/%1.xml").arg(ZelEffectRegistry::shortName(effect)));
    QDomDocument document;
    if (file.open(QIODevice::ReadOnly) && !document.setContent(&file))
        qWarning("zelfx-studio: malformed showcase settings %s", qPrintable(file.fileName()));
    return document;
}

} // namespace

QDomElement showcaseSettings(const QMetaObject* effect)
{
    const QDomDocument document = showcaseDocument(effect);
    if (document.isNull())
        return QDomElement();
    const QString tag = EffectSettings::tagName(effect, createShowcaseEffect(effect)->parameterContainer());
    return document.documentElement().firstChildElement(tag);
}

std::unique_ptr<ZelImageProcessor> createShowcaseEffect(const QMetaObject* effect, const QImage& image)
{
    std::unique_ptr<ZelImageProcessor> processor(ZelEffectRegistry::create(effect, image));
    if (!processor)
        return processor;
    const QDomDocument document = showcaseDocument(effect);
    for (QDomElement call = document.documentElement().firstChildElement(QStringLiteral("call")); !call.isNull();
         call = call.nextSiblingElement(QStringLiteral("call"))) {
        const Status status = applyCall(processor.get(), call.text());
        if (!status.ok())
            qWarning("zelfx-studio: showcase call %s: %s", qPrintable(call.text()), qPrintable(status.message));
    }
    return processor;
}
