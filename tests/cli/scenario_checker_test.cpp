// What counts as the same event, and how a difference is told.
#include "json/event_difference.h"
#include "json/json_parser.h"

#include <gtest/gtest.h>

namespace qx5::cli::scenario_checker_test {
namespace {

/// The first line of the difference between two lists of events, or "same".
std::string Difference(std::string const& expected, std::string const& got)
{
    auto const wanted = ParseJson(expected);
    auto const happened = ParseJson(got);
    auto const found = FindDifference(wanted.Root().Items().ToVector(), happened.Root().Items().ToVector());
    return found.has_value() ? found->substr(0, found->find('\n')) : "same";
}

TEST(Checker, FindsSameEventsSame)
{
    EXPECT_EQ(Difference("[]", "[]"), "same");
    EXPECT_EQ(
        Difference(R"([{"ask":7504,"device":0,"enumerator":-1}])", R"([{"enumerator":-1,"device":0,"ask":7504}])"),
        "same");
    EXPECT_EQ(
        Difference(R"([{"echo":[["a","double",50]],"flags":0}])", R"([{"echo":[["a","double",50.0]],"flags":0}])"),
        "same");
    EXPECT_EQ(Difference(R"([{"echo":[["a","double","nan"]]}])", R"([{"echo":[["a","double","nan"]]}])"), "same");
    EXPECT_EQ(Difference(R"([{"echo":[["a","double",5.0e1]]}])", R"([{"echo":[["a","double",50.0]]}])"), "same");
}

TEST(Checker, TellsNumbersApart)
{
    EXPECT_EQ(Difference(R"([{"echo":[["a","double",0.0]]}])", R"([{"echo":[["a","double",-0.0]]}])"),
              "event 1 differs at $.echo[0][2]: expected 0.0, got -0.0");
    EXPECT_EQ(Difference(R"([{"echo":[["a","int",50]]}])", R"([{"echo":[["a","double",50.0]]}])"),
              "event 1 differs at $.echo[0][1]: expected \"int\", got \"double\"");
    EXPECT_EQ(Difference(R"([{"x":9007199254740993}])", R"([{"x":9007199254740992}])"),
              "event 1 differs at $.x: expected 9007199254740993, got 9007199254740992");
    EXPECT_EQ(Difference(R"([{"x":0.1}])", R"([{"x":0.10000000000000002}])"),
              "event 1 differs at $.x: expected 0.1, got 0.10000000000000002");
    EXPECT_EQ(Difference(R"([{"x":1}])", R"([{"x":true}])"), "event 1 differs at $.x: expected 1, got true");
    EXPECT_EQ(Difference(R"([{"x":"nan"}])", R"([{"x":"inf"}])"),
              R"(event 1 differs at $.x: expected "nan", got "inf")");
}

TEST(Checker, TellsOrderAndNumberOfEvents)
{
    EXPECT_EQ(Difference(R"([{"a":1},{"b":2}])", R"([{"b":2},{"a":1}])"),
              "event 1 differs at $.a: expected 1, got nothing");
    EXPECT_EQ(Difference(R"([{"a":1},{"b":2}])", R"([{"a":1}])"), "event 2 did not happen (2 expected, 1 happened)");
    EXPECT_EQ(Difference("[]", R"([{"a":1}])"), "event 1 was not expected (0 expected, 1 happened)");
    EXPECT_EQ(Difference(R"([{"a":1}])", R"([{"a":1,"of":[1,78,2,1]}])"),
              "event 1 differs at $.of: expected nothing, got [1,78,2,1]");
    EXPECT_EQ(Difference(R"([{"echo":[["a","none"],["b","none"]]}])", R"([{"echo":[["a","none"]]}])"),
              R"(event 1 differs at $.echo[1]: expected ["b","none"], got nothing)");
}

TEST(Checker, TellsTheWholeEventsInFurtherLines)
{
    auto const wanted = ParseJson(R"([{"a":1}])");
    auto const happened = ParseJson(R"([{"a":2}])");
    auto const found = FindDifference(wanted.Root().Items().ToVector(), happened.Root().Items().ToVector());
    EXPECT_EQ(found, "event 1 differs at $.a: expected 1, got 2\n  expected {\"a\":1}\n  got      {\"a\":2}");
}

TEST(Checker, ComparesPayloadsByBytes)
{
    EXPECT_EQ(Difference(R"([{"remote":1003,"payload":"00004842"}])", R"([{"remote":1003,"payload":"00004843"}])"),
              "event 1 differs at $.payload: byte 3: expected 42, got 43");
    EXPECT_EQ(Difference(R"([{"payload":"0000"}])", R"([{"payload":"000000"}])"),
              "event 1 differs at $.payload: expected 2 bytes, got 3 (the same up to byte 2)");
    EXPECT_EQ(Difference(R"([{"raw":"01","flag":false}])", R"([{"raw":"02","flag":false}])"),
              "event 1 differs at $.raw: byte 0: expected 01, got 02");
    EXPECT_EQ(Difference(R"([{"payload":"AB"}])", R"([{"payload":"ab"}])"),
              "event 1 differs at $.payload: the expected payload is not lower-case hex of whole bytes");
    EXPECT_EQ(Difference(R"([{"payload":"abc"}])", R"([{"payload":"ab"}])"),
              "event 1 differs at $.payload: the expected payload is not lower-case hex of whole bytes");
    EXPECT_EQ(Difference(R"([{"payload":""}])", R"([{"payload":"00"}])"),
              "event 1 differs at $.payload: expected 0 bytes, got 1 (the same up to byte 0)");
}

TEST(Checker, TakesNoNoticeOfTheSignOfANaN)
{
    EXPECT_EQ(Difference(R"([{"payload":"0000c07f"}])", R"([{"payload":"0000c0ff"}])"), "same");
    EXPECT_EQ(Difference(R"([{"payload":"110000c0ff22"}])", R"([{"payload":"110000c07f22"}])"), "same");
    EXPECT_EQ(Difference(R"([{"payload":"000000000000f87f"}])", R"([{"payload":"000000000000f8ff"}])"), "same");
    // No NaN: too short, further bits, an infinity, the largest integer against -1.
    EXPECT_EQ(Difference(R"([{"payload":"00c07f"}])", R"([{"payload":"00c0ff"}])"),
              "event 1 differs at $.payload: byte 2: expected 7f, got ff");
    EXPECT_EQ(Difference(R"([{"payload":"0100c07f"}])", R"([{"payload":"0100c0ff"}])"),
              "event 1 differs at $.payload: byte 3: expected 7f, got ff");
    EXPECT_EQ(Difference(R"([{"payload":"0000807f"}])", R"([{"payload":"000080ff"}])"),
              "event 1 differs at $.payload: byte 3: expected 7f, got ff");
    EXPECT_EQ(Difference(R"([{"payload":"ffffff7f"}])", R"([{"payload":"ffffffff"}])"),
              "event 1 differs at $.payload: byte 3: expected 7f, got ff");
    EXPECT_EQ(Difference(R"([{"payload":"010000000000f87f"}])", R"([{"payload":"010000000000f8ff"}])"),
              "event 1 differs at $.payload: byte 7: expected 7f, got ff");
}

} // namespace
} // namespace qx5::cli::scenario_checker_test
