// `qx5 run`: the window, or in its place a session on the terminal that shows what passes between host and sonar.
#include "cli/commands.h"

#include "cli/demos/demos.h"
#include "cli/key_values.h"
#include "cli/output.h"
#include "cli/platform/end_signals.h"
#include "cli/platform/memory_reserve.h"
#include "cli/platform/terminal.h"
#include "cli/plugins.h"
#include "cli/recorder_options.h"
#include "cli/session.h"
#include "cli/terminal_keys.h"
#include "cli/transcript.h"
#ifdef QX5_VIEW
#include "cli/window/fleet_in_window.h"
#include "cli/window/run_window.h"
#endif
#include "recording/black_box.h"
#include "recording/recorders.h"
#include "recording/recording_error.h"
#include "reference_host/attributes/tree_merge.h"
#include "reference_host/common/failure.h"
#include "reference_host/common/log.h"
#include "reference_host/common/path_text.h"
#include "shell/shell_server.h"

#include <simulator/sonar_console.h>
#include <simulator/sonar_server.h>

#include <algorithm>
#include <charconv>
#include <memory>
#include <optional>
#include <sstream>

#include <fmt/format.h>

namespace qx5::cli {

namespace {

using namespace std::chrono_literals;

/// One step of the guided session.
struct GuidedStep
{
    std::string_view title;
    std::string_view keyValues;
};

constexpr GuidedStep guidedSteps[]{
    {"The operator sets the range to 50 m.", "x5Range=50"},
    {"The transmitted beam is steered: two angles, in degrees here and in radians on the wire.", "x5BeamSteer=10,-10"},
    {"The swath is narrowed. Its steering is not in the request, it is completed from the device's tree.",
     "x5CoverageAngle=120"},
    {"One request may carry several keys; they take effect in the order of the chain.",
     "x5PingOnOffState=1 x5Power=210 x5SoundVelocity=1490 x5SoundVelocityOverride=true"},
    {"A value of another kind is not understood: nothing is sent, nothing echoed.", "x5Range:int=50"},
};

constexpr std::string_view help = "key=value ...          one request with these keys (key:kind=value forces a kind)\n"
                                  "program key=value ...  the same as if another part of the host asked\n"
                                  "undo, redo             take the newest step back, or ask for it again\n"
                                  "history                what was asked for, step by step\n"
                                  "lease [SECONDS]        only the operator asks, until `release` or for so long\n"
                                  "release                everybody may ask again\n"
                                  "mark TEXT              a word for this moment into what is recorded\n"
                                  "tree                   the device's tree as it stands\n"
                                  "keys [FILTER]          the request keys\n"
                                  "explain KEY            what becomes of a key\n"
                                  "sonar COMMAND          a command for the simulated sonar; `sonar help` lists them\n"
                                  "quit                   end (so does the end of the input)\n";

class Runner
{
public:
    /// `recorders`: null where nothing is recorded.
    Runner(Session& session, Transcript& transcript, simulator::SonarServer* sonar, recording::Recorders* recorders)
        : m_session(session), m_transcript(transcript), m_sonar(sonar), m_recorders(recorders)
    {
    }

    /// False, after a line on what is wrong, when the text is no request.
    bool Request(std::string_view keyValues, vordal::RequestOrigin who = vordal::RequestOrigin::Terminal)
    {
        CAttributeMap request;
        std::istringstream words{std::string(keyValues)};
        std::string error;
        for (std::string word; words >> word;) {
            if (!AddKeyValue(request, word, error)) {
                fmt::print("{}\n", error);
                return false;
            }
        }
        m_transcript.Begin();
        auto const refusedBefore = m_session.Counters().refused;
        if (!m_session.RequestAs(who, request)) {
            fmt::print("  the request was broken off\n");
        }
        ShowWhatCame(refusedBefore);
        return true;
    }

    void Step(bool isUndo)
    {
        m_transcript.Begin();
        auto const refusedBefore = m_session.Counters().refused;
        auto const problems = isUndo ? m_session.Undo() : m_session.Redo();
        for (auto const& line : problems) {
            fmt::print("  {}\n", line);
        }
        if (problems.empty()) {
            ShowWhatCame(refusedBefore);
        }
    }

    /// Enters a code at the operator terminal and prints what came of it.
    void Code(std::uint32_t number)
    {
        terminal::Code const* const code = terminal::FindCode(number);
        fmt::print("> code {}, {}\n", number, code != nullptr ? code->meaning : "which means nothing");
        m_transcript.Begin();
        m_session.EnterCode(number);
        m_transcript.WaitForSonar(m_sonar != nullptr);
        bool const onlySelects = code != nullptr && code->action == terminal::Action::None;
        Show(onlySelects ? "  the steps go by it now\n" : "  nothing is done\n");
        FlushOutput();
    }

