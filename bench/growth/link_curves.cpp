// How what a sonar tells, and what it is sent, costs: with the size of it, and with other sonars that flood the host.
#include "curve.h"

#include "bench/stage.h"
#include "reference_host/attributes/host_keys.h"
#include "reference_host/attributes/tree_bytes.h"

#include <VordalSubscriberR/Subscriber.h>
#include <protocol/frame.h>
#include <protocol/house_records.h>
#include <vordalhostdllR/DataManager.h>

#include <fcntl.h>
#include <malloc.h>
#include <poll.h>
#include <sched.h>
#include <sys/resource.h>
#include <sys/socket.h>
#include <time.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <atomic>
#include <chrono>
#include <cstddef>
#include <cstdio>
#include <memory>
#include <string>
#include <thread>
#include <utility>
#include <vector>

namespace bench {

namespace {

namespace protocol = qx5::protocol;

using Clock = std::chrono::steady_clock;

double Nanoseconds(Clock::duration duration)
{
    return std::chrono::duration<double, std::nano>(duration).count();
}

/// What a sonar tells: so many values, and the range.
std::vector<unsigned char> Telling(std::size_t values, double value, double range)
{
    CAttributeMap tree;
    for (std::size_t i = 0; i < values; ++i) {
        std::wstring const key = L"Value" + std::to_wstring(i);
        tree.Add(AttributeKey(std::wstring_view(key)), CVordalDouble(value + static_cast<double>(i)), 0);
    }
    tree.Add(rangeKey, CVordalDouble(range), 0);
    auto const bytes = vordal::EncodeTree(tree, protocol::LinkTree);
    return protocol::BuildFrame(protocol::records::AttributeTree.Id(), protocol::OwnSonar, 1700000000.0, bytes);
}

double ProcessorTime()
{
    timespec time{};
    clock_gettime(CLOCK_PROCESS_CPUTIME_ID, &time);
    return static_cast<double>(time.tv_sec) * 1e9 + static_cast<double>(time.tv_nsec);
}

/// The processor time of the process for each of some tellings of so many values, from the socket to their follower.
void TimeTellings(LiveSonar& sonar, std::size_t values, std::size_t samples, bool areChanged,
                  std::vector<double>& nanoseconds)
{
    std::array const tellings{Telling(values, 1.0, 10.0), Telling(values, 2.0, areChanged ? 20.0 : 10.0)};
    for (auto const& telling : tellings) {
        auto const told = sonar.Told();
        SendAll(sonar.FarEnd(), telling);
        sonar.WaitUntilTold(told + 1);
    }
    auto const tellingsOfSample = std::max<std::size_t>(4, 8192 / values);
    for (std::size_t i = 0; i < samples; ++i) {
        auto const told = sonar.Told();
        double const before = ProcessorTime();
        for (std::size_t j = 0; j < tellingsOfSample; ++j) {
            SendAll(sonar.FarEnd(), tellings[areChanged ? j % 2 : 1]);
        }
        sonar.WaitUntilTold(told + tellingsOfSample);
        nanoseconds.push_back((ProcessorTime() - before) / static_cast<double>(tellingsOfSample));
    }
}

/// Sonars that tell as fast as the host takes it, one value of 300 another each time, by one thread.
class Floods
{
public:
    Floods(Stage& stage, std::size_t sonars)
    {
        for (std::size_t i = 0; i < sonars; ++i) {
            m_sonars.push_back(
                std::make_unique<LiveSonar>(stage.Host(), static_cast<unsigned short>(100 + i), MakeTree(300)));
        }
    }
    Floods(Floods const&) = delete;
    Floods& operator=(Floods const&) = delete;
    ~Floods()
    {
        m_ended.store(true);
        if (m_thread.joinable()) {
            m_thread.join();
        }
    }

    void Begin()
    {
        m_thread = std::thread([this] { Run(); });
    }
    /// Whether each of them has been told of so often.
    bool AllTold(std::uint64_t times) const
    {
        return std::all_of(m_sonars.begin(), m_sonars.end(),
                           [times](auto const& sonar) { return sonar->Told() >= times; });
    }

private:
    struct Line
    {
        std::size_t telling = 0;
        std::size_t sent = 0; ///< of it
    };

