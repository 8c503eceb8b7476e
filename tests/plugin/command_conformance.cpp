// Commands held to their tables: how one handler is watched, which requests it gets, and what a table promises of each.
#include "command_conformance.h"

#include "handlers/chain.h"
#include "reference_host/devices/port.h"
#include "reference_host/host/host_observer.h"

#include <HalvaneX5InterfaceR/QX5SocketIoHandler.h>
#include <VordalAttributesR/CVordalType.h>
#include <VordalBaseR/CCompOffset.h>
#include <protocol/catalogue.h>
#include <protocol/frame.h>
#include <protocol/pack.h>
#include <protocol/record_table.h>
#include <protocol/records/all.h>
#include <protocol/settings_keys.h>
#include <protocol/unpack.h>
#include <protocol/utf8.h>

#include <algorithm>
#include <functional>
#include <limits>
#include <set>
#include <span>
#include <type_traits>

using qx5::protocol::Key;
using qx5::protocol::Kind;
using qx5::protocol::Value;
namespace keys = qx5::protocol::keys;
namespace records = qx5::protocol::records;

struct ControlDeviceAccess
{
    using Device = QX5SonarConfigurationControlDevice;
    using Handler = void (*)(Device&, CAttributeMap&);

    static void Run(Device& device, int row, CAttributeMap& request)
    {
#define QX5_HANDLER(name) [](Device& on, CAttributeMap& tree) { on.name(&tree); },
#define QX5_KEYED(name, rowKey) [](Device& on, CAttributeMap& tree) { on.name(&tree, qx5::At<keys::rowKey>); },
#define QX5_SCALAR(record, rowKey, rowKind)                                                                            \
    [](Device& on, CAttributeMap& tree) {                                                                              \
        on.RequestValue(&tree, static_cast<int>(records::record.Id()), qx5::At<keys::rowKey>, rowKind);                \
    },
        static constexpr Handler handlers[]{QX5_REQUEST_CHAIN(QX5_HANDLER, QX5_KEYED, QX5_SCALAR)};
#undef QX5_HANDLER
#undef QX5_KEYED
#undef QX5_SCALAR
        handlers[row - 1](device, request);
    }
    static void Prepare(Device& device, CAttributeMap const& stored, bool loggerRuns)
    {
        *device.m_attributes = stored;
        device.loggerRunning = loggerRuns;
    }
};

