// qx5-line-trial: what a person ashore waits for, over a whole vessel: from a set to its echo seen ashore and to its
// result, and, far away, how often the picture of detections is new meanwhile. A host with the plug-in and a simulated
// sonar is one process, the person ashore another, mosquitto stands between them; a bare program's round trip through
// the same broker takes turns with the sets.
//   qx5-line-trial [SETS]         on this machine
//   qx5-line-trial --far [--blind] [SETS]   with 256 kbit/s, 800 ms both ways and every twentieth packet lost between
//   the vessel
//                                 and the broker; takes root. --blind: without the picture
#include "bare_mqtt.h"
#include "lossy_link.h"

#include "fleet/fleet.h"
#include "operation/operator_desk.h"
#include "reference_host/attributes/host_keys.h"
#include "reference_host/project/live_host.h"
#include "test_broker.h"
#include "vessel/vessel.h"
#include <VordalAttributesR/CVordalType.h>
#include <protocol/records/all.h>
#include <simulator/sonar_server.h>
#include <values/vordal_value.h>
#include <vordalhostdllR/DataManager.h>

#include <fmt/format.h>

#include <algorithm>
#include <atomic>
#include <chrono>
#include <condition_variable>
#include <exception>
#include <filesystem>
#include <iostream>
#include <mutex>
#include <optional>
#include <stdexcept>
#include <string>
#include <thread>
#include <utility>
#include <vector>

