// Each request bears a number under a key that no handler knows; what the host tells while it carries that request out
// belongs to it.
#include "request_watch.h"

#include "reference_host/attributes/host_keys.h"

#include <VordalAttributesR/CVordalType.h>
#include <protocol/utf8.h>
#include <vordalhostdllR/DataManager.h>

#include <utility>

#include <fmt/format.h>

namespace qx5::soak {

namespace {

constexpr AttributeKey ticketKey{L"SoakTicket"};

} // namespace

void RequestWatch::Attach(vordal::Host& host)
{
    m_host = &host;
    m_inner = host.Observer();
    host.SetObserver(this);
    std::lock_guard const lock(m_mutex);
    m_refused.clear();
}

void RequestWatch::Post(CDataId const& device, MadeRequest const& made)
{
    CAttributeMap tree;
    CAttributeMap& request = *tree.Add(vordal::keys::Request);
    request = made.request;
    std::uint64_t number = 0;
    {
        std::lock_guard const lock(m_mutex);
        number = ++m_last;
        Ticket& ticket = m_tickets[number];
        ticket.device = device;
        ticket.text = made.text;
        ticket.promised = made.echoed;
        ticket.posted = Clock::now();
        ticket.isInFlood = m_isFlooded;
        ++m_counts.posted;
        m_counts.promised += made.echoed.empty() ? 0U : 1U;
    }
    request.Add(ticketKey, CVordalInt64(static_cast<std::int64_t>(number)), 0);
    // The host's tasks run in order: the second finds all that the first has done.
    DataManager::GetDataManager().SetAttributeMap(device, tree, 4, false);
    m_host->Post([this, number] { Finish(number); });
}

std::size_t RequestWatch::Outstanding() const
{
    std::lock_guard const lock(m_mutex);
    return m_tickets.size();
}

void RequestWatch::SetFlooded(bool isFlooded)
{
    std::lock_guard const lock(m_mutex);
    m_isFlooded = isFlooded;
}

bool RequestWatch::HasRefused(CDataId const& device) const
{
    std::lock_guard const lock(m_mutex);
    return m_refused.contains(device.GetKey());
}

RequestCounts RequestWatch::Counts() const
{
    std::lock_guard const lock(m_mutex);
    return m_counts;
}

void RequestWatch::Finish(std::uint64_t number)
{
    auto const now = Clock::now();
    std::lock_guard const lock(m_mutex);
    m_current = 0;
    auto const node = m_tickets.extract(number);
    Ticket const& ticket = node.mapped();
    if (DataManager::GetDataManager().FindDevice(ticket.device) == nullptr) {
        ++m_counts.away;
        return;
    }
    (ticket.isInFlood ? m_latenciesInFloods : m_latencies).Add(now - ticket.posted);
    m_counts.echoed += ticket.isEchoed ? 1U : 0U;
    m_counts.dropped += ticket.isDropped ? 1U : 0U;
    m_counts.failed += ticket.hasFailed ? 1U : 0U;
    if (!ticket.isBegun) {
        m_ledger.Report(fmt::format("a request never reached the host: {}", ticket.text));
    }
    if (ticket.isDropped || ticket.hasFailed) {
        return;
    }
    if (!ticket.isEchoed && ticket.promised.empty()) {
        ++m_counts.nothing;
    }
    for (protocol::Key const* const key : ticket.promised) {
        if (!ticket.echoed.contains(key)) {
            m_ledger.Report(fmt::format("a request was neither echoed nor told to be dropped: {}, no echo of {}",
                                        ticket.text, protocol::EncodeUtf8(key->text)));
        }
    }
}

RequestWatch::Ticket* RequestWatch::Current(BaseDevice const& device)
{
    auto const found = m_tickets.find(m_current);
    return found != m_tickets.end() && found->second.device == device.GetDataId() ? &found->second : nullptr;
}

void RequestWatch::OnHostSet(CDataId const& dataId, CAttributeMap const& tree, unsigned flags)
{
    if (m_inner != nullptr) {
        m_inner->OnHostSet(dataId, tree, flags);
    }
    std::int64_t number = 0;
    bool const isOurs = tree.Find(vordal::keys::Request, 0).FindValue(ticketKey, 0).Get(number);
    std::lock_guard const lock(m_mutex);
    auto const found = isOurs ? m_tickets.find(static_cast<std::uint64_t>(number)) : m_tickets.end();
    if (found != m_tickets.end()) {
        m_current = found->first;
        found->second.isBegun = true;
    } else {
        ++m_counts.others;
    }
}

void RequestWatch::OnEcho(BaseDevice& device, CAttributeMap const& tree, unsigned flags)
{
    if (m_inner != nullptr) {
        m_inner->OnEcho(device, tree, flags);
    }
    std::lock_guard const lock(m_mutex);
    ++m_counts.echoes;
    if (Ticket* const ticket = Current(device)) {
        ticket->isEchoed = true;
        for (protocol::Key const* const key : ticket->promised) {
            if (tree.Has(AttributeKey(key->text), 0)) {
                ticket->echoed.insert(key);
            }
        }
    }
}

void RequestWatch::OnSetLightMode(int mode, bool redraw)
{
    if (m_inner != nullptr) {
        m_inner->OnSetLightMode(mode, redraw);
    }
}

void RequestWatch::OnMessage(CString const& text)
{
    if (m_inner != nullptr) {
        m_inner->OnMessage(text);
    }
}

void RequestWatch::OnContractBreach(CString const& rule)
{
    m_ledger.Report(fmt::format("a rule of the host contract was broken: {}", protocol::EncodeUtf8(rule.View())));
}

void RequestWatch::OnRequestFailed(BaseDevice& device, CAttributeMap const& request, std::exception_ptr failure)
{
    if (m_inner != nullptr) {
        m_inner->OnRequestFailed(device, request, std::move(failure));
    }
    std::lock_guard const lock(m_mutex);
    if (Ticket* const ticket = Current(device)) {
        ticket->hasFailed = true;
    }
}

void RequestWatch::OnRequestDropped(BaseDevice& device, AttributeKey const& asked, AttributeKey const& missing)
{
    if (m_inner != nullptr) {
        m_inner->OnRequestDropped(device, asked, missing);
    }
    std::lock_guard const lock(m_mutex);
    if (Ticket* const ticket = Current(device)) {
        ticket->isDropped = true;
    }
}

void RequestWatch::OnAttributesRefused(BaseDevice& device)
{
    if (m_inner != nullptr) {
        m_inner->OnAttributesRefused(device);
    }
    std::lock_guard const lock(m_mutex);
    m_refused.insert(device.GetDataId().GetKey());
}

} // namespace qx5::soak