namespace qx5::conformance {

namespace {

using protocol::Carrier;
using protocol::Field;
using protocol::RecordLayout;

// What the tables do not tell, and the notes beside them do.

/// Where a key stands below another one; elsewhere it stands at the root.
struct Nest
{
    std::string_view handler;
    Key const* branch;
    std::vector<Key const*> below;
    bool inStoredAlone = false;
};

std::vector<Nest> const& Nests()
{
    static std::vector<Nest> const nests{
        {"SendEchoMarker",
         &keys::EchoMarker,
         {&keys::EchoMarkerAnnotation, &keys::EchoMarkerClient, &keys::EchoMarkerNumber, &keys::EchoMarkerPingNumber,
          &keys::EchoMarkerTime, &keys::EchoMarkerLatitude, &keys::EchoMarkerLongitude, &keys::EchoMarkerAltitude,
          &keys::EchoMarkerDepth, &keys::EchoMarkerHeave}},
        {"SendLorqGating", &keys::x5LorqGating, {&keys::x5LorqPipeRoutePoint}},
        {"SendLorqGating",
         &keys::x5LorqPipeRoutePoint,
         {&keys::x5LorqPipeRoutePipeNumber, &keys::x5LorqDetDiameter, &keys::x5LorqDetBeamX, &keys::x5LorqDetBeamY,
          &keys::x5LorqDetBeamZ, &keys::x5LorqDetBeamAngle, &keys::x5SoundVelocity, &keys::x5LorqDetBeamTwtt,
          &keys::x5LorqDetSampleRate, &keys::x5LorqDetPingNumber}},
        {"UpdateSonarInstallationIdentifiers",
         &keys::x5Bracket,
         {&keys::x5BracketSelected, &keys::x5BracketX, &keys::x5BracketY, &keys::x5BracketZ}},
        {"UpdateSonarInstallationIdentifiers", &keys::x5SonarSettings, {&keys::x5RxNumber, &keys::x5TxName}},
        {"UpdateSonarInstallationIdentifiers", &keys::x5MBesXYZList, {&keys::x5MBesXYZInfo}},
        {"UpdateSonarInstallationIdentifiers",
         &keys::x5MBesXYZInfo,
         {&keys::x5MBesXYZSonarId, &keys::x5MBesXYZTXUnitID, &keys::x5MBesXYZRXUnitID, &keys::x5MBesXYZNumber,
          &keys::x5MBesXYZFixedParams, &keys::x5MBesXYZFrequency, &keys::x5MBesXYZ}},
        {"UpdateSonarInstallationIdentifiers",
         &keys::x5MBesXYZ,
         {&keys::x5MBesXYZLength, &keys::x5MBesXYZWidth, &keys::x5MBesXYZHeight, &keys::x5MBesXYZRadius,
          &keys::x5MBesXYZOffsetX, &keys::x5MBesXYZOffsetY, &keys::x5MBesXYZOffsetZ, &keys::x5MBesXYZOffsetRoll,
          &keys::x5MBesXYZOffsetPitch, &keys::x5MBesXYZOffsetYaw}},
        {"RequestFMSweep", &keys::x5PingSettingsList, {&keys::x5FMSweep, &keys::x5FMSweepNegative}, true},
        {"RequestSampleRate", &keys::x5SonarSettings, {&keys::x5SampleRateSet, &keys::x5PulseLengthSet}},
        {"RequestSampleRate", &keys::x5SampleRateSet, {&keys::x5IQRate}},
        {"RequestSampleRate", &keys::x5PulseLengthSet, {&keys::x5PulseLengthValues}},
    };
    return nests;
}

/// What a table's promise is not held to.
struct Exemption
{
    std::string_view handler;
    Key const* key; ///< null: the whole command
    std::string_view reason;
};

bool IsExempt(std::span<Exemption const> exemptions, ChainEntry const& row, Key const* key)
{
    return std::any_of(exemptions.begin(), exemptions.end(), [&](Exemption const& exemption) {
        return exemption.handler == row.handler && exemption.key == key;
    });
}

constexpr Exemption workedOut[]{
    {"RequestConstantSpacing", &keys::x5ConstantSpacing,
     "a hundredth of the range stands in for one that is not above 0"},
    {"RequestCustomBeams", &keys::x5CustomBeams, "the stored number comes within the stored limits"},
    {"RequestCustomBeams", &keys::x5CustomBeamsEnabled, "a number in the request says whether it is on"},
    {"RequestGainMode", &keys::x5Gain, "told with the gain that was parked"},
    {"RequestGainMode", &keys::x5GainAlt, "told with the gain that is parked now"},
};

constexpr Exemption storedCountsBesideRequest[]{
    {"RequestGainMode", &keys::x5GainMode, "whether the gains are swapped depends on the former mode"},
    {"SendDgnssNtripConfig", &keys::OstDgnssInsNtripVersion, "a stored one stands for the position interval as well"},
    {"UpdateSonarInstallationIdentifiers", &keys::x5Bracket, "the request changes the stored brackets key by key"},
};

constexpr Exemption neededByOneBranchAlone[]{
    {"RequestConnectSlave", &keys::x5DualHeadMode, "an integrated dual head, which couples no slave, does without"},
};

constexpr Exemption forSomeValuesAlone[]{
    {"RequestDisconnectSlave", nullptr, "any mode but 0 is for another command"},
    {"RequestConnectSlave", nullptr, "any mode but 1 is for another command"},
};

/// The one thing that a handler changes about a command whose table tells all else.
void Amend(ChainEntry const& row, Command const& table, std::vector<Value>& values)
{
    if (row.handler != "Request7042Options") {
        return;
    }
    Value* divisor = nullptr;
    bool downsamples = false;
    for (std::size_t i = 0; i < table.operands.size(); ++i) {
        auto const* const number = std::get_if<std::int32_t>(&values[i]);
        if (table.operands[i].key == &keys::x57042DownsampleDivisor) {
            divisor = &values[i];
        } else if (table.operands[i].key == &keys::x57042DownsampleType) {
            downsamples = number != nullptr && *number != 0;
        }
    }
    auto const* const number = divisor != nullptr ? std::get_if<std::int32_t>(divisor) : nullptr;
    if (downsamples && number != nullptr && *number < 2) {
        *divisor = std::int32_t{2};
    }
}

// Values.

std::vector<Value> MakeValues(Kind kind)
{
    switch (kind) {
    case Kind::Int:
        return {1, 0, 2, 3, -1, 4, 1002, 1000, 40000, 5};
    case Kind::UInt:
        return {1U, 0U, 2U, 3U, 40000U};
    case Kind::Int64:
        return {std::int64_t{1}, std::int64_t{0}, std::int64_t{-5000000000}};
    case Kind::Bool:
        return {true, false};
    case Kind::Double:
        return {12.6, 0.0, 1.0, -7.3, 0.1, 250.7, -1.0};
    case Kind::Pair:
        return {std::pair(10.1, -10.3), std::pair(0.0, 0.0), std::pair(1.0, 2.0)};
    case Kind::String:
        // Some texts are read as numbers; the last is longer than any field.
        return {std::wstring(L"16"),   std::wstring(L"5"), std::wstring(L"a\u00e4c"),
                std::wstring(L"0x1F"), std::wstring(),     std::wstring(2000, L'7')};
    case Kind::IntList:
        return {std::vector<std::int32_t>{7000, 7002}, std::vector<std::int32_t>{}, std::vector<std::int32_t>{-1}};
    case Kind::DoubleList:
        return {std::vector<double>{0.5, 1.1}, std::vector<double>{}, std::vector<double>{-1.3}};
    case Kind::Offset:
        return {std::array<double, 3>{1.1, 2.2, 3.3}, std::array<double, 3>{}, std::array<double, 3>{-1.0, 0.1, 9.0}};
    case Kind::Branch:
    case Kind::Any:
        break;
    }
    return {Value(), Value(), Value()};
}

std::unique_ptr<CVordalType> MakeVordal(Value const& value)
{
    struct Maker
    {
        using Made = std::unique_ptr<CVordalType>;
        Made operator()(std::monostate) const { return std::make_unique<CVordalType>(); }
        Made operator()(std::int32_t number) const { return std::make_unique<CVordalInt>(number); }
        Made operator()(std::uint32_t number) const { return std::make_unique<CVordalUInt>(number); }
        Made operator()(std::int64_t number) const { return std::make_unique<CVordalInt64>(number); }
        Made operator()(bool flag) const { return std::make_unique<CVordalBool>(flag); }
        Made operator()(double number) const { return std::make_unique<CVordalDouble>(number); }
        Made operator()(std::pair<double, double> const& pair) const
        {
            return std::make_unique<CVordalDouble2D>(pair.first, pair.second);
        }
        Made operator()(std::wstring const& text) const { return std::make_unique<CVordalText>(CString(text)); }
        Made operator()(std::vector<std::int32_t> const& list) const { return std::make_unique<CVordalIntList>(list); }
        Made operator()(std::vector<double> const& list) const { return std::make_unique<CVordalDoubleList>(list); }
        Made operator()(std::array<double, 3> const& axes) const
        {
            return std::make_unique<CVordalOffset>(CCompOffset(axes[0], axes[1], axes[2]));
        }
    };
    return std::visit(Maker{}, value);
}

/// The generated values of one kind of key, and one of another kind.
struct Pool
{
    std::vector<Value> values;
    std::vector<std::unique_ptr<CVordalType>> vordal;
    std::unique_ptr<CVordalType> wrong;
};

Pool const& PoolOf(Kind kind)
{
    static std::map<Kind, Pool> pools;
    Pool& pool = pools[kind];
    if (pool.values.empty()) {
        pool.values = MakeValues(kind);
        for (Value const& value : pool.values) {
            pool.vordal.push_back(MakeVordal(value));
        }
        pool.wrong = kind == Kind::String ? MakeVordal(std::int32_t{3}) : MakeVordal(std::wstring(L"other"));
    }
    return pool;
}

std::size_t CountOfValues(Key const& key)
{
    return PoolOf(key.kind).values.size();
}

std::optional<double> AsNumber(Value const& value)
{
    return std::visit(
        [](auto const& held) -> std::optional<double> {
            if constexpr (std::is_arithmetic_v<std::decay_t<decltype(held)>>) {
                return static_cast<double>(held);
            } else {
                return std::nullopt;
            }
        },
        value);
}

bool HasNumber(Kind kind)
{
    return kind == Kind::Int || kind == Kind::UInt || kind == Kind::Int64 || kind == Kind::Bool || kind == Kind::Double;
}

/// What an operand of that kind is where it is found nowhere.
Value FallbackOf(Operand const& operand)
{
    double const number = operand.options.fallback;
    switch (operand.key->kind) {
    case Kind::Int:
        return static_cast<std::int32_t>(number);
    case Kind::UInt:
        return static_cast<std::uint32_t>(number);
    case Kind::Int64:
        return static_cast<std::int64_t>(number);
    case Kind::Bool:
        return number != 0.0;
    case Kind::Double:
        return number;
    case Kind::Pair:
        return std::pair(number, number);
    case Kind::String:
        return std::wstring();
    case Kind::IntList:
        return std::vector<std::int32_t>();
    case Kind::DoubleList:
        return std::vector<double>();
    case Kind::Offset:
        return std::array<double, 3>{};
    case Kind::Branch:
    case Kind::Any:
        break;
    }
    return {};
}

std::string Text(std::wstring_view text)
{
    return protocol::EncodeUtf8(text);
}
std::string Text(Key const& key)
{
    return Text(key.text);
}
std::string Text(Target target)
{
    return std::to_string(target.deviceId) + "," + std::to_string(target.enumerator);
}
std::string Text(Sent const& sent)
{
    constexpr char const* carriers[]{"command ", "data record ", "passed-on command "};
    std::size_t const carrier = sent.carrier == Carrier::RemoteControl ? 0 : sent.carrier == Carrier::Data ? 1 : 2;
    return carriers[carrier] + std::to_string(sent.record) + " to " + Text(sent.target);
}
std::string Text(Asked const& asked)
{
    return "question for " + std::to_string(asked.record) + " to " + Text(asked.target);
}

/// Keys and values of a tree, for comparison.
void Describe(CAttributeMap const& tree, std::string& text)
{
    for (CAttributeMap const& child : tree) {
        text += Text(child.KeyText()) + '=' + child.Value().ToText();
        if (child.Count() != 0) {
            text += '{';
            Describe(child, text);
            text += '}';
        }
        text += ' ';
    }
}

} // namespace

std::uint64_t Observation::Print() const
{
    if (!m_print) {
        std::string text = order + (threw ? "!" : "");
        for (Sent const& each : sent) {
            text += Text(each) + ' ' + each.payload + '\n';
        }
        for (Asked const& each : asked) {
            text += Text(each) + '\n';
        }
        for (Told const& each : told) {
            text += std::to_string(each.flags) + ' ';
            Describe(each.tree, text);
        }
        for (std::string const& each : others) {
            text += each + '\n';
        }
        m_print = std::hash<std::string>()(text);
    }
    return *m_print;
}

// The bench.

/// Writes down what happens.
class Bench::Watch final : public vordal::SonarTraffic,
                           public vordal::HostObserver,
                           public vordal::PortWithDevices<QX5SocketIoHandler>
{
public:
    Observation seen;
    bool playback = false;

    bool SendRemoteControl(Sender const&, std::uint32_t recordId, std::span<unsigned char const> payload, int deviceId,
                           int enumerator) override
    {
        return Keep({Carrier::RemoteControl, recordId, {deviceId, enumerator}, Bytes(payload)});
    }
    bool AskForRecord(Sender const&, std::uint32_t recordId, int deviceId, int enumerator) override
    {
        seen.asked.push_back({recordId, {deviceId, enumerator}});
        seen.order += 'a';
        return true;
    }
    bool SendData(Sender const&, std::uint32_t recordId, std::span<unsigned char const> payload, double, int deviceId,
                  int enumerator) override
    {
        return Keep({Carrier::Data, recordId, {deviceId, enumerator}, Bytes(payload)});
    }
    bool SendRaw(Sender const&, std::string_view text, bool) override
    {
        auto const frame = protocol::ParseFrame({reinterpret_cast<unsigned char const*>(text.data()), text.size()});
        if (!frame) {
            return Keep({Carrier::Data, 0, {}, std::string(text)});
        }
        return Keep(
            {Carrier::Data,
             frame->header.recordId,
             {static_cast<std::int32_t>(frame->header.deviceId), static_cast<std::int16_t>(frame->header.enumerator)},
             Bytes(frame->data)});
    }
    bool SendRemoteControlCommandWithPassThrough(std::uint32_t recordId, void const* payload, std::uint64_t size,
                                                 std::uint32_t deviceId, std::uint16_t enumerator) override
    {
        return Keep({Carrier::PassThrough,
                     recordId,
                     {static_cast<std::int32_t>(deviceId), static_cast<std::int16_t>(enumerator)},
                     std::string(static_cast<char const*>(payload), size)});
    }

    void OnEcho(BaseDevice&, CAttributeMap const& tree, unsigned flags) override
    {
        seen.told.push_back({static_cast<int>(flags), tree});
        seen.order += 't';
    }
    /// No table tells of it.
    void OnRequestDropped(BaseDevice&, AttributeKey const&, AttributeKey const&) override {}
    void OnTargetListRequested() override { Note("the target list is asked for"); }

    void PlaybackSetSpeed(double time, double speed) override { NotePlayback("speed", time, speed); }
    void PlaybackSetPosition(double time, double position) override { NotePlayback("position", time, position); }
    void PlaybackSetLoop(double time, double loop) override { NotePlayback("loop", time, loop); }
    void PlaybackStepForward(double time) override { NotePlayback("step forward", time, 0.0); }
    void PlaybackStepBack(double time) override { NotePlayback("step back", time, 0.0); }
    bool IsFilePlayback() const override { return playback; }

    void Note(std::string text)
    {
        seen.others.push_back(std::move(text));
        seen.order += 'o';
    }

private:
    static std::string Bytes(std::span<unsigned char const> bytes)
    {
        return {reinterpret_cast<char const*>(bytes.data()), bytes.size()};
    }
    bool Keep(Sent sent)
    {
        seen.sent.push_back(std::move(sent));
        seen.order += 's';
        return true;
    }
    void NotePlayback(char const* what, double time, double value)
    {
        Note(std::string("playback ") + what + ' ' + std::to_string(value) + " at " + std::to_string(time));
    }
};

Bench::Bench() : m_watch(std::make_unique<Watch>())
{
    m_host.SetTraffic(m_watch.get());
    m_host.SetObserver(m_watch.get());
}

Bench::~Bench()
{
    m_host.RemoveAllDevices();
    m_host.SetObserver(nullptr);
    m_host.SetTraffic(nullptr);
}

Observation Bench::Observe(int row, Surroundings const& surroundings, CAttributeMap const& request,
                           CAttributeMap const& stored)
{
    m_host.SetPort(*device, surroundings.sonarPort ? m_watch.get() : nullptr);
    m_host.SetUserIsOperator(surroundings.isOperator);
    m_watch->playback = surroundings.playback;
    ControlDeviceAccess::Prepare(*device, stored, surroundings.loggerRuns);
    m_watch->seen = {};

    CAttributeMap handed(request);
    try {
        ControlDeviceAccess::Run(*device, row, handed);
    } catch (std::exception const&) {
        m_watch->seen.threw = true;
    }
    for (int i = 0; i < handed.Count(); ++i) {
        CAttributeMap const& child = std::as_const(handed).GetChild(i);
        if (i >= request.Count() || !child.Value().IsSame(request.GetChild(i).Value())) {
            m_watch->seen.written.emplace(child.KeyText());
            m_watch->Note("wrote " + Text(child.KeyText()) + '=' + child.Value().ToText());
        }
    }
    return std::move(m_watch->seen);
}

// The study.

namespace {

/// Beyond the bases that are written out, values and what is left out come from this; the same in each run.
std::uint64_t Scatter(std::uint64_t number)
{
    number += 0x9e3779b97f4a7c15U;
    number = (number ^ (number >> 30)) * 0xbf58476d1ce4e5b9U;
    number = (number ^ (number >> 27)) * 0x94d049bb133111ebU;
    return number ^ (number >> 31);
}

constexpr std::size_t writtenOutBases = 6;

/// With which choices a key of a base is replaced.
constexpr std::pair<int, int> changes[]{{-1, -1}, {-1, 0}, {-1, 1}, {0, -1}, {0, 0},
                                        {0, 1},   {1, -1}, {2, -1}, {2, 0},  {-1, 2}};

/// 0 and 1: two values, others at each base; 2: a value of another kind; -1: none.
Choice ChangeOf(int change, std::size_t base, Key const& key)
{
    std::size_t const count = CountOfValues(key);
    std::size_t const first = base % count;
    std::size_t const second = (first + 1 + base / count % (count - 1)) % count;
    switch (change) {
    case 0:
        return {Choice::Alike, static_cast<std::uint8_t>(first)};
    case 1:
        return {Choice::Varying, static_cast<std::uint8_t>(second)};
    case 2:
        return {Choice::Wrong, 0};
    default:
        return {};
    }
}

/// By what a sonar's frame is addressed where a command's table says so.
constexpr Key const* sonarKeys[]{&keys::DeviceId, &keys::DeviceEnum, &keys::x5SystemIDH};

/// What the stored tree tells of the sonar in a base, unless the table has the key.
Value SonarValue(std::size_t base, Key const& key)
{
    if (base % 4 == 3) {
        return {};
    }
    if (&key == &keys::DeviceId) {
        return std::int32_t{7125};
    }
    if (&key == &keys::DeviceEnum) {
        return std::int32_t{3};
    }
    return base % 4 == 1;
}

} // namespace

Study::Study(Bench& bench, ChainEntry const& row, std::vector<Key const*> theKeys)
    : m_bench(bench), m_row(row), m_keys(std::move(theKeys)), m_facts(m_keys.size())
{
    m_bases = std::clamp<std::size_t>(120 / (m_keys.size() + 1), 9, 16);
    for (Key const* key : m_keys) {
        m_attributes.emplace_back(key->text);
    }
    for (auto& branches : m_branches) {
        branches.assign(m_keys.size(), m_keys.size());
    }
    for (Nest const& nest : Nests()) {
        std::size_t const branch = IndexOf(*nest.branch);
        if (nest.handler != row.handler || branch == m_keys.size()) {
            continue;
        }
        for (Key const* key : nest.below) {
            if (std::size_t const at = IndexOf(*key); at != m_keys.size()) {
                m_branches[static_cast<std::size_t>(Side::Stored)][at] = branch;
                if (!nest.inStoredAlone) {
                    m_branches[static_cast<std::size_t>(Side::Request)][at] = branch;
                }
            }
        }
    }
    Plan();
}

std::size_t Study::IndexOf(Key const& key) const
{
    return static_cast<std::size_t>(std::find(m_keys.begin(), m_keys.end(), &key) - m_keys.begin());
}

Key const* Study::BranchOf(std::size_t key, Side side) const
{
    std::size_t const branch = m_branches[static_cast<std::size_t>(side)][key];
    return branch == m_keys.size() ? nullptr : m_keys[branch];
}

Surroundings const& Study::SurroundingsOf(std::size_t base)
{
    static constexpr Surroundings usual{};
    static constexpr Surroundings withoutPort{.sonarPort = false, .loggerRuns = false};
    static constexpr Surroundings playback{.playback = true, .isOperator = false};
    return base % 6 == 4 ? withoutPort : base % 6 == 5 ? playback : usual;
}

Study::Cells Study::BaseCells(std::size_t base) const
{
    Cells cells(m_keys.size());
    for (std::size_t k = 0; k < cells.size(); ++k) {
        auto const choose = [&](Choice::Kind kind, std::size_t number) {
            return Choice{kind, static_cast<std::uint8_t>(number % CountOfValues(*m_keys[k]))};
        };
        auto const value = [&](std::size_t number) { return choose(Choice::Varying, number); };
        auto const alike = [&](std::size_t number) { return choose(Choice::Alike, number); };
        switch (base) {
        case 0:
        case 4:
        case 5:
            cells[k] = {value(0), value(1)};
            break;
        case 1:
            cells[k] = {value(1), value(0)};
            break;
        case 2:
            // One branch in the request, two alike ones stored.
            cells[k] = {alike(3), alike(4)};
            break;
        case 3:
            cells[k].request = value(0);
            break;
        default:
            std::uint64_t const chance = Scatter(m_attributes[k].Hash() ^ (base << 32U));
            if (chance % 5 != 0) {
                cells[k].request = value(chance >> 8U);
            }
            if (chance / 5 % 5 != 0) {
                cells[k].stored = value(chance >> 24U);
            }
            break;
        }
    }
    return cells;
}

void Study::Fill(CAttributeMap& node, std::size_t branch, Cells const& cells, Side side, unsigned occurrence) const
{
    auto const& branches = m_branches[static_cast<std::size_t>(side)];
    for (std::size_t k = 0; k < m_keys.size(); ++k) {
        Choice const& choice = cells[k].Of(side);
        if (branches[k] != branch || choice.kind == Choice::Absent) {
            continue;
        }
        Pool const& pool = PoolOf(m_keys[k]->kind);
        if (choice.kind == Choice::Wrong) {
            node.Add(m_attributes[k], *pool.wrong, 0);
        } else if (m_keys[k]->kind == Kind::Branch) {
            for (unsigned i = 0; i <= choice.number; ++i) {
                Fill(*node.Add(m_attributes[k]), k, cells, side, occurrence * 3 + i);
            }
        } else {
            std::size_t const number = choice.number + (choice.kind == Choice::Varying ? occurrence : 0);
            node.Add(m_attributes[k], *pool.vordal[number % pool.vordal.size()], 0);
        }
    }
}

CAttributeMap Study::Build(std::size_t base, Cells const& cells, Side side) const
{
    CAttributeMap tree;
    Fill(tree, m_keys.size(), cells, side, 0);
    if (side == Side::Stored) {
        for (Key const* key : sonarKeys) {
            if (Value const value = SonarValue(base, *key);
                !protocol::IsEmpty(value) && IndexOf(*key) == m_keys.size()) {
                tree.Add(key->text, *MakeVordal(value), 0);
            }
        }
    }
    return tree;
}

Case const& Study::Try(std::size_t base, Cells cells)
{
    auto const [at, isNew] = m_known.try_emplace({base, cells}, m_cases.size());
    if (isNew) {
        Observation observed = m_bench.Observe(m_row.row, SurroundingsOf(base), Build(base, cells, Side::Request),
                                               Build(base, cells, Side::Stored));
        m_cases.push_back({base, std::move(cells), std::move(observed)});
    }
    return m_cases[at->second];
}

void Study::Plan()
{
    for (std::size_t base = 0; base < m_bases; ++base) {
        m_plan.push_back({base, m_keys.size(), 0, 0});
        for (std::size_t k = 0; k < m_keys.size() && base < 2; ++k) {
            // Of the value of the base and of another kind.
            m_plan.push_back({base, k, base == 0 ? 0 : 2, 0, true});
        }
        for (auto const& [request, stored] : changes) {
            for (std::size_t k = 0; k < m_keys.size(); ++k) {
                m_plan.push_back({base, k, request, stored});
            }
        }
    }
}

Case const* Study::At(std::size_t number)
{
    if (number >= m_plan.size()) {
        return nullptr;
    }
    Step const& step = m_plan[number];
    Cells cells = BaseCells(step.base);
    if (step.alone) {
        for (std::size_t k = 0; k < cells.size(); ++k) {
            bool const isIt = k == step.key;
            cells[k].request = !isIt ? Choice() : step.request == 2 ? Choice{Choice::Wrong} : cells[k].request;
        }
    } else if (step.key < m_keys.size()) {
        Key const& key = *m_keys[step.key];
        cells[step.key] = {ChangeOf(step.request, step.base, key), ChangeOf(step.stored, step.base, key)};
    }
    return &Try(step.base, std::move(cells));
}

bool Study::OthersMatter(bool knowsSonar)
{
    std::optional<bool>& matters = m_othersMatter[knowsSonar ? 1 : 0];
    if (!matters) {
        matters = false;
        for (std::size_t base = 0; base < m_bases && !*matters; ++base) {
            Cells const cells = BaseCells(base);
            Observation const alone = Try(base, cells).observed;
            for (std::size_t const phase : {base, base + 5}) {
                CAttributeMap const request =
                    BuildAmongOthers(base, cells, Side::Request, phase, knowsSonar, alone.written);
                CAttributeMap const stored = BuildAmongOthers(base, cells, Side::Stored, phase, knowsSonar, {});
                Observation const among = m_bench.Observe(m_row.row, SurroundingsOf(base), request, stored);
                matters = *matters || among.Print() != alone.Print();
            }
        }
    }
    return *matters;
}

std::vector<CAttributeMap*> Study::NodesOf(CAttributeMap& tree, std::size_t key, Side side) const
{
    if (key == m_keys.size()) {
        return {&tree};
    }
    std::vector<CAttributeMap*> nodes;
    for (CAttributeMap* const above : NodesOf(tree, m_branches[static_cast<std::size_t>(side)][key], side)) {
        for (int i = 0; i < above->Count(m_attributes[key]); ++i) {
            nodes.push_back(above->GetAttrMap(m_attributes[key], i));
        }
    }
    return nodes;
}

namespace {

/// A value of each key that there is; the phase moves all values on.
CAttributeMap const& TreeOfAllKeys(std::size_t phase)
{
    static std::map<std::size_t, CAttributeMap> trees;
    auto const [at, isNew] = trees.try_emplace(phase);
    if (isNew) {
        std::size_t number = phase;
        auto const add = [&, &tree = at->second](Key const* key) {
            auto const& values = PoolOf(key->kind).vordal;
            tree.Add(key->text, *values[number++ % values.size()], 0);
        };
        std::for_each(protocol::AllKeys().begin(), protocol::AllKeys().end(), add);
        std::for_each(protocol::SettingsKeys.begin(), protocol::SettingsKeys.end(), add);
    }
    return at->second;
}

} // namespace

CAttributeMap Study::BuildAmongOthers(std::size_t base, Cells const& cells, Side side, std::size_t phase,
                                      bool knowsSonar, std::set<std::wstring> const& written) const
{
    CAttributeMap tree = TreeOfAllKeys(phase);
    for (AttributeKey const& key : m_attributes) {
        tree.Remove(key);
    }
    for (std::wstring const& key : written) {
        tree.Remove(key);
    }
    for (Key const* const key : sonarKeys) {
        if (!knowsSonar) {
            tree.Remove(key->text);
        }
    }
    for (CAttributeMap const& child : Build(base, cells, side)) {
        tree.Append(child);
    }
    // What this handler reads below a branch of the table goes there.
    for (Nest const& nest : Nests()) {
        std::size_t const branch = IndexOf(*nest.branch);
        if (nest.handler != m_row.handler || (side == Side::Request && nest.inStoredAlone) || branch == m_keys.size()) {
            continue;
        }
        for (std::size_t i = 0; i < nest.below.size(); ++i) {
            Key const& key = *nest.below[i];
            auto const& values = PoolOf(key.kind).vordal;
            std::size_t number = phase + i;
            for (CAttributeMap* const node :
                 IndexOf(key) == m_keys.size() ? NodesOf(tree, branch, side) : std::vector<CAttributeMap*>()) {
                node->Add(key.text, *values[number++ % values.size()], 0);
            }
        }
    }
    return tree;
}

Case const& Study::Changed(std::size_t base, std::size_t key, Cell const& cell)
{
    Cells cells = BaseCells(base);
    cells[key] = cell;
    return Try(base, std::move(cells));
}

Facts const& Study::FactsOf(std::size_t key)
{
    if (m_facts[key]) {
        return *m_facts[key];
    }
    Facts facts;
    for (std::size_t base = 0; base < m_bases; ++base) {
        auto const at = [&](int request, int stored) -> Observation const& {
            Key const& changed = *m_keys[key];
            return Changed(base, key, {ChangeOf(request, base, changed), ChangeOf(stored, base, changed)}).observed;
        };
        auto const differ = [](Observation const& a, Observation const& b) { return a.Print() != b.Print(); };
        Observation const& none = at(-1, -1);
        facts.goesOnWithout = facts.goesOnWithout || none.Happened();
        facts.requestMatters = facts.requestMatters || differ(none, at(0, -1)) || differ(at(0, -1), at(1, -1)) ||
                               differ(at(-1, 0), at(0, 0));
        facts.storedMatters = facts.storedMatters || differ(none, at(-1, 0)) || differ(at(-1, 0), at(-1, 1));
        facts.besideMatters = facts.besideMatters || differ(at(0, -1), at(0, 0)) || differ(at(0, 0), at(0, 1));
    }
    for (std::size_t base = 0; base < writtenOutBases; ++base) {
        Cells cells = BaseCells(base);
        for (std::size_t k = 0; k < cells.size(); ++k) {
            if (k != key) {
                cells[k].request = {};
            }
        }
        facts.startsAlone = facts.startsAlone || Try(base, std::move(cells)).observed.Happened();
    }
    m_facts[key] = facts;
    return *m_facts[key];
}

std::vector<double> const& Study::AsGoodAsAbsent(std::size_t key, Side side)
{
    auto const [at, isNew] = m_asGoodAsAbsent.try_emplace({key, side});
    if (!isNew || !HasNumber(m_keys[key]->kind)) {
        return at->second;
    }
    bool matters = false;
    for (std::size_t v = 0; v < CountOfValues(*m_keys[key]); ++v) {
        bool isAsGood = true;
        for (std::size_t base = 0; base < m_bases; ++base) {
            Cell cell;
            std::uint64_t const absent = Changed(base, key, cell).observed.Print();
            cell.Of(side) = {Choice::Alike, static_cast<std::uint8_t>(v)};
            isAsGood = isAsGood && Changed(base, key, cell).observed.Print() == absent;
        }
        matters = matters || !isAsGood;
        if (isAsGood) {
            at->second.push_back(AsNumber(PoolOf(m_keys[key]->kind).values[v]).value_or(0.0));
        }
    }
    if (!matters) {
        at->second.clear();
    }
    return at->second;
}

Study::Found Study::Find(Case const& at, std::size_t key, Side side) const
{
    Found found;
    std::size_t const branch = m_branches[static_cast<std::size_t>(side)][key];
    if (branch != m_keys.size()) {
        Found const above = Find(at, branch, side);
        if (!above.isReadable) {
            return found;
        }
        found.isOne = above.isOne;
    }
    Choice const& choice = at.cells[key].Of(side);
    found.isThere = choice.kind != Choice::Absent;
    if (choice.kind != Choice::Alike && choice.kind != Choice::Varying) {
        return found;
    }
    // Of a branch there is nothing to read but what is below it.
    found.isReadable = m_keys[key]->kind != Kind::Any;
    found.value = PoolOf(m_keys[key]->kind).values[choice.number];
    if (m_keys[key]->kind == Kind::Branch) {
        found.isOne = found.isOne && choice.number == 0;
    }
    return found;
}

std::int32_t Study::StoredNumber(Case const& at, Key const& key) const
{
    std::size_t const k = IndexOf(key);
    Value const value = k == m_keys.size() ? SonarValue(at.base, key) : Find(at, k, Side::Stored).value;
    return static_cast<std::int32_t>(AsNumber(value).value_or(0.0));
}

// What a table promises.

namespace {

bool CompletesByForm(Command const& table)
{
    return table.form == Form::Strict || table.form == Form::Lax;
}

/// For whom the frame of a record is; none while it goes nowhere. What is passed on takes a sonar's port.
std::optional<Target> TargetOf(Sending const& sending, Study const& study, Case const& at)
{
    Target target = sending.target;
    if (sending.record.carrier == Carrier::PassThrough && !Study::SurroundingsOf(at.base).sonarPort) {
        return std::nullopt;
    }
    if (sending.addressee != Addressee::Target) {
        target.deviceId = study.StoredNumber(at, keys::DeviceId);
    }
    if (sending.addressee == Addressee::StoredSonar) {
        if (target.deviceId == 0) {
            return std::nullopt;
        }
        bool const integrated = study.StoredNumber(at, keys::x5SystemIDH) != 0;
        target.enumerator = integrated ? 0 : study.StoredNumber(at, keys::DeviceEnum);
    }
    return target;
}

Field const* TextFieldOf(RecordLayout const& record, Key const& key)
{
    for (Field const& field : record.fields) {
        if (field.key == &key && field.wire == protocol::Wire::Text && field.convert != protocol::Convert::Computed) {
            return &field;
        }
    }
    return nullptr;
}

bool IsTooLong(Value const& value, Field const& field)
{
    auto const* const text = std::get_if<std::wstring>(&value);
    return text != nullptr && protocol::Utf8Length(*text) >= field.extent;
}

/// What the record holds for the key, as a value of the key's kind.
Value ValueInRecord(RecordLayout const& record, Key const& key, std::string const& payload)
{
    Field const* const field = protocol::FindField(record, key);
    if (field == nullptr) {
        return {};
    }
    Value const wire =
        protocol::UnpackField(*field, {reinterpret_cast<unsigned char const*>(payload.data()), payload.size()}).wire;
    auto const* const word = std::get_if<std::uint32_t>(&wire);
    if (word != nullptr && key.kind == Kind::Int) {
        return static_cast<std::int32_t>(*word);
    }
    if (word != nullptr && key.kind == Kind::Int64) {
        return static_cast<std::int64_t>(*word);
    }
    return wire;
}

bool IsSame(Value const& value, CVordalType const& vordal)
{
    return MakeVordal(value)->IsSame(vordal);
}

/// One sentence, or none.
using Finding = std::optional<std::string>;

std::string InCase(Case const& at, Study const& study)
{
    std::string text = " (base " + std::to_string(at.base) + ':';
    constexpr char const* kinds[]{"-", "?", "=", "~"};
    for (std::size_t k = 0; k < at.cells.size(); ++k) {
        auto const tell = [&](Choice const& choice) {
            std::string told = kinds[choice.kind];
            if (choice.kind == Choice::Alike || choice.kind == Choice::Varying) {
                told += std::to_string(choice.number);
            }
            return told;
        };
        text += ' ' + Text(*study.Keys()[k]) + ' ' + tell(at.cells[k].request) + '/' + tell(at.cells[k].stored);
    }
    return text + ')';
}

// Promises of a table by itself: it says nothing that has no meaning.

bool IsRequiredFromRequest(Operand const& operand)
{
    return operand.options.source == Source::Request && !operand.options.optional;
}

/// Why the operand's option must stand at its default; empty when it says something.
std::string_view WhyTriggersSaysNothing(Command const& table, Operand const& operand)
{
    Source const source = operand.options.source;
    if (source == Source::Stored || source == Source::Told) {
        return "it cannot be requested";
    }
    if (source == Source::Branch) {
        return "the branch triggers";
    }
    if (table.form != Form::Strict && table.form != Form::Lax && table.form != Form::Own) {
        return "the form tells what triggers";
    }
    bool const needsOthers = std::any_of(table.operands.begin(), table.operands.end(), [&](Operand const& other) {
        return &other != &operand && IsRequiredFromRequest(other);
    });
    return table.form == Form::Own && needsOthers ? "others are required in the request" : "";
}

std::string_view WhyOptionalSaysNothing(Command const& table, Operand const& operand)
{
    if (operand.options.source == Source::Told) {
        return "it is not read";
    }
    switch (table.form) {
    case Form::Direct:
    case Form::Presence:
        return "the form tells";
    case Form::Lax:
        return "a lax command needs no value";
    case Form::AllRequired:
        return &operand == &table.operands.front() ? "the first key triggers" : "";
    default:
        return "";
    }
}

std::string_view WhyFallbackSaysNothing(Command const& table, Operand const& operand)
{
    if (!HasNumber(operand.key->kind)) {
        return "its kind has one fallback";
    }
    bool const goesOn = table.form == Form::Lax || operand.options.optional;
    return goesOn ? "" : "the command does not go on without it";
}

Finding SaysNothing(Command const& table)
{
    bool const isOwn = table.form == Form::Own;
    if (isOwn && table.note.empty()) {
        return "a command with a way of its own tells it in a note";
    }
    if (table.form == Form::Awaited) {
        return "the handler is there";
    }
    if (table.form == Form::Direct && table.operands.size() != 1) {
        return "a direct command has one key";
    }
    OperandOptions const usual;
    for (Operand const& operand : table.operands) {
        OperandOptions const& options = operand.options;
        std::string const of = " of " + Text(*operand.key) + " says nothing: ";
        if (isOwn && options.source == Source::AsForm) {
            return "the form does not tell where " + Text(*operand.key) + " is looked for";
        }
        if (!isOwn && (options.source == Source::Told || options.source == Source::Branch)) {
            return Text(*operand.key) + " has a source that the form does not know";
        }
        if (auto const why = WhyTriggersSaysNothing(table, operand);
            !why.empty() && options.triggers != usual.triggers) {
            return "'triggers'" + of + std::string(why);
        }
        if (auto const why = WhyOptionalSaysNothing(table, operand); !why.empty() && options.optional) {
            return "'optional'" + of + std::string(why);
        }
        if (auto const why = WhyFallbackSaysNothing(table, operand); !why.empty() && options.fallback != 0.0) {
            return "'fallback'" + of + std::string(why);
        }
        if (options.echo == Echo::WhenTrue && (operand.key->kind != Kind::Bool || options.source == Source::Told)) {
            return Text(*operand.key) + " is not read as true";
        }
        bool const isCarried = std::any_of(table.sends.begin(), table.sends.end(), [&](Sending const& sending) {
            return protocol::FindField(sending.record, *operand.key) != nullptr;
        });
        if (options.echo == Echo::AsSent && !isCarried) {
            return Text(*operand.key) + " is never sent";
        }
        bool const isListed = std::find(table.echoes.begin(), table.echoes.end(), &operand) != table.echoes.end();
        if (!table.echoes.empty() && isListed != (options.echo != Echo::None)) {
            return Text(*operand.key) + " is echoed and not in the echo's order, or the other way round";
        }
    }
    for (Sending const& sending : table.sends) {
        if (sending.addressee == Addressee::StoredSonar && sending.target != OwnSonar) {
            return "the target says nothing where the stored tree tells it";
        }
    }
    if (table.echoFlags != NoEcho && table.form != Form::Own && table.sends.empty()) {
        return "without a record nothing is echoed";
    }
    auto const isText = [&](Operand const& operand) {
        return std::any_of(table.sends.begin(), table.sends.end(), [&](Sending const& sending) {
            return TextFieldOf(sending.record, *operand.key) != nullptr;
        });
    };
    if (table.longTexts == LongTexts::Refused && std::none_of(table.operands.begin(), table.operands.end(), isText)) {
        return "no text goes into a field, none can be too long";
    }
    return std::nullopt;
}

/// The operands that the echo tells, in its order.
std::vector<Operand const*> EchoedOf(Command const& table)
{
    std::vector<Operand const*> echoed;
    auto const take = [&](Operand const& operand) {
        if (operand.options.echo != Echo::None) {
            echoed.push_back(&operand);
        }
    };
    if (table.echoes.empty()) {
        std::for_each(table.operands.begin(), table.operands.end(), take);
    } else {
        std::for_each(table.echoes.begin(), table.echoes.end(), [&](Operand const* operand) { take(*operand); });
    }
    return echoed;
}

// A form that tells all: what comes of a request follows from the table.

struct Promise
{
    std::vector<Sent> sent;
    std::vector<Asked> asked;
    std::vector<std::vector<std::pair<Key const*, Value>>> told;
};

/// The values of the operands; none when the command does not start or lacks one.
std::optional<std::vector<Value>> ValuesOf(Command const& table, Study const& study, Case const& at)
{
    std::vector<Value> values(table.operands.size());
    auto const isAsked = [&](Operand const& operand) {
        return operand.options.source != Source::Stored &&
               study.Find(at, study.IndexOf(*operand.key), Side::Request).isThere;
    };
    bool const starts = CompletesByForm(table)
                            ? std::any_of(table.operands.begin(), table.operands.end(),
                                          [&](Operand const& each) { return each.options.triggers && isAsked(each); })
                            : study.Find(at, study.IndexOf(*table.operands.front().key), Side::Request).isThere;
    if (!starts || table.form == Form::Presence) {
        return starts ? std::optional(values) : std::nullopt;
    }
    for (std::size_t i = 0; i < values.size(); ++i) {
        Operand const& operand = table.operands[i];
        std::size_t const key = study.IndexOf(*operand.key);
        Source const source = operand.options.source;
        bool const completes = source == Source::Stored || source == Source::Completed ||
                               (source == Source::AsForm && CompletesByForm(table));
        auto const requested = study.Find(at, key, Side::Request);
        auto const stored = study.Find(at, key, Side::Stored);
        if (source != Source::Stored && requested.isReadable && operand.key->kind != Kind::Branch) {
            values[i] = requested.value;
        } else if (completes && stored.isReadable && operand.key->kind != Kind::Branch) {
            values[i] = stored.value;
        } else if (table.form == Form::Lax || operand.options.optional) {
            values[i] = FallbackOf(operand);
        } else {
            return std::nullopt;
        }
    }
    return values;
}

std::string PayloadOf(Command const& table, std::vector<Value> const& values, RecordLayout const& record)
{
    std::string bytes(record.size, '\0');
    std::span<unsigned char> const payload(reinterpret_cast<unsigned char*>(bytes.data()), bytes.size());
    protocol::PackConstants(record, payload);
    for (Field const& field : record.fields) {
        for (std::size_t i = 0; i < values.size(); ++i) {
            if (field.key == table.operands[i].key) {
                protocol::PackField(field, values[i], payload);
                break;
            }
        }
    }
    return bytes;
}

Promise PromiseOf(Command const& table, Study const& study, Case const& at)
{
    Promise promise;
    auto values = ValuesOf(table, study, at);
    if (!values) {
        return promise;
    }
    Amend(study.Row(), table, *values);
    if (table.longTexts == LongTexts::Refused) {
        for (Sending const& sending : table.sends) {
            for (std::size_t i = 0; i < values->size(); ++i) {
                Field const* const field = TextFieldOf(sending.record, *table.operands[i].key);
                if (field != nullptr && IsTooLong((*values)[i], *field)) {
                    return promise;
                }
            }
        }
    }
    for (Sending const& sending : table.sends) {
        std::string const payload = PayloadOf(table, *values, sending.record);
        auto const target = TargetOf(sending, study, at);
        if (target) {
            promise.sent.push_back({sending.record.carrier, sending.record.id, *target, payload});
        }
        if (table.echoFlags == NoEcho) {
            continue;
        }
        auto& told = promise.told.emplace_back();
        for (Operand const* const operand : EchoedOf(table)) {
            auto const which = std::find_if(table.operands.begin(), table.operands.end(),
                                            [&](Operand const& each) { return each.key == operand->key; });
            if (which == table.operands.end()) {
                continue;
            }
            Value const& read = (*values)[static_cast<std::size_t>(which - table.operands.begin())];
            bool const* const flag = std::get_if<bool>(&read);
            Value value =
                operand->options.echo == Echo::AsSent ? ValueInRecord(sending.record, *operand->key, payload) : read;
            if (operand->options.echo == Echo::WhenTrue && (flag == nullptr || !*flag)) {
                value = {};
            }
            if (!protocol::IsEmpty(value)) {
                told.emplace_back(operand->key, std::move(value));
            }
        }
    }
    for (FollowUp const& followUp : table.followUps) {
        promise.asked.push_back({followUp.recordId, followUp.target});
    }
    return promise;
}

Finding Broken(Promise const& promise, Command const& table, Observation const& seen)
{
    for (std::size_t i = 0; i < std::max(promise.sent.size(), seen.sent.size()); ++i) {
        if (i >= seen.sent.size()) {
            return "no " + Text(promise.sent[i]);
        }
        if (i >= promise.sent.size()) {
            return "a " + Text(seen.sent[i]) + " that it does not tell of";
        }
        if (promise.sent[i] != seen.sent[i]) {
            return Text(seen.sent[i]) + " in place of " + Text(promise.sent[i]) +
                   (Text(seen.sent[i]) == Text(promise.sent[i]) ? " with other bytes" : "");
        }
    }
    if (promise.asked != seen.asked) {
        return "other questions";
    }
    if (promise.told.size() != seen.told.size()) {
        return std::to_string(seen.told.size()) + " echoes in place of " + std::to_string(promise.told.size());
    }
    for (std::size_t i = 0; i < promise.told.size(); ++i) {
        CAttributeMap const& tree = seen.told[i].tree;
        if (seen.told[i].flags != table.echoFlags) {
            return "an echo of flags " + std::to_string(seen.told[i].flags);
        }
        if (tree.Count() != static_cast<int>(promise.told[i].size())) {
            return "an echo of " + std::to_string(tree.Count()) + " keys in place of " +
                   std::to_string(promise.told[i].size());
        }
        int position = 0;
        for (auto const& [key, value] : promise.told[i]) {
            CAttributeMap const& child = tree.GetChild(position++);
            if (child.KeyText() != key->text || !IsSame(value, child.Value())) {
                return "an echo with " + Text(child.KeyText()) + '=' + child.Value().ToText() + " in place of " +
                       Text(*key) + '=' + MakeVordal(value)->ToText();
            }
        }
    }
    if (!seen.others.empty()) {
        return seen.others.front();
    }
    return std::nullopt;
}

Finding CheckPromises(Command const& table, Study& study)
{
    for (Sending const& sending : table.sends) {
        if (!sending.when.empty() && sending.record.carrier != Carrier::PassThrough) {
            return "a record of a form that tells all has no condition, unless it is passed on";
        }
    }
    for (FollowUp const& followUp : table.followUps) {
        if (!followUp.when.empty()) {
            return "a question of a form that tells all has no condition";
        }
    }
    for (std::size_t i = 0; Case const* const at = study.At(i); ++i) {
        if (auto const broken = Broken(PromiseOf(table, study, *at), table, at->observed)) {
            return *broken + InCase(*at, study);
        }
    }
    return std::nullopt;
}

// A way of its own: what the table tells is held to all that was observed.

Side CompletingSide(Command const& table, Operand const& operand)
{
    Source source = operand.options.source;
    if (source == Source::Branch) {
        source = table.operands.front().options.source;
    }
    return source == Source::Request ? Side::Request : Side::Stored;
}

Finding CheckSource(Command const& table, Operand const& operand, Study& study)
{
    std::size_t const key = study.IndexOf(*operand.key);
    Source source = operand.options.source;
    bool const isInFirst = study.BranchOf(key, Side::Request) == table.operands.front().key;
    if (isInFirst != (source == Source::Branch)) {
        return isInFirst ? "it is read from the branch " + Text(*table.operands.front().key)
                         : "it is not read from the branch " + Text(*table.operands.front().key);
    }
    if (source == Source::Branch) {
        source = table.operands.front().options.source;
    }
    Facts const& facts = study.FactsOf(key);
    bool const fromRequest = source == Source::Request || source == Source::Completed;
    bool const fromStored = source == Source::Stored || source == Source::Completed;
    if (facts.requestMatters != fromRequest) {
        return fromRequest ? "the request's makes no difference" : "the request's makes a difference";
    }
    if (facts.storedMatters != fromStored) {
        return fromStored ? "the stored one makes no difference" : "the stored one makes a difference";
    }
    bool const isExempt =
        IsExempt(storedCountsBesideRequest, study.Row(), operand.key) || operand.options.source == Source::Branch;
    if (fromRequest && facts.besideMatters && !isExempt) {
        return "the stored one makes a difference beside the request's";
    }
    return std::nullopt;
}

Finding CheckOptions(Command const& table, Operand const& operand, Study& study)
{
    std::size_t const key = study.IndexOf(*operand.key);
    OperandOptions const& options = operand.options;
    if (WhyTriggersSaysNothing(table, operand).empty() && options.triggers != study.FactsOf(key).startsAlone) {
        return options.triggers ? "it does not trigger" : "it triggers";
    }
    if (WhyOptionalSaysNothing(table, operand).empty() && !IsExempt(neededByOneBranchAlone, study.Row(), operand.key) &&
        options.optional != study.FactsOf(key).goesOnWithout) {
        return options.optional ? "nothing happens without it" : "the command goes on without it";
    }
    if (WhyFallbackSaysNothing(table, operand).empty()) {
        auto const& asGood = study.AsGoodAsAbsent(key, CompletingSide(table, operand));
        auto const isAsGood = [&](double number) {
            return std::find(asGood.begin(), asGood.end(), number) != asGood.end();
        };
        // Where nothing, or 0 as well, stands for the value, the default says it.
        bool const needsOther = !asGood.empty() && !isAsGood(0.0);
        if (needsOther ? !isAsGood(options.fallback) : options.fallback != 0.0) {
            return "the fallback is another";
        }
    }
    return std::nullopt;
}

/// Whether the table lets the command start: what it needs is there, and something that triggers.
bool MayStart(Command const& table, Study const& study, Case const& at)
{
    bool isTriggered = false;
    for (Operand const& operand : table.operands) {
        Source source = operand.options.source;
        std::size_t const key = study.IndexOf(*operand.key);
        auto const requested = study.Find(at, key, Side::Request);
        if (source == Source::Branch) {
            source = table.operands.front().options.source;
        }
        bool const isAsked = requested.isReadable || (requested.isThere && operand.key->kind == Kind::Any);
        bool const asks = source == Source::Request || source == Source::Completed;
        bool const completes = source == Source::Stored || source == Source::Completed;
        bool const isFound = (asks && isAsked) || (completes && study.Find(at, key, Side::Stored).isReadable);
        if (!isFound && !operand.options.optional && source != Source::Told) {
            return false;
        }
        isTriggered = isTriggered || (asks && isAsked && operand.options.triggers);
    }
    return isTriggered && !at.observed.threw;
}

/// Rows of a table against what happened: each event is one of them, in their order; each row occurs; one without a
/// condition whenever something happens or the command may start; one with a condition not always, or more than once.
template <typename Row, typename Event>
class RowsCheck
{
public:
    using Matches = std::function<bool(Row const&, Event const&, Case const&)>;
    using IsPossible = std::function<bool(Row const&, Case const&)>;