namespace {

using namespace qx5;
using namespace std::chrono_literals;
using Clock = std::chrono::steady_clock;

constexpr char const* group = "trial";
constexpr char const* vesselName = "Vega";
fleet::Place const sonarPlace{vesselName, "Bow"};
CDataId const sonarId(1, 78, 1, 1);

/// Waits for what other threads do.
class Bell
{
public:
    template <typename Change>
    void Ring(Change const& change)
    {
        {
            std::lock_guard const lock(m_mutex);
            change();
        }
        m_changed.notify_all();
    }
    template <typename Condition>
    bool Wait(std::chrono::milliseconds limit, Condition const& condition)
    {
        std::unique_lock lock(m_mutex);
        return m_changed.wait_for(lock, limit, condition);
    }

private:
    std::mutex m_mutex;
    std::condition_variable m_changed;
};

broker::CertificateFiles FilesIn(std::filesystem::path const& folder, std::string const& name)
{
    return {folder / "authority.pem", folder / (name + ".pem"), folder / (name + ".key")};
}

/// A vessel with one sonar and a bare echo, until standard input ends.
void RunAboard(broker::BrokerAddress const& address, std::filesystem::path const& folder, bool pings)
{
    simulator::ServerOptions calm;
    calm.calm = true;
    simulator::SonarServer sonar(calm);
    if (auto const problem = sonar.Start()) {
        throw std::runtime_error("the sonar does not start");
    }
    vordal::LiveHost host;
    operation::OperatorDesk desk;
    desk.Join(host);
    std::string error;
    if (!host.LoadPlugIn(PLUGIN_FILE, error)) {
        throw std::runtime_error(error);
    }
    vordal::StoredProject project;
    project.vessels = {{.number = 1, .name = L"Vessel", .configuration = {}}};
    vordal::AddConnected(project, {sonarId, host.SonarClass(), L"Bow", {}, true, {}}, L"127.0.0.1", sonar.Port());
    desk.SetName(sonarId, "Bow");
    Bell bell;
    bool isConnected = false;
    auto& open = host.Open(std::move(project));
    open.Ports().front()->SetStatusListener([&](vordal::LinkStatus const& status) {
        desk.OnLinkStatus(sonarId, status);
        bell.Ring([&] { isConnected = status.state == vordal::LinkState::Connected; });
    });
    host.Start();
    std::atomic<bool> isEnding = false;
    std::thread ticker([&] {
        while (!isEnding) {
            host.RunAndWait([&] { desk.Tick(); });
            std::this_thread::sleep_for(10ms);
        }
    });
    {
        vessel::VesselOptions options;
        options.address = address;
        options.files = FilesIn(folder, "vessel");
        options.group = group;
        options.vessel = vesselName;
        options.outboxFile = folder / "outbox";
        options.tell = [](std::string const& line) { fmt::print(stderr, "aboard: {}\n", line); };
        options.status = [](broker::LineStatus const& status) {
            if (!status.reason.empty()) {
                fmt::print(stderr, "aboard: {}\n", status.reason);
            }
        };
        vessel::Vessel vessel(host, desk, std::move(options));
        vessel.Begin();
        bench::BareMqtt* speaker = nullptr;
        bench::BareMqtt echo(address, FilesIn(folder, "vessel"), "bare/request",
                             [&speaker](std::string_view payload) { speaker->Publish("bare/answer", payload, 0); });
        speaker = &echo;
        if (!bell.Wait(60s, [&] { return isConnected; })) {
            throw std::runtime_error("the sonar does not connect");
        }
        if (pings) {
            CAttributeMap on;
            AddValue(*on.Add(vordal::keys::Request), protocol::keys::x5PingOnOffState.text, std::int32_t{1});
            host.RunAndWait([&] { DataManager::GetDataManager().SetAttributeMap(sonarId, on, 4, false); });
        }
        fmt::print("ready\n");
        std::fflush(stdout);
        for (std::string line; std::getline(std::cin, line);) {
        }
    }
    isEnding = true;
    ticker.join();
    host.End(10s, [&] { desk.Finish(); });
}

/// Before each message: a key that changes more often than every 100 ms waits for its turn to be told.
constexpr auto pause = 110ms;

struct Taken
{
    std::vector<double> echoes;  ///< s from a set to its echo seen
    std::vector<double> results; ///< s from a set to its result
    std::vector<double> bare;    ///< s of a bare round trip
    std::vector<double> pauses;  ///< s between two pings that were seen
};

double Part(std::vector<double> values, double part)
{
    if (values.empty()) {
        return 0.0;
    }
    std::sort(values.begin(), values.end());
    return values[std::min(values.size() - 1, static_cast<std::size_t>(part * static_cast<double>(values.size())))];
}

double SecondsSince(Clock::time_point time)
{
    return std::chrono::duration<double>(Clock::now() - time).count();
}

/// The person ashore: sets, one after another, and waits for each.
Taken TakeAshore(test::TestBroker& server, int sets, bool wantsPicture)
{
    Bell bell;
    Taken taken;
    std::optional<double> wanted;
    std::optional<double> echoed;
    Clock::time_point asked;
    bool isThere = false;
    std::optional<Clock::time_point> lastPing;
    fleet::FleetOptions options;
    options.line.address = server.Secure();
    options.line.files = server.Files("operator");
    options.group = group;
    options.person = "operator";
    options.wantsDetections = wantsPicture;
    fleet::Fleet* known = nullptr;
    fleet::FleetHooks hooks;
    hooks.changed = [&](fleet::Place const& place) {
        auto const state = place == sonarPlace ? known->Sonar(place) : std::nullopt;
        if (!state) {
            return;
        }
        double value = 0.0;
        bool const has = state->tree.FindValue(protocol::keys::x5Range.text).Get(value);
        bell.Ring([&] {
            isThere = isThere || has;
            if (wanted && has && value == *wanted && !echoed) {
                echoed = SecondsSince(asked);
            }
        });
    };
    hooks.detections = [&](fleet::Place const&, authority::DetectionsMessage const&) {
        bell.Ring([&] {
            if (lastPing) {
                taken.pauses.push_back(SecondsSince(*lastPing));
            }
            lastPing = Clock::now();
        });
    };
    fleet::Fleet ashore(options, hooks);
    known = &ashore;
    ashore.Start();
    Clock::time_point sent;
    std::optional<double> answered;
    bench::BareMqtt bare(server.Secure(), server.Files("operator"), "bare/answer",
                         [&](std::string_view) { bell.Ring([&] { answered = SecondsSince(sent); }); });
    auto const require = [&](bool holds, char const* what) {
        if (!holds) {
            throw std::runtime_error(what);
        }
    };
    require(bell.Wait(120s, [&] { return isThere; }), "the sonar was not seen ashore within 120 s");
    ashore.Look(sonarPlace, wantsPicture);
    auto const takeLease = [&] {
        bool isGranted = false;
        ashore.AskLease(sonarPlace, {authority::LeaseVerb::Take, 600.0, {}}, 30.0,
                        [&](authority::LeaseReply const& reply) {
                            bell.Ring([&] { isGranted = reply.answer == authority::LeaseReplyKind::Granted; });
                        });
        require(bell.Wait(60s, [&] { return isGranted; }), "the lease was not granted within 60 s");
    };
    takeLease();
    auto leaseTaken = Clock::now();
    for (int i = 0; i < sets; ++i) {
        if (Clock::now() - leaseTaken > 300s) {
            takeLease();
            leaseTaken = Clock::now();
        }
        CAttributeMap request;
        double const value = 50.0 + i % 400;
        AddValue(request, protocol::keys::x5Range.text, value);
        std::optional<double> result;
        std::string outcome;
        bell.Ring([&] {
            wanted = value;
            echoed.reset();
            asked = Clock::now();
        });
        ashore.Request(sonarPlace, request, 30.0, [&](authority::RequestReply const& reply) {
            bell.Ring([&] {
                result = SecondsSince(asked);
                outcome = reply.outcome + (reply.reason.empty() ? "" : ": " + reply.reason);
            });
        });
        require(bell.Wait(60s, [&] { return result.has_value() && echoed.has_value(); }),
                "a set had no result, or no echo, within 60 s");
        require(outcome.starts_with("agrees"), ("a set did not agree: " + outcome).c_str());
        taken.echoes.push_back(*echoed);
        taken.results.push_back(*result);
        // As long at rest before the one as before the other.
        std::this_thread::sleep_for(pause);
        bell.Ring([&] {
            answered.reset();
            sent = Clock::now();
        });
        bare.Publish("bare/request", std::string(200, 'x'), 1);
        require(bell.Wait(60s, [&] { return answered.has_value(); }), "a bare message had no answer within 60 s");
        taken.bare.push_back(*answered);
        std::this_thread::sleep_for(pause);
    }
    ashore.End();
    return taken;
}

void Print(Taken const& taken, bool isFar)
{
    fmt::print("{:<34} {:>10} {:>10} {:>10} {:>10} {:>6}\n", "ms", "median", "90 %", "99 %", "longest", "n");
    auto const row = [](char const* what, std::vector<double> const& values) {
        fmt::print("{:<34} {:>10.3f} {:>10.3f} {:>10.3f} {:>10.3f} {:>6}\n", what, 1e3 * Part(values, 0.5),
                   1e3 * Part(values, 0.9), 1e3 * Part(values, 0.99), 1e3 * Part(values, 1.0), values.size());
    };
    row("bare round trip by the same broker", taken.bare);
    row("set ashore to echo seen ashore", taken.echoes);
    row("set ashore to its result", taken.results);
    row("from one ping seen to the next", taken.pauses);
    auto const bound = [](char const* what, double is, double most) {
        fmt::print("{:<60} {:>8.2f}, at most {:.2f}: {}\n", what, is, most, is <= most ? "held" : "MISSED");
    };
    if (isFar) {
        bound("a set with its result, 99 of 100, s", Part(taken.results, 0.99), 3.0);
    } else {
        bound("set to echo, to a bare round trip (medians)", Part(taken.echoes, 0.5) / Part(taken.bare, 0.5), 1.5);
    }
}

} // namespace

