// What `./dev` says and does where something is missing, held, moved or called from elsewhere. Nothing is installed or
// built: stand-ins on the PATH play the package system, sudo and the tools.
#include "child_process.h"
#include "tests/support/temporary_folder.h"

#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <iterator>

#include <gmock/gmock.h>

namespace qx5::test {
namespace {

namespace fs = std::filesystem;

using ::testing::HasSubstr;
using ::testing::Not;

/// A checkout that holds the script alone, and a PATH that holds what a test puts there.
class DevScript : public ::testing::Test
{
protected:
    DevScript()
    {
        fs::create_directories(checkout);
        fs::create_directories(programs);
        fs::create_directories(elsewhere);
        for (char const* const part : {"dev", "scripts"}) {
            if (auto const source = fs::path(QX5_SOURCE_DIR) / part; fs::exists(source)) {
                fs::copy(source, checkout / part, fs::copy_options::recursive);
            }
        }
        for (char const* const tool :
             {"bash", "cat", "dirname", "env", "grep", "mkdir", "nproc", "readlink", "rm", "sed", "sh", "true"}) {
            fs::create_symlink(fs::path("/usr/bin") / tool, programs / tool);
        }
        StandIn("id", "echo 1000");
        StandIn("sleep", "echo sleep >>" + Log());
        // Everything is installed but what the file "missing" names.
        StandIn("dpkg-query", "case \" $(cat " + Missing() +
                                  " 2>/dev/null) \" in *\" $3 \"*) exit 1 ;; esac\n"
                                  "echo 'install ok installed'");
        StandIn("apt-get", "echo \"apt-get $DEBIAN_FRONTEND $*\" >>" + Log() +
                               "\n"
                               "case \"$*\" in *install*) rm -f " +
                               Missing() + " ;; esac");
        // Like sudo, it hands none of the caller's variables on.
        StandIn("sudo", "[ \"$1\" = -n ] && shift\n[ \"$1\" = -v ] && exit 0\n"
                        "echo sudo >>" +
                            Log() + "\nexec env -i PATH=\"$PATH\" \"$@\"");
        // Configuring leaves a cache that names the checkout, and a command that tells where it runs.
        StandIn("cmake", "[ \"$1\" = --preset ] || exit 0\n"
                         "mkdir -p build/$2/bin\n"
                         "echo \"CMAKE_HOME_DIRECTORY:INTERNAL=$PWD\" >build/$2/CMakeCache.txt\n"
                         "printf '#!/bin/sh\\necho \"in $PWD: $*\"\\n' >build/$2/bin/qx5\n"
                         "/usr/bin/chmod +x build/$2/bin/qx5");
        for (char const* const tool : {"ninja", "g++"}) {
            StandIn(tool, "");
        }
    }
    ~DevScript() override
    {
        std::error_code ignored;
        fs::remove_all(folder, ignored);
    }

    /// A program on the PATH, in the shell's language.
    void StandIn(std::string const& name, std::string const& body) const
    {
        Write(programs / name, "#!/bin/sh\n" + body + "\n");
        fs::permissions(programs / name, fs::perms::owner_all);
    }
    void RemoveProgram(std::string const& name) const { fs::remove(programs / name); }
    void LetBeMissing(std::string const& packages) const { Write(folder / "missing", packages); }
    static void Write(fs::path const& file, std::string const& text) { std::ofstream(file) << text; }

    // As the shell reads them.
    std::string Missing() const { return "'" + (folder / "missing").string() + "'"; }
    std::string Log() const { return "'" + (folder / "log").string() + "'"; }
    /// What the stand-ins were called with, a line for each call.
    std::string Called() const
    {
        std::ifstream log(folder / "log");
        return {std::istreambuf_iterator<char>(log), {}};
    }

    /// Calls the script by its whole name, with another folder as the present one.
    Outcome Dev(std::vector<std::string> arguments) const
    {
        std::vector<std::string> command{"/usr/bin/env", "-C", elsewhere.string(), (checkout / "dev").string()};
        command.insert(command.end(), arguments.begin(), arguments.end());
        return RunToEnd(std::move(command), {}, {"PATH=" + programs.string(), "CXX=", "CDPATH="});
    }

