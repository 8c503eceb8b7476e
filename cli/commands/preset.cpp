// `qx5 preset`: settings of sonars under a name: taken, kept in a project or a file, compared, loaded.
#include "cli/commands.h"

#include "cli/plugins.h"
#include "cli/request_outcome.h"
#include "cli/session.h"
#include "cli/sonar_frames.h"
#include "operation/preset.h"
#include "operation/preset_shelf.h"
#include "operation/preset_table.h"
#include "reference_host/attributes/tree_account.h"
#include "reference_host/attributes/tree_merge.h"
#include "reference_host/common/path_text.h"

#include <json/json_value.h>
#include <json/value_json.h>
#include <protocol/print.h>
#include <protocol/records/all.h>
#include <protocol/utf8.h>
#include <tvcoreR/Utf8.h>

#include <algorithm>
#include <chrono>
#include <filesystem>
#include <iterator>
#include <mutex>
#include <optional>
#include <string>
#include <system_error>
#include <utility>
#include <vector>

#include <fmt/format.h>

namespace qx5::cli {

namespace {

using operation::Preset;
using operation::PresetError;
using operation::PresetRow;
using operation::PresetSetting;
using operation::PresetSide;
using operation::PresetTable;
using operation::RowState;

/// Ends a command with a line and an exit code.
struct Refusal
{
    ExitCode code;
    std::string line;
};

double UtcSeconds()
{
    return std::chrono::duration<double>(std::chrono::system_clock::now().time_since_epoch()).count();
}

// Where presets are

/// The project that keeps presets, open.
class OpenShelf
{
public:
    /// Throws Refusal when the options tell no project.
    explicit OpenShelf(PresetOptions const& options,
                       vordal::ProjectStore::Missing missing = vordal::ProjectStore::Missing::Refuse)
        : m_store(vordal::PathOf(FileOf(options)), missing)
    {
    }

    vordal::ProjectStore& Store() { return m_store; }
    operation::PresetShelf& Presets() { return m_presets; }

    void Put(Preset const& preset, bool replace)
    {
        if (!m_presets.Put(preset, replace)) {
            throw Refusal{ExitFailed,
                          operation::PresetIsThere(preset.name) + "; --replace puts the new one in its place"};
        }
    }

private:
    static std::string const& FileOf(PresetOptions const& options)
    {
        if (options.project.empty()) {
            throw Refusal{ExitWrong, "tell the project that keeps the presets: --project FILE"};
        }
        return options.project;
    }

