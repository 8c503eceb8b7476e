// The command that runs scenario files: files in, lines out, exit status.
#include "cli/scenario/scenario_command.h"

#include "cli/scenario/junit_report.h"
#include "cli/scenario/scenario_reader.h"
#include "cli/scenario/scenario_run.h"
#include "reference_host/common/path_text.h"
#include "json/event_difference.h"
#include "json/json_parser.h"

#include <protocol/utf8.h>

#include <algorithm>
#include <cerrno>
#include <chrono>
#include <cstring>
#include <filesystem>
#include <fstream>
#include <functional>
#include <istream>
#include <optional>
#include <ostream>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

namespace qx5::cli {

namespace {

enum ExitStatus
{
    Matched = 0,
    Differs = 1,
    Unusable = 2
};

/// Writes a result as it comes, a part at a time: {"name", "setup", "steps", "teardown"}.
class ResultWriter final : public ScenarioResults
{
public:
    ResultWriter(std::ostream& out, std::string_view name) : m_out(out), m_text("{\"name\":")
    {
        AppendQuoted(m_text, name);
    }
    ResultWriter(ResultWriter const&) = delete;
    ResultWriter& operator=(ResultWriter const&) = delete;
    /// A line that has begun ends, even where the scenario could not be run to its end.
    ~ResultWriter() override
    {
        if (m_hasWritten) {
            m_out << std::endl;
        }
    }

    void SetUp(ScenarioEvents const& events) override
    {
        m_text += ",\"setup\":";
        Append(events);
        m_text += ",\"steps\":[";
    }
    void Step(ScenarioStep const&, JsonPath const&, ScenarioEvents const& events) override
    {
        m_text += std::exchange(m_hasStep, true) ? "," : "";
        Append(events);
        constexpr std::size_t part = 1 << 16;
        if (m_text.size() >= part) {
            Write();
        }
    }
    void TornDown(ScenarioEvents const& events) override
    {
        m_text += "],\"teardown\":";
        Append(events);
        m_text += '}';
        Write();
    }

private:
    void Append(ScenarioEvents const& events) { events.AppendTo(m_text); }
    void Write()
    {
        m_out.write(m_text.data(), static_cast<std::streamsize>(m_text.size()));
        m_text.clear();
        m_hasWritten = true;
    }

    std::ostream& m_out;
    std::string m_text;
    bool m_hasStep = false;
    bool m_hasWritten = false;
};

/// Compares what each step did with what it was expected to do.
class Checker final : public ScenarioResults
{
public:
    /// Is told each difference as it comes.
    using Tell = std::function<void(ScenarioStep const& step, std::string const& place, std::string const& difference)>;

    explicit Checker(Tell tell) : m_tell(std::move(tell)) {}

    void SetUp(ScenarioEvents const&) override {}
    void Step(ScenarioStep const& step, JsonPath const& path, ScenarioEvents const& events) override
    {
        ++m_steps;
        if (!step.expect.has_value()) {
            return;
        }
        ++m_checked;
        std::string json;
        if (step.expect->of.has_value()) {
            events.AppendTo(json, *step.expect->of);
        } else {
            events.AppendTo(json);
        }
        auto const got = ParseJson(std::move(json));
        if (auto const difference = FindDifference(step.expect->events, got.Root().Items().ToVector())) {
            m_tell(step, path.ToText(), *difference);
        }
    }
    void TornDown(ScenarioEvents const&) override {}

    std::size_t Steps() const { return m_steps; }
    std::size_t Checked() const { return m_checked; }

private:
    Tell const m_tell;
    std::size_t m_steps = 0;
    std::size_t m_checked = 0;
};

class Command
{
public:
    Command(ScenarioOptions const& options, std::istream& input, std::ostream& out, std::ostream& err)
        : m_options(options), m_input(input), m_out(out), m_err(err), m_runner(options.plugin)
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
            return ReadStream(m_input, 0);
        }
        errno = 0;
        std::error_code ignored;
        std::ifstream stream;
        auto const path = vordal::PathOf(file);
        bool const isFolder = std::filesystem::is_directory(path, ignored);
        if (!isFolder) {
            stream.open(path, std::ios::binary);
        }
        auto const size = std::filesystem::file_size(path, ignored);
        auto text = stream.is_open() ? ReadStream(stream, ignored ? 0 : size) : std::nullopt;
        if (!text.has_value()) {
            auto const* reason = isFolder ? "it is a folder" : errno != 0 ? std::strerror(errno) : "reading failed";
            ReportUnusable(file, "$", std::string("cannot be read: ") + reason);
        }
        return text;
    }