    RowsCheck(Study const& study, std::string what, std::span<Row const> rows, Matches matches, IsPossible isPossible)
        : m_what(std::move(what)), m_rows(rows), m_matches(std::move(matches)), m_isPossible(std::move(isPossible)),
          m_isAlways(!IsExempt(forSomeValuesAlone, study.Row(), nullptr)), m_occurs(rows.size()),
          m_isConditional(rows.size())
    {
    }

    Finding Look(Case const& at, std::vector<Event> const& events, bool mayStart)
    {
        std::vector<bool> isHere(m_rows.size());
        std::size_t row = 0;
        for (Event const& event : events) {
            while (row < m_rows.size() && !m_matches(m_rows[row], event, at)) {
                ++row;
            }
            if (row == m_rows.size()) {
                return "a " + Text(event) + " that it does not tell of here";
            }
            if (isHere[row] && m_rows[row].when.empty()) {
                return "a second " + Text(event);
            }
            m_isConditional[row] = m_isConditional[row] || isHere[row];
            isHere[row] = true;
        }
        for (row = 0; row < m_rows.size(); ++row) {
            bool const isMissed = !isHere[row] && (at.observed.Happened() || (mayStart && m_isAlways));
            if (isMissed && m_rows[row].when.empty() && m_isPossible(m_rows[row], at)) {
                return Name(row) + " is missing";
            }
            m_occurs[row] = m_occurs[row] || isHere[row];
            m_isConditional[row] = m_isConditional[row] || isMissed;
        }
        return std::nullopt;
    }
    Finding End() const
    {
        for (std::size_t row = 0; row < m_rows.size(); ++row) {
            if (!m_occurs[row]) {
                return Name(row) + " never occurs";
            }
            if (!m_rows[row].when.empty() && !m_isConditional[row]) {
                return Name(row) + " has a condition and occurs always, and once";
            }
        }
        return std::nullopt;
    }

private:
    std::string Name(std::size_t row) const { return m_what + ' ' + std::to_string(row + 1); }

