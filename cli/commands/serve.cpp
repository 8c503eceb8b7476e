// `qx5 serve`: host, plug-in and sonars of a project at a broker, without a display.
#include "cli/commands.h"

#include "broker/line_diagnosis.h"
#include "cli/first_fleet.h"
#include "cli/line_words.h"
#include "cli/output.h"
#include "cli/platform/end_signals.h"
#include "cli/plugins.h"
#include "cli/served_session.h"
#include "reference_host/common/log.h"
#include "reference_host/common/path_text.h"
#include "shell/shell_server.h"
#include "vessel/share_setup.h"
#include "vessel/vessel.h"

#include <chrono>
#include <filesystem>
#include <memory>
#include <optional>
#include <stdexcept>
#include <string>
#include <thread>

#include <fmt/format.h>

namespace qx5::cli {

namespace {

using namespace std::chrono_literals;

constexpr auto tickInterval = 50ms;
constexpr auto saveInterval = std::chrono::seconds(2);
/// Of what is on its way when the program ends.
constexpr std::chrono::milliseconds lastWords = 2s;
constexpr std::chrono::milliseconds endLimit = 5s;
constexpr std::chrono::milliseconds hurriedLimit = 500ms;

/// The file as it is found from anywhere.
std::filesystem::path Whole(std::string const& file)
{
    return file.empty() ? std::filesystem::path() : std::filesystem::absolute(file);
}

/// Puts what the options tell in place of what the project says; an exit code other than ExitGood after a complaint.
int TakeOptions(ServeOptions const& options, vessel::ShareSetup& setup)
{
    auto const take = [](std::string const& told, std::string& into) {
        if (!told.empty()) {
            into = told;
        }
    };
    take(options.broker, setup.broker);
    take(options.group, setup.group);
    take(options.vessel, setup.vessel);
    take(options.primaryHost, setup.primaryHost);
    auto const takeFile = [](std::string const& told, std::filesystem::path& into) {
        if (!told.empty()) {
            into = Whole(told);
        }
    };
    takeFile(options.authority, setup.files.authority);
    takeFile(options.certificate, setup.files.certificate);
    takeFile(options.key, setup.files.key);
    if (!options.roles.empty()) {
        setup.permissions.roles.clear();
    }
    for (std::string const& role : options.roles) {
        if (!vessel::AddRole(setup.permissions, role)) {
            return Complain(ExitWrong,
                            fmt::format("\"{}\" is no NAME=ROLE; a role is watch, operate or administrate", role));
        }
    }
    if (!options.allowed.empty()) {
        setup.permissions.allowed = {};
    }
    for (std::string const& action : options.allowed) {
        setup.permissions.Allow(action); // the options know no other names
    }
    if (!options.silence.empty()) {
        setup.silence = vessel::SilenceOf(options.silence).value_or(setup.silence);
    }
    if (!options.history.empty()) {
        setup.history = options.history;
    }
    setup.outboxMegabytes = options.outboxMegabytes.value_or(setup.outboxMegabytes);
    setup.outboxDays = options.outboxDays.value_or(setup.outboxDays);
    return ExitGood;
}

/// What the options and the project make of the vessel; nothing after a complaint.
std::optional<vessel::VesselOptions> Prepare(ServeOptions const& options, ServedSession& session, int& code)
{
    std::vector<std::string> problems;
    auto setup = vessel::ShareSetupIn(session.Project(), problems);
    for (std::string const& line : problems) {
        SayError("qx5: " + line + "\n");
    }
    code = TakeOptions(options, setup);
    if (code != ExitGood) {
        return std::nullopt;
    }
    if (setup.broker.empty()) {
        code = Complain(ExitWrong, "neither the project nor --broker tells which broker it is shared by");
        return std::nullopt;
    }
    std::string error;
    auto made = vessel::OptionsOf(setup, error);
    if (made && made->address.isSecure) {
        error = broker::WhatIsWrongWith(made->files);
    }
    if (!made || !error.empty()) {
        code = Complain(ExitWrong, error);
        return std::nullopt;
    }
    if (options.keep) {
        vessel::PutShareSetup(session.Project(), setup);
    }
    made->outboxFile = options.outbox.empty() ? outbox::OutboxBeside(std::filesystem::absolute(options.project))
                                              : Whole(options.outbox);
    made->version = VersionOf(options.facts);
    return made;
}

/// Until somebody asks it to end.
void GoOn(ServedSession& session)
{
    std::string told;
    auto nextSave = std::chrono::steady_clock::now() + saveInterval;
    while (EndSignals::Count() == 0) {
        std::this_thread::sleep_for(tickInterval);
        session.Tick();
        if (std::chrono::steady_clock::now() >= nextSave) {
            nextSave = std::chrono::steady_clock::now() + saveInterval;
            std::string error;
            if (session.Save(error)) {
                told.clear();
            } else if (error != told) {
                told = error;
                SayError("qx5: " + error + "\n");
            }
        }
    }
}

} // namespace

int Serve(ServeOptions const& options)
{
    // Before anything that has to end in order.
    EndSignals const signals;
    ServedSession session;
    std::string error;
    if (!session.OpenProject(options.project, error)) {
        return Complain(ExitFailed, error);
    }
    int code = ExitGood;
    auto prepared = Prepare(options, session, code);
    if (!prepared) {
        return code;
    }
    if (!session.LoadPlugins(PluginFiles(options.plugins), options.plugins.size(), error)) {
        return Complain(ExitFailed, error);
    }
    session.Simulators().SetPingRate(options.pingRate);
    Fleet fleet(session);
    if (code = fleet.BeginAsKept(session.Project()); code != ExitGood) {
        return code;
    }
    for (std::string const& line : fleet.LeftOut()) {
        SayError("qx5: " + line + "\n");
    }
    if (fleet.First() == nullptr) {
        return Complain(ExitWrong, fmt::format("\"{}\" has no sonar to serve; the window adds one", options.project));
    }
    if (!session.Begin(fleet.Project(), error)) {
        return Complain(ExitFailed, error);
    }
    LineWords words(fmt::format("{} as {}/{}", prepared->address.Text(), prepared->group, prepared->vessel),
                    [](bool isComplaint, std::string const& line) {
                        isComplaint ? SayError("qx5: " + line + "\n") : Say(line + "\n");
                    });
    prepared->status = [&words](broker::LineStatus const& status) { words.Take(status); };
    prepared->tell = [](std::string const& line) { vordal::Log(vordal::LogLevel::Warning, line); };
    std::unique_ptr<vessel::Vessel> shared;
    try {
        shared = std::make_unique<vessel::Vessel>(session.Host(), session.Desk(), std::move(*prepared));
    } catch (std::exception const& failure) {
        return Complain(ExitFailed, failure.what());
    }
    auto shells = shell::ShellServer::Begin(session.Host(), session.Desk(), VersionOf(options.facts));
    Say(fmt::format("serving {}; {}\n", options.project, fleet.Where()));
    shared->Begin();
    GoOn(session);
    shells.reset();
    bool const isHurried = EndSignals::Count() > 1;
    shared->End(isHurried ? 0ms : lastWords);
    bool const isSaved = session.End(error, isHurried ? hurriedLimit : endLimit);
    SayLeftOn(session.LeftOn());
    return isSaved ? ExitGood : Complain(ExitFailed, error);
}

} // namespace qx5::cli
