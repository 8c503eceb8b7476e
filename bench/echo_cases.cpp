// Echoes: from a water column's frame to its block announced, held against a bare copy of its levels.
#include "stage.h"

#include "reference_host/core/port.h"
#include "reference_host/link/echo_streams.h"
#include <HalvaneX5InterfaceR/QX5Device.h>
#include <VordalDataBlocksR/BaseDataSource.h>
#include <VordalDataBlocksR/SonarEchoItems.h>
#include <VordalSubscriberR/Subscriber.h>
#include <VordalSubscriberR/Subscription.h>
#include <protocol/echo_records.h>
#include <protocol/frame.h>

#include <array>
#include <cstring>
#include <memory>
#include <string>

namespace bench {

namespace {

namespace protocol = qx5::protocol;

/// A sonar's streams as its port has them, and somebody who follows the water column. Host thread.
class Echoes
{
public:
    explicit Echoes(Stage& stage) : m_host(stage.Host()), m_streams(m_host, m_port)
    {
        CDataId id(1, 78, 90, 1);
        m_sonar = m_host.AddDevice(std::make_unique<QX5Device>(), id);
        m_host.SetPort(*m_sonar, &m_port);
        id.SetGroupId(SONAR_WATER_COLUMN_GROUP);
        m_subscription.SetSubscriber(new MemFunNoInfoSubscriber<Echoes>(this, &Echoes::OnBlock), true);
        m_subscription.Subscribe(id);
        m_streams.Attend(true, [](protocol::Target, std::span<unsigned char const>) { return true; });
        protocol::WaterColumnView sizes;
        sizes.head.beams = 512;
        sizes.samples = 1000;
        auto frame = protocol::BeginWaterColumn(protocol::OwnSonar, sizes);
        m_frame = std::move(frame->bytes);
        m_levels = frame->arrays.back();
    }
    Echoes(Echoes const&) = delete;
    Echoes& operator=(Echoes const&) = delete;
    ~Echoes()
    {
        m_subscription.Unsubscribe();
        m_host.RemoveDevice(m_sonar);
    }

    void Tell()
    {
        std::string damage;
        auto const view = protocol::ParseFrame(m_frame);
        if (view && m_streams.Take(*view, damage)) {
            m_streams.DeliverNext();
        }
    }
    /// A block is a new one each time; the stream and whoever reads it keep the one before.
    void Copy()
    {
        auto next = std::make_unique_for_overwrite<unsigned char[]>(m_levels.size());
        std::memcpy(next.get(), m_levels.data(), m_levels.size());
        Keep(next.get());
        m_copies[m_next++ % m_copies.size()] = std::move(next);
    }

private:
    void OnBlock()
    {
        m_subscription.GetDataBuffer()->ReadBlock(m_last, DATA_ACCESS_LATEST);
        Keep(m_last);
    }

    vordal::Host& m_host;
    vordal::PlainPort m_port;
    vordal::EchoStreams m_streams;
    Device* m_sonar = nullptr;
    DataSubscription m_subscription;
    CDataBlock m_last;
    std::vector<unsigned char> m_frame;
    std::span<unsigned char const> m_levels; ///< where they lie in it
    std::array<std::unique_ptr<unsigned char[]>, 2> m_copies;
    std::size_t m_next = 0;
};

} // namespace

std::vector<Case> EchoCases(Stage& stage)
{
    auto const times = [&stage](void (Echoes::*work)()) {
        return [&stage, work](std::size_t samples, std::vector<double>& nanoseconds) {
            stage.OnHostLive([&] {
                Echoes echoes(stage);
                (echoes.*work)();
                Time(samples, 20, nanoseconds, [&] { (echoes.*work)(); });
            });
        };
    };
    return {
        {"echo-block", "a water column of 512 x 1000, from its frame to its block announced", 50, times(&Echoes::Tell)},
        {"bare-copy", "a copy of its levels, from where they lie in the frame into new memory", 50,
         times(&Echoes::Copy)},
    };
}

} // namespace bench
