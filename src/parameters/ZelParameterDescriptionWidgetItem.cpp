#include "ZelParameterDescriptionWidgetItem.h"

#include <QGridLayout>

ZelParameterDescriptionWidgetItem::ZelParameterDescriptionWidgetItem()
    : QWidget(nullptr)
{
    auto* layout = new QGridLayout(this);
    layout->setContentsMargins(0, 0, 0, 0);
}

void ZelParameterDescriptionWidgetItem::setWidget(QWidget* w)
{
    myWidget = w;
    if (w)
        w->setParent(this);
}

QWidget* ZelParameterDescriptionWidgetItem::widget() const
{
    return myWidget;
}

void ZelParameterDescriptionWidgetItem::insertParameterToPropertyMap(const QString& name,
                                                                     QPair<QObject*, QString> target)
{
    myPropertyMap.insert(name, target);
}

QMap<QString, QPair<QObject*, QString>> ZelParameterDescriptionWidgetItem::parameterMap() const
{
    return myPropertyMap;
}

void ZelParameterDescriptionWidgetItem::setValue(const QString& name, const QVariant& uiValue)
{
    const auto entry = myPropertyMap.constFind(name);
    if (entry == myPropertyMap.constEnd() || !entry->first)
        return;
    entry->first->setProperty(entry->second.toLatin1().constData(), uiValue);
}

QVariant ZelParameterDescriptionWidgetItem::value(const QString& name) const
{
    const auto entry = myPropertyMap.constFind(name);
    if (entry == myPropertyMap.constEnd() || !entry->first)
        return QVariant();
    return entry->first->property(entry->second.toLatin1().constData());
}

bool ZelParameterDescriptionWidgetItem::parameterEnabled() const
{
    return myParameterEnabled;
}

void ZelParameterDescriptionWidgetItem::setParameterEnabled(bool on)
{
    if (on == myParameterEnabled)
        return;
    myParameterEnabled = on;
    emit changed();
}
