// The host's time, and its conversion to calendar time and to the record protocol's time stamp.
#include "reference_host/common/clock.h"

#include "reference_host/core/host.h"

#include <VordalBaseR/CExTime.h>
#include <VordalBaseR/TimeX5.h>
#include <protocol/time_stamp.h>

#include <chrono>
#include <cmath>
#include <stdexcept>

double CExTime::GetCurTime()
{
    auto const* host = vordal::Host::CurrentOrNull();
    return host != nullptr ? host->Now() : vordal::SystemClock().Now();
}

std::time_t CExTime::ConvertToCTime(double seconds)
{
    // The years 1 to 9999.
    constexpr double First = -62135596800.0;
    constexpr double End = 253402300800.0;
    if (!(seconds >= First && seconds < End)) {
        throw std::invalid_argument("time beyond the calendar");
    }
    return static_cast<std::time_t>(std::floor(seconds));
}

TIME_X5 TimeTox5(double seconds)
{
    TIME_X5 stamp{};
    qx5::protocol::PutTimeX5LE(stamp.bytes, 0, qx5::protocol::ToTimeX5(seconds));
    return stamp;
}
