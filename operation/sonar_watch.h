// How each sonar is: connected or not, pinging how fast, telling something or silent.
#pragma once

#include "operation/action_listener.h"
#include "reference_host/link/sonar_link.h"

#include <cstdint>
#include <deque>
#include <functional>
#include <map>
#include <mutex>
#include <optional>
#include <string>
#include <vector>

namespace qx5::operation {

enum class SonarCondition : unsigned char
{
    NotConnected,
    Well,
    Silent, ///< connected, but it should ping and tells nothing
};

struct SonarState
{
    CDataId sonar;
    SonarCondition condition = SonarCondition::NotConnected;
    vordal::LinkStatus link;
    bool wasConnected = false;      ///< now or before
    double sinceLink = 0.0;         ///< seconds since the state of the link was told
    std::string failure;            ///< why the link was lost last, or did not come about; in one line
    std::optional<double> lastData; ///< host time in seconds at which it last told something
    double sinceData = 0.0;         ///< seconds since then
    std::optional<bool> pingsOn;    ///< as it told last
    std::optional<double> pingRate; ///< pings in a second, of the last seconds; none unless it tells of its pings
    std::uint64_t pings = 0;        ///< that it has told of, all in all: a mark for each is one step of this
};

/// Follows what sonars tell. Whether a sonar should ping is known of those that have told that their pings are on and
/// have told of a ping: one that pings and says nothing of it cannot be told from a silent one. Such a sonar is silent
/// when it has told nothing for 1.5 s, or, if that is longer, for three pings: as far apart as its range and its rate
/// make them, and as its last ones were.
///
/// Has no timer: Tick, every 100 ms or so, finds out what time brings. Tick, SetLink, Forget and what it listens to are
/// for the host thread, the rest for any.
class SonarWatch final : public ActionListener
{
public:
    static constexpr double SilentAfter = 1.5;
    /// The rate is of so many seconds.
    static constexpr double RateOf = 5.0;

    /// Seconds of a clock that never goes back; empty for the system's.
    explicit SonarWatch(std::function<double()> steadyClock = {});

    void SetLink(CDataId const& sonar, vordal::LinkStatus const& status);
    /// The sonar is not there any more, or is another one: nothing is known of it.
    void Forget(CDataId const& sonar);
    /// The sonars whose condition is another one than at the last Tick, with what it is now.
    std::vector<SonarState> Tick();

    /// In the order of their ids. Any thread.
    std::vector<SonarState> States() const;
    /// Any thread.
    SonarState StateOf(CDataId const& sonar) const;

    void OnActionStands(Action const&) override {}
    void OnSonarTells(CDataId const& sonar, CAttributeMap const& tree) override;

private:
    struct Ping
    {
        double time = 0.0; ///< by the steady clock
        int number = 0;    ///< the sonar's
    };
    struct Sonar
    {
        CDataId id;
        vordal::LinkStatus link;
        std::optional<double> lastData; ///< host time
        double linkTold = 0.0;          ///< by the steady clock, as is the next
        bool wasConnected = false;
        std::string failure;
        double heard = 0.0; ///< last data, connection, or pings that went on
        std::optional<bool> pingsOn;
        std::deque<Ping> recent; ///< no more than GreatestRecent
        std::uint64_t pings = 0;
        double interval = 0.0;                              ///< between its last pings; 0 while unknown
        double intervalBefore = 0.0;                        ///< between those before
        double travelTime = 0.0;                            ///< there and back over its range, in seconds
        double rateInterval = 0.0;                          ///< by its greatest rate
        SonarCondition told = SonarCondition::NotConnected; ///< at the last Tick
    };
    static constexpr std::size_t GreatestRecent = 512;

    Sonar& Of(CDataId const& sonar);
    static void NotePing(Sonar& sonar, int number, double now);
    static SonarState StateAt(Sonar const& sonar, double now);

    std::function<double()> m_steadyClock;
    mutable std::mutex m_mutex; ///< guards what follows
    std::map<CString, Sonar> m_sonars;
};

} // namespace qx5::operation
