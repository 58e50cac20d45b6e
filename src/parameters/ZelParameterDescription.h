#ifndef ZELPARAMETERDESCRIPTION_H
#define ZELPARAMETERDESCRIPTION_H

#include <QMetaType>
#include <QSharedDataPointer>
#include <QString>
#include <QVariant>

class QDebug;
class QDomElement;
class ZelParameterDescriptionImpl;
class ZelParameterDescriptionWidgetItem;

// One named, typed parameter of an effect: its value, default, German label, UI flags, XML form
// and the factory of its editor. Its type is the QVariant type of its current value.
//
// A value class over implicitly shared data. Writers detach; detaching always copies into plain
// (non-numeric) data, so a shared numeric parameter written through a copy becomes plain in that
// copy. That is intended: see ZelParameterDescriptionNumber.
class ZelParameterDescription
{
public:
    ZelParameterDescription();
    // Adopts freshly made data, for example numeric data.
    explicit ZelParameterDescription(ZelParameterDescriptionImpl* data);
    ZelParameterDescription(const ZelParameterDescription& other);
    ZelParameterDescription& operator=(const ZelParameterDescription& other);
    virtual ~ZelParameterDescription();

    // The value as an editor shows it; only numeric parameters map it (see the numeric class).
    virtual void setUIValue(const QVariant& uiValue);
    virtual QVariant uiValue() const;
    virtual QVariant defaultUIValue();
    // A new editor item without parent (the caller owns it); empty for types without an editor.
    virtual ZelParameterDescriptionWidgetItem* inputWidget() const;
    // Writes the value into element: an attribute named after the parameter, or for sizes a
    // child element with "width" and "height".
    virtual void toXml(QDomElement& element) const;
    // Reads the value back from element. A valid colour read from the element leaves a colour
    // value unchanged and a missing one makes it invalid: this inverted test is intended.
    virtual void setXML(const QDomElement& element);

    QString parameterName() const;
    QString visibleName() const;
    QVariant value() const;
    QVariant::Type type() const;
    bool isCheckable() const;
    bool isEnabled() const;
    bool visibleInUI() const;

    // Not const: they detach like writers before reading.
    QVariant defaultValue();

    void setParameterName(const QString& name);
    void setVisibleName(const QString& name);
    // Stored as given: no conversion to the parameter's type, no range check.
    void setValue(const QVariant& value);
    void setDefaultValue(const QVariant& value);
    void setCheckable(bool checkable);
    void setEnabled(bool enabled);
    void setUIVisiblity(bool visible);

    // Same data class, names, values, defaults and checkable flag; the enabled and visibility
    // flags take no part.
    bool operator==(const ZelParameterDescription& other) const;
    bool operator!=(const ZelParameterDescription& other) const;

    // The shared data for read-only inspection (ranges of numeric parameters, for tools);
    // never detaches.
    const ZelParameterDescriptionImpl* constData() const;

protected:
    // Detaches (copying into plain data when shared) and returns the data for writing.
    ZelParameterDescriptionImpl* data();

private:
    QSharedDataPointer<ZelParameterDescriptionImpl> d;
};

// "Name : <name>\nType : <type>\nValue : <value>"
QDebug operator<<(QDebug debug, const ZelParameterDescription& parameter);

Q_DECLARE_METATYPE(ZelParameterDescription)

#endif
