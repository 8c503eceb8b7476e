// A target file: sonar contacts in one SQLite file, which several programs may use at a time.
#include "target_file.h"

#include "reference_host/store/sqlite_file.h"

#include <tvcoreR/Utf8.h>

#include <protocol/utf8.h>

#include <sqlite3.h>

#include <cmath>
#include <limits>
#include <optional>
#include <string>
#include <string_view>
#include <type_traits>
#include <utility>

namespace vordal {
namespace {

// The file's header bears both: "QX5T", and the version of the table below.
constexpr std::int64_t ApplicationId = 0x51583554;
constexpr std::int64_t FormatVersion = 1;
/// More in one file is damage.
constexpr std::size_t GreatestCount = 1'000'000;

// What lies beside the table. SQLite keeps it up to date whatever program writes, so that one that knows nothing of it
// uses the file as ever.

/// Finds a contact by its id.
constexpr std::string_view IndexOfIds = "CREATE INDEX target_by_id ON target(target_id)";

/// Where something was changed, the last 10,000 times. A null stands for everywhere.
constexpr std::string_view LogTable = "CREATE TABLE target_change(version INTEGER PRIMARY KEY, position INTEGER)";
constexpr std::string_view ShortenLog =
    "DELETE FROM target_change WHERE version <= (SELECT max(version) FROM target_change) - 10000";

std::string LogTrigger(std::string_view name, std::string_view event, std::string_view log)
{
    return "CREATE TRIGGER " + std::string(name) + " AFTER " + std::string(event) + " ON target BEGIN " +
           std::string(log) + "; " + std::string(ShortenLog) + "; END";
}

/// All that the log of changes is made of.
std::vector<std::string> const& LogStatements()
{
    static std::vector<std::string> const statements{
        std::string(LogTable),
        LogTrigger("target_added", "INSERT", "INSERT INTO target_change(position) VALUES(NEW.position)"),
        LogTrigger("target_removed", "DELETE", "INSERT INTO target_change(position) VALUES(OLD.position)"),
        LogTrigger("target_changed", "UPDATE",
                   "INSERT INTO target_change(position) VALUES(OLD.position); INSERT INTO target_change(position) "
                   "SELECT NEW.position WHERE NEW.position <> OLD.position"),
    };
    return statements;
}

/// One row of the table: a contact with what it tells through its getters.
struct Row
{
    SonarTarget target;
    bool positionValid = false;
    float bearingDegrees = 0.0F;
    CString temporaryGeoTiff;
    CString geoTiff;
    bool lost = false;
};

/// Each column with its member; the one list that the table, reading and writing are made of.
template <typename RowType, typename Visit>
void VisitColumns(RowType& row, Visit visit)
{
    auto& target = row.target;
    visit("target_id", target.targetId);
    visit("target_guid", target.targetGuid);
    visit("ping_number", target.pingNumber);
    visit("contact_time", target.contactTime);
    visit("detail_number_a", target.detailNumberA);
    visit("detail_flag", target.detailFlag);
    visit("detail_number_b", target.detailNumberB);
    visit("detail_number_c", target.detailNumberC);
    visit("detail_value", target.detailValue);
    visit("position_valid", row.positionValid);
    visit("latitude", target.latitude);
    visit("longitude", target.longitude);
    visit("range", target.range);
    visit("bearing", target.bearing);
    visit("bearing_degrees", row.bearingDegrees);
    visit("azimuth", target.azimuth);
    visit("contact_length", target.contactLength);
    visit("contact_width", target.contactWidth);
    visit("contact_height", target.contactHeight);
    visit("description", target.description);
    visit("classification", target.classification);
    visit("extension_value", target.extensionValue);
    visit("extension_angle", target.extensionAngle);
    visit("extension_measure", target.extensionMeasure);
    visit("extension_measure_valid", target.extensionMeasureValid);
    visit("temporary_geotiff", row.temporaryGeoTiff);
    visit("geotiff", row.geoTiff);
    visit("lost", row.lost);
}

Row ToRow(StoredTarget const& stored)
{
    return {stored.target,
            stored.target.IsLatitudeLongitudeValid(),
            stored.target.GetBearingInDeg(),
            stored.target.GetTempSonarContactGeoTiff(),
            stored.target.GetGeoTIFF(),
            stored.lost};
}

StoredTarget FromRow(Row&& row)
{
    StoredTarget stored{std::move(row.target), row.lost};
    stored.target.SetLatitudeLongitudeValid(row.positionValid);
    stored.target.SetBearingInDeg(row.bearingDegrees);
    stored.target.SetTempSonarContactGeoTiff(row.temporaryGeoTiff);
    stored.target.SetGeoTIFF(row.geoTiff);
    return stored;
}

/// "target_id, target_guid, ..." with `format` for each: "%" stands for the column's name.
std::string Columns(std::string_view format, std::string_view between = ", ")
{
    std::string text;
    Row row;
    VisitColumns(row, [&](std::string_view name, auto&) {
        text += text.empty() ? "" : between;
        for (char const c : format) {
            if (c == '%') {
                text += name;
            } else {
                text += c;
            }
        }
    });
    return text;
}

[[noreturn]] void RefuseTargets(std::string const& line)
{
    throw TargetFileError(line);
}

constexpr SqliteFormat Format{"target file", ApplicationId, FormatVersion, RefuseTargets};

class Statement : public SqliteStatement
{
public:
    using SqliteStatement::SqliteStatement;