    /// Does what keys or a line ask for; false at the end.
    bool Enter(TerminalInput const& input)
    {
        for (std::uint32_t const code : input.codes) {
            Code(code);
        }
        if (!input.problem.empty()) {
            fmt::print("{}\n", input.problem);
        }
        if (input.help) {
            fmt::print("{}", TerminalKeyHelp());
        }
        FlushOutput();
        return !input.quit;
    }

    /// False at the end.
    bool Line(std::string const& line)
    {
        std::istringstream words(line);
        std::string word;
        if (!(words >> word) || word.front() == '#') {
            return true;
        }
        std::string rest;
        std::getline(words >> std::ws, rest);
        if (word == "quit" || word == "exit") {
            return false;
        }
        if (word == "help") {
            fmt::print("{}", help);
        } else if (word == "tree") {
            fmt::print("{}", vordal::TreeText(m_session.Attributes()));
        } else if (word == "keys") {
            Keys({.filter = rest});
        } else if (word == "explain" && rest.empty()) {
            fmt::print("a key or a handler is missing; write for example: explain x5Range\n");
        } else if (word == "explain") {
            Explain({.names = {rest}});
        } else if (word == "program" && rest.empty()) {
            fmt::print("a key is missing; write for example: program x5Range=50\n");
        } else if (word == "program") {
            Request(rest, vordal::RequestOrigin::Program);
        } else if (word == "undo" || word == "redo") {
            Step(word == "undo");
        } else if (word == "history") {
            for (auto const& step : m_session.Steps()) {
                bool const isUndone = step.state == operation::HistoryStep::State::Undone;
                fmt::print("{}  {}{}\n", operation::IsoTime(step.time), StepText(step), isUndone ? " (undone)" : "");
            }
        } else if (word == "lease") {
            Lease(rest);
        } else if (word == "release") {
            fmt::print("{}\n",
                       m_session.GiveBackLease() ? "everybody may ask again" : "there is no lease to give back");
        } else if (word == "mark") {
            Mark(rest);
        } else if (word == "sonar") {
            std::string answer = "the sonar is not a simulated one of this session";
            if (m_sonar != nullptr) {
                m_sonar->Command(rest, answer);
            }
            fmt::print("{}\n", answer);
        } else {
            Request(line);
        }
        return true;
    }

    /// ExitFailed when something that was promised was not done.
    int ExitCode() const { return m_exitCode; }

private:
    void Mark(std::string const& text)
    {
        if (m_recorders == nullptr) {
            fmt::print("nothing is recorded; start with --record FILE, or with a project\n");
        } else if (text.empty()) {
            fmt::print("a word is missing; write for example: mark wreck to port\n");
        } else {
            m_recorders->Mark(text);
            fmt::print("marked\n");
        }
    }

    void Lease(std::string_view text)
    {
        if (text.empty()) {
            m_session.TakeLease({});
            fmt::print("only the operator asks, until `release`\n");
            return;
        }
        unsigned seconds = 0;
        auto const [end, problem] = std::from_chars(text.data(), text.data() + text.size(), seconds);
        if (problem != std::errc() || end != text.data() + text.size() || seconds == 0) {
            fmt::print("'{}' is no whole number of seconds above 0; write for example: lease 60\n", text);
        } else {
            m_session.TakeLease(seconds);
            fmt::print("only the operator asks, for {} s\n", text);
        }
    }

    void ShowWhatCame(std::uint64_t refusedBefore)
    {
        m_transcript.WaitForSonar(m_sonar != nullptr);
        if (auto const refused = m_session.Counters().refused - refusedBefore; refused != 0) {
            fmt::print("  {} did not leave: the sonar is not connected, or does not read\n",
                       refused == 1 ? "1 record" : fmt::format("{} records", refused));
        }
        Show("  nothing was sent and nothing echoed\n");
    }

    /// Prints what was collected, or `otherwise` when that is nothing, and keeps the project.
    void Show(std::string_view otherwise)
    {
        std::string const seen = m_transcript.Take();
        fmt::print("{}", seen.empty() ? otherwise : seen);
        std::string error;
        bool const isSaved = m_session.SaveProject(error);
        if (!isSaved && error != m_told) {
            m_exitCode = Complain(ExitFailed, error);
        }
        // The same is not told again until a save was good.
        m_told = isSaved ? std::string() : error;
    }

