// The project in one file: ports, devices with their attributes, computations, vessels, what views showed and how
// windows stood.
#include "project_store.h"

#include "reference_host/attributes/tree_bytes.h"
#include "reference_host/common/path_text.h"
#include "reference_host/platform/replace_file.h"
#include "sqlite_file.h"

#include "attributes/tree_merge.h"

#include <tvcoreR/Utf8.h>

#include <protocol/outside_sizes.h>
#include <protocol/utf8.h>

#include <algorithm>
#include <charconv>
#include <limits>
#include <span>
#include <string>
#include <string_view>
#include <system_error>
#include <utility>

namespace vordal {
namespace {

// The file's header bears both: "QX5P", and the version of the tables below.
constexpr std::int64_t ApplicationId = 0x51583550;
constexpr std::int64_t FormatVersion = 4;

// Rows of the log are sealed as they are written, and a damaged one is no damage of the project.
constexpr char const* CreateActions =
    R"(CREATE TABLE action(number INTEGER PRIMARY KEY, time REAL NOT NULL, who TEXT NOT NULL, sonar TEXT NOT NULL,
                           sonar_name TEXT NOT NULL, key TEXT NOT NULL, before TEXT NOT NULL, asked TEXT NOT NULL,
                           result TEXT NOT NULL, checksum INTEGER))";

// Each row bears the checksum of the columns before it, null while a transaction has not sealed it yet.
// clang-format off
constexpr char const* Tables[] = {
    R"(CREATE TABLE port(position INTEGER PRIMARY KEY, name TEXT NOT NULL, host TEXT NOT NULL, tcp_port INTEGER NOT NULL,
                         unacknowledged_ms INTEGER NOT NULL DEFAULT 2000, keepalive_idle_s INTEGER NOT NULL DEFAULT 1,
                         keepalive_interval_s INTEGER NOT NULL DEFAULT 1, keepalive_count INTEGER NOT NULL DEFAULT 2,
                         checksum INTEGER))",
    R"(CREATE TABLE device(position INTEGER PRIMARY KEY, id TEXT NOT NULL UNIQUE, class TEXT NOT NULL, name TEXT NOT NULL,
                           port TEXT NOT NULL, enabled INTEGER NOT NULL, attributes BLOB NOT NULL, checksum INTEGER))",
    R"(CREATE TABLE computation(position INTEGER PRIMARY KEY, id TEXT NOT NULL, type INTEGER NOT NULL,
                                stream TEXT NOT NULL, attributes BLOB NOT NULL, checksum INTEGER))",
    R"(CREATE TABLE computation_device(computation INTEGER NOT NULL, position INTEGER NOT NULL, device TEXT NOT NULL,
                                       checksum INTEGER, PRIMARY KEY(computation, position)))",
    R"(CREATE TABLE vessel(position INTEGER PRIMARY KEY, number INTEGER NOT NULL, name TEXT NOT NULL, checksum INTEGER))",
    R"(CREATE TABLE vessel_item(vessel INTEGER NOT NULL, section TEXT NOT NULL, item TEXT NOT NULL, text TEXT NOT NULL,
                                checksum INTEGER, PRIMARY KEY(vessel, section, item)))",
    R"(CREATE TABLE view(name TEXT PRIMARY KEY, shown BLOB NOT NULL, checksum INTEGER))",
    R"(CREATE TABLE setting(name TEXT PRIMARY KEY, value INTEGER NOT NULL, checksum INTEGER))",
    R"(CREATE TABLE window(name TEXT PRIMARY KEY, state BLOB NOT NULL, checksum INTEGER))",
    R"(CREATE TABLE preset(name TEXT PRIMARY KEY, document TEXT NOT NULL, checksum INTEGER))",
    CreateActions,
};
/// Of notes, in files that have any: programs that know none leave the table alone.
constexpr char const* CreateNotes = "CREATE TABLE IF NOT EXISTS note(name TEXT PRIMARY KEY, value TEXT NOT NULL, "
                                    "checksum INTEGER)";
