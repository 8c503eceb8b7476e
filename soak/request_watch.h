// Follows each of the soak's requests through the host: what was echoed of it, whether it was told to be dropped.
#pragma once

#include "latencies.h"
#include "ledger.h"
#include "requests.h"
#include "sonars.h"

#include "reference_host/common/host_observer.h"
#include "reference_host/core/host.h"

#include <cstdint>
#include <map>
#include <memory>
#include <mutex>
#include <set>
#include <string>

namespace qx5::soak {

struct RequestCounts
{
    std::uint64_t posted = 0;
    std::uint64_t promised = 0; ///< of these, with a promised echo
    std::uint64_t echoed = 0;
    std::uint64_t dropped = 0; ///< and told so
    std::uint64_t failed = 0;  ///< and told so
    std::uint64_t nothing = 0; ///< neither, and nothing was promised
    std::uint64_t away = 0;    ///< to a device that was not there
    std::uint64_t others = 0;  ///< of the view and of terminals
    std::uint64_t echoes = 0;  ///< in all
};

/// Looks over the host's shoulder and passes on to whoever did before. A broken promise goes to the ledger.
class RequestWatch final : public vordal::HostObserver
{
public:
    explicit RequestWatch(Ledger& ledger) : m_ledger(ledger) {}

    /// Takes the host's observer's place. The host must end before this does.
    void Attach(vordal::Host& host);

    /// Posts the request to the device as a view does. Any thread but the host's.
    void Post(CDataId const& device, MadeRequest const& made);
    /// Requests that the host has not carried out yet.
    std::size_t Outstanding() const;

    RequestCounts Counts() const;
    /// Requests from here on are made while a sonar floods the host, or not.
    void SetFlooded(bool isFlooded);
    /// From the post to the moment when all of its echoes were told. To be asked when nothing is outstanding.
    Latencies const& Taken() const { return m_latencies; }
    Latencies const& TakenInFloods() const { return m_latenciesInFloods; }

    /// Whether the device has refused some of what its sonar told, as it was more than its share.
    bool HasRefused(CDataId const& device) const;

private:
    struct Ticket
    {
        CDataId device;
        std::string text;
        std::vector<protocol::Key const*> promised;
        Clock::time_point posted;
        bool isInFlood = false;
        bool isBegun = false;
        bool isDropped = false;
        bool hasFailed = false;
        bool isEchoed = false;
        std::set<protocol::Key const*> echoed; ///< of the promised
    };

    void Finish(std::uint64_t number);
    /// Null when it is nobody's. With the lock held.
    Ticket* Current(BaseDevice const& device);

    void OnEcho(BaseDevice& device, CAttributeMap const& tree, unsigned flags) override;
    void OnHostSet(CDataId const& dataId, CAttributeMap const& tree, unsigned flags) override;
    void OnSetLightMode(int mode, bool redraw) override;
    void OnMessage(CString const& text) override;
    void OnContractBreach(CString const& rule) override;
    void OnRequestFailed(BaseDevice& device, CAttributeMap const& request, std::exception_ptr failure) override;
    void OnRequestDropped(BaseDevice& device, AttributeKey const& asked, AttributeKey const& missing) override;
    void OnAttributesRefused(BaseDevice& device) override;

    Ledger& m_ledger;
    vordal::Host* m_host = nullptr;
    vordal::HostObserver* m_inner = nullptr;
    mutable std::mutex m_mutex; ///< guards what follows
    std::uint64_t m_last = 0;
    std::map<std::uint64_t, Ticket> m_tickets;
    std::uint64_t m_current = 0; ///< whose request the host thread carries out; 0 for none
    RequestCounts m_counts;
    Latencies m_latencies;
    Latencies m_latenciesInFloods;
    bool m_isFlooded = false;
    std::set<CString> m_refused; ///< keys of the devices' ids
};

} // namespace qx5::soak
