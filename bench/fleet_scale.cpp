// qx5-fleet-scale: how memory and time grow with the vessels of a fleet at one broker. One process is all vessels, each
// with a connection and four sonars, another one reads ashore, mosquitto stands between them.
//   qx5-fleet-scale [VESSELS...]   the numbers of vessels, 10 100 300 1000 unless told
#include "publication_of.h"

#include "sparkplug/edge_node.h"
#include "sparkplug/host_application.h"
#include "test_broker.h"
#include <VordalAttributesR/CVordalType.h>
#include <protocol/catalogue.h>
#include <protocol/records/all.h>
#include <reference_host/attributes/tree_merge.h>
#include <values/vordal_value.h>

#include <fmt/format.h>

#include <algorithm>
#include <array>
#include <atomic>
#include <chrono>
#include <cmath>
#include <condition_variable>
#include <cstdint>
#include <deque>
#include <exception>
#include <filesystem>
#include <fstream>
#include <functional>
#include <iostream>
#include <mutex>
#include <sstream>
#include <stdexcept>
#include <string>
#include <string_view>
#include <thread>
#include <utility>
#include <vector>

#include <sys/resource.h>
#include <unistd.h>

namespace {

using namespace qx5;
using namespace std::chrono_literals;
using Clock = std::chrono::steady_clock;

constexpr char const* group = "scale";
constexpr std::size_t sonarsOfVessel = 4;
/// Of each sonar change, once a second.
constexpr std::array changing{protocol::keys::x5Range, protocol::keys::x5Gain, protocol::keys::x5PulseLength};
constexpr auto measured = 10s;

/// What a process has used, as the system tells it.
struct Used
{
    double memory = 0.0;    ///< in the computer's memory, KiB
    double processor = 0.0; ///< s
    double descriptors = 0.0;
    double threads = 0.0;

    friend Used operator-(Used const& a, Used const& b)
    {
        return {a.memory - b.memory, a.processor - b.processor, a.descriptors - b.descriptors, a.threads - b.threads};
    }
};

Used UsedBy(std::string const& process)
{
    Used used;
    std::ifstream status("/proc/" + process + "/status");
    for (std::string word; status >> word;) {
        if (word == "VmRSS:") {
            status >> used.memory;
        } else if (word == "Threads:") {
            status >> used.threads;
        }
    }
    for (auto const& thread : std::filesystem::directory_iterator("/proc/" + process + "/task")) {
        double nanoseconds = 0.0;
        std::ifstream(thread.path() / "schedstat") >> nanoseconds;
        used.processor += 1e-9 * nanoseconds;
    }
    for ([[maybe_unused]] auto const& entry : std::filesystem::directory_iterator("/proc/" + process + "/fd")) {
        ++used.descriptors;
    }
    return used;
}

broker::ConnectionOptions OptionsFor(broker::BrokerAddress const& address, broker::CertificateFiles const& files)
{
    broker::ConnectionOptions options;
    options.address = address;
    options.files = files;
    // The broker shakes hands with all of them, one after another.
    options.connectLimit = 120s;
    return options;
}

/// The reader ashore, the whole of a process: it says how many things are alive on each line that it is sent.
class Reader
{
public:
    explicit Reader(broker::ConnectionOptions const& options)
        : m_application({}, Hooks(), sparkplug::SystemMoment),
          m_connection(options, {sparkplug::GroupFilter(group)}, LineHooks())
    {
        m_connection.Start();
    }

    /// Until its standard input ends.
    void Answer()
    {
        for (std::string line; std::getline(std::cin, line);) {
            std::cout << fmt::format("alive {} metrics {} gaps {} connected {}\n", m_alive.load(), m_metrics.load(),
                                     m_gaps.load(), m_connection.Counts().connections)
                      << std::flush;
        }
        m_connection.End(0s);
    }

private:
    sparkplug::HostHooks Hooks()
    {
        sparkplug::HostHooks hooks;
        hooks.publish = [this](sparkplug::Message const& message) {
            return m_connection.Publish(bench::PublicationOf(message)).has_value();
        };
        hooks.state = [this](sparkplug::SeenName const& name) {
            m_alive += m_application.Find(name)->state == sparkplug::SeenState::Alive ? 1 : -1;
        };
        return hooks;
    }
    broker::ConnectionHooks LineHooks()
    {
        broker::ConnectionHooks hooks;
        hooks.message = [this](std::string_view topic, std::string_view payload) {
            m_application.Receive(topic, payload);
            m_metrics = m_application.Counts().metrics;
            m_gaps = m_application.Counts().gaps;
        };
        return hooks;
    }

