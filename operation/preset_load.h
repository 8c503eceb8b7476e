// A preset loaded into a sonar of the session: one request, and what the sonar then has.
#pragma once

#include "action_listener.h"
#include "preset.h"

#include <cstdint>
#include <functional>
#include <optional>
#include <set>
#include <string>
#include <string_view>
#include <vector>

namespace qx5::operation {

/// What became of a load.
struct PresetLoadOutcome
{
    CAttributeMap asked; ///< what was asked for, with what commands needed beside; without children: nothing
    Result result = Result::Agrees;
    std::string reason; ///< in one line, where there is one
    /// The settings that the sonar then has: of what was asked for as far as it has told, of others as its tree has
    /// them.
    Preset has;
};

/// Loads presets, and waits for what the sonars answer. Host thread.
class PresetLoads final : public ActionListener
{
public:
    using Keys = std::set<std::wstring, std::less<>>;
    using Done = std::function<void(PresetLoadOutcome const&)>;

    /// Asks the sonar for the values that the preset has of those keys, in one request from RequestOrigin::Preset; what
    /// differs as the sonar stands now and is within its limits goes out, all else is left. `done` is called once, on
    /// the host thread: at once when nothing can be asked for, otherwise by a later Tick.
    void Load(CDataId const& sonar, Preset const& preset, Keys const& keys, Done done);

    /// Tells of the loads whose result stands, or whose sonar is gone.
    void Tick();

    void OnActionBegins(Action const& action) override;
    void OnActionStands(Action const& action) override;

private:
    struct Awaited
    {
        CDataId sonar;
        CAttributeMap request;
        Done done;
        std::uint64_t number = 0; ///< of its action; 0 until that begins
        std::optional<Action> standing = {};
    };

    std::vector<Awaited> m_awaited;
};

} // namespace qx5::operation
