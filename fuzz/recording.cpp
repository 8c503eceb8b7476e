// Fuzzes the reader of recordings: any bytes behind the magic, or in a chunk whose checksum is right, give messages or
// one line that says why not; what is read twice is the same, and no more than the summary of a file without an index
// told; a player finds any moment, and stays within the recording.
#include "recording/mcap_bytes.h"
#include "recording/recorded_session.h"
#include "recording/recording_error.h"
#include "recording/recording_text.h"
#include "recording/recording_tools.h"
#include "recording/replay_player.h"

#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <map>
#include <span>
#include <string>
#include <string_view>
#include <vector>

#include <sys/mman.h>
#include <unistd.h>

namespace {

using namespace qx5::recording;

void Require(bool holds)
{
    if (!holds) {
        std::abort();
    }
}

void RequireLine(std::string_view line)
{
    Require(!line.empty());
    for (char const c : line) {
        Require(static_cast<unsigned char>(c) >= 0x20);
    }
}

/// The first byte tells what the rest is: even, all of the file; odd, what a chunk holds.
std::vector<unsigned char> FileOf(std::uint8_t const* data, std::size_t size)
{
    std::vector<unsigned char> file(McapMagic.begin(), McapMagic.end());
    std::span<unsigned char const> const bytes(data + (size > 0 ? 1 : 0), size > 0 ? size - 1 : 0);
    McapPut put(file);
    if (size == 0 || data[0] % 2 == 0) {
        put.Bytes(bytes);
        return file;
    }
    auto const begin = put.BeginRecord(McapRecord::Chunk);
    put.U64(0);
    put.U64(~std::uint64_t{0});
    put.U64(bytes.size());
    put.U32(McapCrc(bytes));
    put.Text("");
    put.U64(bytes.size());
    put.Bytes(bytes);
    put.EndRecord(begin);
    return file;
}

/// A file that no disk knows of.
class MemoryFile
{
public:
    explicit MemoryFile(std::vector<unsigned char> const& bytes) : m_descriptor(::memfd_create("recording", 0))
    {
        Require(::write(m_descriptor, bytes.data(), bytes.size()) == static_cast<ssize_t>(bytes.size()));
    }
    MemoryFile(MemoryFile const&) = delete;
    MemoryFile& operator=(MemoryFile const&) = delete;
    ~MemoryFile() { ::close(m_descriptor); }
    std::string Path() const { return "/proc/self/fd/" + std::to_string(m_descriptor); }

private:
    int const m_descriptor;
};

/// Counts what it is shown.
class Shown final : public ReplayReceiver
{
public:
    void OnState(std::uint64_t, std::map<std::string, RecordedState> const&) override { messages = 0; }
    void OnMessage(RecordedMessage const&) override { ++messages; }

    std::uint64_t messages = 0;
};

void Play(std::string const& file)
{
    Shown shown;
    ReplayPlayer player(file, shown);
    auto const isWithin = [&] { return player.Start() <= player.Position() && player.Position() <= player.End(); };
    for (auto const time : {player.Start() + (player.End() - player.Start()) / 2, player.End(), std::uint64_t{0}}) {
        player.MoveTo(time, 0.0);
        Require(isWithin());
        player.Step();
        player.MoveToNext({&kinds::Marks, &kinds::Requests});
        player.MoveToPrevious({&kinds::Marks, &kinds::Requests});
        player.Play(0.0);
        player.Advance(1e-3);
        Require(isWithin());
        player.Advance(1e12);
        Require(isWithin());
    }
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(std::uint8_t const* data, std::size_t size)
{
    MemoryFile const file(FileOf(data, size));
    try {
        RecordedSession session(file.Path());
        auto const told = session.Summary();
        RequireLine(InfoJson(told));
        RecordingText text(session.Sonars());
        std::uint64_t messages = 0;
        session.ForEach({}, [&](RecordedMessage const& message) {
            ++messages;
            RequireLine(text.PlainLine(message));
            RequireLine(text.JsonLine(message));
            return true;
        });
        Require(session.Unreadable() == 0 || !session.FirstUnreadable().empty());
        Require(told.isComplete || messages + session.Unreadable() <= told.messages);
        auto const check = Check(file.Path());
        RequireLine(check.line);
        session.SettingsBefore(told.end.value_or(0));
        std::uint64_t again = 0;
        session.ForEach({}, [&](RecordedMessage const&) {
            ++again;
            return true;
        });
        Require(again == messages);
        Play(file.Path());
    } catch (RecordingError const& problem) {
        RequireLine(problem.what());
    }
    return 0;
}