/// What turns format 1 into 2, and so on.
constexpr char const* ToSecondFormat[] = {
    "CREATE TABLE window(name TEXT PRIMARY KEY, state BLOB NOT NULL)",
};
constexpr char const* ToThirdFormat[] = {
    "ALTER TABLE port ADD COLUMN unacknowledged_ms INTEGER NOT NULL DEFAULT 2000",
    "ALTER TABLE port ADD COLUMN keepalive_idle_s INTEGER NOT NULL DEFAULT 1",
    "ALTER TABLE port ADD COLUMN keepalive_interval_s INTEGER NOT NULL DEFAULT 1",
    "ALTER TABLE port ADD COLUMN keepalive_count INTEGER NOT NULL DEFAULT 2",
    "ALTER TABLE port ADD COLUMN checksum INTEGER",
    "ALTER TABLE device ADD COLUMN checksum INTEGER",
    "ALTER TABLE computation ADD COLUMN checksum INTEGER",
    "ALTER TABLE computation_device ADD COLUMN checksum INTEGER",
    "ALTER TABLE vessel ADD COLUMN checksum INTEGER",
    "ALTER TABLE vessel_item ADD COLUMN checksum INTEGER",
    "ALTER TABLE view ADD COLUMN checksum INTEGER",
    "ALTER TABLE setting ADD COLUMN checksum INTEGER",
    "ALTER TABLE window ADD COLUMN checksum INTEGER",
};
constexpr char const* ToFourthFormat[] = {
    "CREATE TABLE preset(name TEXT PRIMARY KEY, document TEXT NOT NULL, checksum INTEGER)",
    CreateActions,
};
// clang-format on

/// All columns of a table that its checksum covers.
struct SealedTable
{
    std::string name;
    std::string columns;
};
SealedTable const SealedTables[] = {
    {"port", "position, name, host, tcp_port, unacknowledged_ms, keepalive_idle_s, keepalive_interval_s, "
             "keepalive_count"},
    {"device", "position, id, class, name, port, enabled, attributes"},
    {"computation", "position, id, type, stream, attributes"},
    {"computation_device", "computation, position, device"},
    {"vessel", "position, number, name"},
    {"vessel_item", "vessel, section, item, text"},
    {"view", "name, shown"},
    {"setting", "name, value"},
    {"window", "name, state"},
    {"preset", "name, document"},
};

SealedTable const SealedNotes{"note", "name, value"};

// Names in the table "setting".
constexpr wchar_t const* ActiveVesselSetting = L"active vessel";
constexpr wchar_t const* ToldKeysSetting = L"told keys";
constexpr wchar_t const* ToldBytesSetting = L"told bytes";
constexpr wchar_t const* TransmitLockSetting = L"transmit lock";
/// The number of the last row of the log; Save leaves it.
constexpr wchar_t const* LastActionSetting = L"last action";

[[noreturn]] void RefuseStore(std::string const& line)
{
    throw StoreError(line);
}

constexpr SqliteFormat Format{"project file", ApplicationId, FormatVersion, RefuseStore};

/// A statement with the kinds of the host; made anew for each use, since saves are rare and long compared with it.
class Statement : public SqliteStatement
{
public:
    using SqliteStatement::SqliteStatement;

    Statement& Bind(std::int64_t value)
    {
        BindInteger(value);
        return *this;
    }
    Statement& Bind(CString const& text)
    {
        BindText(tvcore::ToUtf8(text));
        return *this;
    }
    Statement& Bind(std::string const& text)
    {
        BindText(text);
        return *this;
    }
    Statement& Bind(CDataId const& id) { return Bind(id.GetKey()); }
    Statement& Bind(CAttributeMap const& tree)
    {
        std::vector<unsigned char> blob;
        try {
            blob = EncodeTree(tree, qx5::protocol::StoredTree);
        } catch (std::length_error const& error) {
            File().Refuse(std::string("cannot be saved: ") + error.what());
        }
        BindBlob(blob);
        return *this;
    }
    Statement& Bind(std::vector<unsigned char> const& bytes)
    {
        BindBlob(bytes);
        return *this;
    }