    std::string m_what;
    std::span<Row const> m_rows;
    Matches m_matches;
    IsPossible m_isPossible;
    bool m_isAlways;
    std::vector<bool> m_occurs;
    std::vector<bool> m_isConditional;
};

bool IsSentAs(Sending const& sending, Sent const& sent, std::optional<Target> target)
{
    RecordLayout const& record = sending.record;
    bool const isLonger = record.tail != protocol::Tail::None && sent.payload.size() > record.size;
    return sent.carrier == record.carrier && sent.record == record.id && target == sent.target &&
           (isLonger || sent.payload.size() == record.size);
}

/// Texts that are longer than their fields.
class LongTextsCheck
{
public:
    LongTextsCheck(Command const& table, Study const& study) : m_table(table)
    {
        for (Operand const& operand : table.operands) {
            for (Sending const& sending : table.sends) {
                if (Field const* const field = TextFieldOf(sending.record, *operand.key)) {
                    m_fields.emplace_back(study.IndexOf(*operand.key), field);
                }
            }
        }
    }

    void Look(Case const& at, Study const& study)
    {
        for (auto const& [key, field] : m_fields) {
            m_isCut =
                m_isCut || (at.observed.Happened() && IsTooLong(study.Find(at, key, Side::Request).value, *field));
        }
    }
    Finding End() const
    {
        if (m_fields.empty() || m_isCut == (m_table.longTexts == LongTexts::Cut)) {
            return std::nullopt;
        }
        return m_isCut ? "a text that is too long is cut" : "a text that is too long is refused";
    }

private:
    Command const& m_table;
    std::vector<std::pair<std::size_t, Field const*>> m_fields;
    bool m_isCut = false;
};

/// One node of an echo with its branch above it.
void Flatten(CAttributeMap const& tree, std::vector<CAttributeMap const*>& nodes)
{
    for (CAttributeMap const& child : tree) {
        nodes.push_back(&child);
        Flatten(child, nodes);
    }
}

/// What the operand was read as; none where that cannot be told.
std::optional<Value> ReadValue(Command const& table, Operand const& operand, Study const& study, Case const& at)
{
    std::size_t const key = study.IndexOf(*operand.key);
    Source source = operand.options.source;
    if (source == Source::Branch) {
        source = table.operands.front().options.source;
    }
    auto const requested = study.Find(at, key, Side::Request);
    auto const stored = study.Find(at, key, Side::Stored);
    bool const asks = source == Source::Request || source == Source::Completed;
    bool const completes = source == Source::Stored || source == Source::Completed;
    if (source == Source::Told || operand.key->kind == Kind::Branch || operand.key->kind == Kind::Any ||
        (asks && !requested.isOne) || (completes && !stored.isOne)) {
        return std::nullopt;
    }
    if (asks && requested.isReadable) {
        return requested.value;
    }
    if (completes && stored.isReadable) {
        return stored.value;
    }
    bool const isOfOtherKind = (asks && requested.isThere) || (completes && stored.isThere);
    return operand.options.optional && !isOfOtherKind ? std::optional(FallbackOf(operand)) : std::nullopt;
}

Finding CheckEchoValue(Command const& table, Operand const& operand, Study const& study, Case const& at,
                       CVordalType const& value)
{
    bool flag = false;
    if (operand.options.echo == Echo::WhenTrue && value.Get(flag) && !flag) {
        return "is echoed though it is false";
    }
    if (operand.options.echo == Echo::AsSent) {
        for (Sent const& sent : at.observed.sent) {
            for (Sending const& sending : table.sends) {
                if (sending.record.id == sent.record &&
                    IsSame(ValueInRecord(sending.record, *operand.key, sent.payload), value)) {
                    return std::nullopt;
                }
            }
        }
        return "is not echoed as sent";
    }
    auto const read = ReadValue(table, operand, study, at);
    if (read && !IsSame(*read, value) && !IsExempt(workedOut, study.Row(), operand.key)) {
        return "is echoed as " + value.ToText() + " in place of " + MakeVordal(*read)->ToText();
    }
    return std::nullopt;
}

/// Echoes: their flags, their keys, which are those that the table tells, in its order, and their values.
class EchoesCheck
{
public:
    EchoesCheck(Command const& table, Study const& study)
        : m_table(table), m_study(study), m_echoed(EchoedOf(table)), m_occurs(m_echoed.size()),
          m_isFalse(m_echoed.size())
    {
    }

