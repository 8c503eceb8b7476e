// Fuzzes a line between a vessel and a reader ashore: messages that arrive are those told, others that say anything, or
// both, while the connection, the room on the line and the clock come and go. Neither end comes to harm: each complaint
// is one line, what is kept stays within its bounds, and once the line is sound again the reader has what the vessel
// has.
#include "input.h"
#include "reference_host/attributes/tree_merge.h"
#include "sparkplug/edge_node.h"
#include "sparkplug/host_application.h"
#include "sparkplug/host_state.h"
#include "sparkplug/payload.h"

#include <VordalAttributesR/CVordalType.h>

#include <array>
#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <deque>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

namespace {

using namespace qx5::sparkplug;
using namespace std::chrono_literals;

void Require(bool holds)
{
    if (!holds) {
        std::abort();
    }
}

void RequireOneLine(std::string const& line)
{
    Require(!line.empty() && line.find('\n') == std::string::npos);
}

constexpr std::array<char const*, 20> topics{
    "spBv1.0/g/NBIRTH/v",   "spBv1.0/g/NDATA/v",    "spBv1.0/g/NDEATH/v",  "spBv1.0/g/DBIRTH/v/s",
    "spBv1.0/g/DDATA/v/s",  "spBv1.0/g/DDEATH/v/s", "spBv1.0/g/NBIRTH/w",  "spBv1.0/g/NDATA/w",
    "spBv1.0/g/NDEATH/w",   "spBv1.0/g/DBIRTH/w/s", "spBv1.0/g/DDATA/w/s", "spBv1.0/g/DDEATH/w/s",
    "spBv1.0/g/DBIRTH/w/t", "spBv1.0/g/DDATA/w/t",  "spBv1.0/g/NBIRTH/x",  "spBv1.0/g/NCMD/v",
    "spBv1.0/g/DCMD/v/s",   "spBv1.0/g/DCMD/v/t",   "spBv1.0/STATE/h",     "spBv1.0/h/NBIRTH/v"};

constexpr std::array<char const*, 10> names{
    "", "key0", "key1", "branch/key2", "bdSeq", "Node Control/Rebirth", "Lease/Holder", "key0[2]", "%2", "branch"};

WireValue ValueFrom(fuzz::Input& input)
{
    switch (input.Byte() % 8) {
    case 0:
        return std::uint32_t{input.Byte()};
    case 1:
        return static_cast<std::uint64_t>(input.Long());
    case 2:
        return 1.5F;
    case 3:
        return static_cast<double>(input.Byte());
    case 4:
        return input.Byte() % 2 != 0;
    case 5:
        return input.Text();
    case 6: {
        auto const bytes = input.Take(input.Byte());
        return std::vector<unsigned char>(bytes.begin(), bytes.end());
    }
    default:
        return std::monostate();
    }
}

/// Mostly sound, which bytes alone seldom are.
std::string PayloadFrom(fuzz::Input& input)
{
    auto const form = input.Byte();
    if (form % 8 == 0) {
        return input.Text();
    }
    if (form % 8 == 1) {
        bool const isOnline = input.Byte() % 2 != 0;
        return MakeHostState("h", {isOnline, input.Byte()}).payload;
    }
    Payload payload;
    payload.timestamp = input.Byte();
    if (form % 8 != 2) {
        payload.seq = form % 8 == 3 ? static_cast<std::uint64_t>(input.Long()) : input.Byte() % 8U;
    }
    for (int i = input.Byte() % 8; i > 0; --i) {
        auto const facts = input.Byte();
        Metric metric;
        metric.name = names[facts % names.size()];
        if (facts >= 64) {
            metric.alias = input.Byte();
        }
        if (facts >= 128) {
            metric.timestamp = static_cast<std::uint64_t>(input.Long());
        }
        metric.isHistorical = facts >= 192;
        metric.type = static_cast<DataType>(input.Byte() % 40);
        metric.value = ValueFrom(input);
        if (facts % 4 == 3) {
            metric.properties.push_back(
                {facts % 8 == 3 ? "kind" : "flags", static_cast<DataType>(input.Byte() % 40), ValueFrom(input)});
        }
        payload.metrics.push_back(std::move(metric));
    }
    std::string error;
    auto const bytes = EncodePayload(payload, error);
    Require(bytes.has_value());
    return *bytes;
}

/// A vessel, a reader ashore, and what is on its way between them: both must not be called from within a call.
class Line
{
public:
    Line() : m_host(Bounds(), Hooks(), [this] { return m_now; }), m_node(Names(), NodeHooks(), [this] { return m_now; })
    {
        Reconnect();
        // The reader knows them before others take the room that it has.
        m_node.SetDevice("s", m_tree);
        Deliver();
    }

