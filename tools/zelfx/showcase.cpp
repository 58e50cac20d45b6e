#include "showcase.h"

#include "effects.h"
#include "parameteroptions.h"

#include "ZelEffectRegistry.h"
#include "ZelImageProcessor.h"

#include <QDomDocument>
#include <QFile>

#include <memory>

namespace {

// A chain step or reference is set up by its own showcase, which could name the first effect
// again; this bounds the nesting.
const int kMaximumNesting = 3;

QString showcasePath(const ZelImageProcessor& effect)
{
    return QStringLiteral(":/showcase/%1.xml").arg(effectShortName(effect.metaObject()));
}

QString applyShowcaseNested(ZelImageProcessor* effect, const QImage& source, int depth);

ZelImageProcessor* createNested(const QString& shortName, const QImage& source, int depth)
{
    const QMetaObject* meta = ZelEffectRegistry::find(shortName.trimmed());
    ZelImageProcessor* effect = meta ? ZelEffectRegistry::create(meta) : nullptr;
    if (effect)
        applyShowcaseNested(effect, source, depth + 1);
    return effect;
}

void addChain(ZelImageProcessor* effect, const QDomElement& root, const QImage& source, int depth)
{
    for (QDomElement step = root.firstChildElement(QStringLiteral("chain")); !step.isNull();
         step = step.nextSiblingElement(QStringLiteral("chain"))) {
        ZelImageProcessor* processor = createNested(step.text(), source, depth);
        if (!processor)
            continue;
        processor->setParent(effect);
        QMetaObject::invokeMethod(effect, "addProcessor", Qt::DirectConnection, Q_ARG(ZelImageProcessor*, processor));
    }
}

void setReference(ZelImageProcessor* effect, const QDomElement& root, const QImage& source, int depth)
{
    const QDomElement reference = root.firstChildElement(QStringLiteral("reference"));
    if (reference.isNull() || source.isNull())
        return;
    const std::unique_ptr<ZelImageProcessor> changer(createNested(reference.text(), source, depth));
    if (!changer)
        return;
    changer->setSourceImage(source);
    const QImage changed = changer->result();
    QMetaObject::invokeMethod(effect, "setParameters", Qt::DirectConnection, Q_ARG(QImage, changed));
}

QString applyShowcaseNested(ZelImageProcessor* effect, const QImage& source, int depth)
{
    const QString path = showcasePath(*effect);
    QFile file(path);
    QDomDocument document;
    if (!file.open(QIODevice::ReadOnly) || !document.setContent(&file))
        return QString();
    const QDomElement root = document.documentElement();
    for (QDomElement call = root.firstChildElement(QStringLiteral("call")); !call.isNull();
         call = call.nextSiblingElement(QStringLiteral("call")))
        applyCall(effect, call.text());
    if (!root.firstChildElement(settingsTagName(*effect)).isNull())
        applySettingsFile(effect, path);
    if (depth < kMaximumNesting) {
        addChain(effect, root, source, depth);
        setReference(effect, root, source, depth);
    }
    return document.toString(2);
}

} // namespace

QString applyShowcase(ZelImageProcessor* effect, const QImage& source)
{
    return applyShowcaseNested(effect, source, 0);
}