    vordal::ProjectStore m_store;
    operation::PresetShelf m_presets{m_store};
};

bool IsThere(std::string const& file)
{
    std::error_code ignored;
    return std::filesystem::exists(vordal::PathOf(file), ignored);
}

/// By its name in the project or, failing that, of a file.
std::optional<Preset> FindPreset(std::string const& name, PresetOptions const& options)
{
    if (!options.project.empty()) {
        if (auto preset = OpenShelf(options).Presets().Find(name)) {
            return preset;
        }
    }
    return IsThere(name) ? std::optional(operation::ReadPresetFile(vordal::PathOf(name))) : std::nullopt;
}

/// "is neither ..." for what FindPreset does not find; `alsoNot` is what else it could have been.
std::string NotFound(std::string const& name, PresetOptions const& options, std::string_view alsoNot)
{
    return fmt::format("{} is neither a preset {} nor a file{}", QuoteForMessage(name, 200),
                       options.project.empty() ? "(for one of a project, tell --project FILE)" : "of the project",
                       alsoNot);
}

Preset GetPreset(std::string const& name, PresetOptions const& options)
{
    auto preset = FindPreset(name, options);
    if (!preset) {
        throw Refusal{ExitWrong, NotFound(name, options, "")};
    }
    return std::move(*preset);
}

void WriteFile(Preset const& preset, PresetOptions const& options)
{
    if (!options.replace && IsThere(options.file)) {
        throw Refusal{ExitFailed, fmt::format("{} is there already; --replace puts the new one in its place",
                                              QuoteForMessage(options.file, 200))};
    }
    try {
        operation::WritePresetFile(vordal::PathOf(options.file), preset);
    } catch (PresetError const& failure) {
        throw Refusal{ExitFailed, failure.what()};
    }
}

// Whose settings they are

/// A sonar that runs, with the plug-in, and what it tells.
class LiveSonar
{
public:
    /// Returns once the sonar has told what it has; nothing has been asked of it then. Throws Refusal.
    LiveSonar(std::string const& endpoint, PresetOptions const& options)
        : m_endpoint(endpoint), m_limit(options.timeoutMilliseconds),
          m_session([this](SessionEvent const& event) { OnEvent(event); }, {}, vordal::RequestOrigin::Preset)
    {
        std::string error;
        std::string host;
        std::uint16_t port = 0;
        if (!ParseEndpoint(endpoint, host, port, error)) {
            throw Refusal{ExitWrong, error};
        }
        if (!m_session.LoadPlugin(PluginPath(options.plugin), error)) {
            throw Refusal{ExitFailed, error};
        }
        m_session.Connect(host, port);
        if (!m_session.WaitForConnection(m_limit, error)) {
            throw Refusal{ExitFailed,
                          fmt::format("no connection to the sonar: {}; is it (or `qx5 sim`) running there?", error)};
        }
        m_session.WaitForIntroduction(m_limit);
        m_tree = m_session.Attributes();
        if (!m_tree.Has(AttributeKey(protocol::keys::DeviceId.text))) {
            throw Refusal{ExitFailed,
                          fmt::format("the sonar {} told nothing of itself within {} ms", endpoint, m_limit.count())};
        }
    }

    std::string Class() const { return tvcore::ToUtf8(m_session.SonarClass()); }
    SwitchedOn const& Switches() const { return m_session.Switches(); }

    /// What it has: as it introduced itself, and what it has told since it was asked for something. No echo is in it.
    CAttributeMap Tree()
    {
        std::lock_guard const lock(m_mutex);
        return m_tree;
    }

    Preset Take(std::string const& name)
    {
        return operation::TakePreset(
            Tree(), {.name = name, .utcSeconds = UtcSeconds(), .sonar = m_endpoint, .sonarClass = Class()});
    }

    /// Waits until the sonar has answered, or the time is over. Gives what did not become of it in one line; empty when
    /// all of it left and was answered.
    std::string Ask(CAttributeMap const& request, double waitSeconds)
    {
        auto const refusedBefore = m_session.Counters().refused;
        {
            std::lock_guard const lock(m_mutex);
            m_follows = true;
        }
        m_outcome.Begin(request);
        bool const carriedOut = m_session.Request(request);
        m_outcome.End();
        if (!carriedOut) {
            return "the request was broken off";
        }
        if (!m_session.WaitUntilSent(m_limit) || m_session.Counters().refused != refusedBefore) {
            return "the connection was lost before everything had left";
        }
        m_session.WaitFor([&] { return m_outcome.IsAnswered(); },
                          std::chrono::ceil<std::chrono::milliseconds>(std::chrono::duration<double>(waitSeconds)));
        if (auto dropped = m_outcome.Dropped(); !dropped.empty()) {
            return "not all of it was sent: " + std::move(dropped);
        }
        if (m_outcome.Judge(true) != RequestOutcome::Verdict::Unanswered) {
            return {};
        }
        return m_session.IsConnected() ? fmt::format("the sonar did not answer within {:g} s", waitSeconds)
                                       : "the sonar did not answer, the connection was lost";
    }

private:
    void OnEvent(SessionEvent const& event)
    {
        if (event.kind == SessionEvent::Kind::Received) {
            std::lock_guard const lock(m_mutex);
            if (auto const told = m_follows ? ToldAttributes(event.frame) : std::nullopt; told) {
                vordal::Merge(m_tree, *told, m_account);
            }
        }
        m_outcome.Take(event);
    }

