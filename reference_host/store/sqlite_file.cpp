// Opening, checking and refusing a SQLite file, and its statements.
#include "sqlite_file.h"

#include "reference_host/common/path_text.h"

#include <sqlite3.h>
#include <zlib.h>

#include <cstdlib>
#include <span>
#include <system_error>

namespace vordal {
namespace {

constexpr int WaitMilliseconds = 2000; // for another program's change

/// Numbers are taken as their decimal text, so that the sum is the same on every platform.
void Checksum(sqlite3_context* context, int count, sqlite3_value** values)
{
    auto sum = crc32(0, nullptr, 0);
    for (auto* const value : std::span(values, static_cast<std::size_t>(count))) {
        auto const type = static_cast<unsigned char>(sqlite3_value_type(value));
        auto const* const bytes = type == SQLITE_BLOB ? static_cast<unsigned char const*>(sqlite3_value_blob(value))
                                                      : sqlite3_value_text(value);
        auto const size = std::to_string(sqlite3_value_bytes(value));
        sum = crc32_z(sum, &type, 1);
        // With its end, so that one value's last digit is not the next one's first.
        sum = crc32_z(sum, reinterpret_cast<unsigned char const*>(size.c_str()), size.size() + 1);
        if (bytes != nullptr) {
            sum = crc32_z(sum, bytes, static_cast<std::size_t>(sqlite3_value_bytes(value)));
        }
    }
    sqlite3_result_int64(context, static_cast<std::int64_t>(sum));
}

} // namespace

SqliteFile::SqliteFile(std::filesystem::path const& file, SqliteFormat const& format, Missing missing, Check check)
    : m_name(Utf8Of(file)), m_format(format)
{
    std::error_code error;
    auto const status = std::filesystem::status(file, error);
    if (status.type() == std::filesystem::file_type::not_found) {
        if (missing == Missing::Refuse) {
            Refuse("is not there");
        }
    } else if (!std::filesystem::exists(status)) {
        Refuse("cannot be opened: " + error.message());
    } else if (!std::filesystem::is_regular_file(status)) {
        Refuse("is no file");
    }
    auto const flags = SQLITE_OPEN_READWRITE | (missing == Missing::Create ? SQLITE_OPEN_CREATE : 0);
    auto const opened = sqlite3_open_v2(m_name.c_str(), &m_database, flags, nullptr);
    try {
        if (opened != SQLITE_OK) {
            Refuse(std::string("cannot be opened: ") +
                   (m_database != nullptr ? sqlite3_errmsg(m_database) : "no memory"));
        }
        Prepare(check);
    } catch (...) {
        sqlite3_close(m_database);
        throw;
    }
}

SqliteFile::~SqliteFile()
{
    sqlite3_close(m_database);
}

void SqliteFile::Prepare(Check check)
{
    sqlite3_busy_timeout(m_database, WaitMilliseconds);
    sqlite3_extended_result_codes(m_database, 1);
    auto const tables = Number("SELECT count(*) FROM sqlite_schema");
    auto const application = Number("PRAGMA application_id");
    auto const version = Number("PRAGMA user_version");
    m_isNew = tables == 0 && application == 0 && version == 0;
    m_isOlder = !m_isNew && version < m_format.version;
    if (m_isNew) {
        return;
    }
    if (application != m_format.applicationId) {
        Refuse("is a database, but no " + std::string(m_format.name) + "; it is left as it is");
    }
    if (version > m_format.version) {
        Refuse("was written by a newer version (format " + std::to_string(version) + ", this program knows " +
               std::to_string(m_format.version) + "); it is left as it is");
    }
    if (check == Check::Whole) {
        SqliteStatement whole(*this, "PRAGMA integrity_check(1)");
        if (!whole.Step() || whole.Bytes(0) != "ok") {
            Refuse("is damaged; it is left as it is");
        }
    }
}

void SqliteFile::MakeTables(std::function<void()> const& make)
{
    InTransaction([&] {
        if (Number("PRAGMA application_id") == m_format.applicationId) {
            return;
        }
        make();
        Run("PRAGMA application_id=" + std::to_string(m_format.applicationId));
        Run("PRAGMA user_version=" + std::to_string(m_format.version));
    });
    m_isNew = false;
}

void SqliteFile::BringUpToDate(std::function<void()> const& change)
{
    InTransaction([&] {
        // Another program may have been faster, or newer.
        auto const version = Number("PRAGMA user_version");
        if (version > m_format.version) {
            Refuse("was just brought to a newer version; it is left as it is");
        }
        if (version == m_format.version) {
            return;
        }
        change();
        Run("PRAGMA user_version=" + std::to_string(m_format.version));
    });
    m_isOlder = false;
}

void SqliteFile::RequireWritable() const
{
    if (sqlite3_db_readonly(m_database, "main") == 1) {
        CheckResult(SQLITE_READONLY);
    }
}

void SqliteFile::AddChecksumFunction()
{
    constexpr int AnyNumberOfArguments = -1;
    CheckResult(sqlite3_create_function_v2(m_database, "checksum", AnyNumberOfArguments,
                                           SQLITE_UTF8 | SQLITE_DETERMINISTIC | SQLITE_INNOCUOUS, nullptr, Checksum,
                                           nullptr, nullptr, nullptr));
}

void SqliteFile::Run(std::string_view sql)
{
    SqliteStatement(*this, sql).Step();
}

std::int64_t SqliteFile::Number(std::string_view sql)
{
    SqliteStatement statement(*this, sql);
    return statement.Step() ? statement.Integer(0) : 0;
}

int SqliteFile::Changes() const
{
    return sqlite3_changes(m_database);
}

bool SqliteFile::BeginIfFree()
{
    sqlite3_busy_timeout(m_database, 0);
    auto const begun = sqlite3_exec(m_database, "BEGIN IMMEDIATE", nullptr, nullptr, nullptr);
    sqlite3_busy_timeout(m_database, WaitMilliseconds);
    return begun == SQLITE_OK;
}

void SqliteFile::SetTriggers(bool areRun)
{
    CheckResult(sqlite3_db_config(m_database, SQLITE_DBCONFIG_ENABLE_TRIGGER, areRun ? 1 : 0, nullptr));
}

bool SqliteFile::HasMoved() const
{
    int hasMoved = 0;
    sqlite3_file_control(m_database, "main", SQLITE_FCNTL_HAS_MOVED, &hasMoved);
    return hasMoved != 0;
}

void SqliteFile::RollBack()
{
    sqlite3_exec(m_database, "ROLLBACK", nullptr, nullptr, nullptr);
}

void SqliteFile::Refuse(std::string const& what) const
{
    m_format.refuse("\"" + m_name + "\" " + what);
    std::abort(); // a format that does not refuse
}

void SqliteFile::RefuseDamaged(std::string const& what) const
{
    Refuse("is damaged: " + what + "; it is left as it is");
}

void SqliteFile::CheckResult(int result) const
{
    if (result == SQLITE_OK) {
        return;
    }
    switch (result & 0xFF) {
    case SQLITE_NOTADB:
        Refuse("is no " + std::string(m_format.name) + "; it is left as it is");
    case SQLITE_CORRUPT:
        RefuseDamaged(sqlite3_errmsg(m_database));
    case SQLITE_BUSY:
    case SQLITE_LOCKED:
        Refuse("is in use by another program");
    case SQLITE_READONLY:
    case SQLITE_CANTOPEN:
    case SQLITE_PERM:
        Refuse("cannot be written: the file or its folder does not allow it");
    case SQLITE_FULL:
        Refuse("cannot be written: the disk is full");
    default:
        Refuse(std::string("cannot be used: ") + sqlite3_errmsg(m_database));
    }
}

SqliteStatement::SqliteStatement(SqliteFile const& file, std::string_view sql) : m_file(file)
{
    m_file.CheckResult(
        sqlite3_prepare_v2(m_file.Database(), sql.data(), static_cast<int>(sql.size()), &m_statement, nullptr));
}

SqliteStatement::~SqliteStatement()
{
    sqlite3_finalize(m_statement);
}

void SqliteStatement::BindInteger(std::int64_t value)
{
    m_file.CheckResult(sqlite3_bind_int64(m_statement, ++m_bound, value));
}

void SqliteStatement::BindDouble(double value)
{
    m_file.CheckResult(sqlite3_bind_double(m_statement, ++m_bound, value));
}

void SqliteStatement::BindText(std::string_view text)
{
    // A null pointer would bind a null.
    m_file.CheckResult(sqlite3_bind_text64(m_statement, ++m_bound, text.data() != nullptr ? text.data() : "",
                                           text.size(), SQLITE_TRANSIENT, SQLITE_UTF8));
}

void SqliteStatement::BindBlob(std::span<unsigned char const> bytes)
{
    m_file.CheckResult(sqlite3_bind_blob64(m_statement, ++m_bound,
                                           bytes.empty() ? "" : static_cast<void const*>(bytes.data()), bytes.size(),
                                           SQLITE_TRANSIENT));
}

void SqliteStatement::BindNull()
{
    m_file.CheckResult(sqlite3_bind_null(m_statement, ++m_bound));
}

bool SqliteStatement::Step()
{
    auto const result = sqlite3_step(m_statement);
    if (result != SQLITE_ROW && result != SQLITE_DONE) {
        m_file.CheckResult(result);
    }
    return result == SQLITE_ROW;
}

void SqliteStatement::Reset()
{
    sqlite3_reset(m_statement);
    m_bound = 0;
}

int SqliteStatement::Type(int column) const
{
    return sqlite3_column_type(m_statement, column);
}

std::int64_t SqliteStatement::Integer(int column) const
{
    return sqlite3_column_int64(m_statement, column);
}

double SqliteStatement::Real(int column) const
{
    return sqlite3_column_double(m_statement, column);
}

std::string SqliteStatement::Bytes(int column) const
{
    auto const* const text = sqlite3_column_text(m_statement, column);
    auto const size = static_cast<std::size_t>(sqlite3_column_bytes(m_statement, column));
    return text != nullptr ? std::string(reinterpret_cast<char const*>(text), size) : std::string();
}

std::span<unsigned char const> SqliteStatement::Blob(int column) const
{
    auto const* const blob = static_cast<unsigned char const*>(sqlite3_column_blob(m_statement, column));
    return {blob, static_cast<std::size_t>(sqlite3_column_bytes(m_statement, column))};
}

} // namespace vordal