    /// SQLite keeps no NaN and no sign of a zero: a NaN is null, -0.0 a text.
    void BindNumber(double value)
    {
        if (std::isnan(value)) {
            BindNull();
        } else if (value == 0.0 && std::signbit(value)) {
            BindText("-0.0");
        } else {
            BindDouble(value);
        }
    }
    void BindRow(Row const& row)
    {
        VisitColumns(row, [this]<typename T>(char const*, T const& value) {
            if constexpr (std::is_same_v<T, CString>) {
                BindText(tvcore::ToUtf8(value));
            } else if constexpr (std::is_floating_point_v<T>) {
                BindNumber(static_cast<double>(value));
            } else {
                BindInteger(static_cast<std::int64_t>(value));
            }
        });
    }

    /// A row whose first column is the position.
    PlacedTarget ReadPlaced(int first) const
    {
        if (Type(first) != SQLITE_INTEGER) {
            File().RefuseDamaged("\"position\" holds what is no such number");
        }
        Row row;
        int column = first;
        VisitColumns(row, [&]<typename T>(char const* name, T& value) { ReadColumn(++column, name, value); });
        return {Integer(first), FromRow(std::move(row))};
    }

private:
    void ReadColumn(int column, char const*, CString& value) const
    {
        value = CString(qx5::protocol::DecodeUtf8(Bytes(column)));
    }
    void ReadColumn(int column, char const* name, bool& value) const { value = Natural(column, name, 1) != 0; }
    void ReadColumn(int column, char const* name, std::uint32_t& value) const
    {
        value = static_cast<std::uint32_t>(Natural(column, name, std::numeric_limits<std::uint32_t>::max()));
    }
    void ReadColumn(int column, char const* name, double& value) const { value = RealNumber(column, name); }
    void ReadColumn(int column, char const* name, float& value) const
    {
        auto const real = RealNumber(column, name);
        // What was stored was a float; anything beyond is another program's.
        constexpr double greatest = std::numeric_limits<float>::max();
        if (std::isfinite(real) && std::abs(real) > greatest) {
            File().RefuseDamaged(std::string("a number of \"") + name + "\" is out of range");
        }
        value = static_cast<float>(real);
    }

