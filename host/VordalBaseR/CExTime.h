// Host time: seconds since 1970-01-01 UTC, and its conversion to calendar time.
#pragma once

#include <VordalBaseR/Export.h>

#include <ctime>

/// The host's clock. Under a scenario it stands still at the time that the scenario sets. Any thread.
class VORDAL_API CExTime
{
public:
    /// Seconds since 1970-01-01 UTC, with fractions.
    static double GetCurTime();
    /// The whole second that holds `seconds`. Throws std::invalid_argument when it is not finite or beyond the
    /// range of calendar time.
    static std::time_t ConvertToCTime(double seconds);
};
