// The command that runs scenario files: files in, lines out, exit status.
#include "cli/scenario/scenario_command.h"

#include "cli/scenario/checker.h"
#include "cli/scenario/event_kinds.h"
#include "cli/scenario/junit_report.h"
#include "cli/scenario/scenario_reader.h"
#include "cli/scenario/scenario_run.h"
#include "json/json_parser.h"

#include <protocol/utf8.h>

#include <algorithm>
#include <cerrno>
#include <chrono>
#include <cstring>
#include <fstream>
#include <istream>
#include <iterator>
#include <optional>
#include <ostream>

namespace qx5::cli {

namespace {

enum ExitStatus
{
    Matched = 0,
    Differs = 1,
    Unusable = 2
};

/// The events that are compared.
std::vector<JsonValue> Counting(std::vector<JsonValue> events, ExpectedEvents const& expected)
{
    if (expected.of.has_value()) {
        std::erase_if(events, [&](JsonValue const& event) {
            return std::find(expected.of->begin(), expected.of->end(), KindOfEvent(event)) == expected.of->end();
        });
    }
    return events;
}

class Command
{
public:
    Command(ScenarioOptions const& options, std::istream& input, std::ostream& out, std::ostream& err)
        : m_options(options), m_input(input), m_out(out), m_err(err)
    {
    }

    int Run()
    {
        for (auto const& file : m_options.files) {
            if (!m_out) {
                break; // nobody reads what the others would give; whose output it is tells so
            }
            m_report.BeginFile(file);
            RunFile(file);
        }
        if (std::string problem; !m_options.junit.empty() && !m_report.Write(m_options.junit, problem)) {
            Raise(Differs);
            m_err << OneLine(m_options.junit + ": cannot be written: " + problem) << std::endl;
        }
        return m_status;
    }

private:
    void Raise(ExitStatus status) { m_status = std::max(m_status, static_cast<int>(status)); }

    /// File names and reasons of the platform may hold anything; what is reported stays one line.
    static std::string OneLine(std::string line)
    {
        std::replace_if(
            line.begin(), line.end(), [](char c) { return static_cast<unsigned char>(c) < 0x20; }, ' ');
        return line;
    }

    void ReportUnusable(std::string const& file, std::string const& path, std::string const& reason)
    {
        Raise(Unusable);
        constexpr std::size_t longestPath = 200;
        std::string const place = path.size() > longestPath ? path.substr(0, longestPath) + "..." : path;
        m_err << OneLine(file + ": " + place + ": " + reason) << std::endl;
        m_report.AddError(place, reason);
    }

    std::optional<std::string> ReadAll(std::string const& file)
    {
        if (file == "-") {
            return ReadStream(m_input);
        }
        errno = 0;
        std::error_code ignored;
        std::ifstream stream;
        bool const isFolder = std::filesystem::is_directory(file, ignored);
        if (!isFolder) {
            stream.open(file, std::ios::binary);
        }
        auto text = stream.is_open() ? ReadStream(stream) : std::nullopt;
        if (!text.has_value()) {
            auto const* reason = isFolder ? "it is a folder" : errno != 0 ? std::strerror(errno) : "reading failed";
            ReportUnusable(file, "$", std::string("cannot be read: ") + reason);
        }
        return text;
    }

    static std::optional<std::string> ReadStream(std::istream& stream)
    {
        std::string text{std::istreambuf_iterator<char>(stream), std::istreambuf_iterator<char>()};
        return stream.bad() ? std::nullopt : std::optional(std::move(text));
    }

    void RunFile(std::string const& file)
    {
        auto const text = ReadAll(file);
        if (!text.has_value()) {
            return;
        }
        JsonValue document;
        try {
            document = ParseJson(*text);
        } catch (InvalidDocument const& failure) {
            ReportUnusable(file, failure.Path(), failure.what());
            return;
        }
        ForEachScenario(
            document, [&](ScenarioSource const& source) { RunOne(file, source); },
            [&](InvalidDocument const& failure) { ReportUnusable(file, failure.Path(), failure.what()); });
    }

