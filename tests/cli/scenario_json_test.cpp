// JSON as scenarios need it: numbers by their texts, defects in their places, one line for every error.
#include "cli/scenario/base64.h"
#include "json/json_parser.h"
#include "json/json_readers.h"

#include <gtest/gtest.h>

#include <fmt/format.h>
#include <nlohmann/json.hpp>

#include <algorithm>
#include <charconv>
#include <cmath>
#include <iterator>
#include <limits>
#include <random>
#include <string>
#include <utility>
#include <vector>

namespace qx5::cli {
namespace {

std::string Rewritten(std::string const& text)
{
    return WriteJson(ParseJson(text).Root().Copy());
}

std::vector<JsonMember> MembersOf(JsonDocument const& document)
{
    std::vector<JsonMember> members;
    for (auto const& member : document.Root().Members()) {
        members.push_back(member);
    }
    return members;
}

/// "path: reason" of the refusal, or "accepted".
std::string Refusal(std::string const& text)
{
    try {
        auto const document = ParseJson(text);
        RefuseDefects(document.Root(), JsonPath());
    } catch (InvalidDocument const& failure) {
        return failure.Path() + ": " + failure.what();
    }
    return "accepted";
}

TEST(Json, WritesWhatItReads)
{
    EXPECT_EQ(Rewritten(" { \"b\" : [ 1 , -0.0, 1e3, true, false, null ] , \"a\" : \"x\" } \n"),
              R"({"b":[1,-0.0,1e3,true,false,null],"a":"x"})");
    EXPECT_EQ(Rewritten("[]"), "[]");
    EXPECT_EQ(Rewritten("{}"), "{}");
    EXPECT_EQ(Rewritten("[[],{},[{}]]"), "[[],{},[{}]]");
    EXPECT_EQ(Rewritten("\xEF\xBB\xBF 7"), "7");
    EXPECT_EQ(Rewritten("18446744073709551616"), "18446744073709551616");
}

TEST(Json, ReadsEscapes)
{
    EXPECT_EQ(ParseJson(R"("\"\\\/\b\f\n\r\tA\u00e9\ud83d\ude00")").Root().Text(),
              "\"\\/\b\f\n\r\tA\xC3\xA9\xF0\x9F\x98\x80");
    EXPECT_EQ(Rewritten(R"("\u0001\n\u007f\u2028")"), R"("\u0001\n\u007f\u2028")");
    EXPECT_EQ(Rewritten("\"\xC3\xA9\""), "\"\xC3\xA9\"");
}

TEST(Json, KnowsIntegersFromOtherNumbers)
{
    EXPECT_TRUE(ParseJson("50").Root().IsIntegerLiteral());
    EXPECT_FALSE(ParseJson("50.0").Root().IsIntegerLiteral());
    EXPECT_FALSE(ParseJson("5e1").Root().IsIntegerLiteral());
    std::int64_t value = 1;
    EXPECT_TRUE(ParseJson("-9223372036854775808").Root().ReadInteger(value));
    EXPECT_EQ(value, std::numeric_limits<std::int64_t>::min());
    EXPECT_FALSE(ParseJson("9223372036854775808").Root().ReadInteger(value));
    EXPECT_EQ(value, std::numeric_limits<std::int64_t>::min());
}

TEST(Json, ReadsDoublesToTheNearest)
{
    double value = 1.0;
    EXPECT_TRUE(ParseJson("0.1").Root().ReadNumber(value));
    EXPECT_EQ(value, 0.1);
    EXPECT_TRUE(ParseJson("-0").Root().ReadNumber(value));
    EXPECT_TRUE(value == 0.0 && std::signbit(value));
    EXPECT_TRUE(ParseJson("-1e-400").Root().ReadNumber(value));
    EXPECT_TRUE(value == 0.0 && std::signbit(value));
    EXPECT_TRUE(ParseJson("0.0000001e-9999999999999999999999").Root().ReadNumber(value));
    EXPECT_TRUE(value == 0.0 && !std::signbit(value));
    EXPECT_TRUE(ParseJson("5e-324").Root().ReadNumber(value));
    EXPECT_EQ(value, std::numeric_limits<double>::denorm_min());
    EXPECT_TRUE(ParseJson("1.7976931348623157e308").Root().ReadNumber(value));
    EXPECT_EQ(value, std::numeric_limits<double>::max());
    EXPECT_TRUE(ParseJson("0e999").Root().ReadNumber(value));
    EXPECT_EQ(value, 0.0);
}

TEST(Json, WritesDoublesThatReadBack)
{
    EXPECT_EQ(DoubleText(50.0), "50.0");
    EXPECT_EQ(DoubleText(-0.0), "-0.0");
    EXPECT_EQ(DoubleText(0.1), "0.1");
    EXPECT_EQ(DoubleText(1e300), "1e+300");
    EXPECT_EQ(DoubleText(5e-324), "5e-324");
    EXPECT_EQ(DoubleText(std::numeric_limits<double>::infinity()), "inf");
    EXPECT_EQ(DoubleText(-std::numeric_limits<double>::infinity()), "-inf");
    EXPECT_EQ(DoubleText(-std::numeric_limits<double>::quiet_NaN()), "nan");
    EXPECT_EQ(WriteJson(JsonValue::Double(std::numeric_limits<double>::quiet_NaN())), "\"nan\"");
}

TEST(Json, WritesEveryDoubleAsShortAsItReadsBack)
{
    // As the standard library has it, with a point where it has none.
    auto const expect = [](double number) {
        char digits[40];
        std::string text(digits, std::to_chars(digits, digits + sizeof digits, number).ptr);
        text += text.find_first_of(".e") == std::string::npos ? ".0" : "";
        std::string written;
        AppendDouble(written, number);
        ASSERT_EQ(written, text);
    };
    for (int thousandths = 0; thousandths < 200'000'000; thousandths += thousandths < 20'000 ? 1 : 9973) {
        double const number = thousandths / 1000.0;
        for (double const each : {number, std::nextafter(number, 1e9), std::nextafter(number, -1e9)}) {
            expect(each);
            expect(-each);
        }
    }
    for (double const number : {99'999.999, 99'999.9991, 100'000.0, 100'000.001, 0.0009, 0.001, 0.0011, 1e-5, 1e22}) {
        expect(number);
    }
}

TEST(Json, KnowsWhereEachValueBegins)
{
    std::string const text = "{\"a\": [1, true,\n  \"x\", {}], \"b\" : null, \"\xFF\": 1e999, \"b\": -2}";
    auto const document = ParseJson(text);
    auto const from = [&](JsonNode const& value) { return text.substr(value.At(), 3); };
    EXPECT_EQ(from(document.Root()), "{\"a");
    auto const members = MembersOf(document);
    ASSERT_EQ(members.size(), 4U);
    auto const& list = members[0].value;
    EXPECT_EQ(from(list), "[1,");
    auto const items = list.Items().ToVector();
    ASSERT_EQ(items.size(), 4U);
    EXPECT_EQ(from(items[0]), "1, ");
    EXPECT_EQ(from(items[1]), "tru");
    EXPECT_EQ(from(items[2]), "\"x\"");
    EXPECT_EQ(from(items[3]), "{}]");
    EXPECT_EQ(from(members[1].value), "nul");
    // A defect stands where its text does: a key that cannot be told, and one that stands there twice.
    EXPECT_EQ(from(members[2].value), "\"\xFF\"");
    EXPECT_EQ(from(members[3].value), "-2}");
    EXPECT_EQ(LineAndColumn(text, items[2].At()), "line 2, column 3");
    EXPECT_EQ(LineAndColumn(text, 0), "line 1, column 1");
}

TEST(Json, RefusesWhatIsNotJson)
{
    EXPECT_EQ(Refusal(""), "$: not JSON: the text ends too early (line 1, column 1)");
    EXPECT_EQ(Refusal("[1,\n 2,\n  x]"), "$[2]: not JSON: a value is missing (line 3, column 3)");
    EXPECT_EQ(Refusal("[1,]"), "$[1]: not JSON: a value is missing (line 1, column 4)");
    EXPECT_EQ(Refusal("{\"a\":[{\"b\" 1}]}"), "$.a[0]: not JSON: a colon is missing after a key (line 1, column 12)");
    EXPECT_EQ(Refusal("{a:1}"), "$: not JSON: a key in quotes is missing (line 1, column 2)");
    EXPECT_EQ(Refusal("{\"a\":1,}"), "$.a: not JSON: a key in quotes is missing (line 1, column 8)");
    EXPECT_EQ(Refusal("[1"), "$[0]: not JSON: a comma or ] is missing (line 1, column 3)");
    EXPECT_EQ(Refusal("[1}"), "$[0]: not JSON: a comma or ] is missing (line 1, column 3)");
    EXPECT_EQ(Refusal("{} {}"), "$: not JSON: there is more text after the end of the document (line 1, column 4)");
    EXPECT_EQ(Refusal("01"), "$: not JSON: a number begins with a superfluous 0 (line 1, column 3)");
    EXPECT_EQ(Refusal("-"), "$: not JSON: a digit is missing (line 1, column 2)");
    EXPECT_EQ(Refusal("1."), "$: not JSON: a digit is missing after the point (line 1, column 3)");
    EXPECT_EQ(Refusal("1e+"), "$: not JSON: a digit is missing in the exponent (line 1, column 4)");
    EXPECT_EQ(Refusal("NaN"), "$: not JSON: a value is missing (line 1, column 1)");
    EXPECT_EQ(Refusal("\"a"), "$: not JSON: a text does not end (line 1, column 3)");
    EXPECT_EQ(Refusal("\"\\x\""), "$: not JSON: no such escape in a text (line 1, column 3)");
    EXPECT_EQ(Refusal("\"\\u12g4\""), "$: not JSON: \\u needs four hexadecimal digits (line 1, column 6)");
    EXPECT_EQ(Refusal("\"a\nb\""), "$: not JSON: a control character in a text must be escaped (line 1, column 3)");
    EXPECT_EQ(Refusal("\"\\"), "$: not JSON: no such escape in a text (line 1, column 3)");
    EXPECT_EQ(Refusal(std::string("[\0]", 3)), "$[0]: not JSON: a value is missing (line 1, column 2)");
}

TEST(Json, KeepsDefectsInTheirPlaces)
{
    EXPECT_EQ(Refusal(R"({"a":["x","\u0000"]})"), "$.a[1]: a text holds U+0000");
    EXPECT_EQ(Refusal(R"({"a":"\ud800"})"), "$.a: a text holds a lone surrogate");
    EXPECT_EQ(Refusal(R"({"a":"\ud800\u0041"})"), "$.a: a text holds a lone surrogate");
    EXPECT_EQ(Refusal(R"({"a":"\udc00\ud800"})"), "$.a: a text holds a lone surrogate");
    EXPECT_EQ(Refusal("[\"\xC0\x80\"]"), "$[0]: a text is not valid UTF-8");
    EXPECT_EQ(Refusal("[\"\xED\xA0\x80\"]"), "$[0]: a text is not valid UTF-8");
    EXPECT_EQ(Refusal("[\"\xFF\"]"), "$[0]: a text is not valid UTF-8");
    EXPECT_EQ(Refusal("[1e999]"), "$[0]: the number 1e999 is beyond the range of a double");
    EXPECT_EQ(Refusal("[-1e99999999999999999999]"),
              "$[0]: the number -1e99999999999999999999 is beyond the range of a double");
    EXPECT_EQ(Refusal(R"({"a":1,"b":2,"a":3})"), "$.a: the key \"a\" stands here twice");
    EXPECT_EQ(Refusal(R"({"x y":{"\u0000":1}})"), R"($["x y"][""]: in a key: a text holds U+0000)");
    EXPECT_EQ(Refusal(R"({"\ud800":[[1,{"a":2}],3]})"), R"($[""]: in a key: a text holds a lone surrogate)");
}

TEST(Json, KeepsTheTextOfEachNumber)
{
    std::string const large = '1' + std::string(400, '0');
    std::string const kept = "[-0,-0.0,0,1E+05,2e-3,-12345678901234567890123,18446744073709551615,1e-400," + large +
                             "e-300," + large + ".5E-390]";
    EXPECT_EQ(Rewritten(kept), kept);
    EXPECT_EQ(Refusal(kept), "accepted");
    EXPECT_EQ(Refusal('[' + large + ']'),
              "$[0]: the number 1000000000000000000000000000000000000000 is beyond the range of a double");
    EXPECT_EQ(Refusal("[-" + large + ".5]"),
              "$[0]: the number -100000000000000000000000000000000000000 is beyond the range of a double");
    EXPECT_EQ(Refusal("[1.5e+309,2]"), "$[0]: the number 1.5e+309 is beyond the range of a double");
    EXPECT_EQ(Refusal('0' + large), "$: not JSON: a number begins with a superfluous 0 (line 1, column 403)");
    EXPECT_EQ(Refusal(large + "."), "$: not JSON: a digit is missing after the point (line 1, column 403)");
    EXPECT_EQ(Refusal("1e999e"), "$: not JSON: there is more text after the end of the document (line 1, column 6)");
    EXPECT_EQ(Refusal("[1.e999]"), "$[0]: not JSON: a digit is missing after the point (line 1, column 4)");
}

TEST(Json, SaysWhereTheTextIsCut)
{
    std::string const whole = R"({"a":[-1.5e3,"x\u00e9",null],"b":{"c":0}})";
    std::string const comma = "a comma or ] is missing";
    std::string const brace = "a comma or } is missing";
    std::string const early = "the text ends too early";
    std::string const open = "a text does not end";
    std::string const hex = "\\u needs four hexadecimal digits";
    std::pair<char const*, std::string> const cuts[] = {
        {"$", early},
        {"$", "a key in quotes is missing"},
        {"$", open},
        {"$", open},
        {"$", "a colon is missing after a key"},
        {"$.a", early},
        {"$.a[0]", early},
        {"$.a[0]", "a digit is missing"},
        {"$.a[0]", comma},
        {"$.a[0]", "a digit is missing after the point"},
        {"$.a[0]", comma},
        {"$.a[0]", "a digit is missing in the exponent"},
        {"$.a[0]", comma},
        {"$.a[1]", early},
        {"$.a[1]", open},
        {"$.a[1]", open},
        {"$.a[1]", "no such escape in a text"},
        {"$.a[1]", hex},
        {"$.a[1]", hex},
        {"$.a[1]", hex},
        {"$.a[1]", hex},
        {"$.a[1]", open},
        {"$.a[1]", comma},
        {"$.a[2]", early},
        {"$.a[2]", ""}, // a word that is cut begins where no value does
        {"$.a[2]", ""},
        {"$.a[2]", ""},
        {"$.a[2]", comma},
        {"$.a", brace},
        {"$.a", "a key in quotes is missing"},
        {"$.a", open},
        {"$.a", open},
        {"$.a", "a colon is missing after a key"},
        {"$.b", early},
        {"$.b", "a key in quotes is missing"},
        {"$.b", open},
        {"$.b", open},
        {"$.b", "a colon is missing after a key"},
        {"$.b.c", early},
        {"$.b.c", brace},
        {"$.b", brace},
    };
    ASSERT_EQ(std::size(cuts), whole.size());
    for (std::size_t length = 0; length < whole.size(); ++length) {
        auto const& [path, reason] = cuts[length];
        auto const said = reason.empty() ? "a value is missing (line 1, column 24)"
                                         : reason + " (line 1, column " + std::to_string(length + 1) + ")";
        EXPECT_EQ(Refusal(whole.substr(0, length)), path + (": not JSON: " + said));
    }
    EXPECT_EQ(Refusal(whole), "accepted");
}

TEST(Json, SaysWhatFollowsTheDocument)
{
    std::string const more = "$: not JSON: there is more text after the end of the document";
    EXPECT_EQ(Refusal("[]\r\n\n  ]"), more + " (line 3, column 3)");
    EXPECT_EQ(Refusal("1 2"), more + " (line 1, column 3)");
    EXPECT_EQ(Refusal("1 true"), more + " (line 1, column 3)");
    EXPECT_EQ(Refusal("{}x"), more + " (line 1, column 3)");
    EXPECT_EQ(Refusal("\"a\" \"b\""), more + " (line 1, column 5)");
    EXPECT_EQ(Refusal("{},"), more + " (line 1, column 3)");
    EXPECT_EQ(Refusal(std::string("{}\n\0", 4)), more + " (line 2, column 1)");
    EXPECT_EQ(Refusal("[]\xEF\xBB\xBF"), more + " (line 1, column 3)");
    EXPECT_EQ(Refusal("[] // no"), more + " (line 1, column 4)");
    EXPECT_EQ(Refusal(" \t\r\n "), "$: not JSON: the text ends too early (line 2, column 2)");
    EXPECT_EQ(Refusal("\xEF\xBB\xBF"), "$: not JSON: the text ends too early (line 1, column 4)");
    EXPECT_EQ(Refusal("[1] \n\n"), "accepted");
}

TEST(Json, SaysWhatStandsWhereSomethingElseIsWanted)
{
    EXPECT_EQ(Refusal("[1 23]"), "$[0]: not JSON: a comma or ] is missing (line 1, column 4)");
    EXPECT_EQ(Refusal("[1 true]"), "$[0]: not JSON: a comma or ] is missing (line 1, column 4)");
    EXPECT_EQ(Refusal("[[] x]"), "$[0]: not JSON: a comma or ] is missing (line 1, column 5)");
    EXPECT_EQ(Refusal("[\"a\" \"b c\"]"), "$[0]: not JSON: a comma or ] is missing (line 1, column 6)");
    EXPECT_EQ(Refusal("[true}"), "$[0]: not JSON: a comma or ] is missing (line 1, column 6)");
    EXPECT_EQ(Refusal("{\"a\":1 \"b\":2}"), "$.a: not JSON: a comma or } is missing (line 1, column 8)");
    EXPECT_EQ(Refusal("{\"a\":1]"), "$.a: not JSON: a comma or } is missing (line 1, column 7)");
    EXPECT_EQ(Refusal("{\"a\":}"), "$.a: not JSON: a value is missing (line 1, column 6)");
    EXPECT_EQ(Refusal("{\"a\":1,\"b\" \"c\"}"), "$.a: not JSON: a colon is missing after a key (line 1, column 12)");
    EXPECT_EQ(Refusal("{7:1}"), "$: not JSON: a key in quotes is missing (line 1, column 2)");
    EXPECT_EQ(Refusal("{null:1}"), "$: not JSON: a key in quotes is missing (line 1, column 2)");
    EXPECT_EQ(Refusal("{'a':1}"), "$: not JSON: a key in quotes is missing (line 1, column 2)");
    EXPECT_EQ(Refusal("[,1]"), "$[0]: not JSON: a value is missing (line 1, column 2)");
    EXPECT_EQ(Refusal("[1, /* */ 2]"), "$[1]: not JSON: a value is missing (line 1, column 5)");
    EXPECT_EQ(Refusal("[nul]"), "$[0]: not JSON: a value is missing (line 1, column 2)");
    EXPECT_EQ(Refusal("[True]"), "$[0]: not JSON: a value is missing (line 1, column 2)");
    EXPECT_EQ(Refusal("[.5]"), "$[0]: not JSON: a value is missing (line 1, column 2)");
    EXPECT_EQ(Refusal("[+1]"), "$[0]: not JSON: a value is missing (line 1, column 2)");
    EXPECT_EQ(Refusal("[1,-x]"), "$[1]: not JSON: a digit is missing (line 1, column 5)");
    EXPECT_EQ(Refusal("[-00]"), "$[0]: not JSON: a number begins with a superfluous 0 (line 1, column 5)");
    EXPECT_EQ(Refusal("[\xFF]"), "$[0]: not JSON: a value is missing (line 1, column 2)");
    EXPECT_EQ(Refusal("{\"a\":1,\"b\\x\":2}"), "$.a: not JSON: no such escape in a text (line 1, column 11)");
    // A quote too many is told where it stands, not where the text ends that it begins.
    EXPECT_EQ(Refusal("[\"a\"\",1]\n\n"), "$[0]: not JSON: a comma or ] is missing (line 1, column 5)");
    EXPECT_EQ(Refusal("{\"a\":\"b\"\",\n\"c\":1}"), "$.a: not JSON: a comma or } is missing (line 1, column 9)");
    EXPECT_EQ(Refusal("{\"a\"\":1}"), "$: not JSON: a colon is missing after a key (line 1, column 5)");
    EXPECT_EQ(Refusal("{}\"\\x\""), "$: not JSON: there is more text after the end of the document (line 1, column 3)");
    EXPECT_EQ(Refusal("[1 -]"), "$[0]: not JSON: a comma or ] is missing (line 1, column 4)");
    // Columns count bytes.
    EXPECT_EQ(Refusal("[\"\xC3\xA9\",x]"), "$[1]: not JSON: a value is missing (line 1, column 7)");
}

TEST(Json, ABadValueSpoilsNoOther)
{
    auto const document = ParseJson(
        "[\"\xFF\",\"\\ud800\",\"\\u0000\",1e999,{\"a\":1,\"a\":2},{\"\xC3\":3},\"\xE2\x82\",\"\\\"\xC3\xA9\",-0]");
    auto const items = document.Root().Items().ToVector();
    ASSERT_EQ(items.size(), 9U);
    auto const isSound = [&](std::size_t index) {
        try {
            RefuseDefects(items[index], JsonPath());
        } catch (InvalidDocument const&) {
            return false;
        }
        return true;
    };
    for (std::size_t i = 0; i < 7; ++i) {
        EXPECT_FALSE(isSound(i)) << i;
    }
    EXPECT_EQ(WriteJson(items[7].Copy()), "\"\\\"\xC3\xA9\"");
    EXPECT_EQ(WriteJson(items[8].Copy()), "-0");
    // But what is no JSON spoils the whole, wherever it stands.
    EXPECT_EQ(Refusal("[\"\xFF\",\"\\ud800\",1e999,x]"), "$[3]: not JSON: a value is missing (line 1, column 21)");
    EXPECT_EQ(Refusal("[\"\xFF\\x\"]"), "$[0]: not JSON: no such escape in a text (line 1, column 5)");
    EXPECT_EQ(Refusal("[\"\\ud800\\ud8x0\"]"), "$[0]: not JSON: \\u needs four hexadecimal digits (line 1, column 13)");
}

TEST(Json, JoinsSurrogates)
{
    EXPECT_EQ(ParseJson(R"("\uD83D\uDE00\udbff\udfff")").Root().Text(), "\xF0\x9F\x98\x80\xF4\x8F\xBF\xBF");
    EXPECT_EQ(Rewritten("\"\xF0\x9F\x98\x80\xEF\xBF\xBF\""), "\"\xF0\x9F\x98\x80\xEF\xBF\xBF\"");
    for (char const* lone : {R"("\ud83d\\ude00")", R"("\ud83dude00")", R"("\ud83d")", R"("\ud83d\n\ude00")",
                             R"("\ud83d\ud83d\ude00")", R"("\ude00\ud83d\ude00")"}) {
        EXPECT_EQ(Refusal(lone), "$: a text holds a lone surrogate") << lone;
    }
    for (char const* bad : {"\"\x80\"", "\"\xC2\"", "\"\xC0\xAF\"", "\"\xE0\x9F\xBF\"", "\"\xF0\x8F\xBF\xBF\"",
                            "\"\xF4\x90\x80\x80\"", "\"\xF5\"", "\"\xE2\x82z\""}) {
        EXPECT_EQ(Refusal(bad), "$: a text is not valid UTF-8") << bad;
    }
}

TEST(Json, RefusesEveryRepetitionOfAKey)
{
    EXPECT_EQ(Refusal(R"({"a":1,"\u0061":2})"), "$.a: the key \"a\" stands here twice");
    EXPECT_EQ(Refusal(R"([{"b":{"a":[],"a":{"c":1}}}])"), "$[0].b.a: the key \"a\" stands here twice");
    EXPECT_EQ(Refusal(R"({"a":{"a":{"a":1}},"b":{"a":1}})"), "accepted");
    auto const thrice = ParseJson(R"({"a":1,"a":2,"a":3,"b":4})");
    auto const members = MembersOf(thrice);
    ASSERT_EQ(members.size(), 4U);
    EXPECT_EQ(members[0].value.Text(), "1");
    EXPECT_TRUE(members[1].value.Is(JsonValue::Kind::Defect));
    EXPECT_TRUE(members[2].value.Is(JsonValue::Kind::Defect));
    EXPECT_EQ(members[3].value.Text(), "4");
}

TEST(Json, RefusesARepetitionAmongManyKeys)
{
    std::string text = "{";
    for (int i = 0; i < 200; ++i) {
        text += fmt::format("\"key {}\":{{\"inner\":{}}},", i, i);
    }
    EXPECT_EQ(Refusal(text + "\"last\":0}"), "accepted");
    for (int const again : {0, 11, 12, 13, 199}) {
        EXPECT_EQ(Refusal(fmt::format("{}\"key {}\":0}}", text, again)),
                  fmt::format("$[\"key {0}\"]: the key \"key {0}\" stands here twice", again));
    }
}

TEST(Json, KeepsWhatStandsAcrossTheBlocksThatItReadsIn)
{
    // Texts, numbers and what is wrong with them come to stand at every place of a block's end.
    for (std::size_t const length : {16'370U, 16'375U, 16'380U, 16'384U, 16'390U, 40'000U}) {
        std::string const padding(length, ' ');
        std::string const text(length, 'x');
        EXPECT_EQ(Rewritten("[" + padding + "\"\\ud83d\\ude00 \\u0041\",12345678901234567890,true,null,{\"" + text +
                            "\":-0}]"),
                  "[\"\xF0\x9F\x98\x80 A\",12345678901234567890,true,null,{\"" + text + "\":-0}]");
        EXPECT_EQ(Refusal("[" + padding + "\"\\ud83d\"]"), "$[0]: a text holds a lone surrogate");
        EXPECT_EQ(Refusal("[" + padding + "\"\xE2\x82\"]"), "$[0]: a text is not valid UTF-8");
        EXPECT_EQ(Refusal("[" + padding + "1e999]"), "$[0]: the number 1e999 is beyond the range of a double");
        EXPECT_EQ(Refusal("[\"" + text + "\",x]"),
                  fmt::format("$[1]: not JSON: a value is missing (line 1, column {})", length + 5));
    }
}

/// A document of whatever JSON may hold, and the same as another reader has it.
class AnyDocument
{
public:
    explicit AnyDocument(unsigned seed) : m_chance(seed) {}

