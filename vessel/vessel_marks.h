// What the host's threads leave for the thread of a vessel: sonars that have changed, what came of requests, how leases
// stand, what sonars hear; and what goes straight into the outbox.
#pragma once

#include "authority/lease.h"
#include "authority/shore_messages.h"
#include "operation/action_listener.h"
#include "operation/event_list.h"
#include "outbox/outbox.h"
#include "sparkplug/metric_name.h"

#include <VordalDataBlocksR/CDataBlock.h>

#include <atomic>
#include <functional>
#include <map>
#include <memory>
#include <mutex>
#include <optional>
#include <string>
#include <thread>
#include <utility>
#include <vector>

namespace qx5::vessel {

/// A request on behalf of somebody ashore.
struct AskedAshore
{
    std::string sonar; ///< as topics call it
    std::string person;
    std::optional<authority::RequestStamp> stamp; ///< none of those who tell no person's name
};
struct Standing
{
    AskedAshore asked;
    authority::RequestReply reply;
    std::string ready = {}; ///< the reply as it was told before, in place of it
    bool isDone = true;     ///< it was carried out, or the host refused it; not: it was not even tried
};

/// Neither side waits for the other; but for what is to be told in order, the newest alone waits. Any thread.
class VesselMarks final : public operation::ActionListener,
                          public operation::EventListener,
                          public authority::LeaseListener
{
public:
    /// `wake` is called on any thread, with no lock held, when something begins to wait; it must not fail. `history`:
    /// names of metrics, each change of which goes into the outbox.
    VesselMarks(std::function<void()> wake, std::vector<std::string> const& history,
                std::shared_ptr<outbox::Outbox> outbox);

    /// What waits; nothing of it afterwards.
    struct Left
    {
        std::vector<CDataId> changed;
        std::vector<Standing> standing;
        std::map<CString, authority::LeaseNews> leases; ///< by the texts of the sonars' ids
        std::vector<authority::LeaseAnswer> answers;
        std::map<CString, CDataBlock> pings; ///< the same, of the streams of detections
    };
    Left Take();
    /// What topics call the sonars; others are not told of. By the texts of their ids.
    void SetNames(std::map<CString, std::string> names);
    void NotePing(CDataId const& sonar, CDataBlock const& block);
    void NoteStanding(Standing standing);

    /// Asks the device for something on behalf of that person. Host thread.
    void Ask(AskedAshore asked, CDataId const& sonar, CAttributeMap const& request);

    /// Nothing goes into the outbox any more.
    void LeaveOutbox();

    void OnActionBegins(operation::Action const& action) override;
    void OnActionStands(operation::Action const& action) override;
    void OnSonarTells(CDataId const& sonar, CAttributeMap const& tree) override;
    void OnEcho(CDataId const& sonar, CAttributeMap const& tree, unsigned flags) override;
    void OnWritten(CDataId const& sonar, CAttributeMap const& tree) override;
    void OnChanged(CDataId const& sonar) override;
    void OnEvent(operation::Event const& event) override;
    void OnLease(authority::LeaseNews const& news) override;
    void OnAnswer(authority::LeaseAnswer const& answer) override;

private:
    struct HistoryKey
    {
        std::string name;
        std::vector<sparkplug::NameLevel> levels;
    };
    struct Awaited
    {
        AskedAshore asked;
        CAttributeMap echoed;
    };

    std::string NameOf(CDataId const& sonar) const;
    void PutValues(CDataId const& sonar, CAttributeMap const& tree);
    void Put(outbox::Kind kind, authority::HistoryContent const& content);
    template <typename Change>
    void Leave(Change const& change);

    std::function<void()> const m_wake;
    std::vector<HistoryKey> m_history;

    // Host thread.
    std::optional<Awaited> m_asking;            ///< what is being asked for, until it has a number
    std::uint64_t m_number = 0;                 ///< of what is being carried out; 0 for none
    std::atomic<std::thread::id> m_thread{};    ///< of that; none while nothing is
    std::map<std::uint64_t, Awaited> m_awaited; ///< by the numbers of actions

    mutable std::mutex m_mutex; ///< guards what follows
    std::shared_ptr<outbox::Outbox> m_outbox;
    bool m_isWoken = false;
    std::map<CString, CDataId> m_changed;
    Left m_left; ///< but for `changed`
    std::map<CString, std::string> m_names;
    std::map<std::pair<CString, std::string>, protocol::Value> m_lastValues;
};

} // namespace qx5::vessel
