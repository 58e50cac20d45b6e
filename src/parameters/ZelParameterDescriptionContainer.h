#ifndef ZELPARAMETERDESCRIPTIONCONTAINER_H
#define ZELPARAMETERDESCRIPTIONCONTAINER_H

#include "ZelParameterDescription.h"

#include <QList>
#include <QMap>
#include <QPair>
#include <QPoint>
#include <QSharedDataPointer>
#include <QStringList>

class QDebug;
class QDomElement;
class ZelParameterDescriptionContainerImpl;

// Parameter key to (value in user-visible units, use-this-value switch): what the editing panel
// reports and setUIParameters consumes.
using ZelUIParameterMap = QMap<QString, QPair<QVariant, bool>>;

// The parameter set of one effect: parameters keyed by name (iterated in ascending key order,
// which is the display and XML order), each with a grid place (x = row, y = column), a type name
// and the XML element name. A value class over implicitly shared data; writers detach.
class ZelParameterDescriptionContainer
{
public:
    explicit ZelParameterDescriptionContainer(const QString& typeName = QString(),
                                              const QString& xmlTagName = QString());
    ZelParameterDescriptionContainer(const ZelParameterDescriptionContainer& other);
    ZelParameterDescriptionContainer& operator=(const ZelParameterDescriptionContainer& other);
    ~ZelParameterDescriptionContainer();

    // Files the description under its own parameter name, replacing one of that name.
    void add(ZelParameterDescription description, int row, int column);
    void remove(const QString& name);

    bool contains(const QString& name) const;
    // A copy of the parameter, or a default parameter (invalid value) for an unknown name.
    ZelParameterDescription parameter(const QString& name) const;
    QVariant value(const QString& name) const;
    // (row, column), or (-1, -1) for an unknown name.
    QPoint position(const QString& name) const;
    QStringList parameterNames() const;
    QList<ZelParameterDescription> parameters() const;
    QStringList parameterTypes() const;
    bool isEmpty() const;

    QString typeName() const;
    QString xmlTagName() const;
    void setXMLTagName(const QString& tagName);

    // These four write the parameter stored under name. An unknown name gets an empty parameter
    // inserted first (without a grid place), which is then written: intended.
    void setValue(const QString& name, const QVariant& value);
    void setUIValue(const QString& name, const QVariant& uiValue);
    void setDefaultValue(const QString& name, const QVariant& value);
    void setValueToDefault(const QString& name);

    // In key order: a pair whose switch is off resets that parameter to its default, the
    // others are set through setUIValue.
    void setUIParameters(const ZelUIParameterMap& uiValues);

    // Same type name and pairwise equal parameters; places and tag names take no part.
    bool operator==(const ZelParameterDescriptionContainer& other) const;
    bool operator!=(const ZelParameterDescriptionContainer& other) const;

    // Appends one element (named after the tag name, or the type name while that is empty) to
    // parent and writes every parameter into it.
    void toXml(QDomElement& parent) const;
    // Lets a copy of every parameter read the element and discards the copies, so the container
    // keeps its values: intended. Read settings per parameter with ZelParameterDescription::setXML.
    void setXML(const QDomElement& parent);

private:
    QSharedDataPointer<ZelParameterDescriptionContainerImpl> d;
};

QDebug operator<<(QDebug debug, const ZelParameterDescriptionContainer& container);

Q_DECLARE_METATYPE(ZelParameterDescriptionContainer)

#endif
