// A target file: sonar contacts in one SQLite file, which several programs may use at a time.
#include "target_file.h"

#include <tvcoreR/Utf8.h>

#include <protocol/utf8.h>

#include <sqlite3.h>

#include <cmath>
#include <limits>
#include <optional>
#include <string>
#include <string_view>
#include <system_error>
#include <type_traits>

namespace vordal {
namespace {

// The file's header bears both: "QX5T", and the version of the table below.
constexpr std::int64_t ApplicationId = 0x51583554;
constexpr std::int64_t FormatVersion = 1;
constexpr int WaitMilliseconds = 2000;
/// More in one file is damage.
constexpr std::size_t GreatestCount = 1'000'000;

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

std::string Utf8Of(std::filesystem::path const& file)
{
    auto const text = file.u8string();
    return {text.begin(), text.end()};
}

class Statement
{
public:
    Statement(sqlite3* database, std::string const& file, std::string_view sql) : m_database(database), m_file(file)
    {
        Check(sqlite3_prepare_v3(database, sql.data(), static_cast<int>(sql.size()), SQLITE_PREPARE_PERSISTENT,
                                 &m_statement, nullptr));
    }
    Statement(Statement const&) = delete;
    Statement& operator=(Statement const&) = delete;
    ~Statement() { sqlite3_finalize(m_statement); }

    void Bind(std::int64_t value) { Check(sqlite3_bind_int64(m_statement, ++m_bound, value)); }
    /// SQLite keeps no NaN and no sign of a zero: a NaN is null, -0.0 a text.
    void Bind(double value)
    {
        if (std::isnan(value)) {
            Check(sqlite3_bind_null(m_statement, ++m_bound));
        } else if (value == 0.0 && std::signbit(value)) {
            Bind(std::string_view("-0.0"));
        } else {
            Check(sqlite3_bind_double(m_statement, ++m_bound, value));
        }
    }
    void Bind(std::string_view text)
    {
        Check(sqlite3_bind_text64(m_statement, ++m_bound, text.data(), text.size(), SQLITE_TRANSIENT, SQLITE_UTF8));
    }
    void BindRow(Row const& row)
    {
        VisitColumns(row, [this]<typename T>(char const*, T const& value) {
            if constexpr (std::is_same_v<T, CString>) {
                Bind(std::string_view(tvcore::ToUtf8(value)));
            } else if constexpr (std::is_floating_point_v<T>) {
                Bind(static_cast<double>(value));
            } else {
                Bind(static_cast<std::int64_t>(value));
            }
        });
    }

    /// True when there is a row.
    bool Step()
    {
        auto const result = sqlite3_step(m_statement);
        if (result != SQLITE_ROW && result != SQLITE_DONE) {
            Check(result);
        }
        return result == SQLITE_ROW;
    }
    /// Ready for another run; gives back what the last one held.
    void Reset()
    {
        sqlite3_reset(m_statement);
        m_bound = 0;
    }

