#include "ZelParameterDescriptionContainer.h"

#include "ZelXMLBuilder.h"

#include <QDebug>
#include <QDomElement>
#include <QSharedData>

#include <typeinfo>

class ZelParameterDescriptionContainerImpl : public QSharedData
{
public:
    ZelParameterDescriptionContainerImpl(const QString& typeName, const QString& xmlTagName)
        : myTypeName(typeName), myXMLTagName(xmlTagName)
    {
    }

    QString tagName() const { return myXMLTagName.isEmpty() ? myTypeName : myXMLTagName; }

    QString myTypeName;
    QMap<QString, ZelParameterDescription> myParameters;
    QMap<QString, QPoint> myPositions;
    QString myXMLTagName;
};

ZelParameterDescriptionContainer::ZelParameterDescriptionContainer(const QString& typeName,
                                                                   const QString& xmlTagName)
    : d(new ZelParameterDescriptionContainerImpl(typeName, xmlTagName))
{
}

ZelParameterDescriptionContainer::ZelParameterDescriptionContainer(const ZelParameterDescriptionContainer& other) = default;
ZelParameterDescriptionContainer& ZelParameterDescriptionContainer::operator=(const ZelParameterDescriptionContainer& other) = default;
ZelParameterDescriptionContainer::~ZelParameterDescriptionContainer() = default;

void ZelParameterDescriptionContainer::add(ZelParameterDescription description, int row, int column)
{
    const QString key = description.parameterName();
    remove(key);
    d->myParameters.insert(key, description);
    d->myPositions.insert(key, QPoint(row, column));
}

void ZelParameterDescriptionContainer::remove(const QString& name)
{
    d->myParameters.remove(name);
    d->myPositions.remove(name);
}

bool ZelParameterDescriptionContainer::contains(const QString& name) const
{
    for (const ZelParameterDescription& parameter : d->myParameters) {
        if (parameter.parameterName() == name)
            return true;
    }
    return false;
}

ZelParameterDescription ZelParameterDescriptionContainer::parameter(const QString& name) const
{
    return d->myParameters.value(name);
}

QVariant ZelParameterDescriptionContainer::value(const QString& name) const
{
    return parameter(name).value();
}

QPoint ZelParameterDescriptionContainer::position(const QString& name) const
{
    return d->myPositions.value(name, QPoint(-1, -1));
}

QStringList ZelParameterDescriptionContainer::parameterNames() const
{
    return d->myParameters.keys();
}

QList<ZelParameterDescription> ZelParameterDescriptionContainer::parameters() const
{
    return d->myParameters.values();
}

QStringList ZelParameterDescriptionContainer::parameterTypes() const
{
    QStringList types;
    for (const ZelParameterDescription& parameter : d->myParameters)
        types << QString::fromLatin1(typeid(parameter).name());
    return types;
}

bool ZelParameterDescriptionContainer::isEmpty() const
{
    return d->myParameters.isEmpty();
}

QString ZelParameterDescriptionContainer::typeName() const
{
    return d->myTypeName;
}

QString ZelParameterDescriptionContainer::xmlTagName() const
{
    return d->myXMLTagName;
}

void ZelParameterDescriptionContainer::setXMLTagName(const QString& tagName)
{
    d->myXMLTagName = tagName;
}

// operator[] inserts an empty parameter for an unknown name; these setters rely on that.
void ZelParameterDescriptionContainer::setValue(const QString& name, const QVariant& value)
{
    d->myParameters[name].setValue(value);
}

void ZelParameterDescriptionContainer::setUIValue(const QString& name, const QVariant& uiValue)
{
    d->myParameters[name].setUIValue(uiValue);
}

void ZelParameterDescriptionContainer::setDefaultValue(const QString& name, const QVariant& value)
{
    d->myParameters[name].setDefaultValue(value);
}

void ZelParameterDescriptionContainer::setValueToDefault(const QString& name)
{
    ZelParameterDescription& parameter = d->myParameters[name];
    parameter.setValue(parameter.defaultValue());
}

void ZelParameterDescriptionContainer::setUIParameters(const ZelUIParameterMap& uiValues)
{
    for (auto it = uiValues.constBegin(); it != uiValues.constEnd(); ++it) {
        if (it.value().second)
            setUIValue(it.key(), it.value().first);
        else
            setValueToDefault(it.key());
    }
}

bool ZelParameterDescriptionContainer::operator==(const ZelParameterDescriptionContainer& other) const
{
    if (d->myTypeName != other.d->myTypeName
        || d->myParameters.size() != other.d->myParameters.size())
        return false;
    for (auto it = d->myParameters.constBegin(); it != d->myParameters.constEnd(); ++it) {
        if (it.value() != other.d->myParameters.value(it.key()))
            return false;
    }
    return true;
}

bool ZelParameterDescriptionContainer::operator!=(const ZelParameterDescriptionContainer& other) const
{
    return !(*this == other);
}

void ZelParameterDescriptionContainer::toXml(QDomElement& parent) const
{
    QDomElement element = ZelXMLBuilder::buildDomElement(parent, d->tagName());
    for (const ZelParameterDescription& parameter : d->myParameters)
        parameter.toXml(element);
}

void ZelParameterDescriptionContainer::setXML(const QDomElement& parent)
{
    const QDomElement element = parent.firstChildElement(d->tagName());
    // Each copy detaches when it reads, so the stored parameters keep their values: intended.
    for (ZelParameterDescription copy : qAsConst(d->myParameters))
        copy.setXML(element);
}

QDebug operator<<(QDebug debug, const ZelParameterDescriptionContainer& container)
{
    debug << "Container Type : " << container.typeName() << "Parameters : \n";
    for (const ZelParameterDescription& parameter : container.parameters())
        debug << parameter;
    return debug;
}
