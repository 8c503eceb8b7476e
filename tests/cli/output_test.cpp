// Output that cannot be written: on a full disk, into a pipe whose reader has gone. Whatever the command, that is told
// in one line and is no success.
#include "program.h"
#include "tests/support/temporary_folder.h"

#include <algorithm>
#include <csignal>

#include <gmock/gmock.h>

namespace qx5::test {
namespace {

using ::testing::HasSubstr;

/// A command line as a test's name shows it.
struct Call
{
    std::string name;
    std::vector<std::string> arguments;
    std::string input = {};
    bool takesSonar = false; ///< `--sonar` of a simulated one follows
};

std::vector<Call> const calls{
    {"Help", {"--help"}},
    {"CommandHelp", {"send", "--help"}},
    {"Version", {"--version"}},
    {"Keys", {"keys"}},
    {"KeysMarkdown", {"keys", "--markdown"}},
    {"Explain", {"explain", "x5Range"}},
    {"Decode", {"decode"}, rangeFrameHex},
    {"Plugin", {"plugin", QX5_PLUGIN_FILE}},
    {"Scenario", {"scenario", QX5_SCENARIOS "/gates.json"}},
    {"ScenarioCheck", {"scenario", "--check", QX5_SCENARIOS "/gates.json"}},
    {"Send", {"send", "x5Range=50"}, {}, true},
    {"RunOnce", {"run", "--once"}},
    {"RunGuided", {"run", "--guided"}, "x5Range=60\ntree\n"},
    {"RunTerminal", {"run", "--terminal"}, "2\n"},
    {"RunPanTilt", {"run", "--demo", "pan-tilt"}},
    {"RunSequencing", {"run", "--demo", "sequencing"}},
    {"RunWithSonar", {"run", "--guided"}, "x5Range=60\n", true},
    {"Sim", {"sim", "--port", "0"}},
};

void PrintTo(Call const& call, std::ostream* out)
{
    *out << call.name;
}

class OutputThatFails : public ::testing::TestWithParam<Call>
{
protected:
    void ExpectTold(OutputTo output)
    {
        Simulator sonar;
        auto arguments = GetParam().arguments;
        if (GetParam().takesSonar) {
            arguments.insert(arguments.end(), {"--sonar", sonar.Endpoint()});
        }
        ExpectComplaint(Qx5(arguments, GetParam().input, {}, output), 1, {"qx5: standard output cannot be written"});
    }
};

TEST_P(OutputThatFails, IsToldOfAFullDisk)
{
    ExpectTold(OutputTo::FullDisk);
}

TEST_P(OutputThatFails, IsToldOfAClosedPipe)
{
    ExpectTold(OutputTo::ClosedPipe);
}

TEST_P(OutputThatFails, IsNoSuccessWhereErrorsCannotBeWrittenEither)
{
    Simulator sonar;
    std::vector<std::string> program{"/bin/sh", "-c", "exec \"$@\" 2>&1", "sh", QX5_PROGRAM};
    program.insert(program.end(), GetParam().arguments.begin(), GetParam().arguments.end());
    if (GetParam().takesSonar) {
        program.insert(program.end(), {"--sonar", sonar.Endpoint()});
    }
    ChildProcess run(program, {}, OutputTo::ClosedPipe);
    run.Write(GetParam().input);
    run.CloseInput();
    EXPECT_EQ(run.WaitForEnd(), 1);
}

INSTANTIATE_TEST_SUITE_P(EveryCommand, OutputThatFails, ::testing::ValuesIn(calls),
                         [](auto const& call) { return call.param.name; });

TEST(OutputFails, TheReasonIsTold)
{
    ExpectComplaint(Qx5({"keys", "gate"}, {}, {}, OutputTo::FullDisk), 1, {"No space left on device"});
    ExpectComplaint(Qx5({"keys", "gate"}, {}, {}, OutputTo::ClosedPipe), 1, {"Broken pipe"});
}

TEST(OutputFails, InTheMidstOfMuch)
{
    std::string much;
    for (int i = 0; i < 1000; ++i) {
        much += rangeFrameHex;
    }
    for (OutputTo const output : {OutputTo::FullDisk, OutputTo::ClosedPipe}) {
        ExpectComplaint(Qx5({"decode"}, much, {}, output), 1, {"standard output cannot be written"});
    }
}

TEST(OutputFails, WhatElseWentWrongIsToldInTheSameLine)
{
    ExpectComplaint(Qx5({"decode"}, rangeFrameHex + "00 11 22\n", {}, OutputTo::FullDisk), 1,
                    {"3 bytes skipped", "standard output cannot be written"});
}

TEST(OutputFails, ASimulatorEndsWhenItsReaderGoes)
{
    // Its commands go on coming; what it cannot say ends it.
    ChildProcess sonar({QX5_PROGRAM, "sim", "--port", "0"}, {}, OutputTo::ClosedPipe);
    EXPECT_EQ(sonar.WaitForEnd(), 1);
    EXPECT_THAT(sonar.Errors(), HasSubstr("standard output cannot be written"));
}

TEST(OutputFails, DocumentsSayWhichCannotBeWritten)
{
    TemporaryFolder const full;
    auto const told = Qx5({"docs", full.string()}, {}, {}, OutputTo::FullDisk);
    ExpectComplaint(told, 1, {"standard output cannot be written"});

    for (char const* name : {"records.md", "x5_records.lua"}) {
        TemporaryFolder const folder;
        std::filesystem::create_symlink("/dev/full", folder / name);
        ExpectComplaint(Qx5({"docs", folder.string()}), 1, {name, "cannot be written"});
    }
}

} // namespace
} // namespace qx5::test
