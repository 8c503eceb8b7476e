// The simulated sonar's recorder: the file that it writes and the disk that fills.
#pragma once

#include <algorithm>
#include <cstdint>

#include <protocol/numbers.h>
#include <simulator/sonar_model.h>

namespace qx5::simulator {

/// For one thread at a time.
class Recorder
{
public:
    bool IsRecording() const { return m_recording; }
    /// Begins a new file.
    void Start()
    {
        m_recording = true;
        m_fileBytes = 0.0;
    }
    void Stop() { m_recording = false; }
    /// What a ping brought. False when the disk is full, which ends the recording.
    bool Write(double bytes)
    {
        double const written = std::min(bytes, m_diskFreeBytes);
        m_fileBytes += written;
        m_diskFreeBytes -= written;
        m_recording = written >= bytes;
        return m_recording;
    }

    /// Of the file, in bytes.
    std::int64_t FileSize() const { return static_cast<std::int64_t>(m_fileBytes); }
    /// Of the disk, in percent.
    std::int32_t DiskFree() const { return protocol::TruncateToInt32(100.0 * m_diskFreeBytes / model::DiskBytes); }

private:
    bool m_recording = false;
    double m_fileBytes = 0.0;
    double m_diskFreeBytes = model::DiskFreeAtStart;
};

} // namespace qx5::simulator
