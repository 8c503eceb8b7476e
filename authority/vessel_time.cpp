// The vessel's time: told aboard, worked out ashore.
#include "authority/vessel_time.h"

#include "operation/steady_seconds.h"

#include <algorithm>
#include <chrono>
#include <cmath>
#include <random>
#include <utility>

namespace qx5::authority {

namespace {

std::uint64_t Drawn()
{
    std::random_device device;
    std::uint64_t number = 0;
    while (number == 0) {
        number = (std::uint64_t{device()} << 32U) | device();
    }
    return number;
}

std::function<double()> OrSystems(std::function<double()> steady)
{
    return steady ? std::move(steady) : operation::SteadySeconds;
}

} // namespace

VesselClock::VesselClock(std::function<double()> steady, std::function<double()> const& utc, std::uint64_t run)
    : m_steady(OrSystems(std::move(steady))), m_run(run != 0 ? run : Drawn())
{
    auto const wall =
        utc ? utc() : std::chrono::duration<double>(std::chrono::system_clock::now().time_since_epoch()).count();
    m_start = wall - m_steady();
}

VesselTime VesselClock::Now() const
{
    return {m_run, m_start + m_steady()};
}

HeardVesselTime::HeardVesselTime(std::function<double()> steady, std::uint64_t sender)
    : m_steady(OrSystems(std::move(steady))), m_sender(sender != 0 ? sender : Drawn())
{
}

void HeardVesselTime::Hear(VesselTime const& told)
{
    if (told.run == 0 || !std::isfinite(told.seconds)) {
        return;
    }
    if (told.run != m_run) {
        m_run = told.run;
        m_leads.clear();
    }
    m_leads.push_back(told.seconds - m_steady());
    if (m_leads.size() > Kept) {
        m_leads.pop_front();
    }
}

std::optional<VesselTime> HeardVesselTime::Now() const
{
    if (m_leads.empty()) {
        return std::nullopt;
    }
    return VesselTime{m_run, *std::max_element(m_leads.begin(), m_leads.end()) + m_steady()};
}

std::optional<RequestStamp> HeardVesselTime::Next(double limit)
{
    auto const now = Now();
    if (!now) {
        return std::nullopt;
    }
    return RequestStamp{m_sender, ++m_number, *now, limit};
}

} // namespace qx5::authority
