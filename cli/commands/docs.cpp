// `qx5 docs`: the tables of the manual and the dissector, written from the tables of records and handlers and from
// real sends.
#include "cli/commands.h"

#include "cli/documents/record_documents.h"
#include "cli/documents/templates.h"
#include "cli/plugins.h"
#include "cli/session.h"
#include "reference_host/common/path_text.h"
#include <commands/catalogue.h>
#include <commands/sample_request.h>

#include <protocol/print.h>
#include <simulator/sonar_console.h>
#include <simulator/sonar_server.h>

#include <filesystem>
#include <fstream>

#include <fmt/format.h>

namespace qx5::cli {

namespace {

using namespace std::chrono_literals;

/// What one handler's sends brought to the far end.
struct Arrivals
{
    std::mutex mutex;
    std::condition_variable changed;
    std::vector<std::vector<unsigned char>> frames;
};

bool Write(std::filesystem::path const& file, std::string const& text, std::string& error)
{
    std::ofstream out(file, std::ios::binary | std::ios::trunc);
    out << text;
    out.close();
    if (!out) {
        error = fmt::format("{} cannot be written", file.string());
    }
    return static_cast<bool>(out);
}

/// The lines of a record's text that tell its command and fields, without the frame's time, which would change the
/// document at every run.
std::string CommandLines(protocol::FrameView const& frame)
{
    std::string const text = protocol::PrintFrame(frame);
    std::size_t const firstLine = text.find('\n');
    bool const wrapped = frame.header.recordId == protocol::RemoteControlRecordId;
    return wrapped ? text.substr(firstLine + 1) : text.substr(0, text.rfind(", ", firstLine)) + text.substr(firstLine);
}

} // namespace

int Docs(DocsOptions const& options)
{
    auto const folder = vordal::PathOf(options.folder);
    std::error_code problem;
    std::filesystem::create_directories(folder, problem);
    std::string error;

    Arrivals arrivals;
    std::string text;
    for (ChainEntry const& entry : Chain()) {
        Command const& command = *entry.command;
        simulator::ServerOptions server;
        simulator::SonarServer sonar(server, [&](simulator::SonarEvent const& event) {
            if (event.kind == simulator::EventKind::Record) {
                std::lock_guard const lock(arrivals.mutex);
                arrivals.frames.emplace_back(event.frame->bytes.begin(), event.frame->bytes.end());
                arrivals.changed.notify_all();
            }
        });
        if (auto const failed = sonar.Start()) {
            return Complain(ExitFailed, failed->text);
        }
        std::size_t sent = 0;
        std::mutex sentMutex;
        {
            auto const count = [&](SessionEvent const& event) {
                std::lock_guard const lock(sentMutex);
                sent += event.kind == SessionEvent::Kind::Sent ? 1U : 0U;
            };
            // The same GUID at every run, so that the document changes with the tables alone.
            Session session(count, L"6f9619ff-8b86-d011-b42d-00cf4fc964ff");
            if (!session.LoadPlugin(PluginPath(options.plugin), error)) {
                return Complain(ExitFailed, error);
            }
            SampleRequest const sample = SampleOf(command);
            session.Connect("127.0.0.1", sonar.Port());
            if (!session.WaitForConnection(5s, error)) {
                return Complain(ExitFailed, error);
            }
            session.WaitForIntroduction(1s);
            session.Store(sample.stored);
            session.Request(sample.request);
            session.WaitUntilSent(5s);
            std::unique_lock lock(arrivals.mutex);
            std::size_t expected = 0;
            {
                std::lock_guard const sentLock(sentMutex);
                expected = sent;
            }
            if (!arrivals.changed.wait_for(lock, 5s, [&] { return arrivals.frames.size() >= expected; })) {
                return Complain(ExitFailed, fmt::format("{}: not all records arrived", entry.handler));
            }
            text += fmt::format("## {}. {}\n\nAsked for: `{}`\n\n", entry.row, entry.handler, sample.asked);
            if (arrivals.frames.empty()) {
                text += "Nothing is sent.\n\n";
            } else {
                text += "```\n";
                for (auto const& bytes : arrivals.frames) {
                    if (auto const frame = protocol::ParseFrame(bytes)) {
                        text += CommandLines(*frame);
                    }
                }
                text += "```\n\n";
            }
            arrivals.frames.clear();
        }
        sonar.Stop();
    }
    for (auto const& [name, content] : {std::pair{"sends.md", Filled(documents::sends_md, "sends", text)},
                                        {"records.md", RecordTables()},
                                        {"x5_records.lua", WiresharkDissector()}}) {
        if (!Write(folder / name, content, error)) {
            return Complain(ExitFailed, error);
        }
        fmt::print("{} written\n", (folder / name).string());
    }
    return ExitGood;
}

} // namespace qx5::cli
