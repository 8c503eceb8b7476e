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
#include <system_error>
#include <type_traits>

namespace vordal {
namespace {

// The file's header bears both: "QX5T", and the version of the table below.
constexpr std::int64_t ApplicationId = 0x51583554;
constexpr std::int64_t FormatVersion = 1;
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
        Run(keeping == Keeping::OnDisk ? "PRAGMA synchronous=NORMAL" : "PRAGMA synchronous=OFF");
        if (m_file.IsNew()) {
            // With it readers and a writer do not wait for one another.
            Run("PRAGMA journal_mode=WAL");
            // Columns without a type keep what they are given.
            m_file.MakeTables(
                [this] { Run("CREATE TABLE target(position INTEGER PRIMARY KEY, " + Columns("%") + ")"); });
        }
        m_read.emplace(m_file, "SELECT " + Columns("%") + " FROM target ORDER BY position");
        m_version.emplace(m_file, "PRAGMA data_version");
    }

    Statement Sql(std::string_view sql) { return Statement(m_file, sql); }
    void Run(std::string_view sql) { m_file.Run(sql); }
    int Changes() const { return m_file.Changes(); }

    std::vector<StoredTarget> Read()
    {
        // One statement, so one moment.
        ResetAtEnd const end{*m_read};
        std::vector<StoredTarget> targets;
        while (m_read->Step()) {
            if (targets.size() == GreatestCount) {
                m_file.Refuse("holds more contacts than can be meant");
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

    template <typename Action>
    void InTransaction(Action action)
    {
        m_file.InTransaction(action);
    }

private:
    struct ResetAtEnd
    {
        Statement& statement;
        ~ResetAtEnd() { statement.Reset(); }
    };

    SqliteFile m_file; // goes after its statements
    std::optional<Statement> m_read;
    std::optional<Statement> m_version;
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
        statement.BindInteger(std::int64_t{target.target.targetId});
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
        statement.BindInteger(std::int64_t{targetId});
        statement.Step();
        removed = m_impl->Changes() > 0;
    });
    return removed;
}

} // namespace vordal