    std::int64_t Natural(int column, char const* name, std::int64_t greatest) const
    {
        auto const value = Integer(column);
        if (Type(column) != SQLITE_INTEGER || value < 0 || value > greatest) {
            File().RefuseDamaged(std::string("\"") + name + "\" holds what is no such number");
        }
        return value;
    }
    double RealNumber(int column, char const* name) const
    {
        switch (Type(column)) {
        case SQLITE_INTEGER:
        case SQLITE_FLOAT:
            return SqliteStatement::Real(column);
        case SQLITE_NULL:
            return std::numeric_limits<double>::quiet_NaN();
        default:
            if (Bytes(column) == "-0.0") {
                return -0.0;
            }
            File().RefuseDamaged(std::string("\"") + name + "\" holds what is no number");
        }
    }
};

} // namespace

class TargetFile::Impl
{
public:
    Impl(std::filesystem::path const& file, Missing missing, Keeping keeping, Checking checking)
        : m_file(file, Format, missing == Missing::Create ? SqliteFile::Missing::Create : SqliteFile::Missing::Refuse,
                 checking == Checking::Whole ? SqliteFile::Check::Whole : SqliteFile::Check::Header)
    {
        // With the log written ahead a crash loses at most the last changes, never the file.
        m_file.Run(keeping == Keeping::OnDisk ? "PRAGMA synchronous=NORMAL" : "PRAGMA synchronous=OFF");
        if (m_file.IsNew()) {
            // With it readers and a writer do not wait for one another.
            m_file.Run("PRAGMA journal_mode=WAL");
            // Columns without a type keep what they are given.
            m_file.MakeTables([this] {
                m_file.Run("CREATE TABLE target(position INTEGER PRIMARY KEY, " + Columns("%") + ")");
                MakeIndexAndLog();
            });
        }
        m_read.emplace(m_file, "SELECT position, " + Columns("%") + " FROM target ORDER BY position");
        m_dataVersion.emplace(m_file, "PRAGMA data_version");
    }

    std::vector<StoredTarget> Read()
    {
        std::vector<StoredTarget> targets;
        for (auto& row : ReadAll()) {
            targets.push_back(std::move(row.stored));
        }
        return targets;
    }

    std::int64_t DataVersion() { return NumberOf(*m_dataVersion); }

    TargetChanges Changes()
    {
        if (m_known && !m_hasWritten && DataVersion() == m_known->data) {
            m_looked = *m_known;
            return {};
        }
        TargetChanges changes;
        m_file.AtOneMoment([&] {
            m_looked = Look();
            changes.whole = !ReadLogged(changes);
            if (changes.whole) {
                changes.rows = ReadAll();
            }
        });
        if (!m_looked.isLogged) {
            LogFromNowOn();
        }
        return changes;
    }

    void Accept(std::size_t count)
    {
        if (count > GreatestCount) {
            RefuseTooMany();
        }
        m_known = m_looked;
        m_hasWritten = false;
    }

    bool HasMoved() const { return m_file.HasMoved(); }

    /// Runs `change`, all of it or nothing. The number of contacts that it changed.
    template <typename Action>
    int Write(Action change)
    {
        int changed = 0;
        std::int64_t schema = 0;
        m_file.InTransaction([&] {
            schema = SchemaVersion();
            if (schema != m_completeSchema) {
                MakeIndexAndLog();
                schema = SchemaVersion();
            }
            changed = change();
        });
        m_completeSchema = schema;
        m_hasWritten = true;
        return changed;
    }

    int Insert(StoredTarget const& target)
    {
        auto& insert =
            Prepared(m_insert, [] { return "INSERT INTO target(" + Columns("%") + ") VALUES(" + Columns("?") + ")"; });
        ResetAtEnd const end{insert};
        insert.BindRow(ToRow(target));
        insert.Step();
        return m_file.Changes();
    }

    int Append(StoredTarget const& target)
    {
        if (HoldsAtLeast(GreatestCount)) {
            m_file.Refuse("holds " + std::to_string(GreatestCount) +
                          " contacts, as many as a target file may; the contact is not added");
        }
        return Insert(target);
    }

    int Replace(std::vector<StoredTarget> const& targets)
    {
        if (targets.size() > GreatestCount) {
            m_file.Refuse("takes no " + std::to_string(targets.size()) + " contacts: a target file may hold " +
                          std::to_string(GreatestCount) + "; it is left as it is");
        }
        auto const replace = [&] {
            m_file.Run("DELETE FROM target");
            for (auto const& target : targets) {
                Insert(target);
            }
        };
        if (HasLog()) {
            // One row of the log says as much as one for each contact.
            m_file.WithoutTriggers(replace);
            m_file.Run("INSERT INTO target_change(position) VALUES(NULL)");
            m_file.Run(ShortenLog);
        } else {
            replace();
        }
        return 1;
    }

