// Requests: through the chain, onto a connection, across threads; and the bare programs that they are held against.
#include "recording_folder.h"
#include "stage.h"

#include "allocations.h"
#include "operation/operator_desk.h"
#include "recording/flight_recorder.h"
#include "reference_host/attributes/host_keys.h"
#include "reference_host/attributes/tree_merge.h"
#include <VordalAttributesR/CVordalType.h>
#include <commands/catalogue.h>
#include <protocol/bytes.h>
#include <protocol/frame.h>
#include <values/vordal_value.h>
#include <vordalhostdllR/DataManager.h>

#include <array>
#include <cstdio>
#include <set>

namespace bench {

namespace {

constexpr std::size_t recordBytes = 96;

CAttributeMap RangeRequest(double range)
{
    CAttributeMap request;
    request.Add(rangeKey, CVordalDouble(range), 0);
    return request;
}

/// The values change from one request to the next, so that every echo is a change.
double NextRange()
{
    static double range = 1.0;
    range = range < 500.0 ? range + 0.5 : 1.0;
    return range;
}

/// One plausible value of each key that any handler reads, in one request.
CAttributeMap RequestOfAllKeys()
{
    CAttributeMap request;
    std::set<qx5::protocol::Key const*> told;
    for (qx5::ChainEntry const& entry : qx5::Chain()) {
        for (qx5::Operand const& operand : entry.command->operands) {
            if (!qx5::IsRequestable(operand) || !told.insert(operand.key).second) {
                continue;
            }
            qx5::AddValue(request, operand.attribute, qx5::protocol::ExampleOf(operand.key->kind));
        }
    }
    return request;
}

/// The bare program: find a value, pack, frame, send, change one leaf of a shared tree, tell one subscriber.
class BareRequest
{
public:
    BareRequest() : m_drain(m_pair.far), m_tree(MakeTree(5000)) { vordal::ForgetReferences(m_tree); }
    void Run(CAttributeMap const& request)
    {
        using namespace qx5::protocol;
        double range = 0.0;
        if (!request.FindValue(rangeKey, 0).Get(range)) {
            return;
        }
        std::array<unsigned char, recordBytes> frame{};
        PutU16LE(frame, 0, 5);
        PutU16LE(frame, 2, 60);
        PutU32LE(frame, 4, 0xFFFF);
        PutU32LE(frame, 8, recordBytes);
        PutU32LE(frame, 32, 7500);
        PutU32LE(frame, 64, 1003);
        PutU32LE(frame, 68, 1003);
        PutF32LE(frame, 88, static_cast<float>(range));
        SendAll(m_pair.near, frame);
        vordal::SetChildValue(m_tree, rangeKey, CVordalDouble(range));
        m_subscriber(m_tree);
        m_sent += recordBytes;
    }
    /// Between two requests, so that each is sent to a far end that waits, as it does in life.
    void WaitUntilArrived() { m_drain.WaitFor(m_sent); }

private:
    Pair m_pair;
    Drain m_drain;
    CAttributeMap m_tree;
    std::uint64_t m_sent = 0;
    CAttributeMap m_seen;
    std::function<void(CAttributeMap const&)> m_subscriber = [this](CAttributeMap const& tree) { m_seen = tree; };
};

/// A thread that sends back every 96 bytes.
class Mirror
{
public:
    Mirror()
        : m_thread([this] {
              std::array<unsigned char, recordBytes> bytes{};
              while (ReadAll(m_pair.far, bytes)) {
                  SendAll(m_pair.far, bytes);
              }
          })
    {
    }
    Mirror(Mirror const&) = delete;
    Mirror& operator=(Mirror const&) = delete;
    ~Mirror()
    {
        ShutDown(m_pair.near);
        m_thread.join();
    }

