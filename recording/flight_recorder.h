// The flight recorder: takes what happens in a session, from any thread, and writes it into a file on one of its own.
#pragma once

#include "recorded_content.h"
#include "session_writer.h"

#include "operation/action_listener.h"
#include "reference_host/link/sonar_link.h"

#include <VordalAttributesR/CAttributeMap.h>
#include <VordalBaseR/CDataId.h>

#include <array>
#include <atomic>
#include <chrono>
#include <condition_variable>
#include <cstddef>
#include <cstdint>
#include <filesystem>
#include <functional>
#include <map>
#include <memory>
#include <mutex>
#include <optional>
#include <span>
#include <string>
#include <thread>
#include <utility>
#include <vector>

namespace qx5::recording {

struct RecorderOptions
{
    /// Which program records, under which names it says so (see Recording in the manual).
    McapTexts program;
    /// Bytes that may wait to be written; what comes when there are more is lost, counted, and a message of the file.
    std::size_t greatestWaiting = std::size_t{64} << 20;
    /// How often what waits is written and its chunk closed: what the end of the program can cost.
    std::chrono::milliseconds period{500};
    /// Whether each chunk is brought to the disk, so that the end of the machine costs no more.
    bool sync = true;
    /// Told once, on the recorder's thread, when the file cannot be written any further: one line.
    std::function<void(std::string const&)> tell;
    /// Nanoseconds since 1970 UTC by the system's clock, and of a clock that never goes back; empty for the system's.
    std::function<std::uint64_t()> utc;
    std::function<std::uint64_t()> steady;
};

/// The files of a recorder that writes one after the other. Each is a whole recording: it begins with the settings of
/// each sonar and how its connection stands; no message falls between two.
struct RecorderPieces
{
    /// A file that has grown to so many bytes is finished, and the next one begun.
    std::uint64_t bytes = 0;
    /// Makes the next file. On the recorder's thread, but for the first. Throws RecordingError.
    std::function<std::unique_ptr<SessionWriter>()> next;
};

struct RecorderCounts
{
    std::uint64_t messages = 0; ///< written
    std::uint64_t bytes = 0;    ///< of all files
    std::uint64_t lost = 0;     ///< messages that found no room
};

/// One recording. What is put into it costs the one who puts it a copy into memory: no disk, no wait but for another
/// thread that is putting something in its place, and never for one that copies a long frame. Any thread, unless
/// something else is said. Long trees are shared, not copied; what a tree becomes in the file is worked out on the
/// recorder's thread.
///
/// What stands of each sonar, settings and connection, is written again whenever the file has grown by some megabytes:
/// each such part can be understood without those before it.
///
/// Times in the file: a message's log time is the system's clock at the beginning of the recording plus what a clock
/// that never goes back has counted since; its publish time follows the system's clock where that is set, from the next
/// period on.
class FlightRecorder final : public operation::ActionListener
{
public:
    /// Makes the file and begins. Throws RecordingError where that cannot be.
    FlightRecorder(std::filesystem::path const& file, RecorderOptions options);
    /// The same into pieces.
    FlightRecorder(RecorderPieces pieces, RecorderOptions options);
    /// Finishes.
    ~FlightRecorder() override;

    /// A sonar whose records and attributes follow, with its settings as they stand; again when another part begins.
    void Begin(CDataId const& sonar, std::string name, CAttributeMap const& settings);
    void Frame(CDataId const& sonar, bool isSent, std::span<unsigned char const> frame);
    void Connection(CDataId const& sonar, vordal::LinkStatus const& status);
    /// A word of the operator's for this moment.
    void Mark(std::string text);

    void OnActionBegins(operation::Action const& action) override;
    void OnActionStands(operation::Action const& action) override;
    void OnSonarTells(CDataId const& sonar, CAttributeMap const& tree) override;
    void OnEcho(CDataId const& sonar, CAttributeMap const& tree, unsigned flags) override;
    void OnWritten(CDataId const& sonar, CAttributeMap const& tree) override;