    int Change(StoredTarget const& target)
    {
        auto& change =
            Prepared(m_change, [] { return "UPDATE target SET " + Columns("% = ?") + std::string(FirstOfId); });
        ResetAtEnd const end{change};
        change.BindRow(ToRow(target));
        change.BindInteger(std::int64_t{target.target.targetId});
        change.Step();
        return m_file.Changes();
    }

    int Remove(std::uint32_t targetId)
    {
        auto& remove = Prepared(m_remove, [] { return "DELETE FROM target" + std::string(FirstOfId); });
        ResetAtEnd const end{remove};
        remove.BindInteger(std::int64_t{targetId});
        remove.Step();
        return m_file.Changes();
    }

private:
    static constexpr std::string_view FirstOfId =
        " WHERE position = (SELECT position FROM target WHERE target_id = ? ORDER BY position LIMIT 1)";

    struct ResetAtEnd
    {
        Statement& statement;
        ~ResetAtEnd() { statement.Reset(); }
    };

    /// How the file stood at one moment.
    struct Moment
    {
        std::int64_t data = 0;   ///< another number after each change through another connection
        std::int64_t schema = 0; ///< another number after each change of what tables and triggers there are
        bool isLogged = false;   ///< changes are logged
        // The versions in the log; 0 in an empty one.
        std::int64_t firstLogged = 0;
        std::int64_t lastLogged = 0;
    };

    template <typename Text>
    Statement& Prepared(std::optional<Statement>& statement, Text const& text)
    {
        if (!statement) {
            statement.emplace(m_file, text());
        }
        return *statement;
    }

    static std::int64_t NumberOf(Statement& statement)
    {
        ResetAtEnd const end{statement};
        return statement.Step() ? statement.Integer(0) : 0;
    }

    std::int64_t SchemaVersion()
    {
        return NumberOf(Prepared(m_schemaVersion, [] { return "PRAGMA schema_version"; }));
    }

    [[noreturn]] void RefuseTooMany() const { m_file.Refuse("holds more contacts than can be meant"); }

    bool HoldsAtLeast(std::size_t count)
    {
        // Positions differ, so hardly any file needs a count, which takes time in proportion to what is counted.
        auto& span = Prepared(m_span, [] {
            return "SELECT (SELECT max(position) FROM target) - (SELECT min(position) FROM target) + 1.0";
        });
        ResetAtEnd const end{span};
        return span.Step() && span.Real(0) >= static_cast<double>(count) &&
               m_file.Number("SELECT count(*) FROM target") >= static_cast<std::int64_t>(count);
    }

    std::vector<PlacedTarget> ReadAll()
    {
        if (HoldsAtLeast(GreatestCount + 1)) {
            RefuseTooMany();
        }
        ResetAtEnd const end{*m_read};
        std::vector<PlacedTarget> rows;
        while (m_read->Step()) {
            rows.push_back(m_read->ReadPlaced(0));
        }
        return rows;
    }

    Moment Look()
    {
        Moment now;
        now.data = DataVersion();
        now.schema = SchemaVersion();
        now.isLogged = m_known && m_known->schema == now.schema ? m_known->isLogged : HasLog();
        if (now.isLogged) {
            now.firstLogged =
                NumberOf(Prepared(m_firstLogged, [] { return "SELECT min(version) FROM target_change"; }));
            now.lastLogged = NumberOf(Prepared(m_lastLogged, [] { return "SELECT max(version) FROM target_change"; }));
        }
        return now;
    }

    /// What the log tells of all that has happened since what is known; false when it does not.
    bool ReadLogged(TargetChanges& changes)
    {
        if (!m_known || !m_known->isLogged || m_looked.schema != m_known->schema ||
            m_looked.lastLogged < m_known->lastLogged || m_looked.firstLogged > m_known->lastLogged + 1) {
            return false;
        }
        if (m_looked.lastLogged == m_known->lastLogged) {
            // Whoever changed something without a trace in the log has switched off what keeps it.
            return m_looked.data == m_known->data;
        }
        auto& logged = Prepared(m_logged, [] {
            return "SELECT changed.position, target.position, " + Columns("%") +
                   " FROM (SELECT DISTINCT position FROM target_change WHERE version > ?) AS changed "
                   "LEFT JOIN target ON target.position = changed.position ORDER BY changed.position";
        });
        ResetAtEnd const end{logged};
        logged.BindInteger(m_known->lastLogged);
        while (logged.Step()) {
            if (logged.Type(0) != SQLITE_INTEGER) {
                changes = {};
                return false;
            }
            if (logged.Type(1) == SQLITE_NULL) {
                changes.gone.push_back(logged.Integer(0));
            } else {
                changes.rows.push_back(logged.ReadPlaced(1));
            }
        }
        return true;
    }

