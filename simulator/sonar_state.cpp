// How records and assignments change the sonar, and what it tells of itself when.
#include <simulator/sonar_state.h>

#include <algorithm>

#include <protocol/catalogue.h>
#include <protocol/numbers.h>
#include <protocol/time_stamp.h>
#include <protocol/unpack.h>
#include <protocol/utf8.h>
#include <simulator/admission.h>
#include <simulator/assignment.h>
#include <simulator/told_nodes.h>

namespace qx5::simulator {

namespace keys = protocol::keys;
namespace records = protocol::records;
using protocol::Carrier;
using protocol::Key;
using protocol::Kind;
using protocol::TreeNode;
using protocol::Value;

namespace {

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
    PutText(keys::EchoRecords.text, &keys::EchoRecords, true);
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

bool SonarState::Put(Key const& key, Value value)
{
    if (!Admit(*this, key, value)) {
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

Understood SonarState::Apply(protocol::FrameView const& frame)
{
    Understood record = Understand(frame, Mode());
    if (!record.damaged) {
        Take(record);
    }
    Count(record);
    return record;
}

void SonarState::Take(Understood& record)
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
    case records::EchoRequest.Id():
        if (auto const wish = protocol::DecodeEchoRequest(record.payload)) {
            record.effect = Effect::TellEchoes;
            record.echoes = *wish;
        }
        break;
    case records::SinglePing.Id():
        record.effect = Effect::Ping;
        break;
    case records::StartRecording.Id(): {
        auto name = protocol::UnpackField(records::RecordingFileName, record.payload).wire;
        StartRecording(std::move(std::get<std::wstring>(name)));
        break;
    }
    case records::StopRecording.Id():
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

void SonarState::StartRecording(std::wstring name)
{
    // A recording that is under way ends; the new name begins a new file.
    m_recorder.Start();
    if (name.empty()) {
        name = NameByClock(m_utc());
    }
    PutText(keys::x5FileName.text, &keys::x5FileName, std::move(name));
    PutText(keys::x5DataRecording.text, &keys::x5DataRecording, std::int32_t{1});
    PutRecorder();
}

void SonarState::StopRecording()
{
    m_recorder.Stop();
    PutText(keys::x5DataRecording.text, &keys::x5DataRecording, std::int32_t{0});
    PutRecorder();
}

void SonarState::PutRecorder()
{
    PutText(keys::x5FileSize.text, &keys::x5FileSize, m_recorder.FileSize());
    PutText(keys::x5DiskFree.text, &keys::x5DiskFree, m_recorder.DiskFree());
}

void SonarState::RecordPing(std::size_t bytes)
{
    if (IsRecording() && !m_recorder.Write(static_cast<double>(bytes))) {
        StopRecording(); // the disk is full
    }
}

bool SonarState::TellRecorder()
{
    if (IsRecording() && *Find(keys::x5FileSize) != Value(m_recorder.FileSize())) {
        PutRecorder();
    }
    return HasReport();
}

void SonarState::Restart()
{
    if (IsRecording()) {
        StopRecording();
    }
    PutText(keys::x5PingOnOffState.text, &keys::x5PingOnOffState, std::int32_t{0});
}

bool SonarState::Set(std::string_view assignment, std::string& error)
{
    auto assigned = ParseAssignment(assignment, error);
    if (!assigned) {
        return false;
    }
    Key const* const key = assigned->key;
    if (key == nullptr) {
        if (m_attributes.size() >= MaximumAttributes) {
            error = "the sonar holds no more attributes";
            return false;
        }
        PutText(assigned->text, nullptr, std::move(assigned->value));
        return true;
    }
    if (key == &keys::x5DataRecording) {
        if (std::get<std::int32_t>(assigned->value) != 0) {
            StartRecording({});
        } else {
            StopRecording();
        }
        return true;
    }
    if (Put(*key, std::move(assigned->value))) {
        return true;
    }
    error = "the sonar does not take this value for " + protocol::EncodeUtf8(key->text);
    return false;
}

std::vector<TreeNode> SonarState::Introduction() const
{
    std::vector<TreeNode> nodes = LimitNodes(Mode(), m_heads);
    for (Attribute const& attribute : m_attributes) {
        AddNode(nodes, attribute, m_heads);
    }
    return nodes;
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
            AddNode(nodes, {std::wstring(key->text), key, *value}, m_heads);
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
        AddNode(nodes, m_attributes[index], m_heads);
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