    std::atomic<std::int64_t> m_alive = 0;
    std::atomic<std::uint64_t> m_metrics = 0;
    std::atomic<std::uint64_t> m_gaps = 0;
    sparkplug::HostApplication m_application;
    broker::Connection m_connection;
};

/// What happens on connections, for the one thread that has all edge nodes.
class Happenings
{
public:
    using Happening = std::function<void()>;

    void Put(Happening happening)
    {
        {
            std::lock_guard const lock(m_mutex);
            m_all.push_back(std::move(happening));
        }
        m_isThere.notify_one();
    }
    void TakeAllUntil(Clock::time_point time)
    {
        for (;;) {
            std::deque<Happening> taken;
            {
                std::unique_lock lock(m_mutex);
                if (!m_isThere.wait_until(lock, time, [&] { return !m_all.empty(); })) {
                    return;
                }
                taken = std::exchange(m_all, {});
            }
            for (Happening const& happening : taken) {
                happening();
            }
        }
    }

private:
    std::mutex m_mutex;
    std::condition_variable m_isThere;
    std::deque<Happening> m_all;
};

/// A sonar's attributes: each key of the tables with a plausible value, some 600 in branches of the families.
CAttributeMap WholeTree()
{
    CAttributeMap tree;
    for (protocol::Key const* const key : protocol::AllKeys()) {
        AddValue(tree, key->text, protocol::ExampleOf(key->kind));
    }
    vordal::ForgetReferences(tree);
    return tree;
}

class Vessel
{
public:
    Vessel(std::string const& name, broker::ConnectionOptions const& options, Happenings& happenings)
        : m_node(NodeOptions(name), Hooks(), sparkplug::SystemMoment), m_will(m_node.NextWill()),
          m_connection(options, m_node.Filters(), LineHooks(happenings))
    {
        m_connection.Start();
        for (std::size_t i = 0; i < sonarsOfVessel; ++i) {
            m_sonars.push_back({"sonar " + std::to_string(i + 1), WholeTree()});
            m_node.SetDevice(m_sonars.back().name, m_sonars.back().tree);
        }
    }
    Vessel(Vessel const&) = delete;
    Vessel& operator=(Vessel const&) = delete;

    /// What changes in a second.
    void Change()
    {
        m_value += 1.0;
        CAttributeMap time;
        time.FindCreate(L"Vessel Time", 0).Add(L"Seconds", CVordalDouble(m_value), 0);
        m_node.SetNode(time);
        for (Sonar& sonar : m_sonars) {
            for (auto const& key : changing) {
                vordal::SetChildValue(sonar.tree, key.text, CVordalDouble(m_value));
            }
            m_node.SetDevice(sonar.name, sonar.tree);
        }
    }
    bool IsBorn() const { return m_node.IsBorn(); }

private:
    struct Sonar
    {
        std::string name;
        CAttributeMap tree;
    };
    static sparkplug::EdgeNodeOptions NodeOptions(std::string const& name)
    {
        sparkplug::EdgeNodeOptions options;
        options.group = group;
        options.node = name;
        return options;
    }
    sparkplug::EdgeNodeHooks Hooks()
    {
        sparkplug::EdgeNodeHooks hooks;
        hooks.publish = [this](sparkplug::Message const& message) {
            return m_connection.Publish(bench::PublicationOf(message)).has_value();
        };
        return hooks;
    }
    broker::ConnectionHooks LineHooks(Happenings& happenings)
    {
        broker::ConnectionHooks hooks;
        hooks.will = [this] { return bench::PublicationOf(m_will); };
        hooks.connected = [this, &happenings] { happenings.Put([this] { m_node.Connected(); }); };
        hooks.disconnected = [this] {
            if (!isEnding) {
                throw std::runtime_error("a vessel has lost its connection: " + m_connection.Status().reason);
            }
        };
        hooks.message = [this, &happenings](std::string_view topic, std::string_view payload) {
            happenings.Put(
                [this, topic = std::string(topic), payload = std::string(payload)] { m_node.Receive(topic, payload); });
        };
        return hooks;
    }

