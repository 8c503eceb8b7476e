// A sonar in the host of this process.
#include "python/live/live_sonar.h"

#include "python/live/shared_host.h"

#include <HalvaneX5InterfaceR/QX5Device.h>
#include <VordalBaseR/CExTime.h>
#include <protocol/records/all.h>
#include <vordalhostdllR/DataManager.h>

#include <algorithm>
#include <utility>

namespace qx5::live {

namespace {

CAttributeMap TreeOf(CDataId const& sonar)
{
    CAttributeMap tree;
    DataManager::GetDataManager().GetAttributeMap(sonar, tree);
    return tree;
}

/// Hands a recorder the frames of one link.
class FrameTap final : public vordal::LinkObserver
{
public:
    FrameTap(CDataId const& sonar, std::shared_ptr<recording::FlightRecorder> recorder)
        : m_sonar(sonar), m_recorder(std::move(recorder))
    {
    }
    void OnTrace(vordal::LinkTrace const& trace) override { m_recorder->Frame(m_sonar, trace.outgoing, trace.frame); }

private:
    CDataId const m_sonar;
    std::shared_ptr<recording::FlightRecorder> const m_recorder;
};

} // namespace

vordal::LinkStatus SonarState::Link() const
{
    std::lock_guard const lock(m_mutex);
    return m_link;
}

void SonarState::Follow(std::shared_ptr<EchoFeed> const& feed)
{
    std::lock_guard const lock(m_mutex);
    m_echoes.push_back(feed);
}

void SonarState::Leave(EchoFeed const* feed)
{
    std::lock_guard const lock(m_mutex);
    std::erase_if(m_echoes, [&](auto const& each) { return each.get() == feed; });
}

void SonarState::SetRecorder(std::shared_ptr<recording::FlightRecorder> recorder)
{
    std::lock_guard const lock(m_mutex);
    m_recorder = std::move(recorder);
}

std::shared_ptr<recording::FlightRecorder> SonarState::Recorder() const
{
    std::lock_guard const lock(m_mutex);
    return m_recorder;
}

void SonarState::TakeLink(vordal::LinkStatus const& status)
{
    {
        std::lock_guard const lock(m_mutex);
        m_link = status;
    }
    TakeNews();
}

void SonarState::TakeAttributes()
{
    TakeChange([this] { return TreeOf(m_id); }, CExTime::GetCurTime());
}

void SonarState::TakeEnd()
{
    std::vector<std::shared_ptr<EchoFeed>> echoes;
    {
        std::lock_guard const lock(m_mutex);
        echoes = std::exchange(m_echoes, {});
    }
    for (auto const& feed : echoes) {
        feed->End();
    }
    End();
}

LiveSonar::LiveSonar(SonarOptions const& options)
    : m_name(options.name), m_host(SharedHost::Take(options.plugin)), m_state(m_host->Add(options))
{
}

LiveSonar::~LiveSonar()
{
    Close();
}

std::shared_ptr<SharedHost> LiveSonar::Host() const
{
    std::lock_guard const lock(m_mutex);
    return m_host;
}

void LiveSonar::Close()
{
    CAttributeMap const last = Attributes();
    std::shared_ptr<SharedHost> host;
    {
        std::lock_guard const lock(m_mutex);
        host = std::exchange(m_host, nullptr);
        if (host != nullptr) {
            m_last = last;
        }
    }
    if (host != nullptr) {
        RecordInto(host, nullptr);
        host->Remove(*m_state);
    }
}

CAttributeMap LiveSonar::Attributes() const
{
    std::lock_guard const lock(m_mutex);
    return m_host != nullptr ? TreeOf(m_state->Id()) : m_last;
}

std::shared_ptr<LiveRequest> LiveSonar::Request(CAttributeMap const& request)
{
    auto followed = std::make_shared<LiveRequest>(request);
    if (auto const host = Host()) {
        host->Request(m_state, followed, request);
    } else {
        followed->Stands(operation::Result::NotSent, "the sonar was closed", {}, true);
    }
    return followed;
}

std::shared_ptr<ChangeFeed> LiveSonar::Follow(std::vector<std::wstring> keys, std::function<void()> ready)
{
    auto const host = Host();
    std::shared_ptr<ChangeFeed> feed;
    // Where changes are told, so that none is missed and none told twice.
    bool const isFollowed = host != nullptr && host->OnHost([&] {
        if (!m_state->IsClosed()) {
            feed = std::make_shared<ChangeFeed>(keys, TreeOf(m_state->Id()), ready);
            m_state->Add(feed);
        }
    });
    if (!isFollowed || feed == nullptr) {
        feed = std::make_shared<ChangeFeed>(std::move(keys), CAttributeMap(), std::move(ready));
        feed->End();
    }
    return feed;
}

bool LiveSonar::Ping()
{
    auto const host = Host();
    bool isSent = false;
    if (host != nullptr) {
        host->OnHost([&] {
            auto* const device = dynamic_cast<QX5Device*>(DataManager::GetDataManager().FindDevice(m_state->Id()));
            isSent = device != nullptr &&
                     device->SendRemoteControlRecord(protocol::records::SinglePing.Id(), nullptr, 0,
                                                     protocol::OwnSonar.deviceId, protocol::OwnSonar.enumerator);
        });
    }
    return isSent;
}

std::shared_ptr<EchoFeed> LiveSonar::FollowEchoes(SonarEchoGroup group)
{
    auto const host = Host();
    std::shared_ptr<EchoFeed> feed;
    if (host != nullptr) {
        host->OnHost([&] {
            if (!m_state->IsClosed()) {
                feed = std::make_shared<EchoFeed>(m_state->Id(), group);
                m_state->Follow(feed);
            }
        });
    }
    return feed;
}

void LiveSonar::Leave(std::shared_ptr<EchoFeed> const& feed)
{
    // Of a sonar that is closed it has ended.
    if (auto const host = Host()) {
        host->OnHost([&] {
            m_state->Leave(feed.get());
            feed->End();
        });
    }
}

SonarConnection LiveSonar::Connection() const
{
    auto const link = m_state->Link();
    return {std::string(vordal::ToText(link.state)), link.reason};
}

operation::SonarCondition LiveSonar::Condition() const
{
    auto const host = Host();
    return host != nullptr ? host->Watch().StateOf(m_state->Id()).condition : operation::SonarCondition::NotConnected;
}

void LiveSonar::RecordInto(std::shared_ptr<recording::FlightRecorder> recorder)
{
    if (auto const host = Host()) {
        RecordInto(host, std::move(recorder));
    }
}

void LiveSonar::RecordInto(std::shared_ptr<SharedHost> const& host, std::shared_ptr<recording::FlightRecorder> recorder)
{
    host->OnHost([&] {
        auto* const link = host->LinkOf(m_state->Id());
        if (link == nullptr) {
            return;
        }
        if (recorder != nullptr) {
            recorder->Begin(m_state->Id(), m_name, TreeOf(m_state->Id()));
            recorder->Connection(m_state->Id(), m_state->Link());
        }
        m_state->SetRecorder(recorder);
        link->SetObserver(recorder != nullptr ? std::make_shared<FrameTap>(m_state->Id(), recorder) : nullptr);
    });
}

} // namespace qx5::live
