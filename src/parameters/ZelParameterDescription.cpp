#include "ZelParameterDescription.h"
#include "ZelParameterDescription_p.h"
#include "ZelParameterDescriptionWidgetItem.h"

#include "ZelColorEdit.h"
#include "ZelXMLBuilder.h"
#include "ZelXMLParser.h"

#include <QCheckBox>
#include <QColor>
#include <QDebug>
#include <QDomElement>
#include <QGroupBox>
#include <QHBoxLayout>
#include <QLayout>
#include <QSizeF>

#include <typeinfo>

// ---------------------------------------------------------------------------------------------
// ZelParameterDescriptionImpl

ZelParameterDescriptionImpl::ZelParameterDescriptionImpl() = default;

ZelParameterDescriptionImpl::ZelParameterDescriptionImpl(const ZelParameterDescriptionImpl& other)
    : QSharedData()
{
    copyContent(other);
}

ZelParameterDescriptionImpl::~ZelParameterDescriptionImpl() = default;

void ZelParameterDescriptionImpl::copyContent(const ZelParameterDescriptionImpl& other)
{
    myParameterName = other.myParameterName;
    myVisibleName = other.myVisibleName;
    myValue = other.myValue;
    myDefaultValue = other.myDefaultValue;
    myCheckable = other.myCheckable;
    myEnabled = other.myEnabled;
    myHasUserVisibleRange = other.myHasUserVisibleRange;
    myVisibleInUI = other.myVisibleInUI;
}

void ZelParameterDescriptionImpl::setUIValue(const QVariant& uiValue)
{
    setValue(uiValue);
}

QVariant ZelParameterDescriptionImpl::uiValue() const
{
    return value();
}

QVariant ZelParameterDescriptionImpl::defaultUIValue() const
{
    return defaultValue();
}

bool ZelParameterDescriptionImpl::equals(const ZelParameterDescriptionImpl*) const
{
    return true;
}

bool ZelParameterDescriptionImpl::operator==(const ZelParameterDescriptionImpl& other) const
{
    return typeid(*this) == typeid(other)
        && myParameterName == other.myParameterName
        && myVisibleName == other.myVisibleName
        && myValue == other.myValue
        && myDefaultValue == other.myDefaultValue
        && myCheckable == other.myCheckable
        && equals(&other);
}

static bool isSizeType(QVariant::Type type)
{
    return type == QVariant::Size || type == QVariant::SizeF;
}

void ZelParameterDescriptionImpl::toXml(QDomElement& element) const
{
    const QVariant::Type valueType = type();
    if (isSizeType(valueType)) {
        QDomElement child = ZelXMLBuilder::buildDomElement(element, myParameterName);
        const QSize size = myValue.toSize();
        child.setAttribute(QStringLiteral("width"), size.width());
        child.setAttribute(QStringLiteral("height"), size.height());
    } else if (valueType == QVariant::Color) {
        element.setAttribute(myParameterName, myValue.value<QColor>().name());
    } else {
        element.setAttribute(myParameterName, myValue.toString());
    }
}

void ZelParameterDescriptionImpl::setXML(const QDomElement& element)
{
    const QVariant::Type valueType = type();
    if (isSizeType(valueType)) {
        const QDomElement child = element.firstChildElement(myParameterName);
        if (child.isNull())
            return;
        const QSize size = ZelXMLParser::readSize(child);
        if (valueType == QVariant::SizeF)
            myValue = QSizeF(size);
        else
            myValue = size;
    } else if (valueType == QVariant::Color) {
        const QColor color = ZelXMLParser::colorAttribute(element, myParameterName, QColor());
        // Deliberately inverted: only an invalid (missing or unreadable) colour replaces the value.
        if (!color.isValid())
            myValue = color;
    } else {
        QVariant text(element.attribute(myParameterName, QString()));
        if (text.convert(static_cast<int>(valueType)))
            myValue = text;
    }
}

void ZelParameterDescriptionImpl::createTitleOrLabel(QGroupBox* groupBox,
                                                     ZelParameterDescriptionWidgetItem* item,
                                                     Qt::Alignment) const
{
    groupBox->setTitle(myVisibleName);
    if (myCheckable)
        QObject::connect(groupBox, &QGroupBox::clicked, item,
                         &ZelParameterDescriptionWidgetItem::setParameterEnabled);
}

QGroupBox* ZelParameterDescriptionImpl::createEditorGroupBox(ZelParameterDescriptionWidgetItem* item) const
{
    auto* groupBox = new QGroupBox(item);
    if (myCheckable) {
        groupBox->setCheckable(true);
        groupBox->setChecked(myEnabled);
    } else {
        groupBox->setFlat(true);
    }
    return groupBox;
}

