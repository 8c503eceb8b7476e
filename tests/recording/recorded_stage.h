// A recorded session for tests, whose every message and time is known.
#pragma once

#include "recording/flight_recorder.h"
#include "tests/support/temporary_folder.h"

#include <VordalAttributesR/CAttributeMap.h>
#include <VordalAttributesR/CVordalType.h>
#include <VordalBaseR/CDataId.h>

#include <atomic>
#include <cstdint>
#include <filesystem>
#include <string>
#include <string_view>
#include <vector>

namespace qx5::test {

/// 2023-11-14T22:13:20Z in nanoseconds.
inline constexpr std::uint64_t stageStart = 1'700'000'000'000'000'000;

/// A frame of 96 bytes that asks for a range of 50 m.
std::vector<unsigned char> RecordedRangeFrame();
/// A frame of 68 bytes and so many zero bytes of data, of a record that nobody knows.
std::vector<unsigned char> LongFrame(std::size_t dataSize);

CAttributeMap Value(wchar_t const* key, double value);

/// A clock that a test sets, and options of recorders that go by it.
class RecordedStage
{
public:
    recording::RecorderOptions Options();
    /// So many milliseconds after the start.
    void At(std::uint64_t milliseconds) { m_steady = milliseconds * 1'000'000; }

    /// Two sonars, "Bow" 1.78.1.1 and "Stern" 1.78.2.1:
    ///   0 s  both begin, Bow with a range of 100 m and a gain of 10 dB, Stern with a range of 30 m; Bow connects
    ///   1 s  a terminal asks Bow for 50 m: request 7, frame, echo
    ///   2 s  Bow's frame comes, and tells 49.5 m; result 7
    ///   3 s  the mark "a wreck"
    ///   4 s  a frame of 3,068 bytes comes from Stern
    ///   5 s  Bow's connection is lost, comes up again, a frame goes out
    std::filesystem::path RecordTwoSonars();

    TemporaryFolder const folder;
    CDataId const bow{1, 78, 1, 1};
    CDataId const stern{1, 78, 2, 1};

private:
    std::atomic<std::uint64_t> m_steady{0};
};

} // namespace qx5::test