    static void RefuseUnbuilt(Scenario const& scenario, JsonPath const& path)
    {
        JsonPath const steps(path, "steps");
        for (std::size_t i = 0; i < scenario.steps.size(); ++i) {
            if (!IsBuilt(scenario.steps[i].kind)) {
                throw InvalidDocument(JsonPath(steps, i), "step \"" + std::string(NameOf(scenario.steps[i].kind)) +
                                                              "\" needs the view, which this build leaves out");
            }
        }
    }

    void RunOne(std::string const& file, ScenarioSource const& source)
    {
        JsonPath const& path = source.path;
        try {
            Scenario const scenario = ReadScenario(source);
            RefuseUnbuilt(scenario, path);
            auto const begin = std::chrono::steady_clock::now();
            ScenarioResult const result = RunScenario(scenario, m_options.plugin);
            if (m_options.check) {
                Check(file, path, scenario, result, std::chrono::steady_clock::now() - begin);
            } else {
                m_out << WriteJson(WriteResult(result)) << std::endl;
            }
        } catch (InvalidDocument const& failure) {
            ReportUnusable(file, failure.Path(), failure.what());
        } catch (std::exception const& failure) {
            ReportUnusable(file, path.ToText(), failure.what());
        }
    }

    void Check(std::string const& file, JsonPath const& path, Scenario const& scenario, ScenarioResult const& result,
               std::chrono::duration<double> took)
    {
        std::string const title = file + ": " + path.ToText() + " " + QuoteForMessage(scenario.name) + ": ";
        JsonPath const steps(path, "steps");
        std::size_t checked = 0;
        std::string differences;
        JsonValue told = JsonValue::Array();
        for (std::size_t i = 0; i < scenario.steps.size(); ++i) {
            auto const& step = scenario.steps[i];
            if (!step.expect.has_value()) {
                continue;
            }
            ++checked;
            if (auto const difference = FindDifference(step.expect->events, Counting(result.steps[i], *step.expect))) {
                auto const place = JsonPath(steps, i).ToText();
                std::string const name(NameOf(step.kind));
                differences += (differences.empty() ? "" : "\n") + place + " (" + name + "): " + *difference;
                told.items.push_back(JsonValue::Object({{"path", JsonValue::Text(place)},
                                                        {"step", JsonValue::Text(name)},
                                                        {"text", JsonValue::Text(*difference)}}));
                if (!m_options.json) {
                    m_out << file << ": " << place << " (" << QuoteForMessage(scenario.name) << ", " << name
                          << "): " << *difference << std::endl;
                }
            }
        }
        m_report.AddScenario(scenario.name, took, differences);
        bool const matches = differences.empty();
        if (!matches) {
            Raise(Differs);
        }
        if (m_options.json) {
            m_out << WriteJson(
                         JsonValue::Object({{"file", JsonValue::Text(protocol::DecodeUtf8(file))},
                                            {"path", JsonValue::Text(path.ToText())},
                                            {"name", JsonValue::Text(scenario.name)},
                                            {"result", JsonValue::Text(std::string(matches ? "matches" : "differs"))},
                                            {"steps", JsonValue::Unsigned(scenario.steps.size())},
                                            {"checked", JsonValue::Unsigned(checked)},
                                            {"differences", std::move(told)}}))
                  << std::endl;
        } else if (matches) {
            m_out << title << "matches (" << checked << " of " << scenario.steps.size() << " steps checked)"
                  << std::endl;
        }
    }

    ScenarioOptions const& m_options;
    std::istream& m_input;
    std::ostream& m_out;
    std::ostream& m_err;
    int m_status = Matched;
    JunitReport m_report;
};

} // namespace

int RunScenarios(ScenarioOptions const& options, std::istream& input, std::ostream& out, std::ostream& err)
{
    return Command(options, input, out, err).Run();
}

} // namespace qx5::cli