    std::int64_t Integer(int column) const { return sqlite3_column_int64(m_statement, column); }
    std::string Bytes(int column) const
    {
        auto const* const text = sqlite3_column_text(m_statement, column);
        auto const size = static_cast<std::size_t>(sqlite3_column_bytes(m_statement, column));
        return text != nullptr ? std::string(reinterpret_cast<char const*>(text), size) : std::string();
    }
    Row ReadRow() const
    {
        Row row;
        int column = 0;
        VisitColumns(row, [&]<typename T>(char const* name, T& value) { ReadColumn(column++, name, value); });
        return row;
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
    void ReadColumn(int column, char const* name, double& value) const { value = Real(column, name); }
    void ReadColumn(int column, char const* name, float& value) const
    {
        auto const real = Real(column, name);
        // What was stored was a float; anything beyond is another program's.
        constexpr double greatest = std::numeric_limits<float>::max();
        if (std::isfinite(real) && std::abs(real) > greatest) {
            throw Damage(std::string("a number of \"") + name + "\" is out of range");
        }
        value = static_cast<float>(real);
    }

    std::int64_t Natural(int column, char const* name, std::int64_t greatest) const
    {
        auto const value = Integer(column);
        if (sqlite3_column_type(m_statement, column) != SQLITE_INTEGER || value < 0 || value > greatest) {
            throw Damage(std::string("\"") + name + "\" holds what is no such number");
        }
        return value;
    }
    double Real(int column, char const* name) const
    {
        switch (sqlite3_column_type(m_statement, column)) {
        case SQLITE_INTEGER:
        case SQLITE_FLOAT:
            return sqlite3_column_double(m_statement, column);
        case SQLITE_NULL:
            return std::numeric_limits<double>::quiet_NaN();
        default:
            if (Bytes(column) == "-0.0") {
                return -0.0;
            }
            throw Damage(std::string("\"") + name + "\" holds what is no number");
        }
    }

    TargetFileError Damage(std::string const& what) const
    {
        return TargetFileError("\"" + m_file + "\" is damaged: " + what + "; it is left as it is");
    }

    void Check(int result) const
    {
        if (result == SQLITE_OK) {
            return;
        }
        switch (result & 0xFF) {
        case SQLITE_NOTADB:
            throw TargetFileError("\"" + m_file + "\" is no target file; it is left as it is");
        case SQLITE_CORRUPT:
            throw Damage(sqlite3_errmsg(m_database));
        case SQLITE_BUSY:
        case SQLITE_LOCKED:
            throw TargetFileError("\"" + m_file + "\" is in use by another program");
        case SQLITE_READONLY:
        case SQLITE_CANTOPEN:
        case SQLITE_PERM:
            throw TargetFileError("\"" + m_file + "\" cannot be used: the file or its folder does not allow it");
        case SQLITE_FULL:
            throw TargetFileError("\"" + m_file + "\" cannot be changed: the disk is full");
        default:
            throw TargetFileError("\"" + m_file + "\": " + sqlite3_errmsg(m_database));
        }
    }

    sqlite3* m_database;
    std::string const& m_file;
    sqlite3_stmt* m_statement = nullptr;
    int m_bound = 0;
};

} // namespace

class TargetFile::Impl
{
public:
    Impl(std::filesystem::path const& file, Missing missing, Keeping keeping) : m_file(Utf8Of(file))
    {
        std::error_code error;
        auto const status = std::filesystem::status(file, error);
        if (status.type() == std::filesystem::file_type::not_found) {
            if (missing == Missing::Refuse) {
                throw TargetFileError("\"" + m_file + "\" is not there");
            }
        } else if (!std::filesystem::exists(status)) {
            throw TargetFileError("\"" + m_file + "\" cannot be opened: " + error.message());
        } else if (!std::filesystem::is_regular_file(status)) {
            throw TargetFileError("\"" + m_file + "\" is no file");
        }
        auto const flags = SQLITE_OPEN_READWRITE | (missing == Missing::Create ? SQLITE_OPEN_CREATE : 0);
        auto const opened = sqlite3_open_v2(m_file.c_str(), &m_database, flags, nullptr);
        try {
            if (opened != SQLITE_OK) {
                throw TargetFileError("\"" + m_file + "\" cannot be opened: " +
                                      (m_database != nullptr ? sqlite3_errmsg(m_database) : "no memory"));
            }
            Prepare(keeping);
        } catch (...) {
            m_version.reset();
            m_read.reset();
            sqlite3_close(m_database);
            throw;
        }
    }
    Impl(Impl const&) = delete;
    Impl& operator=(Impl const&) = delete;
    ~Impl()
    {
        m_version.reset();
        m_read.reset();
        sqlite3_close(m_database);
    }

    Statement Sql(std::string_view sql) { return Statement(m_database, m_file, sql); }
    void Run(std::string_view sql) { Sql(sql).Step(); }
    int Changes() const { return sqlite3_changes(m_database); }

    std::vector<StoredTarget> Read()
    {
        // One statement, so one moment.
        ResetAtEnd const end{*m_read};
        std::vector<StoredTarget> targets;
        while (m_read->Step()) {
            if (targets.size() == GreatestCount) {
                throw TargetFileError("\"" + m_file + "\" holds more contacts than can be meant");
            }
            targets.push_back(FromRow(m_read->ReadRow()));
        }
        return targets;
    }

    std::int64_t Version()
    {
        ResetAtEnd const end{*m_version};
        return m_version->Step() ? m_version->Integer(0) : 0;
    }

    void Insert(StoredTarget const& target)
    {
        auto statement = Sql("INSERT INTO target(" + Columns("%") + ") VALUES(" + Columns("?") + ")");
        statement.BindRow(ToRow(target));
        statement.Step();
    }

