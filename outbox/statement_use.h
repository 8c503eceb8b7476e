// One use of a statement that is kept for the next one; what outbox and archive share of their tables.
#pragma once

#include "reference_host/store/sqlite_file.h"

#include <cstdint>
#include <span>
#include <string>

namespace qx5::outbox {

using vordal::SqliteFile;
using vordal::SqliteStatement;

/// SQLite has signed numbers; those of entries are less than 2^62, which is checked where they come from outside.
inline std::int64_t Signed(std::uint64_t number)
{
    return static_cast<std::int64_t>(number);
}

inline std::uint64_t Unsigned(std::int64_t number)
{
    return static_cast<std::uint64_t>(number);
}

/// Binds and steps, and gives the statement back to its beginning, whatever happens. One at a time of a statement.
class Use
{
public:
    explicit Use(SqliteStatement& statement) : m_statement(statement) { m_statement.Reset(); }
    Use(Use const&) = delete;
    Use& operator=(Use const&) = delete;
    ~Use() { m_statement.Reset(); }

    Use& operator<<(std::uint64_t number)
    {
        m_statement.BindInteger(Signed(number));
        return *this;
    }
    Use& operator<<(double number)
    {
        m_statement.BindDouble(number);
        return *this;
    }
    Use& operator<<(std::string const& payload)
    {
        m_statement.BindBlob({reinterpret_cast<unsigned char const*>(payload.data()), payload.size()});
        return *this;
    }
    bool Step() { return m_statement.Step(); }
    std::uint64_t Number(int column) const { return Unsigned(m_statement.Integer(column)); }
    double Real(int column) const { return m_statement.Real(column); }
    std::string Bytes(int column) const
    {
        auto const blob = m_statement.Blob(column);
        return {reinterpret_cast<char const*>(blob.data()), blob.size()};
    }

private:
    SqliteStatement& m_statement;
};

} // namespace qx5::outbox
