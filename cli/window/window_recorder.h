// What is recorded of a window's session: a file that the operator begins and ends, and the project's black box.
#pragma once

#include "cli/program_facts.h"
#include "cli/window/disk_thread.h"
#include "operation/action_tap.h"
#include "operation/event_list.h"
#include "operation/exchanged_pointer.h"
#include "recording/recorders.h"
#include "reference_host/project/live_host.h"

#include <chrono>
#include <cstdint>
#include <filesystem>
#include <functional>
#include <memory>
#include <mutex>
#include <optional>
#include <span>
#include <string>
#include <vector>

namespace qx5::cli {

/// What a session is recorded into from its beginning.
struct RecordingSetup
{
    std::vector<Fact> program = {};  ///< what this program is, for the recordings
    std::filesystem::path file = {}; ///< empty: none until the operator begins one
    std::uint64_t blackBoxBytes = 0; ///< of the project's black box; 0: there is none
};

/// How the file that the operator has asked for stands.
struct RecordingState
{
    std::filesystem::path file; ///< empty: there is none
    std::chrono::steady_clock::time_point since;
    recording::RecorderCounts counts;
    std::string problem; ///< why nothing is written into it any more, one line; empty: it is written
};

/// Files are made and finished on a thread of their own; what a session tells reaches the recorders on whichever thread
/// it happens. Each recording begins with the settings of all devices that are there, and how they are connected; those
/// that come later follow with theirs. Window thread, unless something else is said; all but Begin and End return at
/// once.
class WindowRecorder
{
public:
    using Tell = std::function<void(operation::Severity severity, std::string line)>;

    /// What the desk hears goes through `tap`. `tell` is for any thread, and has what the operator must know. All of
    /// them outlive this, or its End.
    WindowRecorder(vordal::LiveHost& host, operation::ActionTap& tap, Tell tell);
    WindowRecorder(WindowRecorder const&) = delete;
    WindowRecorder& operator=(WindowRecorder const&) = delete;
    ~WindowRecorder();

    /// Opens what is recorded into from the beginning, before the host has devices; `project` is empty where there is
    /// none. A black box that cannot be stops nobody from working, and is told. False, and one line in `error`, when
    /// the file cannot be made.
    bool Begin(RecordingSetup setup, std::filesystem::path const& project, std::string& error);
    /// Goes on in that project's black box. Any thread.
    void UseProject(std::filesystem::path const& project);
    /// Finishes all; the session is over. A line for each file that lacks something.
    std::vector<std::string> End();

    /// Begins a file, which must not be there; while there is one it does nothing. What cannot be done is told.
    void Start(std::filesystem::path const& file);
    /// Finishes the file, and tells how that ended.
    void Stop();
    /// A word for this moment, into all that is recorded into. False when that is nothing.
    bool Mark(std::string const& text);
    RecordingState State() const;

    /// A device has come, or has another name. Host thread.
    void BeginDevice(CDataId const& device);
    // Any thread.
    void Frame(CDataId const& device, bool isSent, std::span<unsigned char const> frame);
    void Connection(CDataId const& device, vordal::LinkStatus const& status);

private:
    /// A file from the wish for it to its end.
    struct Flight
    {
        std::filesystem::path file;
        std::chrono::steady_clock::time_point since;
        std::shared_ptr<recording::FlightRecorder> recorder; ///< once it is made
        std::string problem;
    };
    using Recorder = std::shared_ptr<recording::FlightRecorder>;

    /// Makes the file; false, and why, when that cannot be.
    bool Open(std::shared_ptr<Flight> const& flight, std::string& error);
    void Close(Flight const& flight);
    Recorder OpenBox(std::filesystem::path const& project);
    /// What is put in from here on goes into those that are there now.
    void Connect();
    /// The same once the devices are in it, if it is still wanted.
    void BeginDevices(Recorder const& recorder);
    void BeginInto(recording::Recorders& recorders, BaseDevice& device);

    vordal::LiveHost& m_host;
    operation::ActionTap& m_tap;
    Tell const m_tell;
    RecordingSetup m_setup;
    operation::ExchangedPointer<recording::Recorders> m_recorders;

    mutable std::mutex m_mutex; ///< guards what follows
    std::shared_ptr<Flight> m_flight;
    Recorder m_box;
    std::vector<std::string> m_lacking;

    std::unique_ptr<DiskThread> m_disk = std::make_unique<DiskThread>();
};

} // namespace qx5::cli
