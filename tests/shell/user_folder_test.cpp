// The folder in which programs of one user find one another.
#include "shell/platform/user_folder.h"
#include "shell/running_programs.h"

#include "tests/support/temporary_folder.h"

#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <optional>
#include <string>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <sys/stat.h>
#include <unistd.h>

namespace qx5::shell {
namespace {

namespace fs = std::filesystem;

/// A variable of the environment, put back at the end.
class Variable
{
public:
    explicit Variable(char const* name) : m_name(name)
    {
        if (char const* const value = std::getenv(name)) {
            m_before = value;
        }
    }
    Variable(Variable const&) = delete;
    Variable& operator=(Variable const&) = delete;
    ~Variable() { Set(m_before ? m_before->c_str() : nullptr); }
    void Set(char const* value) { value != nullptr ? setenv(m_name, value, 1) : unsetenv(m_name); }

private:
    char const* m_name;
    std::optional<std::string> m_before;
};

unsigned ModeOf(fs::path const& path)
{
    struct stat found
    {
    };
    return lstat(path.c_str(), &found) == 0 ? found.st_mode & 07777U : 0;
}

TEST(UserFolder, LiesInTheRuntimeFolderElseInTheTemporaryOne)
{
    Variable runtime("XDG_RUNTIME_DIR");
    Variable temporary("TMPDIR");
    runtime.Set("/run/user/1000");
    EXPECT_EQ(platform::UserFolder(), "/run/user/1000/qx5");
    temporary.Set("/var/tmp");
    auto const fallback = "/var/tmp/qx5-" + std::to_string(geteuid());
    for (char const* const none : {static_cast<char const*>(nullptr), "", "not/whole"}) {
        runtime.Set(none);
        EXPECT_EQ(platform::UserFolder(), fallback);
    }
}

TEST(UserFolder, IsMadeForThisUserAlone)
{
    test::TemporaryFolder const folder;
    std::string error;
    EXPECT_FALSE(platform::IsPrivate(folder / "qx5", error));
    EXPECT_EQ(error, "");
    EXPECT_TRUE(platform::MakePrivate(folder / "qx5", error)) << error;
    EXPECT_EQ(ModeOf(folder / "qx5"), 0700U);
    EXPECT_TRUE(platform::IsPrivate(folder / "qx5", error));
    EXPECT_TRUE(platform::MakePrivate(folder / "qx5", error)) << error;
}

TEST(UserFolder, OneThatOthersCouldHaveMadeIsRefused)
{
    test::TemporaryFolder const folder;
    std::string error;
    fs::create_directory(folder / "open");
    chmod((folder / "open").c_str(), 0750);
    fs::create_directory(folder / "own");
    chmod((folder / "own").c_str(), 0700);
    fs::create_directory_symlink(folder / "own", folder / "link");
    std::ofstream(folder / "file") << "x";
    for (char const* const name : {"open", "link", "file"}) {
        EXPECT_FALSE(platform::MakePrivate(folder / name, error));
        EXPECT_EQ(error, (folder / name).string() + " is not a folder of this user alone (mode 0700)");
    }
    EXPECT_FALSE(platform::MakePrivate(folder / "missing" / "qx5", error));
    EXPECT_EQ(error, (folder / "missing" / "qx5").string() + " cannot be made: No such file or directory");
}

TEST(RunningPrograms, AreNamedByTheirNumbers)
{
    test::TemporaryFolder const folder;
    for (char const* const name : {"12.sock", "7.sock", "x.sock", "7.sock.new", "notes"}) {
        std::ofstream(folder / name) << "";
    }
    EXPECT_EQ(SocketOf("/a", 7), "/a/7.sock");
    EXPECT_EQ(ProcessOf("/a/7.sock"), 7U);
    EXPECT_EQ(ProcessOf("/a/7.sock.new"), std::nullopt);
    EXPECT_THAT(SocketsIn(folder), testing::ElementsAre(folder / "7.sock", folder / "12.sock"));
    EXPECT_THAT(SocketsIn(folder / "none"), testing::IsEmpty());
}

} // namespace
} // namespace qx5::shell