    CString Text(int column) const { return CString(qx5::protocol::DecodeUtf8(Bytes(column))); }
    template <typename Number>
    Number Small(int column) const
    {
        auto const value = qx5::protocol::SameNumber<Number>(Integer(column));
        if (!value.has_value()) {
            File().RefuseDamaged("a number is out of range");
        }
        return *value;
    }
    CDataId Id(int column) const
    {
        auto const text = Bytes(column);
        unsigned short fields[4];
        auto const* at = text.data();
        auto const* const end = at + text.size();
        for (int i = 0; i < 4; ++i) {
            auto const [next, error] = std::from_chars(at, end, fields[i]);
            if (error != std::errc() || (i < 3 ? next == end || *next != '.' : next != end)) {
                File().RefuseDamaged("an id is \"" + text + "\"");
            }
            at = next + 1;
        }
        return {fields[0], fields[1], fields[2], fields[3]};
    }
    CAttributeMap Tree(int column) const
    {
        CAttributeMap tree;
        std::string error;
        if (!DecodeTree(Blob(column), qx5::protocol::StoredTree, tree, error)) {
            File().RefuseDamaged("an attribute tree is unreadable, " + error);
        }
        return tree;
    }
};

} // namespace

class ProjectStore::Impl
{
public:
    Impl(std::filesystem::path const& file, Missing missing)
        : m_file(file, Format, missing == Missing::Create ? SqliteFile::Missing::Create : SqliteFile::Missing::Refuse,
                 SqliteFile::Check::Whole)
    {
        m_file.AddChecksumFunction();
        m_file.RequireWritable();
        Run("PRAGMA synchronous=FULL");
        if (m_file.IsNew()) {
            m_file.MakeTables([this] { RunAll(Tables); });
        } else if (m_file.IsOlder()) {
            m_file.BringUpToDate([this] {
                auto const version = m_file.Number("PRAGMA user_version");
                if (version < 2) {
                    RunAll(ToSecondFormat);
                }
                if (version < 3) {
                    RunAll(ToThirdFormat);
                }
                RunAll(ToFourthFormat);
                // A row that a file with checksums has not sealed is damage.
                if (version < 3) {
                    Seal();
                }
            });
        }
        RequireSeals();
    }

    Statement Sql(char const* sql) { return Statement(m_file, sql); }
    void Run(char const* sql) { m_file.Run(sql); }
    std::int64_t Number(char const* sql) { return m_file.Number(sql); }
    int Changes() const { return m_file.Changes(); }

    bool HasNotes()
    {
        return m_file.Number("SELECT count(*) FROM sqlite_master WHERE type='table' AND name='note'") != 0;
    }

    template <typename Action>
    void InTransaction(Action action)
    {
        m_file.InTransaction([&] {
            action();
            Seal();
        });
    }

private:
    template <std::size_t Count>
    void RunAll(char const* const (&statements)[Count])
    {
        for (auto const* const statement : statements) {
            Run(statement);
        }
    }

    void Seal(SealedTable const& sealed)
    {
        m_file.Run("UPDATE " + sealed.name + " SET checksum=checksum(" + sealed.columns + ") WHERE checksum IS NULL");
    }
    void Seal()
    {
        for (SealedTable const& each : SealedTables) {
            Seal(each);
        }
        if (HasNotes()) {
            Seal(SealedNotes);
        }
    }

    void RequireSeals(SealedTable const& sealed)
    {
        if (m_file.Number("SELECT count(*) FROM " + sealed.name + " WHERE checksum IS NOT checksum(" + sealed.columns +
                          ")") > 0) {
            m_file.RefuseDamaged("a row of its table \"" + sealed.name + "\" is not as it was saved");
        }
    }
    void RequireSeals()
    {
        for (SealedTable const& each : SealedTables) {
            RequireSeals(each);
        }
        if (HasNotes()) {
            RequireSeals(SealedNotes);
        }
    }

    SqliteFile m_file;
};

namespace {

template <typename Store>
void InsertDevice(Store& store, StoredDevice const& device)
{
    store
        .Sql("INSERT INTO device(id, class, name, port, enabled, attributes) VALUES(?, ?, ?, ?, ?, ?) "
             "ON CONFLICT(id) DO UPDATE SET class=excluded.class, name=excluded.name, port=excluded.port, "
             "enabled=excluded.enabled, attributes=excluded.attributes, checksum=NULL")
        .Bind(device.dataId)
        .Bind(device.className)
        .Bind(device.name)
        .Bind(device.portName)
        .Bind(std::int64_t{device.enabled ? 1 : 0})
        .Bind(device.attributes)
        .Step();
}

} // namespace

