// One SQLite file of this house, open: what a project and a target file share.
#pragma once

#include <VordalBaseR/Export.h>

#include <cstdint>
#include <filesystem>
#include <functional>
#include <span>
#include <string>
#include <string_view>

struct sqlite3;
struct sqlite3_stmt;

namespace vordal {

/// What kind of file it is, and how one that is something else is refused.
struct SqliteFormat
{
    std::string_view name; ///< "project file"
    /// The file's header bears both.
    std::int64_t applicationId = 0;
    std::int64_t version = 0;
    /// Throws the error of that kind of file with this line, which names the file. Does not return.
    void (*refuse)(std::string const& line) = nullptr;
};

/// One thread at a time. Every operation that fails throws by way of SqliteFormat::refuse and leaves the file as it
/// was.
class VORDAL_API SqliteFile
{
public:
    enum class Missing
    {
        Create,
        Refuse
    };
    enum class Check
    {
        Whole,  ///< all of its pages, which takes longer the larger the file is
        Header, ///< the header alone, for a file that was checked before; damage is found where it is met
    };

    /// Opens the file and reads alone until it is certain that it is of that format, or empty: one that is damaged,
    /// something else or of a newer version is refused and not touched. The format must outlive the file.
    SqliteFile(std::filesystem::path const& file, SqliteFormat const& format, Missing missing, Check check);
    SqliteFile(SqliteFile const&) = delete;
    SqliteFile& operator=(SqliteFile const&) = delete;
    /// All its statements must be gone.
    ~SqliteFile();

    /// Nothing is in it yet; MakeTables is to follow.
    bool IsNew() const { return m_isNew; }
    /// Runs `make`, which makes the tables, and marks the file as one of its format; does nothing when another program
    /// was faster.
    void MakeTables(std::function<void()> const& make);
    /// Of an earlier version of the format; BringUpToDate is to follow.
    bool IsOlder() const { return m_isOlder; }
    /// Runs `change`, which turns the tables into those of the format's version, and marks the file; does nothing when
    /// another program was faster.
    void BringUpToDate(std::function<void()> const& change);
    /// Refuses a file that can only be read.
    void RequireWritable() const;

    void Run(std::string_view sql);
    std::int64_t Number(std::string_view sql); ///< the first column of the first row, 0 without one
    int Changes() const;                       ///< rows that the last statement changed

    /// All of `action` or nothing.
    template <typename Action>
    void InTransaction(Action action)
    {
        Run("BEGIN IMMEDIATE");
        ToTheEnd(action);
    }
    /// The same, but false and nothing done where it would have to wait for another program, or may not write.
    template <typename Action>
    bool InTransactionIfFree(Action action)
    {
        if (!BeginIfFree()) {
            return false;
        }
        ToTheEnd(action);
        return true;
    }
    /// All that `action` reads is of one moment, whoever writes meanwhile.
    template <typename Action>
    void AtOneMoment(Action action)
    {
        Run("BEGIN");
        ToTheEnd(action);
    }
    /// What `action` changes runs none of the file's triggers.
    template <typename Action>
    void WithoutTriggers(Action action)
    {
        SetTriggers(false);
        try {
            action();
        } catch (...) {
            SetTriggers(true);
            throw;
        }
        SetTriggers(true);
    }
    /// The file is not any more where it was opened: another lies there, or none.
    bool HasMoved() const;

    [[noreturn]] void Refuse(std::string const& what) const; ///< says: "FILE" what
    [[noreturn]] void
    RefuseDamaged(std::string const& what) const; ///< says: "FILE" is damaged: what; it is left as it is

    /// Makes the function `checksum(...)` known to this file's statements: a number over kind and content of any
    /// values.
    void AddChecksumFunction();

    sqlite3* Database() const { return m_database; }
    /// Throws for any result but that of success.
    void CheckResult(int result) const;

private:
    void Prepare(Check check);
    template <typename Action>
    void ToTheEnd(Action action)
    {
        try {
            action();
            Run("COMMIT");
        } catch (...) {
            RollBack();
            throw;
        }
    }
    bool BeginIfFree();
    void RollBack();
    void SetTriggers(bool areRun);

    std::string m_name;
    SqliteFormat const& m_format;
    sqlite3* m_database = nullptr;
    bool m_isNew = false;
    bool m_isOlder = false;
};

/// A prepared statement. Its file must outlive it.
class VORDAL_API SqliteStatement
{
public:
    SqliteStatement(SqliteFile const& file, std::string_view sql);
    SqliteStatement(SqliteStatement const&) = delete;
    SqliteStatement& operator=(SqliteStatement const&) = delete;
    ~SqliteStatement();

    // Each binds the next parameter.
    void BindInteger(std::int64_t value);
    void BindDouble(double value);
    void BindText(std::string_view text);
    void BindBlob(std::span<unsigned char const> bytes);
    void BindNull();

    /// True when there is a row.
    bool Step();
    /// Ready for another run; gives back what the last one held.
    void Reset();

    // Of the row that Step found; columns count from 0.
    int Type(int column) const; ///< SQLITE_INTEGER and so on
    std::int64_t Integer(int column) const;
    double Real(int column) const;
    std::string Bytes(int column) const;
    std::span<unsigned char const> Blob(int column) const; ///< valid until the next Step or Reset

protected:
    SqliteFile const& File() const { return m_file; }

private:
    SqliteFile const& m_file;
    sqlite3_stmt* m_statement = nullptr;
    int m_bound = 0;
};

} // namespace vordal
