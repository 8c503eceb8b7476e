// One record as the monitor shows it: number, name, its fields in one line, the whole of it as text, and how it is
// saved.
#pragma once

#include "record_queue.h"

#include <protocol/record_layout.h>

#include <cstddef>
#include <cstdint>
#include <optional>
#include <span>
#include <string>
#include <string_view>
#include <vector>

namespace vordal {

/// A captured frame and what can be told of it at a glance. For one thread at a time.
class MonitoredRecord
{
public:
    explicit MonitoredRecord(CapturedFrame frame);

    CapturedFrame const& Frame() const { return m_frame; }
    /// Of a remote-control record the command's number and name, otherwise the record's; "unknown" without a layout,
    /// "damaged" for what is no frame.
    std::uint32_t Number() const { return m_number; }
    std::string const& Name() const { return m_name; }
    /// The frame's bytes are all here.
    bool IsWhole() const { return m_frame.bytes.size() == m_frame.totalBytes; }

    /// "2026-11-21 01:26:24.498 UTC" by the host's clock.
    std::string TimeText() const;
    /// "out" or "in", as seen from the host.
    std::string_view DirectionText() const { return m_frame.outgoing ? "out" : "in"; }
    /// The fields in one line of at most some 200 characters: "x5BeamSteer = (10, -10) deg, ...". Worked out when it is
    /// asked for first.
    std::string const& Summary() const;
    /// All fields line by line.
    std::string Text() const;
    /// The same, then the bytes.
    std::string Details() const;
    /// Comment lines on the record, then its bytes in hexadecimal, as `qx5 decode` reads them. A record whose bytes are
    /// not all here is a comment alone.
    std::string SavedText() const;

private:
    std::span<unsigned char const> Payload() const;
    std::string Summarise() const;
    void TakeBeginning();

    CapturedFrame m_frame;
    std::uint32_t m_number = 0;
    std::string m_name;
    qx5::protocol::Carrier m_carrier = qx5::protocol::Carrier::Data;
    /// Where the payload lies in the frame's bytes.
    std::size_t m_payloadAt = 0;
    std::size_t m_payloadSize = 0;
    mutable std::optional<std::string> m_summary;
};

} // namespace vordal
