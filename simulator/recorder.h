// The simulated sonar's recorder: the file that it writes and the disk that fills.
#pragma once

#include <algorithm>
#include <chrono>
#include <cstdint>

#include <protocol/numbers.h>
#include <simulator/sonar_model.h>

namespace qx5::simulator {

using SteadyTime = std::chrono::steady_clock::time_point;

/// Takes no time of its own but what it is given. For one thread at a time.
class Recorder
{
public:
    bool IsRecording() const { return m_recording; }
    /// Begins a new file.
    void Start(SteadyTime now)
    {
        m_recording = true;
        m_recordedUntil = now;
        m_fileBytes = 0.0;
    }
    void Stop() { m_recording = false; }
    /// Lets the file grow until now; a disk that is full ends the recording. True when time has passed in it.
    bool Advance(SteadyTime now)
    {
        if (!m_recording || now <= m_recordedUntil) {
            return false;
        }
        std::chrono::duration<double> const elapsed = now - m_recordedUntil;
        m_recordedUntil = now;
        double const wanted = elapsed.count() * model::RecordingBytesPerSecond;
        double const written = std::min(wanted, m_diskFreeBytes);
        m_fileBytes += written;
        m_diskFreeBytes -= written;
        m_recording = written >= wanted;
        return true;
    }

    /// Of the file, in bytes.
    std::int64_t FileSize() const { return static_cast<std::int64_t>(m_fileBytes); }
    /// Of the disk, in percent.
    std::int32_t DiskFree() const { return protocol::TruncateToInt32(100.0 * m_diskFreeBytes / model::DiskBytes); }

private:
    bool m_recording = false;
    SteadyTime m_recordedUntil;
    double m_fileBytes = 0.0;
    double m_diskFreeBytes = model::DiskFreeAtStart;
};

} // namespace qx5::simulator
