#include "ZelParameterDescriptionNumber.h"
#include "ZelLogging_p.h"
#include "ZelParameterDescriptionNumber_p.h"
#include "ZelParameterDescriptionWidgetItem.h"

#include "ZelHorizontalSlider.h"

#include <QDebug>
#include <QGroupBox>
#include <QLayout>
#include <QVBoxLayout>

// ---------------------------------------------------------------------------------------------
// ZelParameterDescriptionNumberImpl

ZelParameterDescriptionNumberImpl::ZelParameterDescriptionNumberImpl() = default;
ZelParameterDescriptionNumberImpl::~ZelParameterDescriptionNumberImpl() = default;

QVariant ZelParameterDescriptionNumberImpl::minUserVisibleValue() const
{
    return hasUserVisibleRange() ? myMinimumUserVisible : myMinimum;
}

QVariant ZelParameterDescriptionNumberImpl::maxUserVisibleValue() const
{
    return hasUserVisibleRange() ? myMaximumUserVisible : myMaximum;
}

void ZelParameterDescriptionNumberImpl::setRange(const QVariant& minimum, const QVariant& maximum)
{
    myMinimum = minimum;
    myMaximum = maximum;
}

void ZelParameterDescriptionNumberImpl::setUserVisibleRange(const QVariant& minimum, const QVariant& maximum)
{
    myMinimumUserVisible = minimum;
    myMaximumUserVisible = maximum;
    setHasUserVisibleRange(true);
}

// Maps x linearly from [fromMin, fromMax] onto [toMin, toMax], in exactly this grouping. No
// clamping and no guard against an empty span: the ranges are the effect's own, and the editor's
// slider bounds are what keeps user input inside them.
static double mapLinear(double x, double fromMin, double fromMax, double toMin, double toMax)
{
    const double fraction = (x - fromMin) / (fromMax - fromMin);
    return toMin + fraction * (toMax - toMin);
}

QVariant ZelParameterDescriptionNumberImpl::valueToUIValue(const QVariant& value) const
{
    if (!hasUserVisibleRange())
        return value;
    // A test of the type, not of the contents.
    if (!QVariant(value.type()).canConvert(QMetaType::Double))
        return value;
    QVariant ui(mapLinear(value.toDouble(), myMinimum.toDouble(), myMaximum.toDouble(),
                          minUserVisibleValue().toDouble(), maxUserVisibleValue().toDouble()));
    ui.convert(static_cast<int>(type()));
    return ui;
}

QVariant ZelParameterDescriptionNumberImpl::uiValue() const
{
    return valueToUIValue(value());
}

QVariant ZelParameterDescriptionNumberImpl::defaultUIValue() const
{
    return valueToUIValue(defaultValue());
}

void ZelParameterDescriptionNumberImpl::setUIValue(const QVariant& uiValue)
{
    if (!hasUserVisibleRange() || !uiValue.canConvert(QMetaType::Double)) {
        setValue(uiValue);
        return;
    }
    QVariant mapped(mapLinear(uiValue.toDouble(), minUserVisibleValue().toDouble(),
                              maxUserVisibleValue().toDouble(), myMinimum.toDouble(),
                              myMaximum.toDouble()));
    mapped.convert(static_cast<int>(type()));
    setValue(mapped);
}

bool ZelParameterDescriptionNumberImpl::equals(const ZelParameterDescriptionImpl* other) const
{
    const auto* number = dynamic_cast<const ZelParameterDescriptionNumberImpl*>(other);
    if (!number) {
        qWarning("ZelParameterDescriptionNumberImpl::Comparing ZelParameterDescriptions of different types ?");
        return false;
    }
    return myMinimum == number->myMinimum
        && myMaximum == number->myMaximum
        && myMinimumUserVisible == number->myMinimumUserVisible
        && myMaximumUserVisible == number->myMaximumUserVisible;
}

ZelParameterDescriptionWidgetItem* ZelParameterDescriptionNumberImpl::inputWidget() const
{
    qDebug() << "Creating input widget for : " << parameterName();
    auto* item = new ZelParameterDescriptionWidgetItem;
    QGroupBox* groupBox = createEditorGroupBox(item);

    auto* slider = new ZelHorizontalSlider(groupBox);
    slider->setObjectName(parameterName() + QStringLiteral("Slider"));
    slider->setMinimum(minUserVisibleValue().toInt());
    slider->setMaximum(maxUserVisibleValue().toInt());
    slider->setSingleStep(1);
    slider->setValue(uiValue().toInt());
    slider->setTracking(false);

    auto* layout = new QVBoxLayout(groupBox);
    layout->setSpacing(1);
    layout->setContentsMargins(3, 3, 3, 3);
    createTitleOrLabel(groupBox, item, Qt::AlignVCenter);
    layout->addWidget(slider, 0, Qt::AlignTop);

    item->insertParameterToPropertyMap(parameterName(), qMakePair<QObject*, QString>(slider, "value"));
    QObject::connect(slider, &QSlider::valueChanged, item, &ZelParameterDescriptionWidgetItem::changed);
    item->layout()->addWidget(groupBox);
    return item;
}

// ---------------------------------------------------------------------------------------------
// ZelParameterDescriptionNumber

ZelParameterDescriptionNumber::ZelParameterDescriptionNumber()
    : ZelParameterDescription(new ZelParameterDescriptionNumberImpl)
{
}

ZelParameterDescriptionNumber::ZelParameterDescriptionNumber(ZelParameterDescriptionNumberImpl* data)
    : ZelParameterDescription(data)
{
}

ZelParameterDescriptionNumber::~ZelParameterDescriptionNumber() = default;

ZelParameterDescriptionNumberImpl* ZelParameterDescriptionNumber::numberData()
{
    auto* number = dynamic_cast<ZelParameterDescriptionNumberImpl*>(data());
    if (!number)
        qCDebug(zelParameters, "ZelParameterDescriptionNumber: the parameter's data is no longer numeric (written through a copy)");
    return number;
}

QVariant ZelParameterDescriptionNumber::uiValue()
{
    return data()->uiValue();
}

void ZelParameterDescriptionNumber::setRange(const QVariant& minimum, const QVariant& maximum)
{
    if (ZelParameterDescriptionNumberImpl* number = numberData())
        number->setRange(minimum, maximum);
}

void ZelParameterDescriptionNumber::setUserVisibleRange(const QVariant& minimum, const QVariant& maximum)
{
    if (ZelParameterDescriptionNumberImpl* number = numberData())
        number->setUserVisibleRange(minimum, maximum);
}

QVariant ZelParameterDescriptionNumber::min()
{
    const ZelParameterDescriptionNumberImpl* number = numberData();
    return number ? number->min() : QVariant();
}

QVariant ZelParameterDescriptionNumber::max()
{
    const ZelParameterDescriptionNumberImpl* number = numberData();
    return number ? number->max() : QVariant();
}

QVariant ZelParameterDescriptionNumber::minUserVisibleValue()
{
    const ZelParameterDescriptionNumberImpl* number = numberData();
    return number ? number->minUserVisibleValue() : QVariant();
}

QVariant ZelParameterDescriptionNumber::maxUserVisibleValue()
{
    const ZelParameterDescriptionNumberImpl* number = numberData();
    return number ? number->maxUserVisibleValue() : QVariant();
}
