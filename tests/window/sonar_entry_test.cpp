// Tests of what an operator may enter of a sonar.
#include <cli/window/sonar_entry.h>

#include <gtest/gtest.h>

#include <string>

namespace qx5::test {
namespace {

using cli::CheckSonar;
using cli::SonarEntry;
using cli::SonarProblems;
using cli::SonarSetup;

cli::SonarSurroundings const around{.otherNames = {"Bow", "Stern"}, .classes = {"A", "B"}};

SonarEntry Good()
{
    return {.name = "Keel",
            .deviceClass = "B",
            .simulated = false,
            .address = "10.0.0.7:7000",
            .vessel = "Meridian",
            .group = "3"};
}

SonarProblems ProblemsOf(SonarEntry const& entry)
{
    SonarSetup setup;
    setup.name = L"untouched";
    auto const problems = CheckSonar(entry, around, setup);
    EXPECT_EQ(setup.name == CString(L"untouched"), !problems.None()) << "taken when it is good, and then alone";
    return problems;
}

TEST(SonarEntryCheck, TakesAGoodOneApart)
{
    auto entry = Good();
    entry.name = "  K\xC3\xB6rl \t";
    entry.address = " [::1]:65535 ";
    entry.group = " 2147483647 ";
    SonarSetup setup;
    EXPECT_TRUE(CheckSonar(entry, around, setup).None());
    EXPECT_EQ(setup.name, L"K\u00F6rl");
    EXPECT_EQ(setup.deviceClass, L"B");
    EXPECT_FALSE(setup.simulated);
    EXPECT_EQ(setup.host, "::1");
    EXPECT_EQ(setup.tcpPort, 65535);
    EXPECT_EQ(setup.vessel, L"Meridian");
    EXPECT_EQ(setup.group, 2147483647);

    entry = Good();
    entry.group = "";
    entry.simulated = true;
    entry.address = "whatever";
    EXPECT_TRUE(CheckSonar(entry, around, setup).None());
    EXPECT_TRUE(setup.simulated);
    EXPECT_EQ(setup.tcpPort, 0);
    EXPECT_EQ(setup.group, std::nullopt);
}

TEST(SonarEntryCheck, NamesAreThereOnceShortAndCanBeShown)
{
    auto entry = Good();
    auto const problem = [&](std::string const& name) {
        entry.name = name;
        auto const problems = ProblemsOf(entry);
        EXPECT_EQ(problems.address + problems.group + problems.vessel, "");
        return problems.name;
    };
    EXPECT_EQ(problem(""), "the sonar needs a name");
    EXPECT_EQ(problem("  \t"), "the sonar needs a name");
    EXPECT_EQ(problem(" Stern "), "there is another \"Stern\"");
    EXPECT_EQ(problem(std::string(101, 'x')), "the name is longer than 100 bytes");
    EXPECT_EQ(problem(std::string(100, 'x')), "");
    EXPECT_EQ(problem("a\nb"), "the name has a character that cannot be shown");
    EXPECT_EQ(problem("\x7F"), "the name has a character that cannot be shown");
}

TEST(SonarEntryCheck, AddressesAreAHostAndAPort)
{
    auto entry = Good();
    for (char const* const wrong : {"10.0.0.7", "10.0.0.7:", ":7000", "10.0.0.7:0", "10.0.0.7:65536", "10.0.0.7:-1",
                                    "10.0.0.7:7x", "10.0. 0.7:7000"}) {
        entry.address = wrong;
        EXPECT_NE(ProblemsOf(entry).address.find("is no HOST:PORT"), std::string::npos) << wrong;
    }
    entry.address = " ";
    EXPECT_EQ(ProblemsOf(entry).address, "the sonar needs an address, for example 192.168.1.10:7000");
}

TEST(SonarEntryCheck, GroupsAreWholeNumbersFromZero)
{
    auto entry = Good();
    for (char const* const wrong : {"-1", "2147483648", "1.5", "one", "1 2", "+1", "0x1"}) {
        entry.group = wrong;
        EXPECT_EQ(ProblemsOf(entry).group, "a ping group is a whole number from 0 to 2147483647, or empty") << wrong;
    }
    entry.group = "0";
    EXPECT_EQ(ProblemsOf(entry).group, "");
}

TEST(SonarEntryCheck, ClassAndVesselAreThere)
{
    auto entry = Good();
    entry.deviceClass = "C";
    entry.vessel = "";
    auto problems = ProblemsOf(entry);
    EXPECT_EQ(problems.deviceClass, "no plug-in offers sonars of this class");
    EXPECT_EQ(problems.vessel, "the vessel needs a name");
    entry.deviceClass = "";
    EXPECT_EQ(ProblemsOf(entry).deviceClass, "the sonar needs a class");
}

TEST(SonarEntryCheck, TellsAllThatIsWrongAtOnce)
{
    auto const problems = ProblemsOf({});
    EXPECT_FALSE(problems.name.empty() || problems.deviceClass.empty() || problems.address.empty() ||
                 problems.vessel.empty());
    EXPECT_EQ(problems.group, "") << "none is a group, too";
}

} // namespace
} // namespace qx5::test