    Finding Look(Case const& at)
    {
        std::size_t furthest = 0;
        std::vector<bool> isHere(m_echoed.size());
        for (Told const& told : at.observed.told) {
            if (told.flags != m_table.echoFlags) {
                return "an echo of flags " + std::to_string(told.flags);
            }
            m_any = true;
            std::vector<CAttributeMap const*> nodes;
            Flatten(told.tree, nodes);
            for (CAttributeMap const* const node : nodes) {
                auto const which = static_cast<std::size_t>(
                    std::find_if(m_echoed.begin(), m_echoed.end(),
                                 [&](Operand const* each) { return each->key->text == node->KeyText(); }) -
                    m_echoed.begin());
                if (which == m_echoed.size()) {
                    return Text(node->KeyText()) + " is echoed";
                }
                if (!isHere[which] && which < furthest) {
                    return Text(node->KeyText()) + " is echoed behind " + Text(*m_echoed[furthest]->key);
                }
                furthest = std::max(furthest, which);
                isHere[which] = true;
                m_occurs[which] = true;
                bool flag = true;
                m_isFalse[which] = m_isFalse[which] || (node->Value().Get(flag) && !flag);
                if (auto const wrong = CheckEchoValue(m_table, *m_echoed[which], m_study, at, node->Value())) {
                    return Text(node->KeyText()) + ' ' + *wrong;
                }
            }
        }
        return std::nullopt;
    }
    Finding End() const
    {
        if (m_table.echoFlags == NoEcho) {
            return std::nullopt;
        }
        if (!m_any) {
            return "it never echoes";
        }
        for (std::size_t i = 0; i < m_echoed.size(); ++i) {
            Operand const& operand = *m_echoed[i];
            if (!m_occurs[i]) {
                return Text(*operand.key) + " is never echoed";
            }
            bool const isRead = operand.options.echo != Echo::WhenTrue && operand.options.source != Source::Told;
            if (operand.key->kind == Kind::Bool && isRead && !m_isFalse[i]) {
                return Text(*operand.key) + " is never echoed when it is false";
            }
        }
        return std::nullopt;
    }

private:
    Command const& m_table;
    Study const& m_study;
    std::vector<Operand const*> m_echoed;
    std::vector<bool> m_occurs;
    std::vector<bool> m_isFalse;
    bool m_any = false;
};

/// All that happened, case by case.
Finding CheckCases(Command const& table, Study& study)
{
    RowsCheck<Sending, Sent> sends(
        study, "record", table.sends,
        [&](Sending const& sending, Sent const& sent, Case const& at) {
            return IsSentAs(sending, sent, TargetOf(sending, study, at));
        },
        [&](Sending const& sending, Case const& at) { return TargetOf(sending, study, at).has_value(); });
    RowsCheck<FollowUp, Asked> questions(
        study, "question", table.followUps,
        [](FollowUp const& followUp, Asked const& asked, Case const&) {
            return followUp.recordId == asked.record && followUp.target == asked.target;
        },
        [](FollowUp const&, Case const&) { return true; });
    LongTextsCheck longTexts(table, study);
    EchoesCheck echoes(table, study);
    for (std::size_t i = 0; Case const* const at = study.At(i); ++i) {
        bool const mayStart = MayStart(table, study, *at);
        Finding finding = sends.Look(*at, at->observed.sent, mayStart);
        if (!finding) {
            finding = questions.Look(*at, at->observed.asked, mayStart);
        }
        if (!finding) {
            finding = echoes.Look(*at);
        }
        if (finding) {
            return *finding + InCase(*at, study);
        }
        longTexts.Look(*at, study);
    }
    for (Finding const& finding : {sends.End(), questions.End(), echoes.End(), longTexts.End()}) {
        if (finding) {
            return finding;
        }
    }
    return std::nullopt;
}

} // namespace

std::vector<std::string> Discrepancies(Command const& table, Study& study, std::size_t limit)
{
    std::vector<std::string> found;
    auto const isFull = [&](Finding finding) {
        if (finding) {
            found.push_back(*std::move(finding));
        }
        return found.size() >= limit;
    };
    if (isFull(SaysNothing(table))) {
        return found;
    }
    bool const namesSonar = std::any_of(table.sends.begin(), table.sends.end(), [](Sending const& sending) {
        return sending.addressee == Addressee::StoredSonar;
    });
    if (study.OthersMatter(!namesSonar) && isFull("a key that the table does not name makes a difference")) {
        return found;
    }
    if (table.form != Form::Own) {
        isFull(CheckPromises(table, study));
        return found;
    }
    for (Operand const& operand : table.operands) {
        for (auto const check : {&CheckSource, &CheckOptions}) {
            Finding finding = check(table, operand, study);
            if (finding && isFull(Text(*operand.key) + ": " + *finding)) {
                return found;
            }
        }
    }
    isFull(CheckCases(table, study));
    return found;
}

bool CarriesAllValues(Command const& table, Sending const& sending, Key const& key)
{
    using protocol::Wire;
    Field const* const field = protocol::FindField(sending.record, key);
    if (field == nullptr || field->convert != protocol::Convert::None) {
        return false;
    }
    Wire const wire = field->wire;
    switch (key.kind) {
    case Kind::Bool:
        return wire == Wire::BitOfU16 || wire == Wire::BitOfU32 || wire == Wire::BitOfU64;
    case Kind::Int:
    case Kind::UInt:
        return wire == Wire::I32 || wire == Wire::U32;
    case Kind::Double:
        return wire == Wire::F64;
    case Kind::String:
        return wire == Wire::Text && table.longTexts == LongTexts::Refused;
    default:
        return false;
    }
}

std::vector<Key const*> KeysOf(Command const& table)
{
    std::vector<Key const*> all;
    for (Operand const& operand : table.operands) {
        if (std::find(all.begin(), all.end(), operand.key) == all.end()) {
            all.push_back(operand.key);
        }
    }
    return all;
}

} // namespace qx5::conformance