    bool HasLog()
    {
        std::size_t found = 0;
        for (auto const& made : LogStatements()) {
            Statement same(m_file, "SELECT 1 FROM sqlite_schema WHERE sql = ?");
            same.BindText(made);
            found += same.Step() ? 1 : 0;
        }
        return found == LogStatements().size();
    }

    /// What is not there yet. What bears its name and is something else stays.
    void MakeIndexAndLog()
    {
        auto const make = [this](std::string const& sql) {
            // CREATE TABLE name(...: the name is the third word.
            auto const begin = sql.find(' ', sql.find(' ') + 1) + 1;
            Statement same(m_file, "SELECT 1 FROM sqlite_schema WHERE name = ?");
            same.BindText(sql.substr(begin, sql.find_first_of(" (", begin) - begin));
            if (!same.Step()) {
                m_file.Run(sql);
            }
        };
        make(std::string(IndexOfIds));
        for (auto const& sql : LogStatements()) {
            make(sql);
        }
    }

    /// For a file that was made by a program that keeps no log. Where it cannot be, as of a file that can only be read,
    /// all is read after each change.
    void LogFromNowOn()
    {
        try {
            m_file.InTransactionIfFree([this] {
                MakeIndexAndLog();
                // What another program changed since the look is in no log.
                auto const now = Look();
                if (now.data == m_looked.data) {
                    m_looked = now;
                }
            });
        } catch (TargetFileError const&) { // NOLINT(bugprone-empty-catch): it is no less of a target file without
        }
    }

    SqliteFile m_file; // goes after its statements
    std::optional<Statement> m_read;
    std::optional<Statement> m_dataVersion;
    std::optional<Statement> m_schemaVersion;
    std::optional<Statement> m_span;
    std::optional<Statement> m_firstLogged;
    std::optional<Statement> m_lastLogged;
    std::optional<Statement> m_logged;
    std::optional<Statement> m_insert;
    std::optional<Statement> m_change;
    std::optional<Statement> m_remove;

    /// Moment::schema of a file that has index and log, as far as they can be made.
    std::optional<std::int64_t> m_completeSchema;
    /// When the contacts were as who asks for changes knows them; none before the first time.
    std::optional<Moment> m_known;
    Moment m_looked; ///< the moment of the last Changes
    /// This connection has changed something since; its own changes leave Moment::data as it is.
    bool m_hasWritten = false;
};

TargetFile::TargetFile(std::filesystem::path const& file, Missing missing, Keeping keeping, Checking checking)
    : m_impl(std::make_unique<Impl>(file, missing, keeping, checking))
{
}

TargetFile::~TargetFile() = default;

std::vector<StoredTarget> TargetFile::Read()
{
    return m_impl->Read();
}

std::int64_t TargetFile::Version()
{
    return m_impl->DataVersion();
}

TargetChanges TargetFile::Changes()
{
    return m_impl->Changes();
}

void TargetFile::Accept(std::size_t count)
{
    m_impl->Accept(count);
}

bool TargetFile::HasMoved() const
{
    return m_impl->HasMoved();
}

void TargetFile::Replace(std::vector<StoredTarget> const& targets)
{
    m_impl->Write([&] { return m_impl->Replace(targets); });
}

void TargetFile::Append(StoredTarget const& target)
{
    m_impl->Write([&] { return m_impl->Append(target); });
}

bool TargetFile::Change(StoredTarget const& target)
{
    return m_impl->Write([&] { return m_impl->Change(target); }) > 0;
}

bool TargetFile::Remove(std::uint32_t targetId)
{
    return m_impl->Write([&] { return m_impl->Remove(targetId); }) > 0;
}

} // namespace vordal