    Session& m_session;
    Transcript& m_transcript;
    simulator::SonarServer* m_sonar;
    recording::Recorders* m_recorders;
    std::string m_told; ///< why the project was not saved the last time
    int m_exitCode = ExitGood;
};

/// The keyboard as the sonar's operator terminal, until it ends.
void RunTerminal(Session& session, Runner& runner, EndSignals const& signals)
{
    session.AttachTerminal();
    fmt::print("The keyboard is the operator terminal now.\n{}", TerminalKeyHelp());
    FlushOutput();
    if (IsTerminal(Stream::Input)) {
        Keyboard keyboard(signals.Descriptor());
        for (auto key = keyboard.Read(); key.has_value() && runner.Enter(ReadTerminalKey(*key));
             key = keyboard.Read()) {
        }
        return;
    }
    InputLines lines(signals.Descriptor());
    for (auto line = lines.Read(); line.has_value() && runner.Enter(ReadTerminalLine(*line)); line = lines.Read()) {
    }
}

/// The guided session, step by step.
void ShowGuidedSteps(Runner& runner)
{
    for (GuidedStep const& step : guidedSteps) {
        fmt::print("{}\n> {}\n", step.title, step.keyValues);
        runner.Request(step.keyValues);
        fmt::print("\n");
        FlushOutput();
    }
}

/// Lines of the operator, until they end.
void RunLines(Runner& runner, EndSignals const& signals)
{
    InputLines lines(signals.Descriptor());
    bool const prompt = IsTerminal(Stream::Input) && IsTerminal(Stream::Output);
    fmt::print("Now it is your turn: key=value, or `help`.\n");
    for (;;) {
        if (prompt) {
            fmt::print("qx5> ");
        }
        FlushOutput();
        MemoryReserve::FillUp();
        auto const line = lines.Read();
        if (!line.has_value() || !runner.Line(*line)) {
            break;
        }
    }
}

/// What a session is recorded into, from before it begins until after it has ended.
class SessionRecording
{
public:
    /// Throws recording::RecordingError when the file cannot be made.
    explicit SessionRecording(RunOptions const& options) : m_options(options)
    {
        if (!options.record.empty()) {
            m_file = std::make_shared<recording::FlightRecorder>(
                vordal::PathOf(options.record), RecorderOptionsOf(options.facts, [](std::string const& line) {
                    SayError(fmt::format("qx5: {}\n", line));
                }));
        }
    }

    /// All that is recorded into, the black box of a project that was opened with it; null for none.
    std::shared_ptr<recording::Recorders> Begin()
    {
        std::vector<std::shared_ptr<recording::FlightRecorder>> all;
        if (m_file != nullptr) {
            all.push_back(m_file);
        }
        if (!m_options.project.empty() && m_options.blackBox != 0) {
            // It is there for the case of need, and stops nobody from working.
            auto const tell = [](std::string const& line) {
                vordal::Log(vordal::LogLevel::Warning, "the black box records nothing any more: " + line);
            };
            vordal::LogFailureOf("there is no black box: ", [&] {
                all.push_back(recording::BlackBox::Record(recording::BlackBoxOf(vordal::PathOf(m_options.project)),
                                                          m_options.blackBox,
                                                          RecorderOptionsOf(m_options.facts, tell)));
            });
        }
        return all.empty() ? nullptr : std::make_shared<recording::Recorders>(std::move(all));
    }