bool operator==(StoredProject const& a, StoredProject const& b)
{
    auto const ports = [](StoredPort const& one, StoredPort const& other) {
        return one.name == other.name && one.host == other.host && one.tcpPort == other.tcpPort &&
               one.watch == other.watch;
    };
    auto const devices = [](StoredDevice const& one, StoredDevice const& other) {
        return one.dataId == other.dataId && one.className == other.className && one.name == other.name &&
               one.portName == other.portName && one.enabled == other.enabled &&
               TreesEqual(one.attributes, other.attributes);
    };
    auto const computations = [](ComputationSetup const& one, ComputationSetup const& other) {
        return one.dataId == other.dataId && one.type == other.type && one.stream == other.stream &&
               one.linkedDevices == other.linkedDevices && TreesEqual(one.attributes, other.attributes);
    };
    auto const vessels = [](VesselSetup const& one, VesselSetup const& other) {
        return one.number == other.number && one.name == other.name && one.configuration == other.configuration;
    };
    auto const views = [](auto const& one, auto const& other) {
        return one.first == other.first && TreesEqual(one.second, other.second);
    };
    return a.activeVessel == b.activeVessel && a.toldLimits == b.toldLimits && a.transmitLocked == b.transmitLocked &&
           a.windows == b.windows && a.notes == b.notes && std::ranges::equal(a.ports, b.ports, ports) &&
           std::ranges::equal(a.devices, b.devices, devices) &&
           std::ranges::equal(a.computations, b.computations, computations) &&
           std::ranges::equal(a.vessels, b.vessels, vessels) && std::ranges::equal(a.views, b.views, views);
}

ProjectStore::ProjectStore(std::filesystem::path const& file, Missing missing)
    : m_impl(std::make_unique<Impl>(file, missing))
{
}

ProjectStore::~ProjectStore() = default;

StoredProject ProjectStore::Load()
{
    StoredProject project;
    // One transaction, so that all parts are of the same save.
    m_impl->Run("BEGIN");
    struct End
    {
        Impl& impl;
        ~End()
        {
            try {
                impl.Run("ROLLBACK");
            } catch (StoreError const&) {
                // Nothing was written, so there is nothing to lose.
            }
        }
    } const end{*m_impl};

    for (auto row = m_impl->Sql("SELECT name, host, tcp_port, unacknowledged_ms, keepalive_idle_s, "
                                "keepalive_interval_s, keepalive_count FROM port ORDER BY position");
         row.Step();) {
        LineWatch const watch{std::chrono::milliseconds(row.Small<std::uint32_t>(3)),
                              std::chrono::seconds(row.Small<std::uint32_t>(4)),
                              std::chrono::seconds(row.Small<std::uint32_t>(5)), row.Small<std::uint16_t>(6)};
        project.ports.push_back({row.Text(0), row.Text(1), row.Small<std::uint16_t>(2), watch});
    }
    for (auto row = m_impl->Sql("SELECT id, class, name, port, enabled, attributes FROM device ORDER BY position");
         row.Step();) {
        project.devices.push_back({row.Id(0), row.Text(1), row.Text(2), row.Text(3), row.Integer(4) != 0, row.Tree(5)});
    }
    for (auto row = m_impl->Sql("SELECT position, id, type, stream, attributes FROM computation ORDER BY position");
         row.Step();) {
        ComputationSetup computation;
        computation.dataId = row.Id(1);
        computation.type = row.Small<int>(2);
        computation.stream = row.Id(3);
        computation.attributes = row.Tree(4);
        auto linked = m_impl->Sql("SELECT device FROM computation_device WHERE computation=? ORDER BY position");
        linked.Bind(row.Integer(0));
        while (linked.Step()) {
            computation.linkedDevices.push_back(linked.Id(0));
        }
        project.computations.push_back(std::move(computation));
    }
    for (auto row = m_impl->Sql("SELECT position, number, name FROM vessel ORDER BY position"); row.Step();) {
        VesselSetup vessel;
        vessel.number = row.Small<unsigned short>(1);
        vessel.name = row.Text(2);
        auto items = m_impl->Sql("SELECT section, item, text FROM vessel_item WHERE vessel=?");
        items.Bind(row.Integer(0));
        while (items.Step()) {
            vessel.configuration[items.Text(0)][items.Text(1)] = items.Text(2);
        }
        project.vessels.push_back(std::move(vessel));
    }
    for (auto row = m_impl->Sql("SELECT name, value FROM setting"); row.Step();) {
        auto const name = row.Text(0);
        if (name == ActiveVesselSetting) {
            project.activeVessel = row.Small<unsigned short>(1);
        } else if (name == ToldKeysSetting) {
            project.toldLimits.keys = row.Small<std::uint32_t>(1);
        } else if (name == ToldBytesSetting) {
            project.toldLimits.bytes = row.Small<std::uint32_t>(1);
        } else if (name == TransmitLockSetting) {
            project.transmitLocked = row.Integer(1) != 0;
        }
    }
    for (auto row = m_impl->Sql("SELECT name, shown FROM view"); row.Step();) {
        project.views[row.Text(0)] = row.Tree(1);
    }
    if (m_impl->HasNotes()) {
        for (auto row = m_impl->Sql("SELECT name, value FROM note"); row.Step();) {
            project.notes[row.Text(0)] = row.Text(1);
        }
    }
    for (auto row = m_impl->Sql("SELECT name, state FROM window"); row.Step();) {
        auto const state = row.Blob(1);
        project.windows[row.Text(0)].assign(state.begin(), state.end());
    }
    return project;
}