    std::string m_endpoint;
    std::chrono::milliseconds m_limit;
    std::mutex m_mutex;
    CAttributeMap m_tree;
    vordal::TreeAccount m_account;
    bool m_follows = false;
    RequestOutcome m_outcome;
    Session m_session; // last: its events go to what stands above
};

/// The one device of the project whose settings are meant.
vordal::StoredDevice const& GetDevice(vordal::StoredProject const& project, std::string const& told)
{
    std::vector<vordal::StoredDevice const*> meant;
    std::string names;
    for (vordal::StoredDevice const& device : project.devices) {
        auto const name = tvcore::ToUtf8(device.name);
        auto const id = tvcore::ToUtf8(device.dataId.GetKey());
        bool const hasSettings = !operation::TakePreset(device.attributes, {.name = id}).settings.empty();
        if (hasSettings) {
            names += fmt::format("{}{} ({})", names.empty() ? "" : ", ", QuoteForMessage(name), id);
        }
        if (told.empty() ? hasSettings : told == name || told == id) {
            meant.push_back(&device);
        }
    }
    if (meant.size() == 1) {
        return *meant.front();
    }
    if (names.empty()) {
        throw Refusal{ExitWrong, "the project holds no settings of a sonar"};
    }
    throw Refusal{ExitWrong, meant.empty() ? fmt::format("the project has no device {}; it has settings of {}",
                                                         QuoteForMessage(told), names)
                                           : fmt::format("tell one by its name or id with --device: {}", names)};
}

PresetSide GetSide(std::string const& name, PresetOptions const& options)
{
    if (auto preset = FindPreset(name, options)) {
        return {std::move(*preset), std::nullopt};
    }
    std::string host;
    std::uint16_t port = 0;
    std::string error;
    if (!ParseEndpoint(name, host, port, error)) {
        throw Refusal{ExitWrong, NotFound(name, options, ", nor HOST:PORT of a sonar")};
    }
    LiveSonar sonar(name, options);
    return {sonar.Take(name), sonar.Tree()};
}

// What is printed

using Columns = std::vector<std::string>;

/// Lines of columns with two blanks between them; the first line are their headings.
std::string Aligned(std::vector<Columns> const& lines)
{
    auto const width = [](std::string const& text) { return protocol::DecodeUtf8(text).size(); };
    std::vector<std::size_t> widths(lines.front().size());
    for (Columns const& line : lines) {
        for (std::size_t i = 0; i < line.size(); ++i) {
            widths[i] = std::max(widths[i], width(line[i]));
        }
    }
    std::string text;
    for (Columns const& line : lines) {
        std::string row;
        for (std::size_t i = 0; i < line.size(); ++i) {
            row += line[i] + std::string(widths[i] - width(line[i]) + 2, ' ');
        }
        text += row.substr(0, row.find_last_not_of(' ') + 1) + "\n";
    }
    return text;
}

JsonValue::Member TextMember(std::string_view name, std::string_view text)
{
    return {std::string(name), JsonValue::Text(std::string(text))};
}

JsonValue::Member ValueMember(std::string_view name, protocol::Value const& value)
{
    return {std::string(name), WriteValue(value)};
}

void PrintObject(std::vector<JsonValue::Member> members)
{
    fmt::print("{}\n", WriteJson(JsonValue::Object(std::move(members))));
}

/// `when` names the table where there are two of them.
void PrintTable(PresetTable const& table, PresetOptions const& options, std::string_view when = {})
{
    std::vector<Columns> lines{{"key", "now", "then", "unit", "state"}};
    for (PresetRow const& row : table.Rows()) {
        std::string const key = protocol::EncodeUtf8(row.key);
        if (options.json) {
            std::vector<JsonValue::Member> members;
            if (!when.empty()) {
                members.push_back(TextMember("table", when));
            }
            members.insert(members.end(),
                           {TextMember("key", key), ValueMember("now", row.now), ValueMember("then", row.then),
                            TextMember("unit", row.unit), TextMember("state", operation::NameOf(row.state))});
            PrintObject(std::move(members));
        } else if (options.all || row.state != RowState::Equal) {
            lines.push_back({key, operation::ShownValue(row.now), operation::ShownValue(row.then), row.unit,
                             std::string(operation::NameOf(row.state))});
        }
    }
    if (options.json) {
        return;
    }
    fmt::print("{}{}\n", lines.size() > 1 ? Aligned(lines) : "", table.CountsText());
}

PresetTable TableFor(CAttributeMap const& tree, Preset const& preset, PresetOptions const& options)
{
    auto table = PresetTable::ForSonar(tree, preset);
    if (!options.only.empty()) {
        std::vector<std::wstring> keys;
        std::transform(options.only.begin(), options.only.end(), std::back_inserter(keys),
                       [](std::string const& key) { return protocol::DecodeUtf8(key); });
        if (auto const absent = table.KeepOnly(keys); !absent.empty()) {
            throw Refusal{ExitWrong, fmt::format("--only: the preset has no {}",
                                                 QuoteForMessage(protocol::EncodeUtf8(absent.front())))};
        }
    }
    return table;
}

void PrintTaken(Preset const& preset)
{
    fmt::print("{}: {} settings of {}\n", preset.name, preset.settings.size(), preset.sonar);
}

/// Does what a command is there for; what it throws becomes a line and an exit code.
template <typename Task>
int Guarded(Task const& task)
{
    try {
        return task();
    } catch (Refusal const& refusal) {
        return Complain(refusal.code, refusal.line);
    } catch (operation::DamagedPreset const& failure) {
        return Complain(ExitFailed, failure.what());
    } catch (PresetError const& failure) {
        return Complain(ExitWrong, failure.what());
    } catch (vordal::StoreError const& failure) {
        return Complain(ExitFailed, failure.what());
    }
}

/// Throws Refusal for a name that no preset can have.
void CheckName(std::string const& name)
{
    if (auto const reason = operation::RefusePresetName(name); !reason.empty()) {
        throw Refusal{ExitWrong, reason};
    }
}

} // namespace

int PresetSave(PresetOptions const& options)
{
    return Guarded([&] {
        CheckName(options.preset);
        if (options.project.empty() && (options.sonar.empty() || options.file.empty())) {
            throw Refusal{ExitWrong,
                          "tell whose settings, and where to keep them: --project FILE, or --sonar HOST:PORT "
                          "with --project FILE or --file FILE"};
        }
        Preset preset;
        if (!options.sonar.empty()) {
            preset = LiveSonar(options.sonar, options).Take(options.preset);
        } else {
            auto const project = OpenShelf(options).Store().Load();
            auto const& device = GetDevice(project, options.device);
            preset = operation::TakePreset(device.attributes, {.name = options.preset,
                                                               .utcSeconds = UtcSeconds(),
                                                               .sonar = tvcore::ToUtf8(device.name),
                                                               .sonarClass = tvcore::ToUtf8(device.className)});
        }
        if (preset.settings.empty()) {
            throw Refusal{ExitFailed, "the sonar tells no settings: there is nothing to keep"};
        }
        if (!options.file.empty()) {
            WriteFile(preset, options);
        } else {
            OpenShelf(options, vordal::ProjectStore::Missing::Create).Put(preset, options.replace);
        }
        PrintTaken(preset);
        return ExitGood;
    });
}

int PresetList(PresetOptions const& options)
{
    return Guarded([&] {
        std::vector<Columns> lines{{"name", "taken", "of", "class", "settings"}};
        std::vector<std::string> unreadable;
        for (auto const& preset : OpenShelf(options).Presets().List()) {
            if (!preset.damage.empty()) {
                unreadable.push_back(preset.damage);
            } else if (options.json) {
                PrintObject({TextMember("name", preset.name),
                             TextMember("time", preset.time),
                             TextMember("sonar", preset.sonar),
                             TextMember("class", preset.sonarClass),
                             {"settings", JsonValue::Unsigned(preset.settings)}});
            } else {
                lines.push_back(
                    {preset.name, preset.time, preset.sonar, preset.sonarClass, std::to_string(preset.settings)});
            }
        }
        if (!options.json) {
            fmt::print("{}", lines.size() > 1 ? Aligned(lines) : "no presets\n");
        }
        for (std::string const& line : unreadable) {
            Complain(ExitFailed, line);
        }
        return unreadable.empty() ? ExitGood : ExitFailed;
    });
}

int PresetShow(PresetOptions const& options)
{
    return Guarded([&] {
        Preset const preset = GetPreset(options.preset, options);
        std::vector<Columns> lines{{"key", "value", "unit"}};
        for (PresetSetting const& setting : preset.settings) {
            std::string const key = protocol::EncodeUtf8(setting.key);
            if (options.json) {
                PrintObject(
                    {TextMember("key", key), ValueMember("value", setting.value), TextMember("unit", setting.unit)});
            } else {
                lines.push_back({key, operation::ShownValue(setting.value), setting.unit});
            }
        }
        if (!options.json) {
            fmt::print("{}, taken {} of {} ({})\n{}", preset.name, preset.time, preset.sonar, preset.sonarClass,
                       Aligned(lines));
        }
        return ExitGood;
    });
}

int PresetCompare(PresetOptions const& options)
{
    return Guarded([&] {
        PresetSide const now = GetSide(options.preset, options);
        PresetSide const then = GetSide(options.other, options);
        auto const table = PresetTable::Between(now, then);
        PrintTable(table, options);
        return table.IsSameOnBothSides() ? ExitGood : ExitFailed;
    });
}

int PresetLoad(PresetOptions const& options)
{
    return Guarded([&] {
        Preset const preset = GetPreset(options.preset, options);
        LiveSonar sonar(options.sonar, options);
        LeavingWord const leavingWord(sonar.Switches(), options.sonar);
        if (auto const reason = operation::RefuseSonarClass(preset, sonar.Class()); !reason.empty()) {
            throw Refusal{ExitWrong, reason};
        }
        auto const before = TableFor(sonar.Tree(), preset, options);
        PrintTable(before, options, "before");
        if (options.dryRun) {
            return before.IsAsPreset() ? ExitGood : ExitFailed;
        }
        // What is beyond the limits goes out only when its key was named.
        auto const request = before.Request(
            [&](PresetRow const& row) { return row.state == RowState::Different || !options.only.empty(); });
        std::string const complaint = request.Count() != 0 ? sonar.Ask(request, options.waitSeconds) : std::string();
        if (!options.json) {
            fmt::print("\n{}; what the sonar then has:\n",
                       request.Count() != 0 ? fmt::format("asked for {}", request.Count()) : "nothing was asked for");
        }
        auto const after = TableFor(sonar.Tree(), preset, options);
        PrintTable(after, options, "after");
        if (!complaint.empty()) {
            throw Refusal{ExitFailed, complaint};
        }
        if (!after.IsAsPreset()) {
            throw Refusal{ExitFailed, "the sonar has something else than the preset, see above"};
        }
        return ExitGood;
    });
}

int PresetExport(PresetOptions const& options)
{
    return Guarded([&] {
        auto const preset = OpenShelf(options).Presets().Find(options.preset);
        if (!preset) {
            throw Refusal{ExitWrong, operation::NoSuchPreset(options.preset)};
        }
        WriteFile(*preset, options);
        return ExitGood;
    });
}

int PresetImport(PresetOptions const& options)
{
    return Guarded([&] {
        Preset preset = operation::ReadPresetFile(vordal::PathOf(options.file));
        if (!options.name.empty()) {
            CheckName(options.name);
            preset.name = options.name;
        }
        OpenShelf(options, vordal::ProjectStore::Missing::Create).Put(preset, options.replace);
        PrintTaken(preset);
        return ExitGood;
    });
}

int PresetRemove(PresetOptions const& options)
{
    return Guarded([&] {
        if (!OpenShelf(options).Presets().Remove(options.preset)) {
            throw Refusal{ExitWrong, operation::NoSuchPreset(options.preset)};
        }
        return ExitGood;
    });
}

} // namespace qx5::cli
