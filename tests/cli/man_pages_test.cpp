// The manual pages: what Markdown becomes, that every command and option is told, and what groff and man say of them.
#include "program.h"

#include "cli/documents/man_pages.h"

#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <sstream>
#include <stdexcept>
#include <string>
#include <vector>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

namespace qx5::test {
namespace {

namespace fs = std::filesystem;
using testing::HasSubstr;

std::string ContentOf(fs::path const& file)
{
    std::ifstream stream(file, std::ios::binary);
    return {std::istreambuf_iterator<char>(stream), {}};
}

/// The names of the commands that the help lists.
std::vector<std::string> Commands()
{
    std::vector<std::string> commands;
    std::istringstream help(Qx5({"--help"}).out);
    bool areCommands = false;
    for (std::string line; std::getline(help, line);) {
        if (areCommands && line.starts_with("  ") && line.size() > 2 && line[2] != ' ') {
            commands.push_back(line.substr(2, line.find(' ', 2) - 2));
        }
        areCommands = areCommands || line.starts_with("Subcommands");
    }
    return commands;
}

TEST(ManPages, TextOfTheManual)
{
    EXPECT_EQ(cli::RoffOf("One line\nand *another*, `--wait 0`.\n\n.NET begins it\n"),
              ".PP\nOne line and \\fIanother\\fR, \\fB\\-\\-wait 0\\fR.\n.PP\n\\&.NET begins it\n");
    EXPECT_EQ(cli::RoffOf("- one\n  goes on\n- two\n"), ".IP \\(bu 2\none goes on\n.IP \\(bu 2\ntwo\n");
    EXPECT_EQ(cli::RoffOf("1. one\n2. two\n"), ".IP 1. 4\none\n.IP 2. 4\ntwo\n");
    EXPECT_EQ(cli::RoffOf("Said:\n\n    $ qx5 get 'a'\n    a \\ b\n\nafter\n"),
              ".PP\nSaid:\n.PP\n.RS 4\n.nf\n$ qx5 get \\(aqa\\(aq\na \\e b\n.fi\n.RE\n.PP\nafter\n");
    EXPECT_EQ(cli::RoffOf("```\n.code\n```\n"), ".PP\n.RS 4\n.nf\n\\&.code\n.fi\n.RE\n");
    EXPECT_EQ(cli::RoffOf("| code | when |\n|---|---|\n| 0 | `a|b` |\n"), ".TP\n0\n\\fBa|b\\fR\n");
    EXPECT_EQ(cli::RoffOf("| a | b | c |\n|---|---|---|\n| x | y | z |\n"), ".TP\nx\nb: y\n.br\nc: z\n");
    EXPECT_EQ(cli::RoffOf("See [the manual](manual.md).\n\n![A picture](a.png)\n"), ".PP\nSee the manual.\n");
    EXPECT_EQ(cli::RoffOf("### A part\n\ntext\n"), ".SS A part\n.PP\ntext\n");
}

TEST(ManPages, ACommandThatTheManualDoesNotKnowIsToldSo)
{
    cli::CommandText program{"qx5", "does it", {}, {}, {{"qx5 fly", "fly", {}, {}, {}}}};
    std::string const head = "# The command\n\nExit codes.\n\n| command | what it is for |\n|---|---|\n";
    auto const why = [&](std::string const& manual) {
        try {
            cli::ManPages(program, manual, "1");
        } catch (std::runtime_error const& problem) {
            return std::string(problem.what());
        }
        return std::string();
    };
    EXPECT_EQ(why(head), "the manual's table of commands has no row for `qx5 fly`");
    EXPECT_EQ(why(head + "| `qx5 fly` | flies (see [Wings](air.md)) |\n"),
              "the manual has no chapter \"Wings\", which its table of commands names");
    EXPECT_EQ(why(head + "| `qx5 fly` | flies (see [Wings](air.md)) |\n\n# Wings\n\nTwo.\n"), "");
}

TEST(ManPages, TellTheChaptersThatTheTableNames)
{
    cli::CommandText program{"qx5", "does it", {}, {}, {{"qx5 fly", "fly", {}, {}, {}}}};
    auto const pages = cli::ManPages(program,
                                     "# The command\n\nExit codes.\n\n| command | what it is for |\n|---|---|\n"
                                     "| `qx5 fly` | flies (see [Wings](air.md), [Tails](air.md#tails)) |\n\n"
                                     "# Wings\n\nTwo.\n\n## Feathers\n\nMany.\n\n## Tails\n\nOne.\n\n### Ends\n\n"
                                     "Its own.\n\n# Songs\n\nNone.\n",
                                     "1");
    ASSERT_EQ(pages.size(), 2U);
    auto const& page = pages[0].first == "qx5-fly.1" ? pages[0].second : pages[1].second;
    EXPECT_THAT(page, HasSubstr(".SH DESCRIPTION\nFlies (see Wings, Tails).\n"));
    // Of a page what stands before its chapters, of a chapter all of it.
    EXPECT_THAT(page,
                HasSubstr(".SH WINGS\n.PP\nTwo.\n.SH TAILS\n.PP\nOne.\n.SS Ends\n.PP\nIts own.\n.SH EXIT STATUS\n"));
}

/// As a manual page has what people type.
std::string WithHyphens(std::string text)
{
    for (std::size_t at = 0; (at = text.find('-', at)) != std::string::npos; at += 2) {
        text.insert(at, 1, '\\');
    }
    return text;
}

TEST(ManPages, EveryCommandHasOneThatTellsItsOptions)
{
    TemporaryFolder const folder;
    auto const said = Qx5({"docs", "--man", folder.string()});
    ASSERT_EQ(said.code, 0) << said.err;
    auto const commands = Commands();
    EXPECT_GT(commands.size(), 10U);
    auto const program = ContentOf(folder / "qx5.1");
    for (std::string const& command : commands) {
        SCOPED_TRACE(command);
        auto const page = ContentOf(folder / ("qx5-" + command + ".1"));
        EXPECT_THAT(page, HasSubstr(".SH DESCRIPTION\n"));
        EXPECT_THAT(page, HasSubstr(".SH EXIT STATUS\n.PP\nExit codes: 0 it worked;"));
        EXPECT_THAT(program, HasSubstr("\\fBqx5 " + WithHyphens(command) + "\\fR"));
        std::istringstream help(Qx5({command, "--help"}).out);
        for (std::string line; std::getline(help, line);) {
            if (line.starts_with("  --")) {
                EXPECT_THAT(page,
                            HasSubstr("\\fB" + WithHyphens(line.substr(2, line.find_first_of(" ,", 2) - 2)) + "\\fR"));
            }
        }
    }
}

TEST(ManPages, TheFormattersHaveNothingToSayAgainstThem)
{
    for (char const* const tool : {"man", "groff"}) {
        ASSERT_EQ(std::system(("command -v " + std::string(tool) + " >/dev/null").c_str()), 0)
            << "there is no " << tool << ": install Debian's packages man-db and groff, as ./dev test does";
    }
    TemporaryFolder const folder;
    ASSERT_EQ(Qx5({"docs", "--man", folder.string()}).code, 0);
    int pages = 0;
    for (auto const& entry : fs::directory_iterator(folder)) {
        auto const file = entry.path().string();
        SCOPED_TRACE(file);
        auto const shown = RunToEnd({"/usr/bin/env", "man", "--warnings", "-E", "UTF-8", "-l", "-Tutf8", "-Z", file},
                                    {}, {"LC_ALL=C.UTF-8", "MANROFFSEQ=", "MANWIDTH=80"});
        EXPECT_EQ(shown.code, 0);
        EXPECT_EQ(shown.err, "");
        auto const set = RunToEnd({"/usr/bin/env", "groff", "-ww", "-K", "utf8", "-man", "-Tutf8", "-z", file});
        EXPECT_EQ(set.code, 0);
        EXPECT_EQ(set.err, "");
        ++pages;
    }
    EXPECT_GT(pages, 10);
}

} // namespace
} // namespace qx5::test
