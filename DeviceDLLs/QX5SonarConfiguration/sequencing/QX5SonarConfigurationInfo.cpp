// Discovery of the sonars under ping control, and what their data and buffers tell of them.
#include "QX5SonarConfigurationInfo.h"

#include "PingGroup.h"

#include <VordalAttributesR/AttributeKey.h>
#include <VordalBaseR/CExTime.h>
#include <VordalDataBlocksR/BaseDataSource.h>
#include <VordalDataBlocksR/BaseDevice.h>
#include <VordalSubscriberR/NotificationInfo.h>
#include <VordalSubscriberR/Subscriber.h>
#include <VordalSubscriberR/Subscription.h>
#include <vordalhostdllR/DataManager.h>
#include <vordalhostdllR/VesselManager.h>

#include <protocol/bytes.h>
#include <protocol/frame.h>
#include <protocol/records/shared_keys.h>
#include <protocol/settings_keys.h>

#include <algorithm>
#include <array>
#include <atomic>
#include <condition_variable>
#include <optional>
#include <span>
#include <utility>

namespace {

namespace protocol = qx5::protocol;

constexpr unsigned short sonarDataGroup = 78;
constexpr unsigned short blockIsBad = 0x3F; ///< any of these bits of a block's status

constexpr unsigned long pingCommand = 1107;
constexpr unsigned long pingRateCommand = 1004;

// Items of a sonar's settings data.
constexpr unsigned short rangeItem = 699;      ///< m, float
constexpr unsigned short wholeRangeItem = 609; ///< m, unsigned 16-bit
constexpr unsigned short soundSpeedItem = 401; ///< m/s, double
constexpr double usualSoundSpeed = 1500.0;     ///< m/s

constexpr AttributeKey pingModeKey{protocol::keys::PingMode.text};
constexpr AttributeKey groupKey{protocol::keys::SonarGroupId.text};
constexpr AttributeKey overheadKey{protocol::keys::Overhead.text};
constexpr AttributeKey deviceIdKey{protocol::keys::DeviceId.text};
constexpr AttributeKey deviceEnumKey{protocol::keys::DeviceEnum.text};

/// How deep the calling thread is inside notifications.
thread_local int notificationDepth = 0;

struct InsideNotification
{
    InsideNotification() { ++notificationDepth; }
    InsideNotification(InsideNotification const&) = delete;
    InsideNotification& operator=(InsideNotification const&) = delete;
    ~InsideNotification() { --notificationDepth; }
};

/// The clean-ups that are under way in the process. One that finds nothing left to do still returns only when the
/// others are done: unloading the plug-in relies on it.
class CleanUps
{
public:
    void Begin()
    {
        std::lock_guard const lock(m_mutex);
        ++m_underWay;
    }
    void EndAndAwaitOthers()
    {
        std::unique_lock lock(m_mutex);
        --m_underWay;
        m_changed.notify_all();
        // From inside a notification or a send the others may be waiting for this very thread.
        if (notificationDepth == 0 && !PingGroup::IsSequencingThread()) {
            m_changed.wait(lock, [this] { return m_underWay == 0; });
        }
    }

private:
    std::mutex m_mutex;
    std::condition_variable m_changed;
    int m_underWay = 0;
};
CleanUps cleanUps;

/// The bytes of a good item of that type and size; empty when the block has none.
std::span<unsigned char const> FindItem(CDataBlock const& block, unsigned short number, DataItemType type,
                                        unsigned size)
{
    unsigned short index = 0;
    if (!block.LookUp(number, ADDR_BY_ITEM, index)) {
        return {};
    }
    auto const* const item = block.GetItem(index);
    if (item == nullptr || item->type != type || item->data == nullptr || item->size != size || item->status != 0) {
        return {};
    }
    return {static_cast<unsigned char const*>(item->data), size};
}

/// The range in metres, if the block tells one.
std::optional<float> RangeOf(CDataBlock const& block)
{
    if (auto const bytes = FindItem(block, rangeItem, DATA_FLOAT, 4); !bytes.empty()) {
        if (float const range = protocol::GetF32LE(bytes, 0); range > 0.0F) {
            return range;
        }
    }
    if (auto const bytes = FindItem(block, wholeRangeItem, DATA_UINT16, 2); !bytes.empty()) {
        if (auto const range = protocol::GetU16LE(bytes, 0); range != 0) {
            return static_cast<float>(range);
        }
    }
    return std::nullopt;
}

double SoundSpeedOf(CDataBlock const& block)
{
    auto const bytes = FindItem(block, soundSpeedItem, DATA_DOUBLE, 8);
    double const speed = bytes.empty() ? 0.0 : protocol::GetF64LE(bytes, 0);
    return speed != 0.0 ? speed : usualSoundSpeed;
}

} // namespace

