// The values of a fleet's sonar.
#include "cli/fleet_values.h"

#include "cli/fleet_use.h"
#include "cli/output.h"
#include "shell/told_value.h"
#include "shell/value_watch.h"

#include <VordalBaseR/CExTime.h>

#include <utility>

#include <fmt/format.h>

namespace qx5::cli {

namespace {

/// What a sonar of a fleet tells its vessel, which tells it the shore.
class FleetValues final : public ValueSource
{
public:
    FleetValues(ValueTarget const& target, std::vector<std::string> const& keys, std::chrono::milliseconds limit)
        : m_watch(keys), m_use(*target.fleet, PlaceIn(target.device)),
          m_sonar(m_use.AwaitSonar(PlaceIn(target.device), limit))
    {
    }

    int Handle() const override { return m_use.Handle(); }
    bool IsComplete() const override { return m_hasLooked && m_watch.IsEmpty(); }

    std::optional<shell::ToldValue> Take() override
    {
        if (m_watch.IsEmpty()) {
            m_use.Clear();
            auto const state = m_use.Get().Sonar(m_sonar);
            if (std::exchange(m_freshness, state->freshness) != state->freshness) {
                // Values say nothing of their age; whoever reads them is to know.
                SayError(fmt::format("qx5: {} is {}{}\n", TextOf(m_sonar), fleet::ToText(state->freshness),
                                     state->reason.empty() ? " again" : ": " + state->reason));
            }
            m_watch.See(state->tree);
            m_hasLooked = true;
        }
        auto const* const row = m_watch.Take();
        return row != nullptr ? std::optional(shell::Tell(TextOf(m_sonar), CExTime::GetCurTime(), *row)) : std::nullopt;
    }

private:
    shell::ValueWatch m_watch;
    bool m_hasLooked = false;
    fleet::Freshness m_freshness = fleet::Freshness::Current;
    FleetUse m_use;
    fleet::Place const m_sonar;
};

} // namespace

std::unique_ptr<ValueSource> MakeFleetValues(ValueTarget const& target, std::vector<std::string> const& keys,
                                             std::chrono::milliseconds limit)
{
    return std::make_unique<FleetValues>(target, keys, limit);
}

} // namespace qx5::cli