int main(int argc, char** argv)
try {
    std::vector<std::string> arguments(argv + 1, argv + argc);
    if (arguments.size() == 5 && arguments.front() == "--aboard") {
        RunAboard({true, arguments[1], static_cast<std::uint16_t>(std::stoi(arguments[2]))}, arguments[3],
                  arguments[4] == "pings");
        return 0;
    }
    bool const isFar = std::erase(arguments, "--far") > 0;
    // On this machine a simulated sonar that pings would have one of the processors for itself.
    bool const wantsPicture = std::erase(arguments, "--blind") == 0 && isFar;
    int const sets = arguments.empty() ? (isFar ? 300 : 1000) : std::stoi(arguments.front());
    auto const program = std::filesystem::read_symlink("/proc/self/exe").string();
    // Before there is any other thread: each end has a network of its own.
    std::optional<bench::LossyLink> link;
    if (isFar) {
        link.emplace(bench::LossyLinkOptions{256e3, 400ms, 0.05, 1});
    }
    test::TestBroker server({"broker", {}, "information", isFar ? bench::LossyLink::NearAddress : "127.0.0.1"});
    auto const start = [&] {
        return std::make_unique<test::ChildProcess>(
            std::vector<std::string>{program, "--aboard", server.Secure().host, std::to_string(server.Secure().port),
                                     server.Folder().string(), wantsPicture ? "pings" : "rests"});
    };
    auto const aboard = link ? link->AtTheFarEnd(start) : start();
    if (!aboard->WaitForOutput("ready\n")) {
        throw std::runtime_error("the vessel does not start: " + aboard->Errors());
    }
    auto const taken = TakeAshore(server, sets, wantsPicture);
    Print(taken, isFar);
    if (link) {
        fmt::print("packets {}, lost {}, shed {}\n", link->Packets(), link->Lost(), link->Shed());
    }
    std::cerr << aboard->Errors();
    aboard->CloseInput();
    aboard->WaitForEnd();
    return 0;
} catch (std::exception const& problem) {
    fmt::print(stderr, "qx5-line-trial: {}\n", problem.what());
    return 1;
}
