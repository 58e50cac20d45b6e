#ifndef ZELPARAMETERDESCRIPTIONNUMBER_H
#define ZELPARAMETERDESCRIPTIONNUMBER_H

#include "ZelParameterDescription.h"

class ZelParameterDescriptionNumberImpl;

// A numeric parameter: a value range and an optional user-visible range. The UI value is the
// value mapped linearly from the value range onto the user-visible range; neither direction
// clamps. The editor is a horizontal slider in integer UI units.
//
// Every accessor here detaches first, like a writer. A numeric parameter whose data is shared
// (for example with a copied container) therefore turns plain when one of these is called on a
// copy; on plain data the readers return an invalid QVariant and the range setters do nothing.
class ZelParameterDescriptionNumber : public ZelParameterDescription
{
public:
    ZelParameterDescriptionNumber();
    explicit ZelParameterDescriptionNumber(ZelParameterDescriptionNumberImpl* data);
    ~ZelParameterDescriptionNumber() override;

    using ZelParameterDescription::uiValue;
    // Detaches before reading, unlike the inherited const overload.
    virtual QVariant uiValue();

    // Stored unchanged; the current value is not clamped.
    void setRange(const QVariant& minimum, const QVariant& maximum);
    // Stores the range shown to the user and switches the mapping on for good.
    void setUserVisibleRange(const QVariant& minimum, const QVariant& maximum);

    QVariant min();
    QVariant max();
    QVariant minUserVisibleValue();
    QVariant maxUserVisibleValue();

private:
    ZelParameterDescriptionNumberImpl* numberData();
};

#endif
