// Whether a value is another one as far as the sonar can tell: what its wire takes from a number is no difference.
#pragma once

#include <protocol/value.h>

class CVordalType;

namespace qx5::operation {

/// Numbers pass the wire as 32-bit floats, angles as radians besides.
bool IsNear(double asked, double has);

/// Of one kind, and equal or near. NaN is NaN.
bool IsSameValue(protocol::Value const& asked, protocol::Value const& has);
bool IsSameValue(CVordalType const& asked, CVordalType const& has);

} // namespace qx5::operation
