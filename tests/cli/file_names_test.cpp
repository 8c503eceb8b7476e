// Files in folders of any name, given to the commands as a user does, in a plain and in a UTF-8 locale.
#include "program.h"
#include "tests/support/temporary_folder.h"

#include <fstream>

#include <gmock/gmock.h>

namespace qx5::test {
namespace {

namespace fs = std::filesystem;

using ::testing::HasSubstr;

/// The locale of the process, as its environment sets it.
class FileNames : public ::testing::TestWithParam<char const*>
{
protected:
    Outcome Run(std::vector<std::string> arguments, std::string input = {}) const
    {
        std::string const locale = GetParam();
        return Qx5(std::move(arguments), std::move(input), {"LC_ALL=" + locale, "LANG=" + locale});
    }

    static void ExpectGood(Outcome const& outcome)
    {
        EXPECT_EQ(outcome.code, 0) << outcome.out;
        EXPECT_EQ(outcome.err, "");
    }

    TemporaryFolder const folder{"qx5 s\u00f6\u00f1ar \u6c34"};
};

TEST_P(FileNames, AProjectIsMadeAndOpenedAgain)
{
    auto const project = (folder / "\u00e4 b.qx5").string();
    ExpectGood(Run({"run", "--guided", "--project", project}, "x5Range=77\n"));
    EXPECT_GT(fs::file_size(project), 0U);
    ExpectGood(Run({"run", "--once", "--project", project}));
}

TEST_P(FileNames, AProjectLiesInAFolderWhoseNameIsNoUtf8)
{
    auto const latin = folder / "s\xf6\xf1"
                                "ar";
    fs::create_directory(latin);
    auto const project = (latin / "b.qx5").string();
    ExpectGood(Run({"run", "--once", "--project", project}));
    EXPECT_GT(fs::file_size(project), 0U);
}

TEST_P(FileNames, ADamagedProjectIsNamedInTheComplaint)
{
    auto const project = (folder / "\u6c34.qx5").string();
    std::ofstream(project) << "This is no project.\n" << std::string(5000, 'x');
    ExpectComplaint(Run({"run", "--once", "--project", project}), 1, {project, "no project file"});
}

TEST_P(FileNames, APlugInIsLoaded)
{
    auto const plugin = (folder / "\u00f6 \u6c34.so").string();
    fs::copy_file(QX5_PLUGIN_FILE, plugin);
    ExpectGood(Run({"plugin", plugin}));
    ExpectGood(Run({"run", "--once", "--plugin", plugin}));
}

TEST_P(FileNames, ScenariosAndCapturesAreRead)
{
    auto const scenario = (folder / "\u00f6 \u6c34.json").string();
    fs::copy_file(fs::path(QX5_SCENARIOS) / "gates.json", scenario);
    auto const checked = Run({"scenario", "--check", scenario});
    ExpectGood(checked);
    EXPECT_THAT(checked.out, HasSubstr(scenario));
    auto const capture = (folder / "\u00f6 \u6c34.txt").string();
    std::ofstream(capture) << rangeFrameHex;
    auto const decoded = Run({"decode", capture});
    ExpectGood(decoded);
    EXPECT_THAT(decoded.out, HasSubstr("x5Range = 50 m"));
}

INSTANTIATE_TEST_SUITE_P(InEachLocale, FileNames, ::testing::Values("C", "C.UTF-8"),
                         [](auto const& locale) { return std::string(locale.param) == "C" ? "Plain" : "Utf8"; });

} // namespace
} // namespace qx5::test