    sparkplug::EdgeNode m_node;
    sparkplug::Message const m_will;
    std::vector<Sonar> m_sonars;
    double m_value = 0.0;

public:
    std::atomic<bool> isEnding = false;

private:
    broker::Connection m_connection; // the last: its hooks use all the others
};

/// What came of one number of vessels.
struct Row
{
    std::size_t vessels = 0;
    Used aboard;
    Used broker;
    Used ashore;
    Used aboardPerSecond; ///< while values change
    Used brokerPerSecond;
    Used ashorePerSecond;
    double untilBorn = 0.0; ///< s, until all were seen ashore
    double metricsPerSecond = 0.0;
};

std::string AskReader(test::ChildProcess& reader)
{
    auto const before = reader.Output().size();
    reader.Write("\n");
    while (reader.Output().find('\n', before) == std::string::npos) {
        if (reader.WaitForEnd(1ms)) {
            throw std::runtime_error("the reader has ended: " + reader.Errors());
        }
    }
    return reader.Output().substr(before);
}

std::uint64_t NumberBehind(std::string const& text, std::string const& word)
{
    return std::stoull(text.substr(text.find(word) + word.size()));
}

Row Measure(std::string const& program, std::size_t count)
{
    test::TestBroker server({"broker", {}, "information"});
    auto const files = server.Files("operator");
    test::ChildProcess reader({program, "--reader", std::to_string(server.Secure().port), files.authority.string(),
                               files.certificate.string(), files.key.string()});
    while (NumberBehind(AskReader(reader), "connected ") == 0) {
        std::this_thread::sleep_for(10ms);
    }
    auto const brokerBefore = UsedBy(server.ProcessId());
    auto const readerBefore = UsedBy(reader.Id());
    auto const aboardBefore = UsedBy("self");

    Row row;
    row.vessels = count;
    Happenings happenings;
    std::deque<Vessel> vessels;
    auto const begin = Clock::now();
    auto const isBorn = [](Vessel const& vessel) { return vessel.IsBorn(); };
    for (std::size_t i = 0; i < count; ++i) {
        // As many at once as a broker lets wait at its door.
        while (i - static_cast<std::size_t>(std::count_if(vessels.begin(), vessels.end(), isBorn)) >= 50) {
            happenings.TakeAllUntil(Clock::now() + 10ms);
        }
        vessels.emplace_back("vessel " + std::to_string(i + 1), OptionsFor(server.Secure(), server.Files("vessel")),
                             happenings);
    }
    while (NumberBehind(AskReader(reader), "alive ") < count * (1 + sonarsOfVessel)) {
        happenings.TakeAllUntil(Clock::now() + 50ms);
    }
    row.untilBorn = std::chrono::duration<double>(Clock::now() - begin).count();
    row.aboard = UsedBy("self") - aboardBefore;
    row.broker = UsedBy(server.ProcessId()) - brokerBefore;
    row.ashore = UsedBy(reader.Id()) - readerBefore;

    auto const brokerThen = UsedBy(server.ProcessId());
    auto const readerThen = UsedBy(reader.Id());
    auto const aboardThen = UsedBy("self");
    auto const metricsThen = NumberBehind(AskReader(reader), "metrics ");
    auto const start = Clock::now();
    for (auto second = 0s; second < measured; ++second) {
        for (std::size_t i = 0; i < count; ++i) {
            happenings.TakeAllUntil(start + second + 1s * i / count);
            vessels[i].Change();
        }
    }
    happenings.TakeAllUntil(start + measured);
    auto const heard = AskReader(reader);
    auto const perSecond = [](Used used) {
        used.processor /= static_cast<double>(measured.count());
        return used;
    };
    row.metricsPerSecond =
        static_cast<double>(NumberBehind(heard, "metrics ") - metricsThen) / static_cast<double>(measured.count());
    row.aboardPerSecond = perSecond(UsedBy("self") - aboardThen);
    row.brokerPerSecond = perSecond(UsedBy(server.ProcessId()) - brokerThen);
    row.ashorePerSecond = perSecond(UsedBy(reader.Id()) - readerThen);
    if (auto const gaps = NumberBehind(heard, "gaps "); gaps != 0) {
        fmt::print(stderr, "qx5-fleet-scale: {} messages were missing at {} vessels\n", gaps, count);
    }
    for (Vessel& vessel : vessels) {
        vessel.isEnding = true;
    }
    // Or each would take its leave in order, one after another.
    server.Kill();
    return row;
}

std::string Write(Row const& row)
{
    auto const used = [](Used const& one) {
        return fmt::format("{} {} {} {}", one.memory, one.processor, one.descriptors, one.threads);
    };
    return fmt::format("{} {} {} {} {} {} {} {} {}\n", row.vessels, used(row.aboard), used(row.broker),
                       used(row.ashore), used(row.aboardPerSecond), used(row.brokerPerSecond),
                       used(row.ashorePerSecond), row.untilBorn, row.metricsPerSecond);
}

Row Read(std::string const& text)
{
    std::istringstream from(text);
    Row row;
    from >> row.vessels;
    for (Used* const used :
         {&row.aboard, &row.broker, &row.ashore, &row.aboardPerSecond, &row.brokerPerSecond, &row.ashorePerSecond}) {
        from >> used->memory >> used->processor >> used->descriptors >> used->threads;
    }
    from >> row.untilBorn >> row.metricsPerSecond;
    return row;
}

/// In a process of its own: what another number of vessels has left behind would be used again.
Row MeasureAlone(std::string const& program, std::string const& vessels)
{
    test::ChildProcess process({program, "--measure", vessels});
    if (process.WaitForEnd(1h) != 0) {
        throw std::runtime_error(fmt::format("{} vessels: {}", vessels, process.Errors()));
    }
    std::cerr << process.Errors();
    return Read(process.Output());
}

/// The power of the number of vessels that a figure grows with: the slope of a straight line through the logarithms.
double Exponent(std::vector<Row> const& rows, std::function<double(Row const&)> const& figure)
{
    double n = 0.0;
    double x = 0.0;
    double y = 0.0;
    double xx = 0.0;
    double xy = 0.0;
    for (Row const& row : rows) {
        auto const a = std::log(static_cast<double>(row.vessels));
        auto const b = std::log(figure(row));
        n += 1.0;
        x += a;
        y += b;
        xx += a * a;
        xy += a * b;
    }
    return (n * xy - x * y) / (n * xx - x * x);
}

void Print(std::vector<Row> const& rows)
{
    fmt::print("{:>8} | {:^29} | {:^35} | {:>9} {:>9} | {:^17}\n", "", "memory of a vessel, KiB",
               "processor time of a vessel, us/s", "metrics/s", "all born", "descriptors");
    fmt::print("{:>8} | {:>9} {:>9} {:>9} | {:>11} {:>11} {:>11} | {:>9} {:>9} | {:>8} {:>8}\n", "vessels", "aboard",
               "broker", "ashore", "aboard", "broker", "ashore", "ashore", "s", "aboard", "broker");
    for (Row const& row : rows) {
        auto const each = [&](double figure) { return figure / static_cast<double>(row.vessels); };
        fmt::print("{:>8} | {:>9.0f} {:>9.1f} {:>9.0f} | {:>11.0f} {:>11.0f} {:>11.0f} | {:>9.0f} {:>9.1f} | {:>8.0f} "
                   "{:>8.0f}\n",
                   row.vessels, each(row.aboard.memory), each(row.broker.memory), each(row.ashore.memory),
                   1e6 * each(row.aboardPerSecond.processor), 1e6 * each(row.brokerPerSecond.processor),
                   1e6 * each(row.ashorePerSecond.processor), row.metricsPerSecond, row.untilBorn,
                   row.aboard.descriptors, row.broker.descriptors);
    }
    if (rows.size() > 1) {
        fmt::print("grows with the vessels to the power of\n");
        fmt::print("{:>8} | {:>9.2f} {:>9.2f} {:>9.2f} | {:>11.2f} {:>11.2f} {:>11.2f} |\n", "",
                   Exponent(rows, [](Row const& row) { return row.aboard.memory; }),
                   Exponent(rows, [](Row const& row) { return row.broker.memory; }),
                   Exponent(rows, [](Row const& row) { return row.ashore.memory; }),
                   Exponent(rows, [](Row const& row) { return row.aboardPerSecond.processor; }),
                   Exponent(rows, [](Row const& row) { return row.brokerPerSecond.processor; }),
                   Exponent(rows, [](Row const& row) { return row.ashorePerSecond.processor; }));
    }
}

/// Each vessel takes a descriptor here and one at the broker, which has ours.
void RaiseDescriptorLimit()
{
    rlimit limit{};
    getrlimit(RLIMIT_NOFILE, &limit);
    limit.rlim_cur = limit.rlim_max;
    setrlimit(RLIMIT_NOFILE, &limit);
}

} // namespace

int main(int argc, char** argv)
try {
    std::vector<std::string> const arguments(argv + 1, argv + argc);
    if (arguments.size() == 5 && arguments.front() == "--reader") {
        Reader(OptionsFor({true, "127.0.0.1", static_cast<std::uint16_t>(std::stoi(arguments[1]))},
                          {arguments[2], arguments[3], arguments[4]}))
            .Answer();
        return 0;
    }
    RaiseDescriptorLimit();
    auto const program = std::filesystem::read_symlink("/proc/self/exe").string();
    if (arguments.size() == 2 && arguments.front() == "--measure") {
        std::cout << Write(Measure(program, std::stoul(arguments[1])));
        return 0;
    }
    std::vector<Row> rows;
    for (std::string const& vessels :
         arguments.empty() ? std::vector<std::string>{"10", "100", "300", "1000"} : arguments) {
        rows.push_back(MeasureAlone(program, vessels));
    }
    Print(rows);
    return 0;
} catch (std::exception const& problem) {
    fmt::print(stderr, "qx5-fleet-scale: {}\n", problem.what());
    return 1;
}