QX5SonarConfigurationInfo& QX5SonarConfigurationInfo::Instance()
{
    static QX5SonarConfigurationInfo instance;
    return instance;
}

QX5SonarConfigurationInfo::QX5SonarConfigurationInfo() = default;
QX5SonarConfigurationInfo::~QX5SonarConfigurationInfo() = default;

QX5SonarConfigurationInfo::QX5SonarConfigurationInfo(QX5SonarConfigurationInfo const& other)
{
    std::lock_guard const lock(other.m_lock);
    entries = other.entries;
    groups = other.groups;
    lastBuffer = other.lastBuffer;
    lastBlock = other.lastBlock;
}

QX5SonarConfigurationInfo& QX5SonarConfigurationInfo::operator=(QX5SonarConfigurationInfo const& other)
{
    if (this != &other) {
        QX5SonarConfigurationInfo copy(other);
        std::lock_guard const lock(m_lock);
        entries.swap(copy.entries);
        groups.swap(copy.groups);
        std::swap(lastBuffer, copy.lastBuffer);
        std::swap(lastBlock, copy.lastBlock);
    }
    return *this;
}

void QX5SonarConfigurationInfo::Init()
{
    ClearList();
    GetAttributes();
}

void QX5SonarConfigurationInfo::Exit()
{
    ClearList();
}

void QX5SonarConfigurationInfo::ClearList()
{
    cleanUps.Begin();
    std::vector<SonarEntry> clearedEntries;
    {
        std::lock_guard const lock(m_lock);
        clearedEntries.swap(entries);
    }
    // Subscriptions first: from then on nothing comes in. Ended by name, as a notification that is running on this
    // thread, or a copy, may hold them still.
    while (!clearedEntries.empty()) {
        SonarEntry& last = clearedEntries.back();
        if (last.dataSubscription != nullptr) {
            last.dataSubscription->Unsubscribe();
        }
        if (last.statusSubscription != nullptr) {
            last.statusSubscription->Unsubscribe();
        }
        clearedEntries.pop_back();
    }
    std::vector<std::shared_ptr<PingGroup>> clearedGroups;
    {
        std::lock_guard const lock(m_lock);
        clearedGroups.swap(groups);
    }
    // All are told before the first is waited for: the stop takes as long as the slowest, not as all together.
    for (auto const& group : clearedGroups) {
        group->RequestEnd();
    }
    while (!clearedGroups.empty()) {
        clearedGroups.back()->End();
        clearedGroups.pop_back();
    }
    cleanUps.EndAndAwaitOthers();
}

void QX5SonarConfigurationInfo::GetAttributes()
{
    auto& manager = DataManager::GetDataManager();
    auto& vessels = VesselManager::GetVesselManager();
    for (int vesselIndex = 0; vesselIndex < vessels.GetNumVessels(); ++vesselIndex) {
        CBaseVessel* const vessel = vessels.GetVessel(vesselIndex);
        if (vessel == nullptr) {
            continue;
        }
        unsigned short const number = vessel->GetVesselNumber();
        for (int index = 0; index < manager.GetDeviceCount(number); ++index) {
            BaseDevice* const device = manager.GetDevice(index, number);
            if (device == nullptr) {
                continue;
            }
            CDataId const dataId = device->GetDataId();
            if (dataId.GetGroupId() == sonarDataGroup && !AddEntry(*device, dataId)) {
                manager.GetNextDevice(number);
            }
        }
    }
}

bool QX5SonarConfigurationInfo::AddEntry(BaseDevice& device, CDataId const& dataId)
{
    unsigned flags = 0;
    int pingMode = 0;
    if (!device.GetAttribValue(pingModeKey, pingMode, flags) || pingMode == 0) {
        return false;
    }
    SonarEntry entry;
    entry.dataId = dataId;
    device.GetAttribValue(groupKey, entry.groupId, flags);
    device.GetAttribValue(overheadKey, entry.overheadPercent, flags);
    if (!device.GetAttribValue(deviceIdKey, entry.deviceId, flags)) {
        return false;
    }
    device.GetAttribValue(deviceEnumKey, entry.enumerator, flags);
    entry.pingRecord = BuildRemoteControlRecord(pingCommand, nullptr, 0, entry.deviceId, entry.enumerator);

    using Sink = MemFunSubscriber<QX5SonarConfigurationInfo>;
    entry.dataSubscription = std::make_shared<DataSubscription>();
    entry.dataSubscription->SetSubscriber(new Sink(this, &QX5SonarConfigurationInfo::OnNewSonarSettingsData), true);
    entry.statusSubscription = std::make_shared<Subscription>(Subscription::BufferStatus);
    entry.statusSubscription->SetSubscriber(new Sink(this, &QX5SonarConfigurationInfo::OnBufferStatusChange), true);
    auto const data = entry.dataSubscription;
    auto const status = entry.statusSubscription;
    {
        std::lock_guard const lock(m_lock);
        entries.push_back(std::move(entry));
    }
    // In this order: what comes in at once finds its entry.
    data->Subscribe(dataId);
    status->Subscribe(dataId.GetKey());
    return true;
}

