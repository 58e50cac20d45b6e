#ifndef ZELPARAMETERDESCRIPTIONCONTAINERWIDGET_H
#define ZELPARAMETERDESCRIPTIONCONTAINERWIDGET_H

#include "ZelParameterDescriptionContainer.h"

#include <QMap>
#include <QWidget>

class ZelParameterDescriptionWidgetItem;

// The editing panel of a whole parameter container: one editor item per parameter visible in the
// UI, placed in a grid at the parameter's (row, column).
class ZelParameterDescriptionContainerWidget : public QWidget
{
    Q_OBJECT
public:
    explicit ZelParameterDescriptionContainerWidget(const ZelParameterDescriptionContainer& container);

    // Keeps container and shows its UI values in the existing editors; creates and removes
    // nothing and leaves the use-this-value switches alone.
    void update(const ZelParameterDescriptionContainer& container);
    using QWidget::update;

    // Per parameter with an editor: (the editor's property value, the item's switch).
    ZelUIParameterMap parameterUIValues() const;
    // A copy of the kept container with parameterUIValues() applied through setUIParameters.
    ZelParameterDescriptionContainer parameters() const;

signals:
    void changed();

private:
    QMap<QString, ZelParameterDescriptionWidgetItem*> myItems;
    ZelParameterDescriptionContainer myContainer;
};

#endif