    static void ExpectOneLine(Outcome const& outcome, std::string const& line)
    {
        EXPECT_EQ(outcome.code, 1) << outcome.out;
        EXPECT_EQ(outcome.err, line + "\n");
    }

    test::TemporaryFolder const folder{"qx5-dev"};
    fs::path const checkout = folder / "checkout";
    fs::path const programs = folder / "programs";
    fs::path const elsewhere = folder / "else where";
};

TEST_F(DevScript, PackagesAreMadeInTheWaysThatItTells)
{
    ExpectOneLine(Dev({"package", "--colour"}), "dev: usage: ./dev package [--check [--keep]] [--reproduce] [--only]");
}

TEST_F(DevScript, NothingMissingNeedsNobodysLeave)
{
    RemoveProgram("sudo");
    RemoveProgram("apt-get");
    auto const built = Dev({"build"});
    EXPECT_EQ(built.code, 0) << built.err;
}

TEST_F(DevScript, WhatIsMissingIsInstalledWithSudoAndAsksNoQuestions)
{
    LetBeMissing("ninja-build ccache");
    auto const built = Dev({"build"});
    EXPECT_EQ(built.code, 0) << built.err;
    EXPECT_THAT(built.err, HasSubstr("Installing ninja-build ccache\n"));
    EXPECT_THAT(Called(), HasSubstr("sudo\napt-get noninteractive -qq update\n"));
    EXPECT_THAT(Called(), HasSubstr("sudo\napt-get noninteractive -qq install -y --no-install-recommends ninja-build "
                                    "ccache\n"));
}

TEST_F(DevScript, RootNeedsNoSudo)
{
    StandIn("id", "echo 0");
    RemoveProgram("sudo");
    LetBeMissing("ninja-build");
    auto const built = Dev({"build"});
    EXPECT_EQ(built.code, 0) << built.err;
    EXPECT_THAT(Called(), HasSubstr("apt-get noninteractive -qq install -y --no-install-recommends ninja-build\n"));
}

TEST_F(DevScript, WithoutSudoItTellsWhatRootIsToInstall)
{
    RemoveProgram("sudo");
    LetBeMissing("g++ ninja-build");
    ExpectOneLine(Dev({"run"}), "dev: there is no sudo; as root install: apt-get install g++ ninja-build");
}

TEST_F(DevScript, WithoutTheRightToSudoItTellsWhatRootIsToInstall)
{
    StandIn("sudo", "echo 'sudo: a password is required' >&2; exit 1");
    LetBeMissing("g++ ninja-build");
    ExpectOneLine(Dev({"run"}), "dev: no right to sudo; as root install: apt-get install g++ ninja-build");
}

TEST_F(DevScript, WhatMakesTheSiteIsInstalledForTheSiteAlone)
{
    LetBeMissing("doxygen furo");
    auto const tables = Dev({"docs", "tables"});
    EXPECT_EQ(tables.code, 0) << tables.err;
    EXPECT_THAT(tables.out, HasSubstr("checkout: docs docs\n"));
    EXPECT_EQ(Called(), "");
    ExpectOneLine(Dev({"docs", "book"}), "dev: docs takes tables, site or nothing, which is both");
    EXPECT_EQ(Called(), "");
    EXPECT_THAT(Dev({"docs", "site"}).err, HasSubstr("Installing furo doxygen\n"));
}

TEST_F(DevScript, AHeldPackageSystemIsWaitedForAndThatIsSaidOnce)
{
    // Held at first by who fetches the lists, then by who installs.
    StandIn("apt-get",
            "echo \"apt-get $*\" >>" + Log() +
                "\n"
                "case \"$(grep -c apt-get " +
                Log() +
                ") $*\" in\n"
                "1*) echo 'E: Could not get lock /var/lib/apt/lists/lock. It is held by process 7 (x)' ;;\n"
                "3*|4*) echo 'E: Could not get lock /var/lib/dpkg/lock-frontend. It is held by process 7 (x)' ;;\n"
                "*install*) rm " +
                Missing() +
                "; exit 0 ;;\n"
                "*) exit 0 ;;\n"
                "esac >&2\nexit 100");
    LetBeMissing("g++");
    auto const built = Dev({"build"});
    EXPECT_EQ(built.code, 0) << built.err;
    auto const said = std::string_view(built.err);
    auto const line = said.find("Another program holds the package system; waiting for it\n");
    ASSERT_NE(line, std::string::npos) << said;
    EXPECT_EQ(said.find("waiting", line + 60), std::string::npos) << said;
    auto const called = Called();
    EXPECT_THAT(called, HasSubstr("apt-get -qq update\nsudo\n"));
    EXPECT_THAT(called, Not(HasSubstr("sleep\nsleep\n")));
    // Once for the lists, twice for the installing.
    std::string const pause = "sleep\n";
    int pauses = 0;
    for (auto at = called.find(pause); at != std::string::npos; at = called.find(pause, at + pause.size())) {
        ++pauses;
    }
    EXPECT_EQ(pauses, 3) << called;
}

TEST_F(DevScript, APackageSystemThatStaysHeldIsNotWaitedForForEver)
{
    StandIn("apt-get",
            "echo 'E: Could not get lock /var/lib/apt/lists/lock. It is held by process 7 (x)' >&2; exit 100");
    LetBeMissing("g++");
    auto const built = Dev({"build"});
    EXPECT_EQ(built.code, 1);
    EXPECT_THAT(built.err, ::testing::EndsWith("\ndev: another program holds the package system for 10 minutes by now; "
                                               "when it has ended, call this again\n"));
}

TEST_F(DevScript, WithoutANetworkItTellsWhatIsMissing)
{
    StandIn("apt-get", "case \"$*\" in\n"
                       "*update*) echo \"W: Failed to fetch x  Temporary failure resolving 'x'\" >&2; exit 0 ;;\n"
                       "*) echo 'E: Unable to locate package g++' >&2; exit 100 ;;\nesac");
    LetBeMissing("g++ cmake");
    auto const built = Dev({"build"});
    EXPECT_EQ(built.code, 1);
    EXPECT_THAT(built.err,
                ::testing::EndsWith("\ndev: no network to fetch g++ cmake from; connect and call this again, or "
                                    "as root install: apt-get install g++ cmake\n"));
}

TEST_F(DevScript, ListsThatAreThereDoWithoutANetwork)
{
    StandIn("apt-get", "case \"$*\" in\n"
                       "*update*) echo \"W: Failed to fetch x  Temporary failure resolving 'x'\" >&2; exit 0 ;;\n"
                       "*) exit 0 ;;\nesac");
    LetBeMissing("g++");
    auto const built = Dev({"build"});
    EXPECT_EQ(built.code, 0) << built.err;
}

TEST_F(DevScript, WhatElseThePackageSystemSaysIsPassedOnInOneLine)
{
    StandIn("apt-get", "echo 'Reading' >&2; echo 'E: dpkg was interrupted, run dpkg --configure -a' >&2; exit 100");
    LetBeMissing("g++");
    auto const built = Dev({"build"});
    EXPECT_EQ(built.code, 1);
    EXPECT_THAT(built.err, ::testing::EndsWith("\ndev: dpkg was interrupted, run dpkg --configure -a; then as root "
                                               "install: apt-get install g++\n"));
}

TEST_F(DevScript, AMovedOrCopiedCheckoutIsBuiltAnew)
{
    ASSERT_EQ(Dev({"build"}).code, 0);
    Write(checkout / "build/dev/kept", "");
    auto const again = Dev({"build"});
    EXPECT_EQ(again.code, 0) << again.err;
    EXPECT_TRUE(fs::exists(checkout / "build/dev/kept"));
    EXPECT_THAT(again.err, Not(HasSubstr("anew")));

    auto const moved = folder / "moved";
    fs::rename(checkout, moved);
    fs::copy(moved, checkout, fs::copy_options::recursive);
    Write(moved / "dev", "no script");
    // The copy lies where its build folder says, so it is the moved one that is made anew.
    fs::copy(checkout / "dev", moved / "dev", fs::copy_options::overwrite_existing);
    auto const built = RunToEnd({(moved / "dev").string(), "build"}, {}, {"PATH=" + programs.string(), "CXX="});
    EXPECT_EQ(built.code, 0) << built.err;
    EXPECT_THAT(built.err, HasSubstr("build/dev was made in " + checkout.string() + "; it is made anew\n"));
    EXPECT_FALSE(fs::exists(moved / "build/dev/kept"));
    EXPECT_TRUE(fs::exists(moved / "build/dev/bin/qx5"));
    EXPECT_TRUE(fs::exists(checkout / "build/dev/kept"));
}

TEST_F(DevScript, ACompilerThatIsNotFoundIsNamed)
{
    RemoveProgram("g++");
    ExpectOneLine(Dev({"build"}), "dev: there is no g++, though its package is installed; as root install: apt-get "
                                  "install --reinstall g++");
    auto const chosen = RunToEnd({(checkout / "dev").string(), "build"}, {},
                                 {"PATH=" + programs.string(), "CXX=no-such-compiler -m64"});
    ExpectOneLine(chosen, "dev: there is no no-such-compiler, which CXX names; unset CXX, or name a C++20 compiler");
}

TEST_F(DevScript, ProgramsForWindowsTakeTheSourceOfSqlite)
{
    StandIn("x86_64-w64-mingw32-g++-posix", "");
    StandIn("ctest", "echo \"ctest $*\" >>" + Log());
    StandIn("npm", "exit 1");
    auto const without = Dev({"windows"});
    EXPECT_EQ(without.code, 1);
    EXPECT_EQ(without.err, "Fetching the source of SQLite\n"
                           "dev: npm's package better-sqlite3, which holds the source of SQLite, is not to be had\n");
    // All other tests run without it.
    auto const others = Dev({"test"});
    EXPECT_EQ(others.code, 0) << others.err;
    EXPECT_THAT(others.err, HasSubstr("The source of SQLite is not to be had: no programs for Windows in this run\n"));
    EXPECT_THAT(Called(), HasSubstr("ctest --preset dev"));

    fs::create_directories(checkout / "build/node/better-sqlite3/deps/sqlite3");
    Write(checkout / "build/node/better-sqlite3/deps/sqlite3/sqlite3.c", "");
    auto const built = Dev({"windows"});
    EXPECT_EQ(built.code, 0) << built.err;
    EXPECT_THAT(Called(), HasSubstr("ctest --preset windows"));
}

TEST_F(DevScript, ProgramsForWindowsThatDoNotBuildEndTheTests)
{
    StandIn("x86_64-w64-mingw32-g++-posix", "");
    StandIn("ctest", "echo \"ctest $*\" >>" + Log());
    StandIn("npm", "exit 1");
    fs::create_directories(checkout / "build/node/better-sqlite3/deps/sqlite3");
    Write(checkout / "build/node/better-sqlite3/deps/sqlite3/sqlite3.c", "");
    StandIn("cmake", "[ \"$*\" != '--build build/windows' ]");
    EXPECT_EQ(Dev({"test"}).code, 1);
    EXPECT_THAT(Called(), Not(HasSubstr("ctest")));
}

TEST_F(DevScript, RunsWhereTheCallerStands)
{
    auto const shown = Dev({"run", "--project", "my survey.qx5"});
    EXPECT_EQ(shown.code, 0) << shown.err;
    EXPECT_EQ(shown.out, "in " + elsewhere.string() + ": run --project my survey.qx5\n");
    // Called by a link from a folder of programs, too.
    fs::create_symlink(checkout / "dev", elsewhere / "qx5-dev");
    auto const linked = RunToEnd({"/usr/bin/env", "-C", folder.string(), (elsewhere / "qx5-dev").string(), "run"}, {},
                                 {"PATH=" + programs.string(), "CXX="});
    EXPECT_EQ(linked.code, 0) << linked.err;
    EXPECT_EQ(linked.out, "in " + folder.string() + ": run\n");
}

TEST_F(DevScript, TellsEachCommand)
{
    auto const told = Dev({"help"});
    EXPECT_EQ(told.code, 0);
    std::ifstream script(fs::path(QX5_SOURCE_DIR) / "dev");
    int commands = 0;
    for (std::string line; std::getline(script, line);) {
        // "name)" at the margin begins a command.
        auto const name = line.substr(0, line.find(')'));
        if (line.ends_with(')') && !name.empty() && name.find_first_not_of("abcdefghijklmnopqrstuvwxyz") == name.npos) {
            EXPECT_THAT(told.out, HasSubstr("./dev " + name)) << name;
            ++commands;
        }
    }
    EXPECT_GE(commands, 8);
    EXPECT_EQ(Dev({"nonsense"}).code, 2);
}

} // namespace
} // namespace qx5::test