    void RoundTrip()
    {
        std::array<unsigned char, recordBytes> bytes{};
        SendAll(m_pair.near, bytes);
        ReadAll(m_pair.near, bytes);
    }

private:
    Pair m_pair;
    std::thread m_thread;
};

} // namespace

std::vector<Case> RequestCases(Stage& stage)
{
    std::vector<Case> cases;
    Device& sonar = stage.Drained().GetDevice();

    cases.push_back({"request-empty", "an empty request through all rows", 300,
                     [&stage, &sonar](std::size_t samples, std::vector<double>& nanoseconds) {
                         stage.OnHostRecorded([&] {
                             CAttributeMap request;
                             sonar.DeliverRequest(&request);
                             std::size_t const before = Allocations();
                             sonar.DeliverRequest(&request);
                             if (std::size_t const taken = Allocations() - before; taken != 0) {
                                 std::fprintf(stderr, "an empty request allocated %zu times\n", taken);
                             }
                             Time(samples, 100, nanoseconds, [&] { sonar.DeliverRequest(&request); });
                         });
                     }});

    cases.push_back({"request-one-key-recorded",
                     "x5Range through all rows, sent to a recorder, echo merged into a tree of 5,000 nodes and told",
                     2000, [&stage, &sonar](std::size_t samples, std::vector<double>& nanoseconds) {
                         stage.OnHostRecorded([&] {
                             for (std::size_t i = 0; i < samples; ++i) {
                                 CAttributeMap request = RangeRequest(NextRange());
                                 Time(1, 1, nanoseconds, [&] { sonar.DeliverRequest(&request); });
                             }
                         });
                     }});

    cases.push_back({"echo-alone", "the same echo merged into the same tree and told, nothing else", 2000,
                     [&stage, &sonar](std::size_t samples, std::vector<double>& nanoseconds) {
                         stage.OnHostRecorded([&] {
                             for (std::size_t i = 0; i < samples; ++i) {
                                 CAttributeMap const echo = RangeRequest(NextRange());
                                 Time(1, 1, nanoseconds, [&] { sonar.SetAttributeMap(echo, 0); });
                             }
                         });
                     }});

    cases.push_back({"request-all-keys", "all keys of all handlers in one request, sent to a recorder", 100,
                     [&stage, &sonar](std::size_t samples, std::vector<double>& nanoseconds) {
                         stage.OnHostRecorded([&] {
                             CAttributeMap const all = RequestOfAllKeys();
                             for (std::size_t i = 0; i < samples; ++i) {
                                 CAttributeMap request = all;
                                 Time(1, 1, nanoseconds, [&] { sonar.DeliverRequest(&request); });
                             }
                         });
                     }});

    cases.push_back(
        {"bare-request",
         "bare program: find, pack, send 96 bytes on loopback, change a leaf of a shared tree of 5,000 nodes, "
         "tell one subscriber",
         1000, [bare = std::make_shared<BareRequest>()](std::size_t samples, std::vector<double>& nanoseconds) {
             for (std::size_t i = 0; i < samples; ++i) {
                 CAttributeMap const request = RangeRequest(NextRange());
                 Time(1, 1, nanoseconds, [&] { bare->Run(request); });
                 bare->WaitUntilArrived();
             }
         }});

    cases.push_back(
        {"request-one-key-live",
         "x5Range until the send on a live loopback connection has returned and the subscriber was told, on "
         "one thread",
         1000, [&stage, &sonar](std::size_t samples, std::vector<double>& nanoseconds) {
             stage.OnHostLive([&] {
                 std::uint64_t arrived = stage.DrainThread().Bytes();
                 for (std::size_t i = 0; i < samples; ++i) {
                     CAttributeMap request = RangeRequest(NextRange());
                     Time(1, 1, nanoseconds, [&] { sonar.DeliverRequest(&request); });
                     arrived += recordBytes;
                     stage.DrainThread().WaitFor(arrived);
                 }
             });
         }});
    auto const desk = std::make_shared<qx5::operation::OperatorDesk>();
    auto const live = [&stage, &sonar](std::size_t samples, std::vector<double>& nanoseconds, auto const& answer) {
        std::uint64_t arrived = stage.DrainThread().Bytes();
        for (std::size_t i = 0; i < samples; ++i) {
            CAttributeMap const given = RangeRequest(NextRange());
            CAttributeMap request = given;
            Time(1, 1, nanoseconds, [&] { stage.Host().DeliverRequest(sonar, &request, &given); });
            arrived += recordBytes;
            stage.DrainThread().WaitFor(arrived);
            answer(given);
        }
    };
    cases.push_back({"request-by-the-host", "the same handed over by the host, which nobody follows", 1000,
                     [&stage, live](std::size_t samples, std::vector<double>& nanoseconds) {
                         stage.OnHostLive([&] { live(samples, nanoseconds, [](CAttributeMap const&) {}); });
                     }});
    cases.push_back({"request-followed",
                     "the same while it is followed, guarded and logged; what the sonar then tells comes between", 1000,
                     [&stage, &sonar, live, desk](std::size_t samples, std::vector<double>& nanoseconds) {
                         stage.OnHostLive([&] {
                             desk->Join(stage.Host());
                             live(samples, nanoseconds,
                                  [&](CAttributeMap const& told) { stage.Host().MergeDecoded(sonar, told); });
                             qx5::operation::OperatorDesk::Leave(stage.Host());
                         });
                     }});
    cases.push_back(
        {"request-recorded", "the same while a flight recorder takes it into a file in memory", 1000,
         [&stage, &sonar, live, desk](std::size_t samples, std::vector<double>& nanoseconds) {
             RecordingFolder const folder;
             auto const recorder = std::make_shared<qx5::recording::FlightRecorder>(
                 folder.File(), qx5::recording::RecorderOptions{.program = {}, .tell = {}, .utc = {}, .steady = {}});
             stage.OnHostLive([&] {
                 desk->Join(stage.Host());
                 desk->Tap().Set(recorder);
                 live(samples, nanoseconds, [&](CAttributeMap const& told) { stage.Host().MergeDecoded(sonar, told); });
                 desk->Tap().Set(nullptr);
                 qx5::operation::OperatorDesk::Leave(stage.Host());
             });
         }});
    cases.push_back({"bare-round-trip", "bare program: 96 bytes to another thread over loopback and back", 1000,
                     [mirror = std::make_shared<Mirror>()](std::size_t samples, std::vector<double>& nanoseconds) {
                         Time(samples, 1, nanoseconds, [&] { mirror->RoundTrip(); });
                     }});

    cases.push_back({"request-across-threads",
                     "x5Range posted to the host thread until its 96 bytes were read at the far end and the echo's "
                     "subscriber was told",
                     1000, [&stage](std::size_t samples, std::vector<double>& nanoseconds) {
                         stage.OnHostLive([] {});
                         LiveSonar& read = stage.Read();
                         std::array<unsigned char, recordBytes> bytes{};
                         for (std::size_t i = 0; i < samples; ++i) {
                             CAttributeMap tree;
                             *tree.Add(vordal::keys::Request) = RangeRequest(NextRange());
                             std::uint32_t const told = read.Told();
                             Time(1, 1, nanoseconds, [&] {
                                 DataManager::GetDataManager().SetAttributeMap(read.GetDevice().GetDataId(), tree, 4,
                                                                               false);
                                 ReadAll(read.FarEnd(), bytes);
                                 read.WaitUntilTold(told + 1);
                             });
                         }
                     }});

    cases.push_back({"requests-back-to-back",
                     "each of 10,000 requests of x5Range posted one after the other, until the last byte has arrived",
                     1, [&stage](std::size_t samples, std::vector<double>& nanoseconds) {
                         constexpr std::size_t requests = 10000;
                         stage.OnHostLive([] {});
                         CDataId const id = stage.Drained().GetDevice().GetDataId();
                         for (std::size_t i = 0; i < samples; ++i) {
                             std::uint64_t const arrived = stage.DrainThread().Bytes();
                             std::vector<double> took;
                             Time(1, 1, took, [&] {
                                 for (std::size_t j = 0; j < requests; ++j) {
                                     CAttributeMap tree;
                                     *tree.Add(vordal::keys::Request) = RangeRequest(NextRange());
                                     DataManager::GetDataManager().SetAttributeMap(id, tree, 4, false);
                                 }
                                 stage.DrainThread().WaitFor(arrived + requests * recordBytes);
                             });
                             nanoseconds.push_back(took.front() / static_cast<double>(requests));
                         }
                     }});
    return cases;
}

} // namespace bench
