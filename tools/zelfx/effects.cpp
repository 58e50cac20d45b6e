#include "effects.h"

#include "ZelEffectRegistry.h"
#include "ZelImageProcessor.h"
#include "ZelParameterDescriptionContainer.h"

#include <QDomDocument>
#include <QMetaObject>
#include <QSet>
#include <QVariant>

namespace {
bool isValidXmlName(const QString& name)
{
    if (name.isEmpty())
        return false;
    QDomDocument probe;
    return probe.setContent(QStringLiteral("<%1/>").arg(name)) && probe.documentElement().tagName() == name;
}

bool isInvokable(const QMetaMethod& method)
{
    const bool callable = method.methodType() == QMetaMethod::Method || method.methodType() == QMetaMethod::Slot;
    return callable && method.access() == QMetaMethod::Public;
}
} // namespace

QString effectShortName(const QMetaObject* effect)
{
    return ZelEffectRegistry::shortName(effect);
}

Status findEffect(const QString& name, const QMetaObject** effect)
{
    *effect = ZelEffectRegistry::find(name);
    if (*effect)
        return Status::success();
    QStringList known;
    for (const QMetaObject* meta : ZelEffectRegistry::effects())
        known << effectShortName(meta);
    return Status::failure(ExitUsage, QStringLiteral("unknown effect %1; known effects: %2")
                                          .arg(name, known.join(QStringLiteral(", "))));
}

Status createEffect(const QMetaObject* meta, const QImage& image, std::unique_ptr<ZelImageProcessor>* effect)
{
    effect->reset(ZelEffectRegistry::create(meta, image));
    if (*effect)
        return Status::success();
    return Status::failure(ExitUsage, QStringLiteral("effect %1 cannot be constructed%2")
                                          .arg(effectShortName(meta),
                                               image.isNull() ? QString() : QStringLiteral(" on an image")));
}

QString effectToolTip(const QObject* effect)
{
    // The two flips, rotate and scale use the older lower-case key.
    const QVariant toolTip = effect->property("ToolTip");
    if (toolTip.isValid())
        return toolTip.toString();
    return effect->property("toolTip").toString();
}

QString effectIconName(const QObject* effect)
{
    return effect->property("IconName").toString();
}

QList<QMetaMethod> invokableMethods(const QMetaObject* meta)
{
    // Effects redeclare the base's slots; walking down from the most derived class keeps the
    // declaration that a call through the class itself would reach.
    QList<QMetaMethod> methods;
    QSet<QByteArray> seen;
    for (int i = meta->methodCount() - 1; i >= QObject::staticMetaObject.methodCount(); --i) {
        const QMetaMethod method = meta->method(i);
        if (!isInvokable(method) || seen.contains(method.methodSignature()))
            continue;
        seen.insert(method.methodSignature());
        methods.prepend(method);
    }
    return methods;
}

QStringList invokableSignatures(const QMetaObject* meta)
{
    QStringList signatures;
    for (const QMetaMethod& method : invokableMethods(meta))
        signatures << QString::fromLatin1(method.methodSignature());
    return signatures;
}

QString containerTagName(const ZelParameterDescriptionContainer& container)
{
    return container.xmlTagName().isEmpty() ? container.typeName() : container.xmlTagName();
}

QString settingsTagName(const ZelImageProcessor& effect)
{
    const QString tag = containerTagName(effect.parameterContainer());
    return isValidXmlName(tag) ? tag : QString::fromLatin1(effect.metaObject()->className());
}