ZelParameterDescriptionWidgetItem* ZelParameterDescriptionImpl::inputWidget() const
{
    auto* item = new ZelParameterDescriptionWidgetItem;
    const QVariant::Type valueType = type();
    if (valueType == QVariant::Bool) {
        auto* checkBox = new QCheckBox(myVisibleName, item);
        checkBox->setChecked(myValue.toBool());
        item->insertParameterToPropertyMap(myParameterName, qMakePair<QObject*, QString>(checkBox, "checked"));
        QObject::connect(checkBox, &QCheckBox::stateChanged, item, &ZelParameterDescriptionWidgetItem::changed);
        item->layout()->addWidget(checkBox);
    } else if (valueType == QVariant::Color) {
        QGroupBox* groupBox = createEditorGroupBox(item);
        auto* layout = new QHBoxLayout(groupBox);
        layout->setSpacing(1);
        layout->setContentsMargins(0, 0, 0, 0);
        createTitleOrLabel(groupBox, item, Qt::AlignVCenter);
        auto* colorEdit = new ZelColorEdit(groupBox);
        colorEdit->setAllowAlpha(true);
        colorEdit->setColor(myValue.value<QColor>());
        layout->addWidget(colorEdit);
        item->insertParameterToPropertyMap(myParameterName, qMakePair<QObject*, QString>(colorEdit, "color"));
        QObject::connect(colorEdit, &ZelColorEdit::colorChanged, item, &ZelParameterDescriptionWidgetItem::changed);
        item->layout()->addWidget(groupBox);
    }
    return item;
}

// ---------------------------------------------------------------------------------------------
// ZelParameterDescription

ZelParameterDescription::ZelParameterDescription()
    : d(new ZelParameterDescriptionImpl)
{
}

ZelParameterDescription::ZelParameterDescription(ZelParameterDescriptionImpl* data)
    : d(data)
{
}

ZelParameterDescription::ZelParameterDescription(const ZelParameterDescription& other) = default;
ZelParameterDescription& ZelParameterDescription::operator=(const ZelParameterDescription& other) = default;
ZelParameterDescription::~ZelParameterDescription() = default;

ZelParameterDescriptionImpl* ZelParameterDescription::data()
{
    return d.data();
}

const ZelParameterDescriptionImpl* ZelParameterDescription::constData() const
{
    return d.constData();
}

void ZelParameterDescription::setUIValue(const QVariant& uiValue)
{
    d->setUIValue(uiValue);
}

QVariant ZelParameterDescription::uiValue() const
{
    return d->uiValue();
}

QVariant ZelParameterDescription::defaultUIValue()
{
    return d->defaultUIValue();
}

ZelParameterDescriptionWidgetItem* ZelParameterDescription::inputWidget() const
{
    return d->inputWidget();
}

void ZelParameterDescription::toXml(QDomElement& element) const
{
    d->toXml(element);
}

void ZelParameterDescription::setXML(const QDomElement& element)
{
    d->setXML(element);
}

QString ZelParameterDescription::parameterName() const { return d->parameterName(); }
QString ZelParameterDescription::visibleName() const { return d->visibleName(); }
QVariant ZelParameterDescription::value() const { return d->value(); }
QVariant::Type ZelParameterDescription::type() const { return d->type(); }
bool ZelParameterDescription::isCheckable() const { return d->isCheckable(); }
bool ZelParameterDescription::isEnabled() const { return d->isEnabled(); }
bool ZelParameterDescription::visibleInUI() const { return d->visibleInUI(); }
QVariant ZelParameterDescription::defaultValue() { return d->defaultValue(); }

void ZelParameterDescription::setParameterName(const QString& name) { d->setParameterName(name); }
void ZelParameterDescription::setVisibleName(const QString& name) { d->setVisibleName(name); }
void ZelParameterDescription::setValue(const QVariant& value) { d->setValue(value); }
void ZelParameterDescription::setDefaultValue(const QVariant& value) { d->setDefaultValue(value); }
void ZelParameterDescription::setCheckable(bool checkable) { d->setCheckable(checkable); }
void ZelParameterDescription::setEnabled(bool enabled) { d->setEnabled(enabled); }
void ZelParameterDescription::setUIVisiblity(bool visible) { d->setUIVisiblity(visible); }

bool ZelParameterDescription::operator==(const ZelParameterDescription& other) const
{
    return *d == *other.d;
}

bool ZelParameterDescription::operator!=(const ZelParameterDescription& other) const
{
    return !(*this == other);
}

QDebug operator<<(QDebug debug, const ZelParameterDescription& parameter)
{
    debug << "Name : " << parameter.parameterName() << "\n"
          << "Type : " << parameter.type() << "\n"
          << "Value : " << parameter.value();
    return debug;
}