void ProjectStore::Save(StoredProject const& project)
{
    m_impl->InTransaction([&] {
        for (auto const* const table :
             {"DELETE FROM port", "DELETE FROM device", "DELETE FROM computation", "DELETE FROM computation_device",
              "DELETE FROM vessel", "DELETE FROM vessel_item", "DELETE FROM view",
              "DELETE FROM setting WHERE name<>'last action'", "DELETE FROM window"}) {
            m_impl->Run(table);
        }
        for (auto const& port : project.ports) {
            m_impl
                ->Sql("INSERT INTO port(name, host, tcp_port, unacknowledged_ms, keepalive_idle_s, "
                      "keepalive_interval_s, keepalive_count) VALUES(?, ?, ?, ?, ?, ?, ?)")
                .Bind(port.name)
                .Bind(port.host)
                .Bind(std::int64_t{port.tcpPort})
                .Bind(std::int64_t{port.watch.unacknowledged.count()})
                .Bind(std::int64_t{port.watch.keepaliveIdle.count()})
                .Bind(std::int64_t{port.watch.keepaliveInterval.count()})
                .Bind(std::int64_t{port.watch.keepaliveCount})
                .Step();
        }
        for (auto const& device : project.devices) {
            InsertDevice(*m_impl, device);
        }
        std::int64_t position = 0;
        for (auto const& computation : project.computations) {
            ++position;
            m_impl->Sql("INSERT INTO computation(position, id, type, stream, attributes) VALUES(?, ?, ?, ?, ?)")
                .Bind(position)
                .Bind(computation.dataId)
                .Bind(std::int64_t{computation.type})
                .Bind(computation.stream)
                .Bind(computation.attributes)
                .Step();
            std::int64_t place = 0;
            for (auto const& device : computation.linkedDevices) {
                m_impl->Sql("INSERT INTO computation_device(computation, position, device) VALUES(?, ?, ?)")
                    .Bind(position)
                    .Bind(++place)
                    .Bind(device)
                    .Step();
            }
        }
        position = 0;
        for (auto const& vessel : project.vessels) {
            ++position;
            m_impl->Sql("INSERT INTO vessel(position, number, name) VALUES(?, ?, ?)")
                .Bind(position)
                .Bind(std::int64_t{vessel.number})
                .Bind(vessel.name)
                .Step();
            for (auto const& [section, items] : vessel.configuration) {
                for (auto const& [item, text] : items) {
                    m_impl->Sql("INSERT OR REPLACE INTO vessel_item(vessel, section, item, text) VALUES(?, ?, ?, ?)")
                        .Bind(position)
                        .Bind(section)
                        .Bind(item)
                        .Bind(text)
                        .Step();
                }
            }
        }
        for (auto const& [name, value] : {std::pair{ActiveVesselSetting, std::int64_t{project.activeVessel}},
                                          std::pair{ToldKeysSetting, std::int64_t{project.toldLimits.keys}},
                                          std::pair{ToldBytesSetting, std::int64_t{project.toldLimits.bytes}},
                                          std::pair{TransmitLockSetting, std::int64_t{project.transmitLocked}}}) {
            m_impl->Sql("INSERT INTO setting(name, value) VALUES(?, ?)").Bind(CString(name)).Bind(value).Step();
        }
        if (m_impl->HasNotes()) {
            m_impl->Run("DELETE FROM note");
        }
        if (!project.notes.empty()) {
            m_impl->Run(CreateNotes);
        }
        for (auto const& [name, value] : project.notes) {
            m_impl->Sql("INSERT INTO note(name, value) VALUES(?, ?)").Bind(name).Bind(value).Step();
        }
        for (auto const& [name, shown] : project.views) {
            m_impl->Sql("INSERT OR REPLACE INTO view(name, shown) VALUES(?, ?)").Bind(name).Bind(shown).Step();
        }
        for (auto const& [name, state] : project.windows) {
            m_impl->Sql("INSERT OR REPLACE INTO window(name, state) VALUES(?, ?)").Bind(name).Bind(state).Step();
        }
    });
}

