// The state of the simulated sonar: attributes that commands change, pings, recording, and what a host is told of them.
#pragma once

#include <chrono>
#include <cstddef>
#include <cstdint>
#include <functional>
#include <map>
#include <optional>
#include <span>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include <protocol/frame.h>
#include <protocol/house_records.h>
#include <protocol/record_layout.h>
#include <protocol/tree_codec.h>
#include <protocol/value.h>
#include <simulator/attribute.h>
#include <simulator/recorder.h>
#include <simulator/sonar_model.h>
#include <simulator/understood_record.h>

namespace qx5::simulator {

/// Seconds since 1970-01-01 UTC.
using UtcClock = std::function<double()>;
double SystemUtcSeconds();

using SteadyTime = std::chrono::steady_clock::time_point;

/// How often a record came, and how it last looked.
struct RecordCount
{
    std::string_view name;
    std::uint64_t count = 0;
    std::vector<unsigned char> lastPayload; ///< at most MaximumKeptPayload bytes of it
};

inline constexpr std::size_t MaximumKeptPayload = 256;
inline constexpr std::size_t MaximumKeptRecords = 1024; ///< different ids; those beyond are only counted together
inline constexpr std::size_t MaximumKeptUnits = 64;     ///< other units that commands are passed on to
inline constexpr std::size_t MaximumAttributes = 4096;

/// A sonar that takes records and keeps what they say. Values outside of its limits are brought inside, and what it
/// cannot do (an operation mode that it does not have, a range that is no number) it does not do: the next report then
/// tells the host what holds. For one thread at a time.
class SonarState
{
public:
    /// `utc` names recordings and stamps pings; the system's clock when empty. A sonar with several heads has one
    /// operation mode, which cannot be changed, and tells its limits once for each head, numbered from 0.
    explicit SonarState(UtcClock utc = {}, std::int32_t heads = 1);

    /// Takes one record. Starting and stopping a recording, pings on and off and factory settings are done here; the
    /// rest of `effect` is left to the caller.
    Understood Apply(protocol::FrameView const& frame);

    /// A recording that is under way grows by what a ping brought. TellRecorder tells of it.
    void RecordPing(std::size_t bytes);
    /// True when there is something to report.
    bool TellRecorder();

    /// What a restart does: no pings, no recording; settings stay.
    void Restart();

    /// The value of an attribute by its key or its text; null when there is none.
    protocol::Value const* Find(protocol::Key const& key) const;
    protocol::Value const* Find(std::wstring_view text) const;
    std::span<Attribute const> Attributes() const { return m_attributes; }
    /// 0 where there is none or it is of another kind.
    std::int32_t IntOf(protocol::Key const& key) const;
    double DoubleOf(protocol::Key const& key) const;

    std::int32_t Heads() const { return m_heads; }
    /// That all heads are in.
    OperationMode const& Mode() const;
    /// s, of the pulse type in use.
    std::span<double const> PulseLengths() const;

    /// As ParseAssignment reads it. False, and one line in `error`, when it does not or the sonar does not take the
    /// value.
    bool Set(std::string_view assignment, std::string& error);

    /// A setting that the sonar changes by itself, of a key of a double; it is brought inside the limits and reported.
    void SetOwn(protocol::Key const& key, double value) { Put(key, value); }

    /// All that it tells upon connection: limits and values.
    std::vector<protocol::TreeNode> Introduction() const;
    /// What that record would bring; nothing for a record that it does not have.
    std::optional<std::vector<protocol::TreeNode>> Answer(std::uint32_t recordId) const;

    bool HasReport() const { return !m_touched.empty(); }
    /// The attributes that were commanded or changed since, with their present values.
    std::vector<protocol::TreeNode> TakeReport();

    /// Counts one more ping and tells its number and time.
    std::pair<std::int32_t, double> CountPing();
    std::int32_t Pings() const { return m_pings; }
    /// What is told of a ping as it is transmitted: number, time, range and sound velocity.
    std::vector<protocol::TreeNode> PingReport(std::int32_t number, double utcSeconds) const;

    bool PingsOn() const;
    bool IsRecording() const { return m_recorder.IsRecording(); }
    /// Pings per second, 0 for none.
    double PingRate() const;
    /// From the transmission to the last echo of the range, both ways.
    std::chrono::nanoseconds TravelTime() const;
    double UtcSeconds() const { return m_utc(); }

    std::map<std::pair<protocol::Carrier, std::uint32_t>, RecordCount> const& Records() const { return m_records; }
    std::uint64_t UnknownRecords() const { return m_unknownRecords; }
    std::uint64_t UnknownRequests() const { return m_unknownRequests; }
    void CountUnknownRequest() { ++m_unknownRequests; }

    /// What was passed on to other units, by device id and enumerator.
    std::map<std::pair<std::int32_t, std::int32_t>, std::vector<Attribute>> const& Units() const { return m_units; }

private:
    void LoadFactorySettings();
    void Take(Understood& record);
    void Count(Understood const& record);
    /// False when the sonar refuses the value. Reports the attribute in either case.
    bool Put(protocol::Key const& key, protocol::Value value);
    void PutText(std::wstring_view text, protocol::Key const* key, protocol::Value value);
    void ModeChanged();
    void Touch(std::size_t index);
    std::size_t IndexOf(std::wstring_view text) const;
    void StartRecording(std::wstring name);
    void StopRecording();
    void PutRecorder();

    UtcClock m_utc;
    std::int32_t const m_heads;
    std::vector<Attribute> m_attributes;
    std::vector<std::size_t> m_touched; // places in m_attributes, each once
    std::map<std::pair<protocol::Carrier, std::uint32_t>, RecordCount> m_records;
    std::map<std::pair<std::int32_t, std::int32_t>, std::vector<Attribute>> m_units;
    std::uint64_t m_unknownRecords = 0;
    std::uint64_t m_unknownRequests = 0;
    std::int32_t m_pings = 0;
    Recorder m_recorder;
};

} // namespace qx5::simulator
