// Rows of any content in the tables of a file, as another program or a failing disk would leave them there.
#pragma once

#include "input.h"

#include <cstdint>
#include <cstdlib>
#include <filesystem>
#include <string>
#include <vector>

#include <sqlite3.h>
#include <unistd.h>

namespace fuzz {

/// A second connection to a file that is there already. What it is told must succeed, except that a row which the
/// tables themselves refuse is left out.
class Rows
{
public:
    explicit Rows(std::filesystem::path const& file)
    {
        if (sqlite3_open(file.c_str(), &m_database) != SQLITE_OK) {
            std::abort();
        }
        Run("PRAGMA synchronous=OFF");
    }
    Rows(Rows const&) = delete;
    Rows& operator=(Rows const&) = delete;
    ~Rows() { sqlite3_close(m_database); }

    void Run(std::string const& sql)
    {
        if (sqlite3_exec(m_database, sql.c_str(), nullptr, nullptr, nullptr) != SQLITE_OK) {
            std::abort();
        }
    }

    /// One row of a table, a value of any type in each column.
    void Insert(std::string const& table, std::string const& columns, Input& input)
    {
        std::string marks = "?";
        for (char const c : columns) {
            marks += c == ',' ? ",?" : "";
        }
        RunWith("INSERT INTO " + table + "(" + columns + ") VALUES(" + marks + ")", input);
    }

    /// A statement with a value of any type for each of its marks.
    void RunWith(std::string const& sql, Input& input)
    {
        sqlite3_stmt* statement = nullptr;
        if (sqlite3_prepare_v2(m_database, sql.c_str(), -1, &statement, nullptr) != SQLITE_OK) {
            std::abort();
        }
        for (int i = 1; i <= sqlite3_bind_parameter_count(statement); ++i) {
            Bind(statement, i, input);
        }
        sqlite3_step(statement);
        sqlite3_finalize(statement);
    }

private:
    static void Bind(sqlite3_stmt* statement, int column, Input& input)
    {
        switch (input.Byte() % 8U) {
        case 0:
            sqlite3_bind_null(statement, column);
            break;
        case 1:
            sqlite3_bind_int64(statement, column, input.Byte());
            break;
        case 2:
            sqlite3_bind_int64(statement, column, input.Long());
            break;
        case 3:
            sqlite3_bind_double(statement, column, static_cast<double>(input.Long()) / 1024.0);
            break;
        case 4:
        case 5: {
            auto const text = input.Text();
            sqlite3_bind_text(statement, column, text.data(), static_cast<int>(text.size()), SQLITE_TRANSIENT);
            break;
        }
        case 6: { // an id, as most columns want one
            auto const text = std::to_string(input.Byte()) + ".78." + std::to_string(input.Byte()) + ".1";
            sqlite3_bind_text(statement, column, text.data(), static_cast<int>(text.size()), SQLITE_TRANSIENT);
            break;
        }
        default: {
            auto const text = input.Text();
            sqlite3_bind_blob(statement, column, text.data(), static_cast<int>(text.size()), SQLITE_TRANSIENT);
            break;
        }
        }
    }

    sqlite3* m_database = nullptr;
};

} // namespace fuzz
