// The project's display units.
#pragma once

#include <VordalBaseR/Export.h>

/// What a number measures, as unit conversion counts it.
enum UnitGroup : int
{
    UNIT_DISTANCE = 3, ///< metres inside the host
};

/// Converts between the units that operators see and those inside the host. The project definition owns the one of the
/// project; it stays, at one address, while the host runs. Any thread; nothing fails.
class VORDAL_API CVordalUnitCnv
{
public:
    virtual ~CVordalUnitCnv();

    /// `value`, given in the display unit of a UnitGroup, in the host's unit. A group without a unit of its own, or one
    /// that is not known, gives the value as it is; NaN and the infinities pass.
    virtual double ConvertFromUnit(int unitGroup, double value) const = 0;
};
