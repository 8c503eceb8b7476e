// How records change the sonar, and how the sonar tells of itself.
#include <simulator/sonar_state.h>

#include <algorithm>
#include <cmath>
#include <cstdio>
#include <type_traits>

#include <protocol/bytes.h>
#include <protocol/catalogue.h>
#include <protocol/numbers.h>
#include <protocol/time_stamp.h>
#include <protocol/unpack.h>
#include <protocol/utf8.h>
#include <protocol/value.h>

namespace qx5::simulator {

namespace keys = protocol::keys;
namespace records = protocol::records;
using protocol::Carrier;
using protocol::Key;
using protocol::Kind;
using protocol::TreeNode;
using protocol::Value;

namespace {

TreeNode Leaf(Key const& key, Value value)
{
    return {std::wstring(key.text), std::move(value), {}};
}

TreeNode Branch(Key const& key, std::vector<TreeNode> children)
{
    return {std::wstring(key.text), {}, std::move(children)};
}

TreeNode LimitBranch(Key const& key, Limits limits)
{
    return Branch(key, {Leaf(keys::x5Min, limits.least), Leaf(keys::x5Max, limits.greatest)});
}

std::vector<double> List(std::span<double const> values)
{
    return {values.begin(), values.end()};
}

Limits LimitsOf(std::span<double const> values)
{
    return {values.front(), values.back()};
}

TreeNode GateBranch(Key const& key)
{
    return Branch(key,
                  {Leaf(keys::x5MinValue, model::GateLeastValue), Leaf(keys::x5MinWindow, model::GateLeastWindow)});
}

TreeNode WidthBranch(Key const& key, std::span<double const> widths)
{
    return Branch(key, {Leaf(keys::x5Variable, widths.size() > 1), Leaf(keys::x5BeamWidthList, List(widths))});
}

/// What holds for one operation mode of a head, both numbered from 0.
TreeNode ModeBranch(OperationMode const& mode, std::int32_t enumerator, std::int32_t head)
{
    std::vector<TreeNode> nodes;
    nodes.push_back(Leaf(keys::SystemText, std::wstring(mode.text)));
    nodes.push_back(Leaf(keys::DeviceEnum, enumerator));
    nodes.push_back(Leaf(keys::x5RxNumber, head + 1));
    nodes.push_back(Leaf(keys::x5TxName, std::wstring(model::TransmitterName)));
    for (SampleRate const& rate : mode.sampleRates) {
        nodes.push_back(
            Branch(keys::x5SampleRateSet, {Leaf(keys::x5IQRate, rate.rate), Leaf(keys::x5RangeSet, List(rate.ranges)),
                                           LimitBranch(keys::x5Range, LimitsOf(rate.ranges))}));
    }
    for (auto const lengths : mode.pulseLengths) {
        nodes.push_back(Branch(keys::x5PulseLengthSet, {Leaf(keys::x5PulseLengthValues, List(lengths))}));
    }
    nodes.push_back(LimitBranch(keys::x5Power, mode.power));
    nodes.push_back(LimitBranch(keys::x5SoundVelocity, model::SoundVelocity));
    TreeNode pingRate = LimitBranch(keys::x5PingRate, mode.pingRate);
    pingRate.children.push_back(Leaf(keys::x5Ratio, model::PingRateRatio));
    pingRate.children.push_back(Leaf(keys::x5FreeRun, false));
    nodes.push_back(std::move(pingRate));
    TreeNode gain = LimitBranch(keys::x5Gain, mode.gain);
    TreeNode fixedGain = LimitBranch(keys::x5Fixed, mode.fixedGain);
    fixedGain.children.push_back(Leaf(keys::x5Available, true));
    gain.children.push_back(std::move(fixedGain));
    nodes.push_back(std::move(gain));
    nodes.push_back(WidthBranch(keys::x5BeamWidthSetX, mode.beamWidthsX));
    nodes.push_back(WidthBranch(keys::x5BeamWidthSetZ, mode.beamWidthsZ));
    nodes.push_back(Branch(keys::x5BeamSteer,
                           {Leaf(keys::x5MinX, mode.steeringX.least), Leaf(keys::x5MaxX, mode.steeringX.greatest),
                            Leaf(keys::x5MinZ, mode.steeringZ.least), Leaf(keys::x5MaxZ, mode.steeringZ.greatest),
                            Leaf(keys::x5Steerable, mode.steeringX.greatest > mode.steeringX.least)}));
    TreeNode frequency = LimitBranch(keys::x5Frequency, mode.frequency);
    frequency.children.push_back(Leaf(keys::x5CenterFreq, mode.centreFrequency));
    frequency.children.push_back(Leaf(keys::x5Chirp, std::int32_t{1}));
    nodes.push_back(std::move(frequency));
    nodes.push_back(Leaf(keys::MaxAbsorption, mode.greatestAbsorption));
    nodes.push_back(Leaf(keys::MaxSpreading, mode.greatestSpreading));
    nodes.push_back(GateBranch(keys::x5RangeGate));
    nodes.push_back(GateBranch(keys::x5DepthGate));
    nodes.push_back(GateBranch(keys::x5NadirGate));
    return Branch(keys::x5SonarSettings, std::move(nodes));
}

/// How the arrays of a head, numbered from 0, are built in.
TreeNode ArrayBranch(std::int32_t head)
{
    std::vector<TreeNode> info;
    info.push_back(Leaf(keys::x5MBesXYZSonarId, model::DeviceId));
    info.push_back(Leaf(keys::x5MBesXYZTXUnitID, model::TransmitUnit));
    info.push_back(Leaf(keys::x5MBesXYZRXUnitID, model::ReceiveUnit));
    info.push_back(Leaf(keys::x5MBesXYZNumber, head));
    info.push_back(Leaf(keys::x5MBesXYZFixedParams, std::int32_t{0}));
    info.push_back(Leaf(keys::x5MBesXYZFrequency, model::Modes.front().centreFrequency));
    for (std::size_t array = 0; array < 2; ++array) {
        std::vector<TreeNode> numbers;
        numbers.reserve(std::size(model::ArrayNumbers));
        for (model::ArrayNumber const& number : model::ArrayNumbers) {
            numbers.push_back(Leaf(*number.key, number.values[array]));
        }
        info.push_back(Branch(keys::x5MBesXYZ, std::move(numbers)));
    }
    return Branch(keys::x5MBesXYZList, {Branch(keys::x5MBesXYZInfo, std::move(info))});
}

/// The branch that the attribute is told in; null for one at the top.
Key const* BranchOf(Key const* key)
{
    for (model::BranchMember const& member : model::BranchMembers) {
        if (member.key == key) {
            return member.branch;
        }
    }
    return nullptr;
}

/// Whether a command tells the sonar of its own arrays, which it knows.
bool IsOfTheArrays(Key const& key)
{
    return std::any_of(model::ArrayNumbers.begin(), model::ArrayNumbers.end(),
                       [&](model::ArrayNumber const& number) { return number.key == &key; }) ||
           &key == &keys::x5MBesXYZSonarId || &key == &keys::x5MBesXYZTXUnitID || &key == &keys::x5MBesXYZRXUnitID ||
           &key == &keys::x5MBesXYZNumber || &key == &keys::x5MBesXYZFixedParams || &key == &keys::x5MBesXYZFrequency;
}

Value OfKind(Kind kind, double number)
{
    switch (kind) {
    case Kind::Int:
        return protocol::TruncateToInt32(number);
    case Kind::UInt:
        return static_cast<std::uint32_t>(protocol::TruncateToInt32(number));
    case Kind::Int64:
        return std::int64_t{protocol::TruncateToInt32(number)};
    case Kind::Bool:
        return number != 0.0;
    case Kind::Pair:
        return std::pair(number, number);
    default:
        return number;
    }
}

bool HoldsNan(Value const& value)
{
    return std::visit(
        [](auto const& held) {
            using Held = std::decay_t<decltype(held)>;
            if constexpr (std::is_same_v<Held, double>) {
                return std::isnan(held);
            } else if constexpr (std::is_same_v<Held, std::pair<double, double>>) {
                return std::isnan(held.first) || std::isnan(held.second);
            } else if constexpr (std::is_same_v<Held, std::vector<double>> ||
                                 std::is_same_v<Held, std::array<double, 3>>) {
                return std::any_of(held.begin(), held.end(), [](double number) { return std::isnan(number); });
            } else {
                return false;
            }
        },
        value);
}

bool Clamp(Value& value, Limits limits)
{
    auto* const number = std::get_if<double>(&value);
    if (number == nullptr) {
        return false;
    }
    *number = std::clamp(*number, limits.least, limits.greatest);
    return true;
}

bool IsIndex(Value const& value, std::size_t count)
{
    auto const* const number = std::get_if<std::int32_t>(&value);
    return number != nullptr && *number >= 0 && static_cast<std::size_t>(*number) < count;
}

Key const* KeyOfText(std::wstring_view text)
{
    if (Key const* const key = protocol::FindKey(text)) {
        return key;
    }
    for (Key const* const key : protocol::SettingsKeys) {
        if (key->text == text) {
            return key;
        }
    }
    return nullptr;
}

void EraseValue(std::vector<std::pair<Key const*, Value>>& values, Key const& key)
{
    std::erase_if(values, [&](auto const& value) { return value.first == &key; });
}

bool WireFlag(Understood const& record, protocol::Field const& field)
{
    auto const wire = protocol::UnpackField(field, record.payload).wire;
    auto const* const set = std::get_if<bool>(&wire);
    return set != nullptr && *set;
}

void PutInto(std::vector<Attribute>& attributes, Key const& key, Value value)
{
    for (Attribute& attribute : attributes) {
        if (attribute.key == &key) {
            attribute.value = std::move(value);
            return;
        }
    }
    if (attributes.size() < MaximumAttributes) {
        attributes.push_back({std::wstring(key.text), &key, std::move(value)});
    }
}

std::wstring NameByClock(double utcSeconds)
{
    auto const time = protocol::TimeText(protocol::ToTimeX5(utcSeconds)); // "2023-11-14 22:13:20.000 UTC"
    std::wstring name;
    for (char const character : time.substr(0, std::min(time.size(), time.find('.')))) {
        if (character >= '0' && character <= '9') {
            name += static_cast<wchar_t>(character);
        } else if (character == ' ') {
            name += L'_';
        }
    }
    return name + L".x5";
}

} // namespace

double SystemUtcSeconds()
{
    return std::chrono::duration<double>(std::chrono::system_clock::now().time_since_epoch()).count();
}

SonarState::SonarState(UtcClock utc, std::int32_t heads)
    : m_utc(utc ? std::move(utc) : UtcClock(SystemUtcSeconds)), m_heads(heads)
{
    PutText(keys::DeviceId.text, &keys::DeviceId, model::DeviceId);
    PutText(keys::x5SystemIDH.text, &keys::x5SystemIDH, false);
    PutText(keys::x5EnumIsFixed.text, &keys::x5EnumIsFixed, m_heads > 1);
    PutText(keys::x5PingOnOffState.text, &keys::x5PingOnOffState, std::int32_t{0});
    LoadFactorySettings();
    PutText(keys::x5DataRecording.text, &keys::x5DataRecording, std::int32_t{0});
    PutText(keys::x5DirectoryName.text, &keys::x5DirectoryName, std::wstring(model::RecordingDirectory));
    PutText(keys::x5FileName.text, &keys::x5FileName, std::wstring());
    PutRecorder();
    m_touched.clear();
}

void SonarState::LoadFactorySettings()
{
    PutText(keys::DeviceEnum.text, &keys::DeviceEnum, std::int32_t{0});
    PutText(keys::x5SampleRateSelection.text, &keys::x5SampleRateSelection, std::int32_t{0});
    for (model::FactorySetting const& setting : model::FactorySettings) {
        PutText(setting.key->text, setting.key, OfKind(setting.key->kind, setting.value));
    }
    for (model::FactoryText const& setting : model::FactoryTexts) {
        PutText(setting.key->text, setting.key, std::wstring(setting.text));
    }
    PutText(keys::x5PulseLengthValues.text, &keys::x5PulseLengthValues, List(PulseLengths()));
}

std::size_t SonarState::IndexOf(std::wstring_view text) const
{
    for (std::size_t i = 0; i < m_attributes.size(); ++i) {
        if (m_attributes[i].text == text) {
            return i;
        }
    }
    return m_attributes.size();
}

Value const* SonarState::Find(std::wstring_view text) const
{
    std::size_t const at = IndexOf(text);
    return at < m_attributes.size() ? &m_attributes[at].value : nullptr;
}

Value const* SonarState::Find(Key const& key) const
{
    return Find(key.text);
}

std::int32_t SonarState::IntOf(Key const& key) const
{
    auto const* const value = Find(key);
    auto const* const number = value != nullptr ? std::get_if<std::int32_t>(value) : nullptr;
    return number != nullptr ? *number : 0;
}

double SonarState::DoubleOf(Key const& key) const
{
    auto const* const value = Find(key);
    auto const* const number = value != nullptr ? std::get_if<double>(value) : nullptr;
    return number != nullptr ? *number : 0.0;
}

OperationMode const& SonarState::Mode() const
{
    return model::Modes[static_cast<std::size_t>(IntOf(keys::DeviceEnum))]; // Admit lets no other enumerator in
}

std::span<double const> SonarState::PulseLengths() const
{
    return Mode().pulseLengths[static_cast<std::size_t>(IntOf(keys::x5PulseType))];
}

bool SonarState::PingsOn() const
{
    return IntOf(keys::x5PingOnOffState) != 0;
}

double SonarState::PingRate() const
{
    return DoubleOf(keys::x5MaxPingRate);
}

std::chrono::nanoseconds SonarState::TravelTime() const
{
    std::chrono::duration<double> const seconds(2.0 * DoubleOf(keys::x5Range) / DoubleOf(keys::x5SoundVelocity));
    return std::chrono::duration_cast<std::chrono::nanoseconds>(seconds);
}

void SonarState::Touch(std::size_t index)
{
    if (std::find(m_touched.begin(), m_touched.end(), index) == m_touched.end()) {
        m_touched.push_back(index);
    }
}

void SonarState::PutText(std::wstring_view text, Key const* key, Value value)
{
    std::size_t const at = IndexOf(text);
    if (at == m_attributes.size()) {
        if (m_attributes.size() >= MaximumAttributes) {
            return;
        }
        m_attributes.push_back({std::wstring(text), key, {}});
    }
    m_attributes[at].value = std::move(value);
    Touch(at);
}

bool SonarState::Admit(Key const& key, Value& value) const
{
    if (HoldsNan(value)) {
        return false;
    }
    if (&key == &keys::DeviceEnum) {
        return m_heads == 1 && IsIndex(value, model::Modes.size());
    }
    if (&key == &keys::x5SampleRateSelection) {
        return IsIndex(value, Mode().sampleRates.size());
    }
    if (&key == &keys::x5PulseType) {
        return IsIndex(value, Mode().pulseLengths.size());
    }
    if (&key == &keys::x5BeamModeSelection) {
        return IsIndex(value, model::BeamModes.size());
    }
    if (&key == &keys::DeviceId || &key == &keys::x5PulseLengthValues) {
        return false;
    }
    if (&key == &keys::x5Range) {
        auto const selection = static_cast<std::size_t>(IntOf(keys::x5SampleRateSelection));
        return Clamp(value, LimitsOf(Mode().sampleRates[selection].ranges));
    }
    if (&key == &keys::x5Power) {
        auto const* const power = std::get_if<double>(&value);
        return power != nullptr && (*power == 0.0 || Clamp(value, Mode().power));
    }
    if (&key == &keys::x5Gain) {
        return Clamp(value, IntOf(keys::x5GainMode) == 2 ? Mode().fixedGain : Mode().gain);
    }
    if (&key == &keys::x5MaxPingRate) {
        return Clamp(value, Mode().pingRate);
    }
    if (&key == &keys::x5PulseLength) {
        return Clamp(value, LimitsOf(PulseLengths()));
    }
    if (&key == &keys::x5SoundVelocity) {
        return Clamp(value, model::SoundVelocity);
    }
    if (&key == &keys::x5CenterFrequency) {
        return Clamp(value, Mode().frequency);
    }
    if (&key == &keys::x5Absorption) {
        return Clamp(value, {0.0, Mode().greatestAbsorption});
    }
    if (&key == &keys::x5SpreadingLoss) {
        return Clamp(value, {0.0, Mode().greatestSpreading});
    }
    return true;
}

bool SonarState::Put(Key const& key, Value value)
{
    if (!Admit(key, value)) {
        std::size_t const at = IndexOf(key.text);
        if (at < m_attributes.size()) {
            Touch(at);
        }
        return false;
    }
    bool const isOtherGainMode = &key == &keys::x5GainMode && value != *Find(keys::x5GainMode);
    PutText(key.text, &key, std::move(value));
    if (isOtherGainMode) {
        // Each mode has a gain of its own.
        Value const gain = *Find(keys::x5Gain);
        Put(keys::x5Gain, Value(*Find(keys::x5GainAlt)));
        PutText(keys::x5GainAlt.text, &keys::x5GainAlt, gain);
    }
    if (&key == &keys::DeviceEnum || &key == &keys::x5SampleRateSelection || &key == &keys::x5PulseType) {
        ModeChanged();
    }
    if (&key == &keys::x5BeamSteer) {
        auto const* const angles = std::get_if<std::pair<double, double>>(Find(keys::x5BeamSteer));
        if (angles != nullptr) {
            auto const [vertical, horizontal] = *angles;
            PutText(keys::x5ProjBeamAngleVer.text, &keys::x5ProjBeamAngleVer, vertical);
            PutText(keys::x5ProjBeamAngleHor.text, &keys::x5ProjBeamAngleHor, horizontal);
        }
    }
    return true;
}

void SonarState::ModeChanged()
{
    if (static_cast<std::size_t>(IntOf(keys::x5SampleRateSelection)) >= Mode().sampleRates.size()) {
        PutText(keys::x5SampleRateSelection.text, &keys::x5SampleRateSelection, std::int32_t{0});
    }
    PutText(keys::x5PulseLengthValues.text, &keys::x5PulseLengthValues, List(PulseLengths()));
    for (Key const* const key :
         {&keys::x5Range, &keys::x5Power, &keys::x5Gain, &keys::x5MaxPingRate, &keys::x5PulseLength,
          &keys::x5CenterFrequency, &keys::x5Absorption, &keys::x5SpreadingLoss}) {
        if (auto const* const value = Find(*key)) {
            Put(*key, Value(*value));
        }
    }
}

Understood SonarState::Apply(protocol::FrameView const& frame, SteadyTime now)
{
    Understood record;
    record.carrier = Carrier::Data;
    record.id = frame.header.recordId;
    record.target = {static_cast<std::int32_t>(frame.header.deviceId),
                     static_cast<std::int16_t>(frame.header.enumerator)};
    record.payload = frame.data;
    if (record.id == protocol::RemoteControlRecordId) {
        if (auto const command = protocol::ParseRemoteControl(frame)) {
            record.carrier = Carrier::RemoteControl;
            record.id = command->commandId;
            record.payload = command->payload;
        } else {
            record.damaged = true;
        }
    }
    if (!record.damaged && record.carrier == Carrier::RemoteControl && record.id == records::PassThroughCommand.Id()) {
        if (auto const command = protocol::DecodePassThrough(record.payload)) {
            record.carrier = Carrier::PassThrough;
            record.id = command->commandId;
            record.target = command->target;
            record.payload = command->payload;
        } else {
            record.damaged = true;
        }
    }
    if (!record.damaged) {
        Read(record);
        Take(record, now);
    }
    Count(record);
    return record;
}

void SonarState::Read(Understood& record)
{
    record.layout = protocol::FindLayout(record.carrier, record.id, record.payload);
    if (record.layout == nullptr) {
        return;
    }
    record.name = record.layout->name;
    auto unpacked = protocol::Unpack(*record.layout, record.payload);
    record.missingBytes = unpacked.missingBytes;
    record.values = protocol::KeyValues(unpacked.fields);
    for (protocol::FieldValue const& field : unpacked.fields) {
        if (field.field->key == nullptr && field.field->constant == 0 && !protocol::IsEmpty(field.wire)) {
            record.fields.emplace_back(field.field->name, field.wire);
        }
    }
    if (record.layout->tailKey != nullptr && !protocol::IsEmpty(unpacked.tail) &&
        unpacked.tailBytes.size() <= MaximumKeptTail) {
        record.values.emplace_back(record.layout->tailKey, std::move(unpacked.tail));
    }

    // What the tables cannot turn back, because it takes the sonar's own settings to do so.
    if (record.carrier != Carrier::RemoteControl || record.missingBytes != 0) {
        return;
    }
    if (record.layout->id == records::SampleRate.Id()) {
        auto const rate = protocol::GetI32LE(record.payload, 0);
        auto const rates = Mode().sampleRates;
        for (std::size_t i = 0; i < rates.size(); ++i) {
            if (rates[i].rate == rate) {
                record.values.emplace_back(&keys::x5SampleRateSelection, static_cast<std::int32_t>(i));
            }
        }
    } else if (record.layout->id == records::CustomBeams.Id()) {
        auto const beams = protocol::GetU16LE(record.payload, 0);
        if (beams != 0) {
            record.values.emplace_back(&keys::x5CustomBeams, static_cast<double>(beams));
        }
        record.values.emplace_back(&keys::x5CustomBeamsEnabled, beams != 0);
    } else if (record.layout->id == records::ConstantSpacing.Id()) {
        auto const spacing = static_cast<double>(protocol::GetF32LE(record.payload, 0));
        if (spacing > 0.0) {
            record.values.emplace_back(&keys::x5ConstantSpacing, spacing);
        }
        record.values.emplace_back(&keys::x5ConstantSpacingEnabled, spacing > 0.0);
    } else if (record.layout->id == records::FMSweep.Id()) {
        auto const start = protocol::UnpackField(records::SweepStart, record.payload).wire;
        auto const stop = protocol::UnpackField(records::SweepStop, record.payload).wire;
        double const width = std::get<double>(stop) - std::get<double>(start); // Hz
        record.values.emplace_back(&keys::x5FMSweep, std::abs(width) / 1000.0);
        record.values.emplace_back(&keys::x5FMSweepNegative, width < 0.0);
    }
    // Flags say which of the numbers are meant.
    if (record.layout->id == records::ManualSoundVelocity.Id()) {
        if (WireFlag(record, records::NoNewSoundVelocity)) {
            EraseValue(record.values, keys::x5SoundVelocity);
        }
        if (!WireFlag(record, records::NewSoundVelocityFilter)) {
            EraseValue(record.values, keys::x5SoundVelocityFilter);
        }
    } else if (record.layout->id == records::ManualTemperature.Id() && WireFlag(record, records::NoNewTemperature)) {
        EraseValue(record.values, keys::x5Temperature);
    }
}

void SonarState::Take(Understood& record, SteadyTime now)
{
    if (record.missingBytes != 0) {
        return;
    }
    if (record.carrier == Carrier::PassThrough) {
        auto const unit = std::pair(record.target.deviceId, record.target.enumerator);
        if (m_units.size() < MaximumKeptUnits || m_units.contains(unit)) {
            auto& attributes = m_units[unit];
            for (auto const& [key, value] : record.values) {
                PutInto(attributes, *key, value);
            }
        }
        return;
    }
    for (auto const& [key, value] : record.values) {
        if (!IsOfTheArrays(*key)) {
            Put(*key, value);
        }
    }
    if (record.carrier != Carrier::RemoteControl) {
        return;
    }
    switch (record.id) {
    case records::Shutdown.Id():
        record.effect = Effect::ShutDown;
        break;
    case records::Reboot.Id():
        record.effect = Effect::Reboot;
        break;
    case records::PingsOn.Id():
    case records::PingsOff.Id():
        Put(keys::x5PingOnOffState, std::int32_t{record.id == records::PingsOn.Id() ? 1 : 0});
        break;
    case records::LoadFactoryParameters.Id():
        LoadFactorySettings();
        break;
    case records::RecordRequest.Id():
        if (auto const requested = protocol::DecodeRecordRequest(record.payload)) {
            record.effect = Effect::AnswerRecord;
            record.requestedRecord = *requested;
        }
        break;
    case records::SinglePing.Id():
        record.effect = Effect::Ping;
        break;
    case records::StartRecording.Id(): {
        auto name = protocol::UnpackField(records::RecordingFileName, record.payload).wire;
        StartRecording(std::move(std::get<std::wstring>(name)), now);
        break;
    }
    case records::StopRecording.Id():
        Advance(now);
        StopRecording();
        break;
    default:
        break;
    }
}

void SonarState::Count(Understood const& record)
{
    if (record.name.empty()) {
        ++m_unknownRecords;
    }
    auto const id = std::pair(record.carrier, record.id);
    if (m_records.size() >= MaximumKeptRecords && !m_records.contains(id)) {
        return;
    }
    RecordCount& count = m_records[id];
    count.name = record.name;
    ++count.count;
    auto const kept = record.payload.first(std::min(record.payload.size(), MaximumKeptPayload));
    count.lastPayload.assign(kept.begin(), kept.end());
}

void SonarState::StartRecording(std::wstring name, SteadyTime now)
{
    // A recording that is under way ends; the new name begins a new file.
    Advance(now);
    m_recording = true;
    m_recordedUntil = now;
    m_fileBytes = 0.0;
    if (name.empty()) {
        name = NameByClock(m_utc());
    }
    PutText(keys::x5FileName.text, &keys::x5FileName, std::move(name));
    PutText(keys::x5DataRecording.text, &keys::x5DataRecording, std::int32_t{1});
    PutRecorder();
}

void SonarState::StopRecording()
{
    m_recording = false;
    PutText(keys::x5DataRecording.text, &keys::x5DataRecording, std::int32_t{0});
    PutRecorder();
}

void SonarState::PutRecorder()
{
    PutText(keys::x5FileSize.text, &keys::x5FileSize, static_cast<std::int64_t>(m_fileBytes));
    auto const free = protocol::TruncateToInt32(100.0 * m_diskFreeBytes / model::DiskBytes);
    PutText(keys::x5DiskFree.text, &keys::x5DiskFree, free);
}

bool SonarState::Advance(SteadyTime now)
{
    if (!m_recording || now <= m_recordedUntil) {
        return HasReport();
    }
    std::chrono::duration<double> const elapsed = now - m_recordedUntil;
    m_recordedUntil = now;
    double const wanted = elapsed.count() * model::RecordingBytesPerSecond;
    double const written = std::min(wanted, m_diskFreeBytes);
    m_fileBytes += written;
    m_diskFreeBytes -= written;
    if (written < wanted) {
        StopRecording(); // the disk is full
    } else {
        PutRecorder();
    }
    return HasReport();
}

void SonarState::Restart(SteadyTime now)
{
    Advance(now);
    if (m_recording) {
        StopRecording();
    }
    PutText(keys::x5PingOnOffState.text, &keys::x5PingOnOffState, std::int32_t{0});
}

bool SonarState::Set(std::string_view assignment, SteadyTime now, std::string& error)
{
    std::size_t const equals = assignment.find('=');
    if (equals == std::string_view::npos || equals == 0) {
        error = "set wants KEY=VALUE, for example x5Range=50";
        return false;
    }
    std::string_view name = assignment.substr(0, equals);
    std::string_view const text = assignment.substr(equals + 1);
    std::optional<Kind> told;
    if (std::size_t const colon = name.find(':'); colon != std::string_view::npos) {
        told = protocol::FindKind(name.substr(colon + 1));
        if (!told || protocol::RowOf(*told).onLink == 0) {
            error = "'" + std::string(name.substr(colon + 1)) + "' is no kind; take int, uint, int64, bool, double, " +
                    "pair, string, ints, doubles or offset";
            return false;
        }
        name = name.substr(0, colon);
    }
    std::wstring const wide = protocol::DecodeUtf8(name);
    Key const* const key = KeyOfText(wide);
    if (key == nullptr && !told) {
        error = "the key " + std::string(name) + " is not known; tell its kind, as in " + std::string(name) + ":int=1";
        return false;
    }
    Kind const kind = key != nullptr ? key->kind : *told;
    if (told && *told != kind) {
        error = std::string(name) + " is of kind " + std::string(protocol::NameOf(kind));
        return false;
    }
    auto value = protocol::ParseValue(kind, text);
    if (!value) {
        error = std::string(name) + " wants a value of kind " + std::string(protocol::NameOf(kind));
        return false;
    }
    if (key == nullptr) {
        if (m_attributes.size() >= MaximumAttributes) {
            error = "the sonar holds no more attributes";
            return false;
        }
        PutText(wide, nullptr, std::move(*value));
        return true;
    }
    if (key == &keys::x5DataRecording) {
        Advance(now);
        if (std::get<std::int32_t>(*value) != 0) {
            StartRecording({}, now);
        } else {
            StopRecording();
        }
        return true;
    }
    if (Put(*key, std::move(*value))) {
        return true;
    }
    error = "the sonar does not take this value for " + std::string(name);
    return false;
}

std::vector<TreeNode> SonarState::LimitNodes() const
{
    std::vector<TreeNode> nodes;
    if (m_heads > 1) {
        for (std::int32_t head = 0; head < m_heads; ++head) {
            nodes.push_back(ModeBranch(Mode(), head, head));
        }
    } else {
        for (std::size_t i = 0; i < model::Modes.size(); ++i) {
            nodes.push_back(ModeBranch(model::Modes[i], static_cast<std::int32_t>(i), 0));
        }
    }
    for (std::int32_t head = 0; head < m_heads; ++head) {
        nodes.push_back(ArrayBranch(head));
    }
    for (std::wstring_view const mode : model::BeamModes) {
        nodes.push_back(Leaf(keys::x5BeamModes, std::wstring(mode)));
    }
    return nodes;
}

std::vector<TreeNode> SonarState::Introduction() const
{
    std::vector<TreeNode> nodes = LimitNodes();
    for (Attribute const& attribute : m_attributes) {
        AddNode(nodes, attribute);
    }
    return nodes;
}

void SonarState::AddNode(std::vector<TreeNode>& nodes, Attribute const& attribute) const
{
    Key const* const branch = BranchOf(attribute.key);
    if (branch == nullptr) {
        nodes.push_back({attribute.text, attribute.value, {}});
        return;
    }
    auto const isBranch = [&](TreeNode const& node) { return node.key == branch->text; };
    if (std::none_of(nodes.begin(), nodes.end(), isBranch)) {
        bool const isOfModes = branch == &keys::x5PingSettingsList && m_heads == 1;
        nodes.insert(nodes.end(), isOfModes ? model::Modes.size() : static_cast<std::size_t>(m_heads),
                     Branch(*branch, {}));
    }
    for (TreeNode& node : nodes) {
        if (isBranch(node)) {
            node.children.push_back(Leaf(*attribute.key, attribute.value));
        }
    }
}

std::optional<std::vector<TreeNode>> SonarState::Answer(std::uint32_t recordId) const
{
    auto const* const row =
        std::find_if(model::Answers.begin(), model::Answers.end(),
                     [&](model::RecordAnswer const& answer) { return answer.recordId == recordId; });
    if (row == model::Answers.end()) {
        return std::nullopt;
    }
    if (row->everything) {
        return Introduction();
    }
    std::vector<TreeNode> nodes{Leaf(keys::DeviceId, model::DeviceId)};
    std::vector<Key const*> told{nullptr, &keys::DeviceId};
    auto const add = [&](Key const* key) {
        if (std::find(told.begin(), told.end(), key) != told.end()) {
            return;
        }
        told.push_back(key);
        if (auto const* const value = Find(*key)) {
            AddNode(nodes, {std::wstring(key->text), key, *value});
        }
    };
    for (std::uint32_t const command : row->commands) {
        for (protocol::RecordLayout const& layout : protocol::AllLayouts()) {
            if (layout.id != command || layout.carrier != Carrier::RemoteControl) {
                continue;
            }
            for (protocol::Field const& field : layout.fields) {
                add(field.key);
            }
            add(layout.tailKey);
        }
    }
    for (Key const* const key : row->more) {
        add(key);
    }
    return nodes;
}

std::vector<TreeNode> SonarState::TakeReport()
{
    std::vector<TreeNode> nodes;
    nodes.reserve(m_touched.size());
    for (std::size_t const index : m_touched) {
        AddNode(nodes, m_attributes[index]);
    }
    m_touched.clear();
    return nodes;
}

std::pair<std::int32_t, double> SonarState::CountPing()
{
    m_pings = m_pings == INT32_MAX ? 1 : m_pings + 1;
    return {m_pings, m_utc()};
}

std::vector<TreeNode> SonarState::PingReport(std::int32_t number, double utcSeconds) const
{
    return {Leaf(keys::x5PingNumber, number), Leaf(keys::x5PingTime, utcSeconds),
            Leaf(keys::x5Range, DoubleOf(keys::x5Range)), Leaf(keys::x5SoundVelocity, DoubleOf(keys::x5SoundVelocity))};
}

} // namespace qx5::simulator