    /// After the session: the file is whole. `code` or, where that file lacks something, ExitFailed; that is told.
    int End(int code)
    {
        if (m_file == nullptr) {
            return code;
        }
        // A failure was told when it happened.
        bool const isWritten = m_file->Finish().empty();
        auto const lost = m_file->Counts().lost;
        if (lost != 0) {
            Complain(ExitFailed,
                     fmt::format("{}: {} messages found no room and are not in it", m_options.record, lost));
        }
        return isWritten && lost == 0 ? code : std::max<int>(code, ExitFailed);
    }

private:
    RunOptions const& m_options;
    std::shared_ptr<recording::FlightRecorder> m_file; ///< null for none
};

/// The guided session, lines or the operator terminal, on this terminal.
int RunOnTerminal(RunOptions const& options, SessionRecording& recording)
{
    Transcript transcript;
    std::unique_ptr<simulator::SonarServer> sonar;
    std::string host = "127.0.0.1";
    std::uint16_t port = 0;
    std::string error;
    if (!options.sonar.empty()) {
        if (!ParseEndpoint(options.sonar, host, port, error)) {
            return Complain(ExitWrong, "--sonar: " + error);
        }
    } else {
        simulator::ServerOptions server;
        sonar = std::make_unique<simulator::SonarServer>(
            server, [&](simulator::SonarEvent const& event) { transcript.OnSonar(event); });
        if (auto const problem = sonar->Start()) {
            return Complain(ExitFailed, problem->text);
        }
        port = sonar->Port();
        fmt::print("A simulated sonar listens on 127.0.0.1:{}.\n", port);
    }

    Session session([&](SessionEvent const& event) { transcript.OnSession(event); });
    std::string const plugin = PluginPath(options.plugins);
    if (!session.LoadPlugin(plugin, error)) {
        return Complain(ExitFailed, error);
    }
    fmt::print("The host has loaded the plug-in.\n");
    if (!options.project.empty() && !session.OpenProject(options.project, sonar != nullptr, error)) {
        return Complain(ExitFailed, error);
    }
    auto const recorders = recording.Begin();
    if (recorders != nullptr) {
        session.RecordInto(recorders);
    }
    session.Connect(host, port);
    if (!session.WaitForConnection(5s, error)) {
        return Complain(ExitFailed, fmt::format("no connection to the sonar: {}", error));
    }
    session.WaitForIntroduction(1s);
    std::string const tree = vordal::TreeText(session.Attributes());
    fmt::print("The host is connected; the sonar has told of itself, {} lines of attributes.\n\n",
               std::count(tree.begin(), tree.end(), '\n'));

    // Until all is said and saved: a second signal cuts nothing short.
    EndSignals const signals;
    auto const shells = shell::ShellServer::Begin(session.Host(), session.Desk(), VersionOf(options.facts));
    // A simulated sonar of its own goes with the session.
    std::optional<LeavingWord> leavingWord;
    if (sonar == nullptr) {
        leavingWord.emplace(session.Switches(), options.sonar);
    }
    Runner runner(session, transcript, sonar.get(), recorders.get());
    if (options.terminal) {
        RunTerminal(session, runner, signals);
        return runner.ExitCode();
    }
    if (sonar != nullptr) {
        ShowGuidedSteps(runner);
    } else {
        fmt::print("The guided session is shown on simulated sonars alone; this one is only read until you ask for "
                   "something.\n\n");
    }
    if (!options.once) {
        RunLines(runner, signals);
    } else if (sonar == nullptr) {
        fmt::print("{}", tree);
    }
    return runner.ExitCode();
}

} // namespace

int Run(RunOptions const& options)
{
    if (!options.demo.empty() && !options.sonar.empty()) {
        return Complain(ExitWrong, "--demo: a demonstration goes to simulated sonars of its own; leave out --sonar");
    }
    for (Demo const& demo : demos) {
        if (demo.name == options.demo) {
            return demo.run(options);
        }
    }
    if (!options.fleet.broker.empty()) {
#ifdef QX5_VIEW
        if (!options.screenshot.empty() || HasDisplay()) {
            return FleetInWindow(options);
        }
        return Complain(ExitWrong, "--broker opens the window, and there is no display; `qx5 fleet` does without");
#else
        return Complain(ExitWrong, "--broker opens the window: this qx5 was built without it");
#endif
    }
    bool const isPlain = !options.guided && !options.once && !options.terminal;
#ifdef QX5_VIEW
    if (isPlain && (!options.screenshot.empty() || HasDisplay())) {
        return RunWindow(options);
    }
    if (!options.devices.empty()) {
        return Complain(ExitWrong, "--device opens the window, and there is no display");
    }
    constexpr std::string_view noWindow = "There is no display for the window";
#else
    if (!options.screenshot.empty()) {
        return Complain(ExitWrong, "--screenshot: this qx5 was built without the view");
    }
    if (!options.devices.empty()) {
        return Complain(ExitWrong, "--device opens the window: this qx5 was built without it");
    }
    constexpr std::string_view noWindow = "This qx5 was built without the window";
#endif
    if (isPlain) {
        fmt::print("{}; {}.\n", noWindow,
                   options.sonar.empty() ? "this is the guided session" : "the sonar takes lines in its place");
    }
    int code = ExitGood;
    try {
        SessionRecording recording(options);
        code = recording.End(RunOnTerminal(options, recording));
    } catch (recording::RecordingError const& problem) {
        code = Complain(ExitFailed, problem.what());
    }
    EndSignals::PassOn();
    return code;
}

} // namespace qx5::cli
