// The black box of a project: what was recorded last, always on, within a bound.
#pragma once

#include "flight_recorder.h"

#include <cstdint>
#include <filesystem>
#include <memory>

namespace qx5::recording {

/// The folder of a project's black box, beside it: "survey.qx5.black-box".
std::filesystem::path BlackBoxOf(std::filesystem::path const& project);

/// Recordings in a folder, "000001.mcap" and so on, each a sixteenth of the bound: when one more does not fit beside
/// the others, the oldest goes. Numbers go on where earlier sessions have left off. Programs that have one project open
/// at a time write into files of their own; none takes away what another one writes. Use as FlightRecorder's pieces.
class BlackBox
{
public:
    static constexpr std::uint64_t UsualBytes = std::uint64_t{256} << 20;
    static constexpr std::uint64_t Pieces = 16;
    /// A smaller bound counts as this.
    static constexpr std::uint64_t LeastBytes = std::uint64_t{1} << 20;

    BlackBox(std::filesystem::path folder, std::uint64_t bytes, McapTexts program);

    /// Makes the folder where it is not there (in one that is), room, and the next file. Throws RecordingError. One
    /// thread at a time.
    std::unique_ptr<SessionWriter> Next();
    std::uint64_t PieceBytes() const { return m_bytes / Pieces; }

    /// A recorder into that folder. Throws RecordingError; `options` as for a file, whose program it is.
    static std::unique_ptr<FlightRecorder> Record(std::filesystem::path const& folder, std::uint64_t bytes,
                                                  RecorderOptions options);

private:
    void MakeRoom() const;

    std::filesystem::path const m_folder;
    std::uint64_t const m_bytes;
    McapTexts const m_program;
};

} // namespace qx5::recording