    void Run()
    {
        // Sonars are other machines: what sends here takes the processor from nobody.
        sched_param const none{};
        sched_setscheduler(gettid(), SCHED_IDLE, &none);
        std::vector<std::vector<unsigned char>> tellings;
        for (int i = 0; i < 2; ++i) {
            tellings.push_back(Telling(300, i, i));
        }
        std::vector<pollfd> ready;
        for (auto const& sonar : m_sonars) {
            fcntl(sonar->FarEnd(), F_SETFL, O_NONBLOCK);
            ready.push_back({sonar->FarEnd(), POLLOUT, 0});
        }
        std::vector<Line> lines(ready.size());
        while (!m_ended.load() && !ready.empty()) {
            poll(ready.data(), static_cast<nfds_t>(ready.size()), 10);
            for (std::size_t i = 0; i < ready.size(); ++i) {
                if ((ready[i].revents & POLLOUT) == 0) {
                    continue;
                }
                auto& line = lines[i];
                auto const& telling = tellings[line.telling];
                auto const sent =
                    send(ready[i].fd, telling.data() + line.sent, telling.size() - line.sent, MSG_NOSIGNAL);
                line.sent += sent > 0 ? static_cast<std::size_t>(sent) : 0;
                if (line.sent == telling.size()) {
                    line = {1 - line.telling, 0};
                }
            }
        }
    }

