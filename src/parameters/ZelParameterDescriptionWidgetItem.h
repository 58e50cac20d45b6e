#ifndef ZELPARAMETERDESCRIPTIONWIDGETITEM_H
#define ZELPARAMETERDESCRIPTIONWIDGETITEM_H

#include <QMap>
#include <QPair>
#include <QString>
#include <QVariant>
#include <QWidget>

// The editor of one parameter, as made by ZelParameterDescription::inputWidget(). It knows, by
// parameter name, which child object and which of its Qt properties holds the UI value, and
// carries the use-this-value switch of a checkable parameter.
class ZelParameterDescriptionWidgetItem : public QWidget
{
    Q_OBJECT
public:
    // A widget without parent, with a QGridLayout without margins.
    ZelParameterDescriptionWidgetItem();

    // Stores w and, if it is not null, becomes its parent.
    void setWidget(QWidget* w);
    QWidget* widget() const;

    void insertParameterToPropertyMap(const QString& name, QPair<QObject*, QString> target);
    QMap<QString, QPair<QObject*, QString>> parameterMap() const;

    // Sets or reads the registered property of the editor registered under name; unknown names
    // are ignored (reading gives an invalid QVariant).
    void setValue(const QString& name, const QVariant& uiValue);
    QVariant value(const QString& name) const;

    bool parameterEnabled() const;

public slots:
    // Emits changed() only when the state really changes.
    void setParameterEnabled(bool on);

signals:
    void changed();

private:
    QWidget* myWidget = nullptr;
    QMap<QString, QPair<QObject*, QString>> myPropertyMap;
    bool myParameterEnabled = true;
};

#endif