CStringA QX5SonarConfigurationInfo::BuildRemoteControlRecord(unsigned long commandId, unsigned char* payload,
                                                             unsigned long size, int deviceId, int enumerator)
{
    std::span<unsigned char const> const bytes(payload, payload != nullptr ? size : 0);
    auto const frame = protocol::BuildRemoteControlRecord(static_cast<std::uint32_t>(commandId), bytes,
                                                          {deviceId, enumerator}, CExTime::GetCurTime());
    return CStringA(frame.begin(), frame.end());
}

std::shared_ptr<PingGroup> QX5SonarConfigurationInfo::FindOrMakeGroup(std::int32_t groupId)
{
    std::lock_guard const lock(m_lock);
    for (auto const& group : groups) {
        if (group->GroupId() == groupId) {
            return group;
        }
    }
    return groups.emplace_back(std::make_shared<PingGroup>(groupId));
}

void QX5SonarConfigurationInfo::OnNewSonarSettingsData(NotificationInfo const* info)
{
    auto const arrived = PingGroup::Clock::now();
    InsideNotification const inside;
    auto const* const about = dynamic_cast<DataId_NI const*>(info);
    if (about == nullptr) {
        return;
    }
    CDataId const& dataId = about->GetDataId();
    std::shared_ptr<DataSubscription> subscription;
    std::int32_t groupId = 0;
    double overheadPercent = 0.0;
    {
        std::lock_guard const lock(m_lock);
        auto const entry =
            std::find_if(entries.begin(), entries.end(), [&](SonarEntry const& each) { return each.dataId == dataId; });
        if (entry == entries.end()) {
            return;
        }
        subscription = entry->dataSubscription;
        groupId = entry->groupId;
        overheadPercent = entry->overheadPercent;
    }
    BaseDataSource* const buffer = subscription->GetDataBuffer();
    CDataBlock block;
    bool const isRead = buffer != nullptr && buffer->ReadBlock(block, DATA_ACCESS_LATEST);
    {
        CDataBlock former; // goes after the lock
        std::lock_guard const lock(m_lock);
        lastBuffer = buffer;
        if (isRead) {
            former = std::exchange(lastBlock, block);
        }
    }
    if (!isRead || (block.GetStatus() & blockIsBad) != 0) {
        return;
    }
    auto const range = RangeOf(block);
    double const soundSpeed = SoundSpeedOf(block);
    auto const group = FindOrMakeGroup(groupId);
    if (group->BeginJoining(dataId)) {
        JoinGroup(*group, dataId);
    } else if (range.has_value()) {
        group->SettingsArrived(dataId, qx5::PauseMilliseconds(static_cast<double>(*range), soundSpeed, overheadPercent),
                               arrived);
    }
}

void QX5SonarConfigurationInfo::JoinGroup(PingGroup& group, CDataId const& dataId)
{
    PingMember member;
    member.dataId = dataId;
    member.device = DataManager::GetDataManager().FindDevice(dataId);
    std::int32_t deviceId = 0;
    std::int32_t enumerator = 0;
    bool isKnown = false;
    {
        std::lock_guard const lock(m_lock);
        for (SonarEntry const& entry : entries) {
            if (entry.dataId == dataId) {
                isKnown = true;
                deviceId = entry.deviceId;
                enumerator = entry.enumerator;
                member.pingRecord = entry.pingRecord;
                break;
            }
        }
    }
    if (member.device == nullptr || !isKnown) {
        group.GiveUpJoining(dataId);
        return;
    }
    // A ping rate of 0.0, a float: the sonar pings on command alone from here on.
    std::array<unsigned char, 4> noPings{};
    member.device->SendMessageW(
        BuildRemoteControlRecord(pingRateCommand, noPings.data(), noPings.size(), deviceId, enumerator), false);
    group.Join(std::move(member));
}

void QX5SonarConfigurationInfo::OnBufferStatusChange(NotificationInfo const* info)
{
    InsideNotification const inside;
    auto const* const about = dynamic_cast<DataId_NI const*>(info);
    if (about == nullptr) {
        return;
    }
    CDataId const& dataId = about->GetDataId();
    BaseDataSource* const buffer = DataManager::GetDataManager().FindDatablockBuffer(dataId, false);
    unsigned short state = 0;
    unsigned short status = 0;
    if (buffer == nullptr || !buffer->GetStatus(state, status)) {
        return;
    }
    std::vector<std::shared_ptr<PingGroup>> current;
    {
        std::lock_guard const lock(m_lock);
        current = groups;
    }
    for (auto const& group : current) {
        group->BufferStatusChanged(dataId, status);
    }
}