    void Reconnect()
    {
        m_toHost.clear();
        m_toNode.clear();
        m_node.Disconnected();
        m_node.NextWill();
        m_node.Connected();
    }
    void Act(fuzz::Input& input)
    {
        switch (input.Byte() % 12) {
        case 0:
        case 1:
            Forge(m_toHost, input);
            break;
        case 2:
            Forge(m_toNode, input);
            break;
        case 3:
            Deliver();
            break;
        case 4:
            Pass(std::chrono::milliseconds(input.Short()));
            break;
        case 5:
        case 6:
            ChangeTree(input);
            break;
        case 7:
            m_hasRoom = !m_hasRoom;
            break;
        case 8:
            Reconnect();
            break;
        case 9:
            m_host.Disconnected();
            m_toHost.clear();
            break;
        case 10:
            if (!m_toHost.empty()) { // one is lost
                m_toHost.pop_front();
            }
            break;
        default:
            m_node.RemoveDevice("s");
            break;
        }
        Require(m_host.Names().size() <= 3 * 3);
    }
    /// The line is sound from here on, and nobody else speaks on it.
    void RequireSound()
    {
        m_hasRoom = true;
        Deliver();
        Reconnect();
        m_node.SetDevice("s", m_tree);
        // What the reader lacks it asks for, at the latest after its greatest pause.
        for (int i = 0; i < 4; ++i) {
            Deliver();
            Pass(61s);
        }
        Deliver();
        auto const* const seen = m_host.Find({"g", "v", "s"});
        Require(seen != nullptr && seen->state == SeenState::Alive && vordal::TreesEqual(seen->tree, m_tree));
    }

private:
    using Messages = std::deque<Message>;

    static HostOptions Bounds()
    {
        HostOptions options;
        options.mostNodes = 3;
        options.mostDevices = 2;
        options.mostMetrics = 24;
        return options;
    }
    static EdgeNodeOptions Names()
    {
        EdgeNodeOptions options;
        options.group = "g";
        options.node = "v";
        return options;
    }
    HostHooks Hooks()
    {
        HostHooks hooks;
        hooks.publish = [this](Message const& message) { return Publish(message, m_toNode); };
        hooks.tell = RequireOneLine;
        return hooks;
    }
    EdgeNodeHooks NodeHooks()
    {
        EdgeNodeHooks hooks;
        hooks.publish = [this](Message const& message) { return Publish(message, m_toHost); };
        hooks.command = [](std::string_view, std::vector<CommandedValue> const& values) { Require(!values.empty()); };
        hooks.tell = RequireOneLine;
        return hooks;
    }
    bool Publish(Message const& message, Messages& messages)
    {
        if (m_hasRoom) {
            messages.push_back(message);
        }
        return m_hasRoom;
    }
    static void Forge(Messages& messages, fuzz::Input& input)
    {
        auto const number = input.Byte() % (topics.size() + 1);
        auto topic = number < topics.size() ? std::string(topics[number]) : input.Text();
        messages.push_back({std::move(topic), PayloadFrom(input), 0, false});
    }
    void Deliver()
    {
        // Whoever asks for births without end would be heard so.
        for (int rounds = 0; !m_toHost.empty() || !m_toNode.empty(); ++rounds) {
            Require(rounds < 100);
            for (Message const& message : std::exchange(m_toHost, {})) {
                m_host.Receive(message.topic, message.payload);
            }
            for (Message const& message : std::exchange(m_toNode, {})) {
                m_node.Receive(message.topic, message.payload);
            }
        }
    }
    void Pass(std::chrono::milliseconds time)
    {
        m_now.steady += time;
        m_now.utc += static_cast<std::uint64_t>(time.count());
        m_node.Tick();
        Deliver();
        m_host.Tick();
    }
    void ChangeTree(fuzz::Input& input)
    {
        static std::array<AttributeKey, 4> const attributes{AttributeKey(L"key0"), AttributeKey(L"key1"),
                                                            AttributeKey(L"a/[2]"), AttributeKey(L"key3")};
        auto const what = input.Byte();
        auto const& attribute = attributes[what % attributes.size()];
        if (what >= 128) {
            m_tree.Remove(what % 8 < 4 ? attribute : AttributeKey(L"branch"));
        } else {
            auto& into = what % 8 < 4 ? m_tree : m_tree.FindCreate(AttributeKey(L"branch"), 0);
            unsigned const flags = what >= 64 ? input.Byte() : 0;
            switch (input.Byte() % 4) {
            case 0:
                vordal::SetChildValue(into, attribute, CVordalInt(input.Byte()), flags);
                break;
            case 1:
                vordal::SetChildValue(into, attribute, CVordalDouble(input.Byte()), flags);
                break;
            case 2:
                vordal::SetChildValue(into, attribute, CVordalText(CString(std::wstring(input.Byte(), L'\u00e4'))),
                                      flags);
                break;
            default:
                vordal::SetChildValue(into, attribute, CVordalType::Empty(), flags);
                break;
            }
            vordal::ForgetReferences(m_tree);
        }
        m_node.SetDevice("s", m_tree);
    }

    Moment m_now{std::chrono::steady_clock::time_point(1h), 1'000'000};
    bool m_hasRoom = true;
    Messages m_toHost;
    Messages m_toNode;
    CAttributeMap m_tree;
    HostApplication m_host;
    EdgeNode m_node;
};

} // namespace

extern "C" int LLVMFuzzerTestOneInput(std::uint8_t const* data, std::size_t size)
{
    fuzz::Input input(data, size);
    Line line;
    while (!input.IsEmpty()) {
        line.Act(input);
    }
    line.RequireSound();
    return 0;
}