    std::string Value(int depth)
    {
        switch (Upto(depth > 6 ? 4 : 6)) {
        case 0:
            return "null";
        case 1:
            return Upto(1) == 0 ? "true" : "false";
        case 2:
        case 3:
            return Number();
        case 4:
            return Text();
        case 5: {
            std::string items;
            for (int i = Upto(depth == 0 ? 400 : 5); i > 0; --i) {
                items += (items.empty() ? "" : ",") + Space() + Value(depth + 1) + Space();
            }
            return "[" + items + "]";
        }
        default: {
            std::string members;
            for (int i = Upto(depth == 0 ? 400 : 5); i > 0; --i) {
                members += fmt::format("{}{}\"{}{}", members.empty() ? "" : ",", Space(), i, Text().substr(1)) + ":" +
                           Value(depth + 1);
            }
            return "{" + members + "}";
        }
        }
    }

private:
    int Upto(int greatest) { return std::uniform_int_distribution(0, greatest)(m_chance); }
    std::string Space() { return std::string(static_cast<std::size_t>(Upto(3)), " \n\t\r"[Upto(3)]); }
    std::string Number()
    {
        static constexpr char const* numbers[] = {"0", "-0", "7", "-12", "0.5", "1e3", "-2.25E-3", "123456789012"};
        return numbers[Upto(7)];
    }
    std::string Text()
    {
        static constexpr char const* parts[] = {"a", "x5Range",  "\\n", "\\\"", "\\u00e9", "\\ud83d\\ude00",
                                                " ", "\xC3\xA9", "/",   "\\\\", "\\/",     "\xF0\x9F\x98\x80"};
        std::string text;
        for (int i = Upto(Upto(40) == 0 ? 4000 : 5); i > 0; --i) {
            text += parts[Upto(11)];
        }
        return '"' + text + '"';
    }

