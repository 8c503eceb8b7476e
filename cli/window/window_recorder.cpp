// What is recorded of a window's session.
#include "window_recorder.h"

#include "cli/recorder_options.h"
#include "recording/black_box.h"
#include "reference_host/common/path_text.h"
#include "reference_host/link/live_port.h"

#include <VordalDataBlocksR/BaseDevice.h>
#include <vordalhostdllR/Device.h>

#include <protocol/utf8.h>

#include <algorithm>
#include <exception>
#include <utility>

#include <fmt/format.h>

namespace qx5::cli {

using operation::Severity;

WindowRecorder::WindowRecorder(vordal::LiveHost& host, operation::ActionTap& tap, Tell tell)
    : m_host(host), m_tap(tap), m_tell(std::move(tell))
{
}

WindowRecorder::~WindowRecorder()
{
    End();
}

bool WindowRecorder::Begin(RecordingSetup setup, std::filesystem::path const& project, std::string& error)
{
    m_setup = std::move(setup);
    if (!m_setup.file.empty()) {
        auto const flight =
            std::make_shared<Flight>(Flight{m_setup.file, std::chrono::steady_clock::now(), nullptr, {}});
        if (!Open(flight, error)) {
            return false;
        }
        std::lock_guard const lock(m_mutex);
        m_flight = flight;
    }
    if (auto box = OpenBox(project)) {
        std::lock_guard const lock(m_mutex);
        m_box = std::move(box);
    }
    Connect();
    return true;
}

bool WindowRecorder::Open(std::shared_ptr<Flight> const& flight, std::string& error)
{
    auto const tell = [this, weak = std::weak_ptr<Flight>(flight)](std::string const& problem) {
        if (auto const failed = weak.lock()) {
            std::lock_guard const lock(m_mutex);
            failed->problem = problem;
        }
        m_tell(Severity::Error, "nothing is recorded any more: " + problem);
    };
    try {
        auto recorder =
            std::make_shared<recording::FlightRecorder>(flight->file, RecorderOptionsOf(m_setup.program, tell));
        std::lock_guard const lock(m_mutex);
        flight->recorder = std::move(recorder);
        return true;
    } catch (std::exception const& problem) {
        error = problem.what();
        return false;
    }
}

WindowRecorder::Recorder WindowRecorder::OpenBox(std::filesystem::path const& project)
{
    if (project.empty() || m_setup.blackBoxBytes == 0) {
        return nullptr;
    }
    auto const tell = [this](std::string const& problem) {
        m_tell(Severity::Warning, "the black box records nothing any more: " + problem);
    };
    try {
        return recording::BlackBox::Record(recording::BlackBoxOf(project), m_setup.blackBoxBytes,
                                           RecorderOptionsOf(m_setup.program, tell));
    } catch (std::exception const& problem) {
        m_tell(Severity::Warning, std::string("there is no black box: ") + problem.what());
        return nullptr;
    }
}

void WindowRecorder::Connect()
{
    std::lock_guard const lock(m_mutex);
    std::vector<Recorder> all;
    if (m_flight != nullptr && m_flight->recorder != nullptr) {
        all.push_back(m_flight->recorder);
    }
    if (m_box != nullptr) {
        all.push_back(m_box);
    }
    auto const recorders = all.empty() ? nullptr : std::make_shared<recording::Recorders>(std::move(all));
    m_recorders.Set(recorders);
    m_tap.Set(recorders);
}

void WindowRecorder::UseProject(std::filesystem::path const& project)
{
    m_disk->Do([this, project] {
        auto const box = OpenBox(project);
        Recorder former;
        {
            std::lock_guard const lock(m_mutex);
            former = std::exchange(m_box, box);
        }
        m_host.Post([this, box] { BeginDevices(box); });
        Connect();
        if (former != nullptr) {
            former->Finish();
        }
    });
}

void WindowRecorder::Start(std::filesystem::path const& file)
{
    auto const flight = std::make_shared<Flight>(Flight{file, std::chrono::steady_clock::now(), nullptr, {}});
    {
        std::lock_guard const lock(m_mutex);
        if (m_flight != nullptr || m_disk == nullptr) {
            return;
        }
        m_flight = flight;
    }
    m_disk->Do([this, flight] {
        std::string error;
        if (Open(flight, error)) {
            m_host.Post([this, flight] {
                Connect();
                BeginDevices(flight->recorder);
            });
            return;
        }
        {
            std::lock_guard const lock(m_mutex);
            if (m_flight == flight) {
                m_flight.reset();
            }
        }
        m_tell(Severity::Error, "nothing is recorded: " + error);
    });
}

void WindowRecorder::Stop()
{
    std::shared_ptr<Flight> ended;
    {
        std::lock_guard const lock(m_mutex);
        ended = std::exchange(m_flight, nullptr);
    }
    if (ended != nullptr) {
        Connect();
        m_disk->Do([this, ended] { Close(*ended); });
    }
}

void WindowRecorder::Close(Flight const& flight)
{
    if (flight.recorder == nullptr) {
        return; // that it could not be made was told
    }
    auto const problem = flight.recorder->Finish();
    auto const counts = flight.recorder->Counts();
    auto const file = vordal::Utf8Of(flight.file);
    if (!problem.empty()) {
        // It was told when it happened.
        std::lock_guard const lock(m_mutex);
        m_lacking.push_back(problem);
    }
    if (counts.lost != 0) {
        auto line = fmt::format("{}: {} messages found no room and are not in it", file, counts.lost);
        m_tell(Severity::Warning, line);
        std::lock_guard const lock(m_mutex);
        m_lacking.push_back(std::move(line));
    }
    if (problem.empty()) {
        m_tell(Severity::Information, fmt::format("{}: recorded, {} messages", file, counts.messages));
    }
}

std::vector<std::string> WindowRecorder::End()
{
    if (m_disk == nullptr) {
        return {};
    }
    Stop();
    m_disk.reset();
    Recorder box;
    {
        std::lock_guard const lock(m_mutex);
        box = std::exchange(m_box, nullptr);
    }
    Connect();
    if (box != nullptr) {
        box->Finish();
    }
    return std::move(m_lacking);
}

bool WindowRecorder::Mark(std::string const& text)
{
    auto const recorders = m_recorders.Get();
    if (recorders != nullptr) {
        recorders->Mark(text);
    }
    return recorders != nullptr;
}

RecordingState WindowRecorder::State() const
{
    std::lock_guard const lock(m_mutex);
    if (m_flight == nullptr) {
        return {};
    }
    return {m_flight->file, m_flight->since,
            m_flight->recorder != nullptr ? m_flight->recorder->Counts() : recording::RecorderCounts(),
            m_flight->problem};
}

void WindowRecorder::BeginInto(recording::Recorders& recorders, BaseDevice& device)
{
    CAttributeMap tree;
    device.GetAttributeMap(tree);
    auto const& id = device.GetDataId();
    recorders.Begin(id, protocol::EncodeUtf8(std::as_const(device).GetDeviceName().View()), tree);
    auto const* const project = m_host.Project();
    if (auto* const port = project != nullptr ? project->PortOf(id) : nullptr) {
        recorders.Connection(id, port->GetLink().GetStatus());
    }
}

void WindowRecorder::BeginDevices(Recorder const& recorder)
{
    {
        std::lock_guard const lock(m_mutex);
        bool const isWanted =
            recorder != nullptr && (recorder == m_box || (m_flight != nullptr && recorder == m_flight->recorder));
        if (!isWanted) {
            return;
        }
    }
    recording::Recorders one({recorder});
    for (Device* const device : m_host.Devices()) {
        BeginInto(one, *device);
    }
}

void WindowRecorder::BeginDevice(CDataId const& id)
{
    auto const recorders = m_recorders.Get();
    if (recorders == nullptr) {
        return;
    }
    for (Device* const device : m_host.Devices()) {
        if (device->GetDataId() == id) {
            BeginInto(*recorders, *device);
        }
    }
}

void WindowRecorder::Frame(CDataId const& device, bool isSent, std::span<unsigned char const> frame)
{
    if (auto const recorders = m_recorders.Get()) {
        recorders->Frame(device, isSent, frame);
    }
}

void WindowRecorder::Connection(CDataId const& device, vordal::LinkStatus const& status)
{
    if (auto const recorders = m_recorders.Get()) {
        recorders->Connection(device, status);
    }
}

} // namespace qx5::cli
