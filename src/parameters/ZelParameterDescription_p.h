#ifndef ZELPARAMETERDESCRIPTION_P_H
#define ZELPARAMETERDESCRIPTION_P_H

#include <QSharedData>
#include <QString>
#include <QVariant>

class QDomElement;
class QGroupBox;
class ZelParameterDescriptionWidgetItem;

// The shared data of ZelParameterDescription. Everything that varies by kind of parameter is a
// virtual operation here, so a parameter stored by value keeps the behaviour of its data class.
//
// The copy constructor copies the common fields only; QSharedDataPointer uses it to detach, which
// is what turns a shared numeric parameter plain in the copy that is written.
class ZelParameterDescriptionImpl : public QSharedData
{
public:
    ZelParameterDescriptionImpl();
    ZelParameterDescriptionImpl(const ZelParameterDescriptionImpl& other);
    ZelParameterDescriptionImpl& operator=(const ZelParameterDescriptionImpl&) = delete;
    virtual ~ZelParameterDescriptionImpl();

    virtual void setUIValue(const QVariant& uiValue);
    virtual QVariant uiValue() const;
    virtual QVariant defaultUIValue() const;
    virtual ZelParameterDescriptionWidgetItem* inputWidget() const;
    virtual void toXml(QDomElement& element) const;
    virtual void setXML(const QDomElement& element);
    // Compares what the derived class adds; called last by operator==.
    virtual bool equals(const ZelParameterDescriptionImpl* other) const;

    bool operator==(const ZelParameterDescriptionImpl& other) const;

    // Copies both strings, both variants and the four flags.
    void copyContent(const ZelParameterDescriptionImpl& other);
    // Titles the group box with the visible name; a checkable parameter's group box check box
    // drives the item's use-this-value switch. The alignment is accepted and not used.
    void createTitleOrLabel(QGroupBox* groupBox, ZelParameterDescriptionWidgetItem* item,
                            Qt::Alignment alignment) const;
    // The group box around a colour or number editor, child of item: flat unless checkable; a
    // checkable one starts checked as the parameter is enabled.
    QGroupBox* createEditorGroupBox(ZelParameterDescriptionWidgetItem* item) const;

    QString parameterName() const { return myParameterName; }
    QString visibleName() const { return myVisibleName; }
    QVariant value() const { return myValue; }
    QVariant defaultValue() const { return myDefaultValue; }
    QVariant::Type type() const { return myValue.type(); }
    bool isCheckable() const { return myCheckable; }
    bool isEnabled() const { return myEnabled; }
    bool hasUserVisibleRange() const { return myHasUserVisibleRange; }
    bool visibleInUI() const { return myVisibleInUI; }

    void setParameterName(const QString& name) { myParameterName = name; }
    void setVisibleName(const QString& name) { myVisibleName = name; }
    void setValue(const QVariant& value) { myValue = value; }
    void setDefaultValue(const QVariant& value) { myDefaultValue = value; }
    void setCheckable(bool checkable) { myCheckable = checkable; }
    void setEnabled(bool enabled) { myEnabled = enabled; }
    void setHasUserVisibleRange(bool has) { myHasUserVisibleRange = has; }
    void setUIVisiblity(bool visible) { myVisibleInUI = visible; }

private:
    QString myParameterName;
    QString myVisibleName;
    QVariant myValue;
    QVariant myDefaultValue;
    bool myCheckable = false;
    bool myEnabled = true;
    bool myHasUserVisibleRange = false;
    bool myVisibleInUI = true;
};

#endif