    std::mt19937 m_chance;
};

TEST(Json, ReadsWhatAnotherReaderReads)
{
    for (unsigned seed = 0; seed < 500; ++seed) {
        auto const text = AnyDocument(seed).Value(0);
        ASSERT_EQ(nlohmann::json::parse(Rewritten(text)), nlohmann::json::parse(text)) << seed;
    }
}

/// Whether the reader of sound documents takes it; what it then has is held against what the other one has.
bool IsTakenAsSound(std::string const& text)
{
    JsonContent sound;
    sound.text = text;
    if (!ReadSoundJson(sound)) {
        return false;
    }
    JsonContent other;
    other.text = text;
    EXPECT_NO_THROW(ReadJson(other)) << text.substr(0, 200);
    EXPECT_FALSE(other.hasDefects) << text.substr(0, 200);
    EXPECT_EQ(sound.beside, other.beside) << text.substr(0, 200);
    EXPECT_EQ(sound.entries.size(), other.entries.size()) << text.substr(0, 200);
    for (std::size_t i = 0; i < std::min(sound.entries.size(), other.entries.size()); ++i) {
        EXPECT_EQ(sound.entries[i], other.entries[i]) << text.substr(0, 200) << ", entry " << i;
    }
    return true;
}

TEST(Json, TakesSoundDocumentsAtOnce)
{
    std::string members = "{";
    for (int i = 0; i < 300; ++i) {
        members += fmt::format("\"key {}\":{{}},", i);
    }
    for (std::string const& text : {
             std::string(" [ ] "),
             std::string("\xEF\xBB\xBF{}"),
             std::string(R"({"a":[1,-0,0.5,1e3,2.5E-3,1e+2,-12.75],"b":{"c":null,"d":true,"e":false},"f":""})"),
             std::string(R"(["\"\\\/\b\f\n\r\t\u0041\u00e9\uFFFF", "\\", "a\"", "\"b"])"),
             std::string("[\"\xC3\xA9\",\"\xF0\x9F\x98\x80\",\"\x7F\"]"),
             std::string("\r\n\t 7 \n"),
             "[" + std::string(400, '9').insert(200, ".") + "]",
             "[" + std::string(305, '9') + "]",
             members + "\"last\":0}",
             std::string(JsonNestingLimit, '[') + std::string(JsonNestingLimit, ']'),
         }) {
        EXPECT_TRUE(IsTakenAsSound(text)) << text.substr(0, 200);
    }
    for (unsigned seed = 0; seed < 500; ++seed) {
        IsTakenAsSound(AnyDocument(seed).Value(0));
    }
}

TEST(Json, TakesNothingElseAtOnce)
{
    std::string const sound = R"({"a":[1,-0.5e1,"x\n\u0041",true,null],"b":{"c":false,"d":[[],{}]}})";
    ASSERT_TRUE(IsTakenAsSound(sound));
    for (std::size_t length = 0; length < sound.size(); ++length) {
        EXPECT_FALSE(IsTakenAsSound(sound.substr(0, length))) << length;
    }
    // Whatever stands at whichever place: what is taken is what the other reader has.
    for (std::size_t at = 0; at < sound.size(); ++at) {
        for (int c = 0; c < 256; ++c) {
            auto changed = sound;
            changed[at] = static_cast<char>(c);
            IsTakenAsSound(changed);
        }
    }
    for (std::string const& text : {std::string("[1]x"),
                                    std::string("[01]"),
                                    std::string("[1.]"),
                                    std::string("[1e]"),
                                    std::string("[-]"),
                                    std::string("[+1]"),
                                    std::string("[.5]"),
                                    std::string("[1,]"),
                                    std::string("{\"a\":1,}"),
                                    std::string("{,}"),
                                    std::string("[tru]"),
                                    std::string("[\"\\x\"]"),
                                    std::string("[\"\\u12\"]"),
                                    std::string("[\"\t\"]"),
                                    std::string("[\"\\u0000\"]"),
                                    std::string("[\"\\udc00\"]"),
                                    std::string("[\"\xC3\"]"),
                                    std::string("[1e999]"),
                                    std::string("{\"a\":1,\"a\":2}"),
                                    std::string("{\"a\":1,\"\\u0061\":2}"),
                                    std::string("[\0]", 4),
                                    std::string("[\"\0\"]", 5),
                                    std::string("[1]\0", 4),
                                    "[" + std::string(310, '9') + "]",
                                    std::string(JsonNestingLimit + 1, '[') + std::string(JsonNestingLimit + 1, ']')}) {
        EXPECT_FALSE(IsTakenAsSound(text)) << text.substr(0, 200);
    }
}

TEST(Json, BoundsNesting)
{
    auto const nested = [](std::size_t depth) { return std::string(depth, '[') + std::string(depth, ']'); };
    EXPECT_EQ(Refusal(nested(JsonNestingLimit)), "accepted");
    auto const refusal = Refusal(nested(JsonNestingLimit + 1));
    EXPECT_EQ(refusal.substr(refusal.find(": ")), ": nested deeper than 1024 levels");
    auto const deep = Refusal("[7," + nested(1000000) + ",8]");
    EXPECT_EQ(deep.substr(deep.find(": ")), ": nested deeper than 1024 levels");
    // Syntax is checked below the limit, too.
    auto const broken = Refusal(std::string(5000, '[') + std::string(4999, ']'));
    EXPECT_NE(broken.find("not JSON: a comma or ] is missing"), std::string::npos) << broken;
    auto const objects = Refusal([] {
        std::string text;
        for (int i = 0; i < 3000; ++i) {
            text += "{\"a\":";
        }
        return text + "1" + std::string(3000, '}');
    }());
    EXPECT_EQ(objects.substr(objects.find(": ")), ": nested deeper than 1024 levels");
}

TEST(Json, ReadsBase64)
{
    using Bytes = std::vector<unsigned char>;
    EXPECT_EQ(DecodeBase64(""), Bytes{});
    EXPECT_EQ(DecodeBase64("AP8="), (Bytes{0x00, 0xFF}));
    EXPECT_EQ(DecodeBase64("QQ=="), (Bytes{0x41}));
    EXPECT_EQ(DecodeBase64("QUJD"), (Bytes{0x41, 0x42, 0x43}));
    EXPECT_EQ(DecodeBase64("+/+/"), (Bytes{0xFB, 0xFF, 0xBF}));
    for (char const* bad : {"Q", "QQ=", "QR==", "QQ==QQ==", "QU JD", "Q===", "====", "QUI_"}) {
        EXPECT_FALSE(DecodeBase64(bad).has_value()) << bad;
    }
}

} // namespace
} // namespace qx5::cli