    std::vector<std::unique_ptr<LiveSonar>> m_sonars;
    std::atomic<bool> m_ended{false};
    std::thread m_thread;
};

/// Begins them, and lets them reach all that they can fill.
void Flood(Floods& floods)
{
    floods.Begin();
    while (!floods.AllTold(50)) {
        std::this_thread::sleep_for(std::chrono::milliseconds(1));
    }
}

double NinetyNinthOf(std::vector<double> samples)
{
    auto const at = samples.begin() + static_cast<std::ptrdiff_t>(samples.size() * 99 / 100);
    std::nth_element(samples.begin(), at, samples.end());
    return *at;
}

constexpr std::size_t quietSamples = 100;
// Fewer, where each takes long.
constexpr std::chrono::seconds quietTime{2};

/// A frame of so many bytes, such as an image's.
std::string LargeFrame(std::size_t bytes)
{
    std::string frame(bytes, 'x');
    protocol::WriteFrameHeader({reinterpret_cast<unsigned char*>(frame.data()), frame.size()},
                               static_cast<std::uint32_t>(frame.size()), 3002, protocol::OwnSonar, 1700000000.0);
    std::fill(frame.end() - protocol::TrailingWordSize, frame.end(), '\0');
    return frame;
}

/// Frames sent back to back to a sonar that reads, or begins to once all are sent. What the longest of them held its
/// caller; nothing where one was refused.
void TimeLargeFrames(Stage& stage, std::size_t bytes, std::size_t count, std::vector<double>& nanoseconds)
{
    LiveSonar sonar(stage.Host(), 98, MakeTree(10));
    std::vector<std::string> frames(count, LargeFrame(bytes));
    std::unique_ptr<Drain> drain;
    if (count == 1) {
        drain = std::make_unique<Drain>(sonar.FarEnd());
    }
    double longest = 0.0;
    bool areTaken = true;
    for (std::string& frame : frames) {
        auto const begin = Clock::now();
        areTaken = sonar.GetDevice().SendMessageW(std::move(frame), false) && areTaken;
        longest = std::max(longest, Nanoseconds(Clock::now() - begin));
    }
    if (count > 1) {
        drain = std::make_unique<Drain>(sonar.FarEnd());
    }
    if (areTaken) {
        drain->WaitFor(bytes * count);
        nanoseconds.push_back(longest);
    } else {
        std::fprintf(stderr, "one of %zu frames of %zu bytes was refused\n", count, bytes);
        nanoseconds.push_back(1e9);
    }
}

/// Something of a quiet sonar beside floods: 99 of 100 take no longer.
template <typename Something>
Curve BesideFloods(Stage& stage, std::string name, std::string work, double exponent, Something something)
{
    return {std::move(name),
            std::move(work),
            {1, 4, 16, 64},
            exponent,
            {{16, 5e6}},
            [&stage, something](std::size_t size, std::vector<double>& nanoseconds) {
                LiveSonar quiet(stage.Host(), 99, MakeTree(300));
                Floods floods(stage, size);
                Flood(floods);
                std::vector<double> samples;
                auto const end = Clock::now() + quietTime;
                for (std::size_t i = 0; i < quietSamples && Clock::now() < end; ++i) {
                    auto const told = quiet.Told();
                    auto const begin = Clock::now();
                    something(quiet, static_cast<double>(i));
                    quiet.WaitUntilTold(told + 1);
                    // When this thread hears of it is another matter, on a machine with fewer processors than threads.
                    samples.push_back(Nanoseconds(quiet.LastTold() - begin));
                    std::this_thread::sleep_for(std::chrono::milliseconds(2));
                }
                nanoseconds.push_back(NinetyNinthOf(samples));
            }};
}

} // namespace

std::vector<Curve> LinkCurves(Stage& stage)
{
    std::vector<Curve> curves;
    for (bool const areChanged : {true, false}) {
        curves.push_back({areChanged ? "told-changed" : "told-unchanged",
                          areChanged ? "processor time for N values that a sonar tells, each another than before"
                                     : "the same for N values that it has told already",
                          {16, 128, 1024, 8192},
                          1.0,
                          {},
                          [&stage, areChanged](std::size_t size, std::vector<double>& nanoseconds) {
                              TimeTellings(stage.Drained(), size, 20, areChanged, nanoseconds);
                          }});
    }
    curves.push_back(BesideFloods(
        stage, "quiet-data-p99", "a quiet sonar tells its range beside N sonars that flood, until its follower knows",
        1.0, [](LiveSonar& quiet, double value) { SendAll(quiet.FarEnd(), Telling(1, value, value)); }));
    curves.push_back(
        BesideFloods(stage, "quiet-request-p99",
                     "a quiet sonar is asked for a range beside N sonars that flood, until the echo's follower knows",
                     1.0, [](LiveSonar& quiet, double value) {
                         CAttributeMap tree;
                         tree.Add(vordal::keys::Request)->Add(rangeKey, CVordalDouble(value), 0);
                         DataManager::GetDataManager().SetAttributeMap(quiet.GetDevice().GetDataId(), tree, 4, false);
                     }));
    curves.push_back({"flood-memory",
                      "bytes allocated while N sonars flood, beyond those before, at their most (no time)",
                      {1, 4, 16, 64},
                      0.5,
                      {{16, 64e6}},
                      [&stage](std::size_t size, std::vector<double>& nanoseconds) {
                          auto const allocated = [] {
                              auto const now = mallinfo2();
                              return static_cast<double>(now.uordblks + now.hblkhd);
                          };
                          Floods floods(stage, size);
                          double const before = allocated();
                          floods.Begin();
                          double greatest = before;
                          auto const end = Clock::now() + std::chrono::seconds(1);
                          while (Clock::now() < end) {
                              greatest = std::max(greatest, allocated());
                              std::this_thread::sleep_for(std::chrono::milliseconds(5));
                          }
                          nanoseconds.push_back(greatest - before);
                      }});
    std::vector<std::size_t> const imageBytes{1'000'000, 5'000'000, 20'000'000, 50'000'000};
    curves.push_back({"image-sent",
                      "a frame of N bytes handed over to be sent, what it holds its caller",
                      imageBytes,
                      0.0,
                      {{50'000'000, 0.2e6}},
                      [&stage](std::size_t size, std::vector<double>& nanoseconds) {
                          for (int i = 0; i < 5; ++i) {
                              TimeLargeFrames(stage, size, 1, nanoseconds);
                          }
                      }});
    curves.push_back({"images-sent-back-to-back",
                      "four such to a sonar that takes nothing meanwhile, what the longest holds its caller",
                      imageBytes,
                      0.0,
                      {{50'000'000, 0.2e6}},
                      [&stage](std::size_t size, std::vector<double>& nanoseconds) {
                          for (int i = 0; i < 2; ++i) {
                              TimeLargeFrames(stage, size, 4, nanoseconds);
                          }
                      }});
    return curves;
}

} // namespace bench