void ProjectStore::TakePresetsAndLog(std::filesystem::path const& source)
{
    m_impl->Sql("ATTACH DATABASE ? AS source").Bind(Utf8Of(source)).Step();
    // Rows of the log as they stand: one that is damaged stays known as such.
    m_impl->InTransaction([&] {
        m_impl->Run("INSERT INTO preset SELECT * FROM source.preset");
        m_impl->Run("INSERT INTO action SELECT * FROM source.action");
        m_impl->Run("INSERT INTO setting SELECT * FROM source.setting WHERE name='last action'");
    });
    m_impl->Run("DETACH DATABASE source");
}

void ProjectStore::SaveAs(std::filesystem::path const& file, StoredProject const& project,
                          std::filesystem::path const& source)
{
    std::error_code error;
    auto target = std::filesystem::weakly_canonical(file, error);
    target = error ? file : target;
    if (std::filesystem::exists(target, error)) {
        // What a process that was killed has left beside it is of this file, not of the new one; it is put in order.
        SqliteFile old(target, Format, SqliteFile::Missing::Refuse, SqliteFile::Check::Header);
        old.RequireWritable();
        old.Run("BEGIN EXCLUSIVE");
        old.Run("ROLLBACK");
    }
    auto beside = target;
    beside += ".new";
    auto const removeBeside = [&] {
        std::error_code ignored;
        std::filesystem::remove(beside, ignored);
        auto journal = beside;
        journal += "-journal";
        std::filesystem::remove(journal, ignored);
    };
    removeBeside();
    try {
        ProjectStore store(beside);
        store.Save(project);
        if (!source.empty()) {
            store.TakePresetsAndLog(source);
        }
    } catch (StoreError const& failure) {
        removeBeside();
        // The operator knows nothing of the file beside it.
        std::string line = failure.what();
        auto const name = Utf8Of(beside);
        if (auto const at = line.find(name); at != std::string::npos) {
            line.replace(at, name.size(), Utf8Of(target));
        }
        throw StoreError(line);
    } catch (...) {
        removeBeside();
        throw;
    }
    if (auto const failure = platform::PutInPlace(beside, target)) {
        removeBeside();
        throw StoreError("\"" + Utf8Of(target) + "\" cannot be written: " + failure.message());
    }
}

void ProjectStore::SaveDevice(StoredDevice const& device)
{
    m_impl->InTransaction([&] { InsertDevice(*m_impl, device); });
}

bool ProjectStore::SaveAttributes(CDataId const& dataId, CAttributeMap const& attributes)
{
    bool found = false;
    m_impl->InTransaction([&] {
        m_impl->Sql("UPDATE device SET attributes=?, checksum=NULL WHERE id=?").Bind(attributes).Bind(dataId).Step();
        found = m_impl->Changes() > 0;
    });
    return found;
}

void ProjectStore::SaveView(CString const& name, CAttributeMap const& shown)
{
    m_impl->InTransaction(
        [&] { m_impl->Sql("INSERT OR REPLACE INTO view(name, shown) VALUES(?, ?)").Bind(name).Bind(shown).Step(); });
}

void ProjectStore::SaveWindow(CString const& name, std::vector<unsigned char> const& state)
{
    m_impl->InTransaction(
        [&] { m_impl->Sql("INSERT OR REPLACE INTO window(name, state) VALUES(?, ?)").Bind(name).Bind(state).Step(); });
}

