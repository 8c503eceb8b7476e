// The lines that a running program and a shell say to one another, written by hand.
#include "shell/shell_messages.h"
#include "shell/told_value.h"

#include "json/json_path.h"

#include <VordalAttributesR/CVordalType.h>
#include <protocol/records/all.h>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

namespace qx5::shell {
namespace {

namespace keys = protocol::keys;

std::string WhyNot(std::string_view line)
{
    try {
        ReadQuestion(line);
    } catch (InvalidDocument const& problem) {
        EXPECT_EQ(std::string_view(problem.what()).find('\n'), std::string_view::npos);
        return problem.Path() + ": " + problem.what();
    }
    return "it was read";
}

TEST(ShellMessages, AQuestionForValues)
{
    auto const get = ReadQuestion(R"({"qx5": 1, "get": ["x5Range", "a/b"], "sonar": "Hull sonar"})");
    EXPECT_EQ(get.kind, Question::Kind::Get);
    EXPECT_THAT(get.keys, testing::ElementsAre("x5Range", "a/b"));
    EXPECT_EQ(get.sonar, "Hull sonar");

    auto const watch = ReadQuestion(R"({"watch": [], "qx5": 1, "comment": "not known, passed over"})");
    EXPECT_EQ(watch.kind, Question::Kind::Watch);
    EXPECT_TRUE(watch.keys.empty());
    EXPECT_EQ(watch.sonar, "");

    EXPECT_EQ(LineOf(Question{Question::Kind::Watch, "1.78.1.1", {"x5Range"}, {}}),
              "{\"qx5\":1,\"watch\":[\"x5Range\"],\"sonar\":\"1.78.1.1\"}\n");
    EXPECT_EQ(LineOf(Question{}), "{\"qx5\":1,\"get\":[]}\n");
}

TEST(ShellMessages, ARequest)
{
    auto const request = ReadQuestion(R"({"qx5": 1, "request": [["x5Range", "double", 50.0]]})");
    EXPECT_EQ(request.kind, Question::Kind::Request);
    double range = 0.0;
    EXPECT_TRUE(request.request.FindValue(AttributeKey(keys::x5Range.text)).Get(range));
    EXPECT_EQ(range, 50.0);
    EXPECT_EQ(LineOf(request), "{\"qx5\":1,\"request\":[[\"x5Range\",\"double\",50.0]]}\n");
}

TEST(ShellMessages, WhatIsNoQuestionIsRefusedInOneLine)
{
    EXPECT_THAT(WhyNot(""), testing::HasSubstr("line 1"));
    EXPECT_THAT(WhyNot("[]"), testing::HasSubstr("$"));
    EXPECT_EQ(WhyNot(R"({"get": []})"), "$: \"qx5\" is missing");
    EXPECT_EQ(WhyNot(R"({"qx5": 2, "get": []})"), "$.qx5: this program knows form 1 alone, not 2");
    EXPECT_EQ(WhyNot(R"({"qx5": 1})"), "$: there must be one of \"get\", \"watch\" and \"request\"");
    EXPECT_EQ(WhyNot(R"({"qx5": 1, "get": [], "watch": []})"),
              "$: there must be one of \"get\", \"watch\" and \"request\"");
    EXPECT_EQ(WhyNot(R"({"qx5": 1, "get": [""]})"), "$.get[0]: a key without text");
    EXPECT_EQ(WhyNot(R"({"qx5": 1, "request": []})"), "$.request: nothing is asked for");
    EXPECT_THAT(WhyNot(R"({"qx5": 1, "get": [1]})"), testing::StartsWith("$.get[0]: "));
    EXPECT_THAT(WhyNot(R"({"qx5": 1, "get": "x5Range"})"), testing::StartsWith("$.get: "));
    EXPECT_THAT(WhyNot(R"({"qx5": 1, "get": [], "sonar": 1})"), testing::StartsWith("$.sonar: "));
    std::string many = R"({"qx5": 1, "get": ["a")";
    for (std::size_t i = 0; i < GreatestKeys; ++i) {
        many += ",\"a\"";
    }
    EXPECT_EQ(WhyNot(many + "]}"), "$.get: more than 1000 keys");
}

TEST(ShellMessages, AnswersAreReadAsTheyAreWritten)
{
    constexpr char const* greeting =
        R"({"qx5":1,"version":"0.1.0","process":4711,"sonars":[{"name":"Hull sonar","id":"1.78.1.1","connected":true}]})";
    auto const greeted = std::get<Greeting>(ReadAnswer(greeting));
    EXPECT_EQ(greeted.version, "0.1.0");
    EXPECT_EQ(greeted.process, 4711U);
    ASSERT_EQ(greeted.sonars.size(), 1U);
    EXPECT_EQ(greeted.sonars.front().name, "Hull sonar");
    EXPECT_EQ(greeted.sonars.front().id, "1.78.1.1");
    EXPECT_TRUE(greeted.sonars.front().connected);
    EXPECT_EQ(LineOf(Answer(greeted)), std::string(greeting) + "\n");

    constexpr char const* value =
        R"({"qx5":1,"time":"2026-11-21T01:26:24.498Z","sonar":"sonar","key":"x5BeamSteer","value":[10,-10],"unit":"deg","kind":"pair"})";
    auto const told = std::get<ToldValue>(ReadAnswer(value));
    EXPECT_EQ(told.value, "[10,-10]");
    EXPECT_EQ(told.unit, "deg");
    EXPECT_EQ(LineOf(Answer(told)), std::string(value) + "\n");
    EXPECT_EQ(TextOf(told), "x5BeamSteer = 10, -10 deg");
    EXPECT_EQ(
        JsonOf(told),
        R"({"time":"2026-11-21T01:26:24.498Z","sonar":"sonar","key":"x5BeamSteer","value":[10,-10],"unit":"deg","kind":"pair"})");

    constexpr char const* outcome =
        R"({"qx5":1,"result":"differs","reason":"clipped","values":[{"key":"x5Range","asked":99999,"before":50,"got":500,"unit":"m"}]})";
    auto const became = std::get<Outcome>(ReadAnswer(outcome));
    EXPECT_EQ(became.result, "differs");
    ASSERT_EQ(became.values.size(), 1U);
    EXPECT_EQ(became.values.front().got, "500");
    EXPECT_EQ(LineOf(Answer(became)), std::string(outcome) + "\n");

    EXPECT_TRUE(std::holds_alternative<Done>(ReadAnswer(R"({"qx5":1,"done":true})")));
    EXPECT_EQ(std::get<Problem>(ReadAnswer(R"({"qx5":1,"error":"there is no sonar"})")).text, "there is no sonar");
    EXPECT_THROW(ReadAnswer(R"({"qx5":1})"), InvalidDocument);
}

TEST(ShellMessages, ValuesForPeople)
{
    EXPECT_EQ(ValueText("50", "m"), "50 m");
    EXPECT_EQ(ValueText("null", "m"), "none");
    EXPECT_EQ(ValueText("true", ""), "true");
    EXPECT_EQ(ValueText("\"Bow \\u00fc\"", ""), "Bow \u00fc");
    EXPECT_EQ(ValueText("[1.5,2]", "deg"), "1.5, 2 deg");
}

TEST(ShellMessages, AValueWithItsUnitAndKind)
{
    CVordalDouble const value(0.25);
    auto const told = Tell("sonar", 1795224384.498, {"a/x5Range", keys::x5Range.text, &value});
    EXPECT_EQ(told.time, "2026-11-21T01:26:24.498Z");
    EXPECT_EQ(told.key, "a/x5Range");
    EXPECT_EQ(told.value, "0.25");
    EXPECT_EQ(told.unit, "m");
    EXPECT_EQ(told.kind, "double");
    EXPECT_EQ(UnitOf(L"of no table"), "");
}

} // namespace
} // namespace qx5::shell
