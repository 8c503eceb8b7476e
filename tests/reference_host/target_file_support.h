// What tests of target files share: a file in a folder of its own, other processes, contacts.
#pragma once

#include "tests/support/temporary_folder.h"

#include <reference_host/common/log.h>
#include <reference_host/common/path_text.h>
#include <reference_host/core/host.h>
#include <reference_host/targets/target_file.h>

#include <VordalSubscriberR/Subscriber.h>

#include <sqlite3.h>

#include <gtest/gtest.h>

#include <csignal>
#include <cstdint>
#include <filesystem>
#include <fstream>
#include <functional>
#include <iterator>
#include <string>
#include <utility>
#include <vector>

#include <sys/wait.h>
#include <unistd.h>

namespace vordal::test {

namespace fs = std::filesystem;

inline StoredTarget Contact(std::uint32_t id, wchar_t const* guid = L"", float range = 0.0F)
{
    StoredTarget contact;
    contact.target.targetId = id;
    contact.target.targetGuid = guid;
    contact.target.range = range;
    return contact;
}

/// A process that begins its work when it is told to. Made before this process opens the file: SQLite must not find a
/// connection that it has not opened itself.
class OtherProcess
{
public:
    explicit OtherProcess(std::function<void()> const& work)
    {
        int ends[2];
        EXPECT_EQ(pipe(ends), 0);
        m_child = fork();
        if (m_child == 0) {
            close(ends[1]);
            char go = 0;
            if (read(ends[0], &go, 1) != 1) {
                _exit(0);
            }
            try {
                work();
                _exit(0);
            } catch (...) {
                _exit(1);
            }
        }
        close(ends[0]);
        m_start = ends[1];
    }
    OtherProcess(OtherProcess const&) = delete;
    OtherProcess& operator=(OtherProcess const&) = delete;
    ~OtherProcess() { Kill(); }

    void Start() const { EXPECT_EQ(write(m_start, "g", 1), 1); }
    /// True when the work came to its end.
    bool Finish()
    {
        int status = 0;
        bool const ended = waitpid(std::exchange(m_child, -1), &status, 0) > 0;
        return ended && WIFEXITED(status) && WEXITSTATUS(status) == 0;
    }
    /// False when it had ended by itself.
    bool Kill()
    {
        if (m_start >= 0) {
            close(std::exchange(m_start, -1));
        }
        if (m_child < 0) {
            return false;
        }
        kill(m_child, SIGKILL);
        int status = 0;
        waitpid(std::exchange(m_child, -1), &status, 0);
        return WIFSIGNALED(status);
    }

private:
    pid_t m_child = -1;
    int m_start = -1;
};

/// Runs a function at each notification.
class Sink final : public Subscriber
{
public:
    explicit Sink(std::function<void(NotificationInfo const*)> function) : m_function(std::move(function)) {}
    void Notify(NotificationInfo const* info) override { m_function(info); }

private:
    std::function<void(NotificationInfo const*)> m_function;
};

/// Runs `work` within one notification of the host's general bus.
inline void WithinANotificationOf(Host& host, std::function<void()> const& work)
{
    static int notifications = 0;
    Subscription subscription{Subscription::General};
    subscription.SetSubscriber(new Sink([&](NotificationInfo const*) { work(); }), true);
    // A key of its own, so that one within another is heard once.
    CString const key(L"test" + std::to_wstring(++notifications));
    subscription.Subscribe(key);
    host.Notify(Subscription::General, key, nullptr);
}

class TargetsTest : public testing::Test
{
protected:
    TargetsTest()
    {
        SetLogSink([this](LogLevel, std::string_view line) { lines.emplace_back(line); });
    }
    ~TargetsTest() override { SetLogSink({}); }

    static void Write(fs::path const& path, std::string const& bytes)
    {
        std::ofstream(path, std::ios::binary | std::ios::trunc) << bytes;
    }
    static std::string Content(fs::path const& path)
    {
        std::ifstream stream(path, std::ios::binary);
        return {std::istreambuf_iterator<char>(stream), {}};
    }
    void Sql(char const* sql)
    {
        sqlite3* database = nullptr;
        ASSERT_EQ(sqlite3_open(file.c_str(), &database), SQLITE_OK);
        EXPECT_EQ(sqlite3_exec(database, sql, nullptr, nullptr, nullptr), SQLITE_OK) << sqlite3_errmsg(database);
        sqlite3_close(database);
    }
    /// The text of a column of the statement's first row, as a program of another make reads it.
    std::string Text(char const* sql, int column = 0)
    {
        sqlite3* database = nullptr;
        EXPECT_EQ(sqlite3_open(file.c_str(), &database), SQLITE_OK);
        sqlite3_stmt* statement = nullptr;
        EXPECT_EQ(sqlite3_prepare_v2(database, sql, -1, &statement, nullptr), SQLITE_OK) << sqlite3_errmsg(database);
        std::string text;
        if (sqlite3_step(statement) == SQLITE_ROW && sqlite3_column_text(statement, column) != nullptr) {
            text = reinterpret_cast<char const*>(sqlite3_column_text(statement, column));
        }
        sqlite3_finalize(statement);
        sqlite3_close(database);
        return text;
    }
    std::int64_t Number(char const* sql) { return std::stoll(Text(sql)); }
    void Put(std::vector<StoredTarget> const& contacts)
    {
        TargetFile(file, TargetFile::Missing::Create).Replace(contacts);
    }
    std::string Refusal(TargetFile::Missing missing = TargetFile::Missing::Refuse)
    {
        try {
            TargetFile(file, missing).Read();
            return {};
        } catch (TargetFileError const& error) {
            return error.what();
        }
    }
    CString Name() const { return vordal::TextOf(file); }
    std::string Quoted() const { return "\"" + file.string() + "\""; }

    qx5::test::TemporaryFolder const folder{"qx5 targets s\u00f6\u00f1ar \u6c34"};
    fs::path const file = folder / "wreck.sts";
    std::vector<std::string> lines;
};

} // namespace vordal::test