    /// All of `action` or nothing.
    template <typename Action>
    void InTransaction(Action action)
    {
        Run("BEGIN IMMEDIATE");
        try {
            action();
            Run("COMMIT");
        } catch (...) {
            sqlite3_exec(m_database, "ROLLBACK", nullptr, nullptr, nullptr);
            throw;
        }
    }

private:
    struct ResetAtEnd
    {
        Statement& statement;
        ~ResetAtEnd() { statement.Reset(); }
    };

    std::int64_t Pragma(std::string_view sql)
    {
        auto statement = Sql(sql);
        return statement.Step() ? statement.Integer(0) : 0;
    }

    /// Reads alone until it is certain that the file is ours.
    void Prepare(Keeping keeping)
    {
        sqlite3_busy_timeout(m_database, WaitMilliseconds);
        sqlite3_extended_result_codes(m_database, 1);
        // With the log written ahead a crash loses at most the last changes, never the file.
        Run(keeping == Keeping::OnDisk ? "PRAGMA synchronous=NORMAL" : "PRAGMA synchronous=OFF");
        auto const tables = Pragma("SELECT count(*) FROM sqlite_schema");
        auto const application = Pragma("PRAGMA application_id");
        auto const version = Pragma("PRAGMA user_version");
        if (tables == 0 && application == 0 && version == 0) {
            MakeTables();
        } else {
            if (application != ApplicationId) {
                throw TargetFileError("\"" + m_file + "\" is a database, but no target file; it is left as it is");
            }
            if (version > FormatVersion) {
                throw TargetFileError("\"" + m_file + "\" was written by a newer version (format " +
                                      std::to_string(version) + ", this program knows " +
                                      std::to_string(FormatVersion) + "); it is left as it is");
            }
            auto check = Sql("PRAGMA integrity_check(1)");
            if (!check.Step() || check.Bytes(0) != "ok") {
                throw TargetFileError("\"" + m_file + "\" is damaged; it is left as it is");
            }
        }
        m_read.emplace(m_database, m_file, "SELECT " + Columns("%") + " FROM target ORDER BY position");
        m_version.emplace(m_database, m_file, "PRAGMA data_version");
    }

    void MakeTables()
    {
        // With it readers and a writer do not wait for one another.
        Run("PRAGMA journal_mode=WAL");
        InTransaction([&] {
            if (Pragma("PRAGMA application_id") == ApplicationId) {
                return; // another program was faster
            }
            // Columns without a type keep what they are given.
            Run("CREATE TABLE target(position INTEGER PRIMARY KEY, " + Columns("%") + ")");
            Run("PRAGMA application_id=" + std::to_string(ApplicationId));
            Run("PRAGMA user_version=" + std::to_string(FormatVersion));
        });
    }

    std::string m_file;
    sqlite3* m_database = nullptr;
    std::optional<Statement> m_read;
    std::optional<Statement> m_version;
};

TargetFile::TargetFile(std::filesystem::path const& file, Missing missing, Keeping keeping)
    : m_impl(std::make_unique<Impl>(file, missing, keeping))
{
}

TargetFile::~TargetFile() = default;

std::vector<StoredTarget> TargetFile::Read()
{
    return m_impl->Read();
}

std::int64_t TargetFile::Version()
{
    return m_impl->Version();
}

void TargetFile::Replace(std::vector<StoredTarget> const& targets)
{
    m_impl->InTransaction([&] {
        m_impl->Run("DELETE FROM target");
        for (auto const& target : targets) {
            m_impl->Insert(target);
        }
    });
}

void TargetFile::Append(StoredTarget const& target)
{
    m_impl->InTransaction([&] { m_impl->Insert(target); });
}

namespace {

constexpr std::string_view firstOfId =
    " WHERE position = (SELECT position FROM target WHERE target_id = ? ORDER BY position LIMIT 1)";

} // namespace

bool TargetFile::Change(StoredTarget const& target)
{
    bool changed = false;
    m_impl->InTransaction([&] {
        auto statement = m_impl->Sql("UPDATE target SET " + Columns("% = ?") + std::string(firstOfId));
        statement.BindRow(ToRow(target));
        statement.Bind(std::int64_t{target.target.targetId});
        statement.Step();
        changed = m_impl->Changes() > 0;
    });
    return changed;
}

bool TargetFile::Remove(std::uint32_t targetId)
{
    bool removed = false;
    m_impl->InTransaction([&] {
        auto statement = m_impl->Sql("DELETE FROM target" + std::string(firstOfId));
        statement.Bind(std::int64_t{targetId});
        statement.Step();
        removed = m_impl->Changes() > 0;
    });
    return removed;
}

} // namespace vordal
