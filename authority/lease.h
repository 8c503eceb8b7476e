// Who commands a sonar: one lease for each, asked for, granted, refused, taken back, ended by time.
#pragma once

#include "authority/role.h"

#include <VordalBaseR/CDataId.h>

#include <cstdint>
#include <deque>
#include <functional>
#include <map>
#include <mutex>
#include <optional>
#include <string>
#include <string_view>
#include <variant>

namespace qx5::authority {

/// What becomes of asking when the holder says nothing.
enum class Silence : std::uint8_t
{
    Refuse,
    Grant,
};

struct LeaseRules
{
    /// Refusing is what does no harm: a silent holder may be in the middle of something that nobody else sees, a survey
    /// line, a vehicle near the bottom. It blocks nobody for good: the lease of somebody who is gone ends by its time,
    /// and whoever stands aboard takes it at any moment.
    Silence silence = Silence::Refuse;
    double answerLimit = 30.0;    ///< s that a holder has to answer
    double greatestLease = 600.0; ///< s that a lease lasts at most without being asked for again
    double aboardLease = 30.0;    ///< s that a request from aboard holds a lease that nobody had
};

/// How the lease of a sonar stands. Times are seconds since 1970-01-01 UTC by the vessel's clock as it goes now.
struct LeaseNews
{
    CDataId sonar;
    std::uint64_t change = 0;    ///< grows with each change of any sonar's lease; the same: told again
    std::string holder;          ///< empty: nobody
    double since = 0.0;          ///< of a holder
    std::optional<double> until; ///< it ends by itself; none: when it is given back
    std::string asker;           ///< waits for the holder's answer; empty: nobody
    double answerBy = 0.0;       ///< of an asker: then silence is the answer

    bool operator==(LeaseNews const&) const = default;
};

/// The answer to somebody who had to wait for it.
struct LeaseAnswer
{
    CDataId sonar;
    std::string asker;
    bool granted = false;
    std::string reason; ///< of a refusal, in one line

    bool operator==(LeaseAnswer const&) const = default;
};

/// Who hears of leases: with no lock held, on any thread, one call at a time, in the order in which things happened.
/// May call the leases from within. Must not throw.
class LeaseListener
{
public:
    virtual ~LeaseListener() = default;
    /// At each change, and once a second of each sonar that has a name here.
    virtual void OnLease(LeaseNews const& news) = 0;
    virtual void OnAnswer(LeaseAnswer const& answer) = 0;
};

/// Who has the lease of that sonar, by the words with which Leases refuses others; empty for nobody. Nothing when it is
/// refused for anything else.
std::optional<std::string> HolderInRefusal(std::string_view reason, std::string_view sonar);

/// The leases of a vessel's sonars. A sonar has one holder at a time, or none: a person, or Aboard.
///
/// Aboard takes a lease at any moment. Anybody else who asks for one that is held waits for its holder, at most one for
/// each sonar. Who asks for a lease that is his own keeps it for longer. A lease ends by its time, when it is given
/// back, when its holder is gone, and when its sonar is; whoever waits then has it at once, also where both his wait
/// and the lease end at the same moment. The wall clock may be set: what ends or waits goes by the steady one.
///
/// Any thread. A call that changes something has told so when it returns, unless another thread is about to.
class Leases
{
public:
    struct Clocks
    {
        std::function<double()> steady; ///< s, never goes back; empty for the system's
        std::function<double()> utc;    ///< s since 1970-01-01; empty for the system's
    };

    explicit Leases(LeaseRules rules = {}, Clocks clocks = {});
    Leases(Leases const&) = delete;
    Leases& operator=(Leases const&) = delete;

    /// Null for nobody. Outlives the leases or its last call.
    void SetListener(LeaseListener* listener);

    /// What people call the sonar, in texts and for the telling each second.
    void SetName(CDataId const& sonar, std::string name);
    /// The sonar is not there any more.
    void Forget(CDataId const& sonar);

    enum class Asked : std::uint8_t
    {
        Granted,
        Waits,
        Refused,
    };
    /// For so many seconds, at most LeaseRules::greatestLease. Refused says why in one line.
    Asked Ask(CDataId const& sonar, std::string_view person, double seconds, std::string& reason);
    /// Aboard takes it from whoever has it, until it is given back. Who waited for the former holder waits anew.
    void TakeAboard(CDataId const& sonar);
    /// The holder gives it to who asks; false when he does not hold it, or that one does not ask.
    bool Grant(CDataId const& sonar, std::string_view holder, std::string_view asker);
    /// The same: keeps it.
    bool Refuse(CDataId const& sonar, std::string_view holder, std::string_view asker);
    /// The holder gives it back, or who asks does not any more; false when it is neither.
    bool GiveBack(CDataId const& sonar, std::string_view person);
    /// The person's connection is lost: all that he holds and asks for ends.
    void Gone(std::string_view person);

    /// Whether a request of that person is to be carried out now; otherwise `reason` says who holds the lease. A
    /// request from aboard for a sonar that nobody holds takes its lease for LeaseRules::aboardLease, so that nobody
    /// else is given it in the middle of somebody's work; so does one of nobody by name (Unnamed).
    bool Admits(CDataId const& sonar, std::string_view person, std::string& reason);
    LeaseNews Of(CDataId const& sonar);
    /// To be called every 50 ms or so: what ends by time ends, and what is to be told each second is.
    void Tick();

private:
    struct Asker
    {
        std::string person;
        double seconds = 0.0;
        double answerBy = 0.0; ///< by the steady clock
    };
    struct Entry
    {
        CDataId sonar;
        std::string name;
        std::uint64_t change = 0; ///< as m_changes stood
        std::string holder;
        double since = 0.0; ///< by the steady clock, as is what follows
        std::optional<double> until;
        std::optional<Asker> asker;
        double toldAt = 0.0;
    };
    using Told = std::variant<LeaseNews, LeaseAnswer>;

    // With m_mutex held.
    Entry& At(CDataId const& sonar);
    /// Ends what is over by `now`, each thing at the moment when it was.
    void Settle(Entry& entry, double now);
    void Give(Entry& entry, std::string_view person, std::optional<double> seconds, double now);
    /// To who asks, or to nobody.
    void GiveOn(Entry& entry, double now);
    void Answer(Entry& entry, bool granted, std::string reason);
    void Change(Entry& entry, double now);
    LeaseNews NewsOf(Entry const& entry) const;
    std::string HeldText(Entry const& entry) const;
    void FollowClock(double now);
    /// Without m_mutex: tells what waits to be told, unless another thread does.
    void TellWaiting();

    LeaseRules const m_rules;
    Clocks m_clocks;
    std::mutex m_mutex;                 ///< guards what follows
    std::map<CString, Entry> m_entries; ///< by the text of the sonar's id
    std::uint64_t m_changes = 0;
    double m_utcOffset = 0.0; ///< the wall clock's lead over the steady one
    std::deque<Told> m_toTell;
    bool m_isTelling = false;
    LeaseListener* m_listener = nullptr;
};

} // namespace qx5::authority
