#include "ZelParameterDescriptionContainerWidget.h"

#include "ZelParameterDescriptionWidgetItem.h"

#include <QGridLayout>

ZelParameterDescriptionContainerWidget::ZelParameterDescriptionContainerWidget(
    const ZelParameterDescriptionContainer& container)
    : QWidget(nullptr)
    , myContainer(container)
{
    auto* grid = new QGridLayout(this);
    // A setter on an unknown name files a parameter without a grid place, reported as (-1, -1);
    // that is no grid cell, so such items go on rows of their own below everything placed.
    QList<ZelParameterDescriptionWidgetItem*> unplaced;
    const QStringList names = container.parameterNames();
    for (const QString& name : names) {
        const ZelParameterDescription parameter = container.parameter(name);
        if (!parameter.visibleInUI())
            continue;

        ZelParameterDescriptionWidgetItem* item = parameter.inputWidget();
        const QPoint place = container.position(name);
        if (place.x() < 0 || place.y() < 0)
            unplaced.append(item);
        else
            grid->addWidget(item, place.x(), place.y(), 1, 1);
        myItems.insert(name, item);
        connect(item, &ZelParameterDescriptionWidgetItem::changed,
                this, &ZelParameterDescriptionContainerWidget::changed);
    }
    for (ZelParameterDescriptionWidgetItem* item : unplaced)
        grid->addWidget(item, grid->rowCount(), 0, 1, 1);
}

void ZelParameterDescriptionContainerWidget::update(const ZelParameterDescriptionContainer& container)
{
    myContainer = container;
    const QStringList names = container.parameterNames();
    for (const QString& name : names) {
        const ZelParameterDescription parameter = container.parameter(name);
        if (!parameter.visibleInUI())
            continue;
        ZelParameterDescriptionWidgetItem* item = myItems.value(name);
        if (item)
            item->setValue(name, parameter.uiValue());
    }
}

ZelUIParameterMap ZelParameterDescriptionContainerWidget::parameterUIValues() const
{
    ZelUIParameterMap uiValues;
    for (const ZelParameterDescriptionWidgetItem* item : myItems) {
        const bool enabled = item->parameterEnabled();
        const auto targets = item->parameterMap();
        for (auto target = targets.cbegin(); target != targets.cend(); ++target) {
            QObject* editor = target.value().first;
            if (!editor)
                continue;
            const QVariant uiValue = editor->property(target.value().second.toLatin1().constData());
            uiValues.insert(target.key(), qMakePair(uiValue, enabled));
        }
    }
    return uiValues;
}

ZelParameterDescriptionContainer ZelParameterDescriptionContainerWidget::parameters() const
{
    ZelParameterDescriptionContainer result = myContainer;
    result.setUIParameters(parameterUIValues());
    return result;
}
