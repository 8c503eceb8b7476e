// Detections taken from the host's streams.
#include "vessel/detection_feed.h"

#include <VordalDataBlocksR/BaseDataSource.h>
#include <VordalDataBlocksR/SonarEchoItems.h>
#include <VordalSubscriberR/Subscriber.h>
#include <VordalSubscriberR/Subscription.h>

#include <protocol/bytes.h>

#include <algorithm>
#include <bit>
#include <cmath>
#include <cstring>
#include <span>
#include <utility>
#include <vector>

namespace qx5::vessel {

namespace {

constexpr unsigned short badBlock = 0x3F;

/// The bytes of a good item of that type; nothing for one that is missing or otherwise.
std::optional<std::span<unsigned char const>> BytesOf(CDataBlock const& block, unsigned short number,
                                                      unsigned short type)
{
    unsigned short index = 0;
    auto const* const item = block.LookUp(number, ADDR_FIRST_OF_ITEM, index) ? block.GetItem(index) : nullptr;
    if (item == nullptr || item->status != 0 || item->type != type || (item->data == nullptr && item->size != 0)) {
        return std::nullopt;
    }
    return std::span(static_cast<unsigned char const*>(item->data), item->size);
}

std::optional<std::vector<double>> Doubles(CDataBlock const& block, unsigned short number, std::size_t count)
{
    auto const bytes = BytesOf(block, number, DATA_DOUBLE);
    if (!bytes || bytes->size() != 8 * count) {
        return std::nullopt;
    }
    std::vector<double> numbers;
    for (std::size_t i = 0; i < count; ++i) {
        numbers.push_back(protocol::GetF64LE(*bytes, 8 * i));
    }
    return numbers;
}

std::optional<std::int32_t> Whole(CDataBlock const& block, unsigned short number)
{
    auto const bytes = BytesOf(block, number, DATA_INT32);
    return bytes && bytes->size() == 4 ? std::optional(static_cast<std::int32_t>(protocol::GetU32LE(*bytes, 0)))
                                       : std::nullopt;
}

bool Floats(CDataBlock const& block, unsigned short number, std::size_t count, std::vector<float>& numbers)
{
    auto const bytes = BytesOf(block, number, DATA_FLOAT);
    if (!bytes || bytes->size() != 4 * count) {
        return false;
    }
    for (std::size_t i = 0; i < count; ++i) {
        numbers.push_back(protocol::GetF32LE(*bytes, 4 * i));
    }
    return true;
}

} // namespace

std::optional<authority::DetectionsMessage> DetectionsOf(CDataBlock const& block)
{
    auto const ping = Whole(block, ECHO_PING_NUMBER);
    auto const velocity = Doubles(block, ECHO_SOUND_VELOCITY, 1);
    auto const pose = Doubles(block, ECHO_POSE, 7);
    auto const steering = Doubles(block, ECHO_STEERING, 1);
    auto const beams = Whole(block, ECHO_BEAM_COUNT);
    auto const beam = BytesOf(block, DETECTION_BEAM, DATA_UINT16);
    if ((block.GetStatus() & badBlock) != 0 || !ping || !velocity || !pose || !steering || !beams || *beams < 0 ||
        !beam || beam->size() % 2 != 0) {
        return std::nullopt;
    }
    authority::DetectionsMessage message;
    message.utc = block.GetTime();
    message.ping = *ping;
    message.soundVelocity = velocity->front();
    std::copy(pose->begin(), pose->end(), message.pose.begin());
    message.steering = steering->front();
    message.beams = static_cast<std::uint32_t>(*beams);
    std::size_t const count = beam->size() / 2;
    for (std::size_t i = 0; i < count; ++i) {
        message.beam.push_back(protocol::GetU16LE(*beam, 2 * i));
    }
    bool const isWhole = Floats(block, DETECTION_ANGLE, count, message.angle) &&
                         Floats(block, DETECTION_TRAVEL_TIME, count, message.travelTime) &&
                         Floats(block, DETECTION_LEVEL, count, message.level) &&
                         Floats(block, DETECTION_QUALITY, count, message.quality);
    return isWhole ? std::optional(std::move(message)) : std::nullopt;
}

void ThinOut(authority::DetectionsMessage& ping, std::size_t bytes)
{
    using authority::DetectionsMessage;
    std::size_t const count = ping.beam.size();
    std::size_t const room = bytes > DetectionsMessage::HeadBytes ? bytes - DetectionsMessage::HeadBytes : 0;
    std::size_t const most = std::max<std::size_t>(room / DetectionsMessage::DetectionBytes, 1);
    if (count <= most) {
        return;
    }
    auto const thin = [&](auto& all) {
        for (std::size_t i = 0; i < most; ++i) {
            all[i] = all[(2 * i + 1) * count / (2 * most)];
        }
        all.resize(most);
    };
    thin(ping.beam);
    thin(ping.angle);
    thin(ping.travelTime);
    thin(ping.level);
    thin(ping.quality);
}

/// The subscriptions; on the host thread alone.
struct DetectionFeed::Sinks
{
    class Sink final : public Subscriber
    {
    public:
        Sink(Take const& take, CDataId const& sonar) : m_take(take), m_sonar(sonar) {}

        void Notify(NotificationInfo const*) override
        {
            CDataBlock block;
            if (auto* const buffer = m_subscription.GetDataBuffer();
                buffer != nullptr && buffer->ReadBlock(block, DATA_ACCESS_LATEST)) {
                m_take(m_sonar, block);
            }
        }
        void Begin()
        {
            CDataId stream = m_sonar;
            stream.SetGroupId(SONAR_DETECTIONS_GROUP);
            m_subscription.SetSubscriber(this, false);
            m_subscription.Subscribe(stream);
        }
        void End() { m_subscription.Unsubscribe(); }

    private:
        Take const& m_take;
        CDataId const m_sonar;
        DataSubscription m_subscription;
    };

    explicit Sinks(Take taken) : take(std::move(taken)) {}

    Take const take;
    std::map<CString, std::unique_ptr<Sink>> sinks;
};

DetectionFeed::DetectionFeed(vordal::Host& host, Take take)
    : m_host(host), m_sinks(std::make_shared<Sinks>(std::move(take)))
{
}

DetectionFeed::~DetectionFeed()
{
    m_host.RunAndWait([sinks = m_sinks] {
        for (auto& [key, sink] : sinks->sinks) {
            sink->End();
        }
        sinks->sinks.clear();
    });
}

void DetectionFeed::Follow(CDataId const& sonar, bool isFollowed)
{
    bool const changes =
        isFollowed ? m_followed.emplace(sonar.GetKey(), sonar).second : m_followed.erase(sonar.GetKey()) != 0;
    if (!changes) {
        return;
    }
    m_host.Post([sinks = m_sinks, sonar, isFollowed] {
        if (isFollowed) {
            auto& sink = sinks->sinks[sonar.GetKey()];
            sink = std::make_unique<Sinks::Sink>(sinks->take, sonar);
            sink->Begin();
        } else if (auto const found = sinks->sinks.find(sonar.GetKey()); found != sinks->sinks.end()) {
            found->second->End();
            sinks->sinks.erase(found);
        }
    });
}

} // namespace qx5::vessel
