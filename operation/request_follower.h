// Follows every request of a host from the asking to what the sonar then has.
#pragma once

#include "operation/action_listener.h"
#include "operation/request_judgement.h"
#include "reference_host/attributes/tree_account.h"
#include "reference_host/common/request_observer.h"

#include <atomic>
#include <cstddef>
#include <cstdint>
#include <deque>
#include <functional>
#include <map>
#include <optional>
#include <string>
#include <thread>
#include <vector>

namespace qx5::operation {

struct FollowerOptions
{
    /// A sonar that has not answered after so many seconds does not count as answering.
    double answerLimit = 1.0;
    /// Once one value differs, the others of the same request are waited for no longer than this, in seconds; so is
    /// another one than a report that repeats what was told before.
    double settleLimit = 0.04;
    /// Seconds of a clock that never goes back; empty for the system's.
    std::function<double()> steadyClock;
};

/// Makes one Action of each request, and one of each change that somebody else makes to a setting that was asked for
/// here and that the sonar had agreed to. The first settings of a connection are no answers. A sonar answers in the
/// order in which it is asked: a value that is not the one asked for is the answer to the oldest request for it that
/// waits. What repeats what was told before may have been on its way: of a report it is the answer when no other comes,
/// of a ping it is none.
///
/// Requests are followed on the thread that carries them out, the host thread; all but OnChanged, OnEcho, OnSend and
/// OnDropped, which pass over what is of no request, is for that thread alone. Memory is bounded: of each sonar 64
/// requests and 1 MiB of what they ask for wait for answers, then the oldest counts as unanswered; of what a sonar
/// tells 20,000 keys and 1 MiB of texts and lists are remembered, of what was agreed 4,000 keys and 256 KiB; of what
/// has gone beyond that nothing is known, as if the sonar had not told it. A request of more than 1 MiB is judged by
/// its echo alone.
class RequestFollower final : public vordal::RequestObserver
{
public:
    static constexpr std::size_t GreatestPending = 64;
    static constexpr std::size_t GreatestPendingBytes = std::size_t{1} << 20;
    static constexpr vordal::TreeLimits ToldLimits{20'000, std::uint32_t{1} << 20};
    static constexpr vordal::TreeLimits AgreedLimits{4'000, std::uint32_t{256} << 10};

    explicit RequestFollower(FollowerOptions options = {});
    RequestFollower(RequestFollower const&) = delete;
    RequestFollower& operator=(RequestFollower const&) = delete;
    ~RequestFollower() override;

    /// Before the first request; the listener outlives the follower or its last call.
    void AddListener(ActionListener& listener) { m_listeners.push_back(&listener); }

    /// How the sonar's connection stands: what waits when it is lost is not answered any more, and what the sonar tells
    /// of itself on the next one is no answer.
    void SetConnected(CDataId const& sonar, bool connected);
    /// Ends what has waited too long. To be called every 50 ms or so while anything waits.
    void Tick();
    /// Judges whatever waits as it stands, before a session ends.
    void Finish();
    std::size_t Pending() const;

    void OnRequest(BaseDevice& device, CAttributeMap const& request, vordal::RequestOrigin who) override;
    void OnRequestEnd(BaseDevice& device, std::string const* failure) override;
    void OnRequestRefused(BaseDevice& device, CAttributeMap const& request, vordal::RequestOrigin who,
                          std::string const& reason) override;
    void OnSend(vordal::SendMark const& mark, std::span<unsigned char const> payload, bool taken) override;
    void OnEcho(BaseDevice& device, CAttributeMap const& tree, unsigned flags) override;
    void OnDropped(BaseDevice& device, AttributeKey const& asked, AttributeKey const& missing) override;
    void OnTold(BaseDevice& device, CAttributeMap const& tree) override;
    void OnWritten(BaseDevice& device, CAttributeMap const& tree) override;
    void OnChanged(CDataId const& sonar) override;

private:
    /// A request that is being carried out.
    struct Running
    {
        std::size_t depth = 0; ///< among requests within requests
        Action action;
        RequestJudgement judgement;
        bool isOfSonar = true; ///< of a device that speaks the record protocol
        int sends = 0;
        int notTaken = 0;
        std::string dropped;
    };
    /// One that waits for the sonar.
    struct Waiting
    {
        Action action;
        RequestJudgement judgement;
        vordal::TreeAccount account;         ///< of the answer
        std::size_t bytes = 0;               ///< of what was asked for
        double asked = 0.0;                  ///< by the steady clock, as are those below
        std::optional<double> differsSince;  ///< by news of a value
        std::optional<double> repeatedSince; ///< by a report of a value that was told before
        bool replaced = false;
        /// Keys that were told again as they were. It may have been on its way when the request left: what a report
        /// repeats counts once it is settled that nothing else comes, what pings repeat when the time is over.
        struct Repeated
        {
            std::wstring key;
            bool byReport = false;
        };
        std::vector<Repeated> repeated;
    };
    struct Sonar
    {
        std::deque<Waiting> waiting; ///< the oldest first
        std::size_t bytes = 0;       ///< of what they ask for
        std::optional<bool> connected;
        bool introduced = false; ///< on this connection
        CAttributeMap told;
        vordal::TreeAccount toldAccount{ToldLimits};
        CAttributeMap agreed;
        vordal::TreeAccount agreedAccount{AgreedLimits};
        double agreedAt = 0.0;
    };

    Running* Current();
    Action NewAction(BaseDevice const& device, vordal::RequestOrigin who);
    /// The request is carried out: what is known of it without the sonar. Pending when the sonar is to answer.
    static void JudgeWithoutSonar(Running& running, Sonar const& sonar, std::string const* failure);
    void Wait(Sonar& sonar, Running running);
    /// Hands one key that the sonar tells to the requests that it may answer.
    void Answer(Sonar& sonar, AttributeKey const& key, CAttributeMap const& tree, bool isPing);
    /// Puts into `changed` what of one key is otherwise than had been agreed.
    void NoteOthersChange(Sonar& sonar, AttributeKey const& key, CAttributeMap const& tree, bool isPing,
                          Action& changed);
    /// Ends those that are answered or have waited too long.
    void EndSome(Sonar& sonar, double now, std::vector<Action>& standing);
    void End(Sonar& sonar, std::size_t place, std::string const& unanswered, std::vector<Action>& standing);
    void Agree(Sonar& sonar, std::size_t place);
    void Tell(std::vector<Action> const& standing);

    FollowerOptions m_options;
    std::vector<ActionListener*> m_listeners;
    std::atomic<std::thread::id> m_thread{}; ///< carries a request out; none when none is
    std::size_t m_depth = 0;
    std::vector<Running> m_running;    ///< the innermost last
    std::map<CString, Sonar> m_sonars; ///< by the text of the device's id
    std::uint64_t m_number = 0;
};

} // namespace qx5::operation
