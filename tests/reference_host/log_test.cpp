// The host's log: what it keeps, where, and what becomes of a file that has grown.
#include "reference_host/common/log_settings.h"
#include "tests/support/temporary_folder.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <filesystem>
#include <fstream>
#include <sstream>
#include <stdexcept>
#include <string>

namespace vordal {
namespace {

using ::testing::HasSubstr;
using ::testing::MatchesRegex;

class LogTest : public testing::Test
{
protected:
    ~LogTest() override { BeginLog({}); }

    std::filesystem::path Path(std::string const& name) const { return m_folder / name; }
    std::string Content(std::string const& name) const
    {
        std::ostringstream text;
        text << std::ifstream(Path(name), std::ios::binary).rdbuf();
        return text.str();
    }

    qx5::test::TemporaryFolder const m_folder;
};

TEST_F(LogTest, KeepsLinesFromItsLevelOnInItsFile)
{
    BeginLog({.least = LogLevel::Warning, .file = Path("kept.log")});
    Log(LogLevel::Debug, "debugging");
    Log(LogLevel::Info, "information");
    Log(LogLevel::Warning, "a warning\nof two lines");
    Log(LogLevel::Error, "an error");
    EXPECT_THAT(Content("kept.log"),
                MatchesRegex("\\[[-0-9]+ [.:0-9]+\\] \\[vordalhost\\] \\[warning\\] a warning of two lines\n"
                             "\\[[-0-9]+ [.:0-9]+\\] \\[vordalhost\\] \\[error\\] an error\n"));

    BeginLog({.least = LogLevel::Debug, .file = Path("kept.log")});
    Log(LogLevel::Debug, "debugging");
    EXPECT_THAT(Content("kept.log"), HasSubstr("an error\n")) << "a file that is there is gone on with";
    EXPECT_THAT(Content("kept.log"), HasSubstr("[debug] debugging\n"));
}

TEST_F(LogTest, WritesToStandardErrorUnlessToldOtherwise)
{
    testing::internal::CaptureStderr();
    BeginLog({});
    Log(LogLevel::Debug, "debugging");
    Log(LogLevel::Info, "information");
    EXPECT_THAT(testing::internal::GetCapturedStderr(), MatchesRegex("[^\n]* \\[info\\] information\n"));
}

TEST_F(LogTest, PutsAFullFileAside)
{
    BeginLog({.file = Path("full.log"), .fileBytes = 200, .filesAside = 2});
    for (int i = 0; i < 10; ++i) {
        Log(LogLevel::Info, "line " + std::to_string(i) + std::string(80, '.'));
    }
    EXPECT_THAT(Content("full.log"), HasSubstr("line 9"));
    EXPECT_THAT(Content("full.1.log"), HasSubstr("line 8"));
    EXPECT_THAT(Content("full.2.log"), HasSubstr("line 7"));
    for (char const* name : {"full.log", "full.1.log", "full.2.log"}) {
        EXPECT_LE(std::filesystem::file_size(Path(name)), 200U) << name;
    }
    EXPECT_FALSE(std::filesystem::exists(Path("full.3.log")));
}

TEST_F(LogTest, RefusesAFileThatCannotBeWritten)
{
    BeginLog({.file = Path("good.log")});
    try {
        BeginLog({.file = Path("good.log") / "inside.log"});
        FAIL() << "a file is no folder";
    } catch (std::runtime_error const& failure) {
        EXPECT_THAT(failure.what(), HasSubstr((Path("good.log") / "inside.log").string()));
    }
    Log(LogLevel::Info, "still here");
    EXPECT_THAT(Content("good.log"), HasSubstr("still here\n"));
}

} // namespace
} // namespace vordal