    RecorderCounts Counts() const;
    /// Writes what waits, index and end. What comes after it is left. Empty when all was well, otherwise one line. From
    /// one thread.
    std::string Finish();

private:
    /// The numbers of an id, without its text: a copy of that would be an allocation for each message.
    using SonarNumbers = std::array<unsigned short, 4>;
    enum class Form
    {
        Sent,
        Received,
        Request,
        Outcome,
        Told,
        Echo,
        Written,
        Whole,
    };
    /// What a message says beside its bytes.
    struct Brief
    {
        Form form = Form::Whole;
        vordal::RequestOrigin who{};
        operation::Result result{};
        unsigned flags = 0;       ///< of an echo
        std::uint64_t number = 0; ///< of a request
    };
    /// A line of the processor's cache: what is put costs its owner little more than getting hold of that.
    struct Entry
    {
        std::uint64_t log; ///< ns
        SonarNumbers sonar;
        Brief brief;
        /// Of Form::Whole, which is seldom: a long tree among other things.
        std::unique_ptr<RecordedContent const> whole;
        std::size_t offset = 0; ///< in the bytes that wait
        std::size_t size = 0;
    };
    static_assert(sizeof(Entry) <= 64);
    /// What waits, in two: one is filled while the other is written.
    struct Waiting
    {
        Waiting(std::size_t room, std::uint64_t utcAhead);

        std::uint64_t ahead; ///< what the system's clock was ahead when this began to be filled
        std::vector<Entry> entries;
        /// Frames, and short trees: nodes that another thread lets go of cost whoever makes the next ones more than a
        /// copy does. Taken from the system only where it is written to.
        std::unique_ptr<unsigned char[]> texts;
        std::size_t textBytes = 0;
        std::size_t bytes = 0;
        std::atomic<unsigned> copying{0}; ///< threads that still copy a frame to where its entry says
    };
    static SonarNumbers NumbersOf(CDataId const& sonar);
    void PutWhole(CDataId const& sonar, std::size_t bytes, RecordedContent content);
    void PutBytes(CDataId const& sonar, Brief const& brief, std::span<unsigned char const> bytes);
    void PutTree(CDataId const& sonar, Brief const& brief, CAttributeMap const& tree, std::string const& reason = {});
    /// Whether there is room for so many bytes; what finds none is counted. With m_mutex held.
    bool HasRoom(std::size_t bytes, std::size_t frameBytes);
    /// With m_mutex held; true when the recorder's thread is not to wait for its time.
    bool Add(std::size_t bytes, Entry&& entry);
    void Run();
    /// What waits, when there is much or the time has come.
    Waiting& TakeWaiting(std::chrono::steady_clock::time_point time, bool& isEnding);
    void WriteAll(Waiting const& waiting);
    void WriteOne(Entry const& entry, Waiting const& waiting);
    static RecordedContent ContentOf(Brief const& brief, CAttributeMap const& tree, std::string const& reason);
    void Write(MessageTimes const& times, SonarNumbers const& sonar, RecordedContent const& content);
    void RollOver(MessageTimes const& times);
    /// Writes what stands of each sonar: who looks for a moment reads no further back.
    /// `isAgain`: within a file that tells what stands already.
    void BeginPart(MessageTimes const& times, bool isAgain);
    void Remember(SonarNumbers const& sonar, RecordedContent const& content);
    std::uint16_t ChannelOf(RecordedKind const& kind, SonarNumbers const& sonar);
    /// The log time. With m_mutex held: the times are those of the order in the file.
    std::uint64_t Now() const { return m_options.steady() + m_aheadAtStart; }
    /// What the system's clock is ahead of the other, which wraps below zero.
    std::uint64_t UtcAhead() const { return m_options.utc() - m_options.steady(); }

    RecorderOptions const m_options;
    std::uint64_t const m_aheadAtStart;

    mutable std::mutex m_mutex; ///< guards what follows
    std::condition_variable m_changed;
    std::array<Waiting, 2> m_both;
    Waiting* m_waiting = m_both.data(); ///< the one that is filled
    RecordedLoss m_loss;                ///< that the file does not tell of yet
    RecorderCounts m_counts;
    bool m_isEnding = false;
    bool m_hasFailed = false;
    std::string m_failure;

    // The thread's own.
    /// What stands of a sonar, for the beginning of the next part.
    struct Standing
    {
        RecordedSettings settings;
        std::optional<RecordedConnection> connection;
    };
    RecorderPieces const m_pieces;
    std::unique_ptr<SessionWriter> m_writer;
    RecorderCounts m_finished; ///< of the pieces before
    std::map<std::pair<RecordedKind const*, SonarNumbers>, std::uint16_t> m_channels;
    std::map<SonarNumbers, std::string> m_names;
    std::map<SonarNumbers, Standing> m_standing;
    std::uint64_t m_sincePart = 0; ///< bytes since a part began, by their weight
    std::thread m_thread;
};

} // namespace qx5::recording
