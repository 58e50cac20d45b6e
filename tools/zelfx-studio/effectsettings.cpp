#include "effectsettings.h"

#include "showcase.h"

#include "ZelImageProcessor.h"

#include <QDomDocument>
#include <QFile>
#include <QRegularExpression>
#include <QSaveFile>

#include <memory>

namespace EffectSettings {

namespace {

bool isValidXmlName(const QString& name)
{
    static const QRegularExpression pattern(QStringLiteral("^[A-Za-z_][A-Za-z0-9_.-]*$"));
    return pattern.match(name).hasMatch();
}

// Each parameter reads its own value: the container's setXML leaves its values alone.
void readInto(ZelImageProcessor* effect, const QDomElement& settings)
{
    for (const QString& name : effect->parameterContainer().parameterNames()) {
        ZelParameterDescription parameter = effect->parameterContainer().parameter(name);
        parameter.setXML(settings);
        effect->setParameters(QList<ZelParameterDescription>{parameter});
    }
}

QDomElement effectElement(const QDomDocument& document, const QMetaObject* effect, QString* error)
{
    const QString tag = tagName(effect, unsharedContainer(effect));
    const QDomElement element = document.documentElement().firstChildElement(tag);
    if (element.isNull())
        *error = QStringLiteral("The settings have no element <%1> for this effect.").arg(tag);
    return element;
}

} // namespace

ZelParameterDescriptionContainer unsharedContainer(const QMetaObject* effect, const QDomElement& settings)
{
    const std::unique_ptr<ZelImageProcessor> fresh = createShowcaseEffect(effect);
    if (!fresh)
        return ZelParameterDescriptionContainer();
    if (!settings.isNull())
        readInto(fresh.get(), settings);
    // The copy outlives the effect, which takes its own reference with it.
    return fresh->parameterContainer();
}

ZelParameterDescriptionContainer withUIValues(const QMetaObject* effect, const QDomElement& settings,
                                              const ZelUIParameterMap& uiValues)
{
    ZelParameterDescriptionContainer container = unsharedContainer(effect, settings);
    container.setUIParameters(uiValues);
    return container;
}

QString tagName(const QMetaObject* effect, const ZelParameterDescriptionContainer& container)
{
    const QString tag = container.xmlTagName().isEmpty() ? container.typeName() : container.xmlTagName();
    return isValidXmlName(tag) ? tag : QString::fromLatin1(effect->className());
}

QString toXml(const QMetaObject* effect, const ZelParameterDescriptionContainer& container)
{
    ZelParameterDescriptionContainer tagged = container;
    tagged.setXMLTagName(tagName(effect, container));
    QDomDocument document;
    document.appendChild(document.createProcessingInstruction(QStringLiteral("xml"),
                                                              QStringLiteral("version=\"1.0\" encoding=\"UTF-8\"")));
    QDomElement root = document.createElement(QStringLiteral("zelfx"));
    root.setAttribute(QStringLiteral("effect"), QString::fromLatin1(effect->className()));
    document.appendChild(root);
    tagged.toXml(root);
    return document.toString(2);
}

bool save(const QString& path, const QMetaObject* effect, const ZelParameterDescriptionContainer& container,
          QString* error)
{
    QSaveFile file(path);
    if (file.open(QIODevice::WriteOnly) && file.write(toXml(effect, container).toUtf8()) >= 0 && file.commit())
        return true;
    *error = file.errorString();
    return false;
}

QDomElement readText(const QString& xml, const QMetaObject* effect, QString* error)
{
    QDomDocument document;
    int line = 0;
    if (!document.setContent(xml, error, &line))
        return QDomElement();
    return effectElement(document, effect, error);
}

QDomElement readFile(const QString& path, const QMetaObject* effect, QString* error)
{
    QFile file(path);
    if (!file.open(QIODevice::ReadOnly)) {
        *error = file.errorString();
        return QDomElement();
    }
    return readText(QString::fromUtf8(file.readAll()), effect, error);
}

} // namespace EffectSettings