std::map<CString, std::string> ProjectStore::Presets()
{
    std::map<CString, std::string> presets;
    for (auto row = m_impl->Sql("SELECT name, document FROM preset"); row.Step();) {
        presets[row.Text(0)] = row.Bytes(1);
    }
    return presets;
}

void ProjectStore::SavePreset(CString const& name, std::string const& document)
{
    RenamePreset(name, name, document);
}

void ProjectStore::RenamePreset(CString const& name, CString const& to, std::string const& document)
{
    m_impl->InTransaction([&] {
        m_impl->Sql("DELETE FROM preset WHERE name=?").Bind(name).Step();
        m_impl->Sql("INSERT OR REPLACE INTO preset(name, document) VALUES(?, ?)").Bind(to).Bind(document).Step();
    });
}

bool ProjectStore::RemovePreset(CString const& name)
{
    bool found = false;
    m_impl->InTransaction([&] {
        m_impl->Sql("DELETE FROM preset WHERE name=?").Bind(name).Step();
        found = m_impl->Changes() > 0;
    });
    return found;
}

bool ProjectStore::RemoveDevice(CDataId const& dataId)
{
    bool found = false;
    m_impl->InTransaction([&] {
        m_impl->Sql("DELETE FROM device WHERE id=?").Bind(dataId).Step();
        found = m_impl->Changes() > 0;
    });
    return found;
}

void ProjectStore::AppendActions(std::span<StoredAction const> actions, std::int64_t greatest)
{
    if (actions.empty()) {
        return;
    }
    m_impl->InTransaction([&] {
        // Where the log itself was cut, numbers go on behind those that are gone.
        auto last = m_impl->Number("SELECT max(coalesce((SELECT max(number) FROM action), 0), "
                                   "coalesce((SELECT value FROM setting WHERE name='last action'), 0))");
        auto insert =
            m_impl->Sql("INSERT INTO action(number, time, who, sonar, sonar_name, key, before, asked, result, "
                        "checksum) VALUES(?1, ?2, ?3, ?4, ?5, ?6, ?7, ?8, ?9, "
                        "checksum(?1, ?2, ?3, ?4, ?5, ?6, ?7, ?8, ?9))");
        for (auto const& action : actions) {
            insert.Bind(++last);
            insert.BindDouble(action.time);
            insert.BindText(action.who);
            insert.Bind(action.sonar);
            insert.BindText(action.sonarName);
            insert.BindText(action.key);
            insert.BindText(action.before);
            insert.BindText(action.asked);
            insert.BindText(action.result);
            insert.Step();
            insert.Reset();
        }
        m_impl->Sql("DELETE FROM action WHERE number<=?").Bind(last - greatest).Step();
        m_impl->Sql("INSERT OR REPLACE INTO setting(name, value) VALUES(?, ?)")
            .Bind(CString(LastActionSetting))
            .Bind(last)
            .Step();
    });
}

LogDamage ProjectStore::ReadActions(std::filesystem::path const& file,
                                    std::function<void(StoredAction const&)> const& visit)
{
    SqliteFile project(file, Format, SqliteFile::Missing::Refuse, SqliteFile::Check::Header);
    LogDamage damage;
    if (project.IsNew() || project.IsOlder()) {
        return damage;
    }
    project.AddChecksumFunction();
    auto const last = project.Number("SELECT value FROM setting WHERE name='last action'");
    std::int64_t seen = 0;
    if (project.Number("SELECT count(*) FROM sqlite_schema WHERE name='action'") != 0) {
        Statement row(project, "SELECT number, time, who, sonar, sonar_name, key, before, asked, result, checksum IS "
                               "checksum(number, time, who, sonar, sonar_name, key, before, asked, result) FROM action "
                               "ORDER BY number");
        while (row.Step()) {
            auto const number = row.Integer(0);
            damage.missing += seen != 0 ? static_cast<std::size_t>(number - seen - 1) : 0;
            seen = number;
            if (row.Integer(9) == 0) {
                ++damage.changed;
                continue;
            }
            visit({row.Real(1), row.Bytes(2), row.Id(3), row.Bytes(4), row.Bytes(5), row.Bytes(6), row.Bytes(7),
                   row.Bytes(8)});
        }
    }
    damage.missing += last > seen ? static_cast<std::size_t>(last - seen) : 0;
    return damage;
}

} // namespace vordal
