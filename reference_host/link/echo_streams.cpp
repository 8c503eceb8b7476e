// The streams of echoes of the sonars on one port: what the sonar is asked for, and what comes of it.
#include "echo_streams.h"

#include "echo_blocks.h"
#include "frame_addressees.h"
#include "reference_host/attributes/host_keys.h"
#include "reference_host/core/host.h"
#include "reference_host/core/port.h"
#include "reference_host/streams/settings_data.h"

#include <VordalDataBlocksR/BaseDevice.h>
#include <VordalDataBlocksR/SonarEchoItems.h>

#include <protocol/settings_keys.h>

#include <algorithm>
#include <tuple>

namespace vordal {
namespace {

namespace protocol = qx5::protocol;

constexpr AttributeKey echoRecordsKey{protocol::keys::EchoRecords.text};

CDataId StreamOf(CDataId sonar, unsigned short group)
{
    sonar.SetGroupId(group);
    return sonar;
}

bool IsSonar(BaseDevice const& device)
{
    return device.GetDataId().GetGroupId() == SonarDataGroup;
}

using Wishes = std::vector<std::pair<protocol::Target, protocol::EchoWish>>;

protocol::EchoWish WishIn(Wishes const& wishes, protocol::Target target)
{
    auto const found =
        std::find_if(wishes.begin(), wishes.end(), [&](auto const& entry) { return entry.first == target; });
    return found != wishes.end() ? found->second : protocol::EchoWish{};
}

void Put(Wishes& wishes, protocol::Target target, protocol::EchoWish wish)
{
    std::erase_if(wishes, [&](auto const& entry) { return entry.first == target; });
    if (wish.IsAny()) {
        wishes.emplace_back(target, wish);
    }
}

} // namespace

protocol::EchoWish EchoStreams::WishFor(CDataId const& sonar) const
{
    return {m_host.IsFollowed(StreamOf(sonar, SONAR_DETECTIONS_GROUP)),
            m_host.IsFollowed(StreamOf(sonar, SONAR_WATER_COLUMN_GROUP))};
}

/// As frame_addressees.h has it for what the sonar sends.
std::optional<protocol::Target> EchoStreams::TargetOf(BaseDevice const& device) const
{
    auto const named = IdentityOf(device);
    if (named.deviceId != 0) {
        return named;
    }
    return m_devices.Count() == 1 ? std::optional(protocol::OwnSonar) : std::nullopt;
}

void EchoStreams::TellStreams(CDataId const& sonar, protocol::EchoWish wish, bool connected)
{
    auto told = std::find_if(m_told.begin(), m_told.end(), [&](Told const& entry) { return entry.sonar == sonar; });
    bool const isNew = told == m_told.end();
    if (isNew) {
        told = m_told.insert(told, {sonar, connected, {}});
    }
    bool const isOther = isNew || told->connected != connected;
    auto const before = std::exchange(*told, {sonar, connected, wish}).wish;
    for (auto const& [group, was, is] : {std::tuple(SONAR_DETECTIONS_GROUP, before.detections, wish.detections),
                                         std::tuple(SONAR_WATER_COLUMN_GROUP, before.waterColumn, wish.waterColumn)}) {
        auto const stream = StreamOf(sonar, group);
        if (isOther) {
            m_host.SetBufferStatus(stream, connected ? 0 : LostStreamStatus);
        }
        if (was && !is) {
            m_host.EmptyBuffer(stream); // who comes next is not told of what was long ago
        }
    }
}

void EchoStreams::Attend(bool connected, Ask const& ask)
{
    Wishes wanted;
    protocol::EchoWish all;
    for (int index = 0; auto* const device = m_devices.At(index); ++index) {
        if (!IsSonar(*device)) {
            continue;
        }
        CDataId const sonar = device->GetDataId();
        auto const wish = WishFor(sonar);
        auto const target = TargetOf(*device); // before anybody is told, who may take the device away
        TellStreams(sonar, wish, connected);
        all = {all.detections || wish.detections, all.waterColumn || wish.waterColumn};
        if (wish.IsAny() && target) {
            auto const others = WishIn(wanted, *target);
            Put(wanted, *target, {others.detections || wish.detections, others.waterColumn || wish.waterColumn});
        }
    }
    m_areDetectionsFollowed.store(all.detections, std::memory_order_relaxed);
    m_isWaterColumnFollowed.store(all.waterColumn, std::memory_order_relaxed);
    if (!connected || !m_areOffered) {
        return;
    }
    auto const bring = [&](protocol::Target target, protocol::EchoWish wish) {
        if (WishIn(m_asked, target) != wish && ask(target, protocol::EncodeEchoRequest(wish))) {
            Put(m_asked, target, wish);
        }
    };
    // First what is not wanted any more: one that has told who it is was perhaps asked as somebody else before.
    for (auto const& [target, wish] : Wishes(m_asked)) {
        if (!WishIn(wanted, target).IsAny()) {
            bring(target, {});
        }
    }
    for (auto const& [target, wish] : wanted) {
        bring(target, wish);
    }
}

void EchoStreams::TakeUp(CAttributeMap const& told)
{
    bool areOffered = false;
    unsigned flags = 0;
    if (told.GetAttribValue(echoRecordsKey, areOffered, flags)) {
        m_areOffered = areOffered;
    }
}

bool EchoStreams::Take(protocol::FrameView const& frame, std::string& damage)
{
    bool const isOfDetections = frame.header.recordId == protocol::records::Detections.Id();
    auto const& isFollowed = isOfDetections ? m_areDetectionsFollowed : m_isWaterColumnFollowed;
    if (!isFollowed.load(std::memory_order_relaxed)) {
        return false;
    }
    Waiting next{{static_cast<std::int32_t>(frame.header.deviceId), static_cast<std::int16_t>(frame.header.enumerator)},
                 isOfDetections ? SONAR_DETECTIONS_GROUP : SONAR_WATER_COLUMN_GROUP,
                 {},
                 frame.bytes.size()};
    if (isOfDetections) {
        if (auto const record = protocol::DecodeDetections(frame.data, damage)) {
            next.block = DetectionsBlock(*record);
        }
    } else if (auto const record = protocol::DecodeWaterColumn(frame.data, damage)) {
        next.block = WaterColumnBlock(*record);
    }
    if (!damage.empty()) {
        m_damaged.fetch_add(1, std::memory_order_relaxed);
        return false;
    }
    return PutInLine(std::move(next));
}

bool EchoStreams::PutInLine(Waiting next)
{
    std::lock_guard const lock(m_waitingMutex);
    auto const before = std::find_if(m_waiting.begin(), m_waiting.end(), [&](Waiting const& waiting) {
        return waiting.from == next.from && waiting.group == next.group;
    });
    bool const isNew = before == m_waiting.end();
    std::size_t const others = m_waitingBytes - (isNew ? 0 : before->bytes);
    if ((isNew && m_waiting.size() == GreatestWaiting) || next.bytes > GreatestWaitingBytes - others) {
        m_dropped.fetch_add(1, std::memory_order_relaxed);
        return false;
    }
    m_waitingBytes = others + next.bytes;
    if (isNew) {
        m_waiting.push_back(std::move(next));
    } else {
        m_dropped.fetch_add(1, std::memory_order_relaxed);
        std::swap(*before, next);
    }
    return isNew;
}

void EchoStreams::DropNewest()
{
    m_dropped.fetch_add(1, std::memory_order_relaxed);
    std::lock_guard const lock(m_waitingMutex);
    if (!m_waiting.empty()) {
        m_waitingBytes -= m_waiting.back().bytes;
        m_waiting.pop_back();
    }
}

void EchoStreams::DeliverNext()
{
    Waiting next{};
    {
        std::lock_guard const lock(m_waitingMutex);
        if (m_waiting.empty()) {
            return;
        }
        next = std::move(m_waiting.front());
        m_waiting.erase(m_waiting.begin());
        m_waitingBytes -= next.bytes;
    }
    for (BaseDevice* const device : AddresseesOf(m_devices, next.from)) {
        if (!m_devices.IsAttached(device) || !IsSonar(*device)) {
            continue;
        }
        auto const stream = StreamOf(device->GetDataId(), next.group);
        if (m_host.IsFollowed(stream)) {
            m_delivered.fetch_add(1, std::memory_order_relaxed);
            m_host.PutBlock(stream, next.block);
        }
    }
}

EchoCounters EchoStreams::Counts() const
{
    return {m_damaged.load(std::memory_order_relaxed), m_dropped.load(std::memory_order_relaxed),
            m_delivered.load(std::memory_order_relaxed)};
}

} // namespace vordal
