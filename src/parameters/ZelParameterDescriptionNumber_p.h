#ifndef ZELPARAMETERDESCRIPTIONNUMBER_P_H
#define ZELPARAMETERDESCRIPTIONNUMBER_P_H

#include "ZelParameterDescription_p.h"

class ZelParameterDescriptionNumberImpl : public ZelParameterDescriptionImpl
{
public:
    ZelParameterDescriptionNumberImpl();
    ~ZelParameterDescriptionNumberImpl() override;

    void setUIValue(const QVariant& uiValue) override;
    QVariant uiValue() const override;
    QVariant defaultUIValue() const override;
    ZelParameterDescriptionWidgetItem* inputWidget() const override;
    bool equals(const ZelParameterDescriptionImpl* other) const override;

    QVariant min() const { return myMinimum; }
    QVariant max() const { return myMaximum; }
    // The user-visible bounds, or the value bounds while no user-visible range is set.
    QVariant minUserVisibleValue() const;
    QVariant maxUserVisibleValue() const;

    void setRange(const QVariant& minimum, const QVariant& maximum);
    void setUserVisibleRange(const QVariant& minimum, const QVariant& maximum);

    QVariant valueToUIValue(const QVariant& value) const;

private:
    QVariant myMinimum;
    QVariant myMaximum;
    QVariant myMinimumUserVisible;
    QVariant myMaximumUserVisible;
};

#endif
