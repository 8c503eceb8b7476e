// The subscription classes of the contract, on top of the notification buses.
#include <VordalSubscriberR/GeneralSubKeys.h>
#include <VordalSubscriberR/NotificationInfo.h>
#include <VordalSubscriberR/Subscriber.h>
#include <VordalSubscriberR/Subscription.h>

#include "reference_host/bus/notification_bus.h"
#include "reference_host/core/host_state.h"

#include <algorithm>
#include <atomic>

CString const GeneralSubKeys::ADT_SELECTED_SONAR_CHANGE(L"ADT_SELECTED_SONAR_CHANGE");
CString const GeneralSubKeys::STS_SELECTED_SONAR_TARGET_CHANGE(L"STS_SELECTED_SONAR_TARGET_CHANGE");
CString const sel_change::ACTIVE_VESSEL(L"ACTIVE_VESSEL");

NotificationInfo::~NotificationInfo() = default;
std::unique_ptr<NotificationInfo> NotificationInfo::Clone() const
{
    return std::make_unique<NotificationInfo>(*this);
}
DataId_NI::~DataId_NI() = default;
std::unique_ptr<NotificationInfo> DataId_NI::Clone() const
{
    return std::make_unique<DataId_NI>(*this);
}
Subscriber::~Subscriber() = default;

namespace {

using vordal::Joint;
using vordal::NotificationBus;
using vordal::SinkHolder;

/// What both kinds of subscription do with their place on a bus.
struct Membership
{
    std::shared_ptr<SinkHolder> sink;
    std::shared_ptr<NotificationBus> bus;
    std::shared_ptr<Joint> joint;

    void SetSink(Subscriber* subscriber, bool own)
    {
        if (sink != nullptr && sink->Sink() == subscriber) {
            return;
        }
        auto next = subscriber != nullptr ? std::make_shared<SinkHolder>(subscriber, own) : nullptr;
        if (joint != nullptr) {
            joint->Replace(next);
        }
        sink = std::move(next);
    }

    void Join(std::shared_ptr<NotificationBus> const& where, std::span<CString const> keys)
    {
        if (where == nullptr || keys.empty()) {
            return;
        }
        if (where != bus) {
            Leave();
        }
        if (joint == nullptr) {
            auto const* const state = vordal::CurrentState();
            bool const ofWindow = state != nullptr && state->window->IsWindowThread();
            joint = std::make_shared<Joint>(sink, ofWindow ? state->window : nullptr);
            bus = where;
        }
        bus->Join(joint, keys);
    }

    void Leave()
    {
        // Taken out first: a sink that runs on this thread may destroy the subscription from within.
        auto const left = std::move(joint);
        auto const from = std::move(bus);
        joint.reset();
        bus.reset();
        if (left != nullptr) {
            from->Leave(left);
            left->Leave();
        }
    }
};

} // namespace

struct Subscription::State
{
    int kind = -1; ///< -1: attributes, through `map`
    std::shared_ptr<NotificationBus> map;
    /// What is followed, for the map that comes next.
    std::vector<CString> keys;
    Membership membership;

    void Join(std::span<CString const> wanted)
    {
        for (CString const& key : wanted) {
            if (std::find(keys.begin(), keys.end(), key) == keys.end()) {
                keys.push_back(key);
            }
        }
        membership.Join(kind == -1 ? map : vordal::BusOfKind(kind), wanted);
    }
};

Subscription::Subscription() : m_state(std::make_unique<State>()) {}

Subscription::Subscription(int kind) : Subscription()
{
    m_state->kind = kind < 0 ? 0 : kind;
}

Subscription::~Subscription()
{
    Unsubscribe();
}

void Subscription::SetSubscriber(Subscriber* subscriber, bool own)
{
    m_state->membership.SetSink(subscriber, own);
}

void Subscription::SetMap(SubscriptionMap* map)
{
    auto bus = map != nullptr ? map->Bus() : nullptr;
    if (m_state->kind != -1 || bus == m_state->map) {
        return;
    }
    m_state->membership.Leave();
    m_state->map = std::move(bus);
    m_state->membership.Join(m_state->map, m_state->keys);
}

void Subscription::Subscribe(CString const& key)
{
    m_state->Join(std::span<CString const>(&key, 1));
}

void Subscription::Subscribe(std::vector<CString> const& keys)
{
    m_state->Join(keys);
}

void Subscription::Unsubscribe()
{
    m_state->keys.clear();
    m_state->membership.Leave();
}

struct DataSubscription::State
{
    CDataId dataId;
    Membership membership;
    /// Beside the membership, so that a running notification may ask for the buffer while another thread unsubscribes.
    std::atomic<bool> isJoined{false};
};

DataSubscription::DataSubscription() : m_state(std::make_unique<State>()) {}

DataSubscription::~DataSubscription()
{
    Unsubscribe();
}

void DataSubscription::SetSubscriber(Subscriber* subscriber, bool own)
{
    m_state->membership.SetSink(subscriber, own);
}

void DataSubscription::Subscribe(CDataId const& dataId)
{
    if (m_state->membership.joint != nullptr && !(dataId == m_state->dataId)) {
        Unsubscribe();
    }
    m_state->dataId = dataId;
    auto const bus = vordal::StreamBus();
    m_state->isJoined = bus != nullptr;
    m_state->membership.Join(bus, std::span<CString const>(&m_state->dataId.GetKey(), 1));
}

void DataSubscription::Unsubscribe()
{
    m_state->isJoined = false;
    m_state->membership.Leave();
}

BaseDataSource* DataSubscription::GetDataBuffer()
{
    return m_state->isJoined ? vordal::FindBuffer(m_state->dataId) : nullptr;
}