    /// `expected` bytes, or as many as there are.
    static std::optional<std::string> ReadStream(std::istream& stream, std::size_t expected)
    {
        constexpr std::size_t part = 1 << 16;
        std::string text;
        text.reserve(expected + part);
        while (stream) {
            auto const had = text.size();
            text.resize(had + part);
            stream.read(text.data() + had, part);
            text.resize(had + static_cast<std::size_t>(stream.gcount()));
        }
        return stream.bad() ? std::nullopt : std::optional(std::move(text));
    }

    void RunFile(std::string const& file)
    {
        auto text = ReadAll(file);
        if (!text.has_value()) {
            return;
        }
        std::optional<JsonDocument> document;
        try {
            document = ParseJson(std::move(*text));
        } catch (InvalidDocument const& failure) {
            ReportUnusable(file, failure.Path(), failure.what());
            return;
        }
        ForEachScenario(
            *document, [&](ScenarioSource const& source) { RunOne(file, source); },
            [&](InvalidDocument const& failure) { ReportUnusable(file, failure.Path(), failure.what()); });
    }

    static void RefuseUnbuilt(ScenarioStep const& step, JsonPath const& path)
    {
        if (!IsBuilt(step.kind)) {
            throw InvalidDocument(path, "step \"" + std::string(NameOf(step.kind)) +
                                            "\" needs the view, which this build leaves out");
        }
    }

    void RunOne(std::string const& file, ScenarioSource const& source)
    {
        JsonPath const& path = source.path;
        try {
            Scenario const scenario = ReadScenario(source);
            ScenarioSteps steps(source, scenario, RefuseUnbuilt);
            if (m_options.check) {
                Check(file, path.ToText(), scenario, steps);
            } else {
                ResultWriter writer(m_out, scenario.name);
                m_runner.Run(scenario, steps, writer);
            }
        } catch (InvalidDocument const& failure) {
            ReportUnusable(file, failure.Path(), failure.what());
        } catch (std::exception const& failure) {
            ReportUnusable(file, path.ToText(), failure.what());
        }
    }

    void Check(std::string const& file, std::string const& path, Scenario const& scenario, ScenarioSteps& steps)
    {
        auto const begin = std::chrono::steady_clock::now();
        auto const name = QuoteForMessage(scenario.name);
        std::string differences;
        JsonValue told = JsonValue::Array();
        Checker checker([&](ScenarioStep const& step, std::string const& place, std::string const& difference) {
            std::string const kind(NameOf(step.kind));
            differences += (differences.empty() ? "" : "\n") + place + " (" + kind + "): " + difference;
            if (m_options.json) {
                told.items.push_back(JsonValue::Object({{"path", JsonValue::Text(place)},
                                                        {"step", JsonValue::Text(kind)},
                                                        {"text", JsonValue::Text(difference)}}));
            } else {
                m_out << file << ": " << place << " (" << name << ", " << kind << "): " << difference << std::endl;
            }
        });
        m_runner.Run(scenario, steps, checker);
        m_report.AddScenario(scenario.name, std::chrono::steady_clock::now() - begin, differences);
        bool const matches = differences.empty();
        if (!matches) {
            Raise(Differs);
        }
        if (m_options.json) {
            m_out << WriteJson(
                         JsonValue::Object({{"file", JsonValue::Text(protocol::DecodeUtf8(file))},
                                            {"path", JsonValue::Text(path)},
                                            {"name", JsonValue::Text(scenario.name)},
                                            {"result", JsonValue::Text(std::string(matches ? "matches" : "differs"))},
                                            {"steps", JsonValue::Unsigned(checker.Steps())},
                                            {"checked", JsonValue::Unsigned(checker.Checked())},
                                            {"differences", std::move(told)}}))
                  << std::endl;
        } else if (matches) {
            m_out << file << ": " << path << " " << name << ": matches (" << checker.Checked() << " of "
                  << checker.Steps() << " steps checked)" << std::endl;
        }
    }

    ScenarioOptions const& m_options;
    std::istream& m_input;
    std::ostream& m_out;
    std::ostream& m_err;
    ScenarioRunner m_runner;
    int m_status = Matched;
    JunitReport m_report;
};

} // namespace

int RunScenarios(ScenarioOptions const& options, std::istream& input, std::ostream& out, std::ostream& err)
{
    return Command(options, input, out, err).Run();
}

} // namespace qx5::cli
