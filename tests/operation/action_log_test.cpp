// The log of actions: its rows, what a project keeps of them, what becomes of a damaged one, and how it is written out.
#include "tests/support/temporary_folder.h"

#include <operation/action_log.h>

#include <VordalAttributesR/CVordalType.h>

#include <limits>
#include <string>
#include <vector>

#include <gmock/gmock.h>
#include <sqlite3.h>

namespace qx5::operation {
namespace {

using ::testing::ElementsAre;
using vordal::LogDamage;
using vordal::ProjectStore;
using vordal::StoredAction;

CDataId const Bow(1, 78, 1, 1);

CAttributeMap One(AttributeKey const& key, CVordalType const& value)
{
    CAttributeMap tree;
    tree.Add(key, value);
    return tree;
}

Action Made(CAttributeMap const& before, CAttributeMap const& asked, CAttributeMap const& got, Result result,
            std::string reason = {})
{
    Action action;
    action.time = 1763688384.498; // 2025-11-21 01:26:24.498 UTC
    action.who = vordal::RequestOrigin::View;
    action.sonar = Bow;
    action.before = before;
    action.asked = asked;
    action.got = got;
    action.result = result;
    action.reason = std::move(reason);
    return action;
}

Action Range(double before, double asked, double got, Result result, std::string reason = {})
{
    return Made(One(L"x5Range", CVordalDouble(before)), One(L"x5Range", CVordalDouble(asked)),
                One(L"x5Range", CVordalDouble(got)), result, std::move(reason));
}

class ActionLogTest : public ::testing::Test
{
protected:
    std::vector<std::string> Json()
    {
        std::vector<std::string> lines;
        damage = ProjectStore::ReadActions(file, [&](StoredAction const& row) { lines.push_back(JsonLine(row)); });
        return lines;
    }
    void Write() { log.WriteTo(store); }
    void Change(char const* sql) const
    {
        sqlite3* database = nullptr;
        ASSERT_EQ(sqlite3_open(file.c_str(), &database), SQLITE_OK);
        EXPECT_EQ(sqlite3_exec(database, sql, nullptr, nullptr, nullptr), SQLITE_OK) << sqlite3_errmsg(database);
        sqlite3_close(database);
    }

    test::TemporaryFolder const folder;
    std::filesystem::path const file = folder / "survey.qx5";
    ProjectStore store{file};
    ActionLog log;
    LogDamage damage;
};

TEST_F(ActionLogTest, KeepsARowForEachKeyInTheProject)
{
    log.SetName(Bow, "Bow");
    log.OnActionStands(Range(100.0, 50.0, 50.0, Result::Agrees));
    CAttributeMap asked = One(L"x5Range", CVordalDouble(99999.0));
    asked.Add(L"x5BeamSteer", CVordalDouble2D(10.0, -10.5));
    CAttributeMap got = One(L"x5Range", CVordalDouble(500.0));
    got.Add(L"x5BeamSteer", CVordalDouble2D(10.0, -10.5));
    log.OnActionStands(Made({}, asked, got, Result::Differs, "x5Range: asked 99999 m, the sonar has 500 m"));
    EXPECT_EQ(log.Waiting(), 3U);
    Write();
    EXPECT_EQ(log.Waiting(), 0U);
    EXPECT_THAT(
        Json(),
        ElementsAre(
            R"({"time":"2025-11-21T01:26:24.498Z","who":"view","sonar":"Bow","key":"x5Range","old":100,"new":50,"result":"agrees"})",
            R"({"time":"2025-11-21T01:26:24.498Z","who":"view","sonar":"Bow","key":"x5Range","old":null,"new":99999,"result":"differs: the sonar has 500 m"})",
            R"({"time":"2025-11-21T01:26:24.498Z","who":"view","sonar":"Bow","key":"x5BeamSteer","old":null,"new":[10,-10.5],"result":"agrees"})"));
    EXPECT_EQ(damage, LogDamage{});
    // What else the project keeps is saved beside it.
    store.Save({});
    log.OnActionStands(Range(1.0, 2.0, 0.0, Result::Refused, "the transmit lock is on"));
    Write();
    auto const lines = Json();
    ASSERT_EQ(lines.size(), 4U);
    EXPECT_NE(lines[3].find(R"("result":"refused: the transmit lock is on")"), std::string::npos) << lines[3];
    EXPECT_EQ(damage, LogDamage{});
}

TEST_F(ActionLogTest, ValuesAreJson)
{
    EXPECT_EQ(JsonText(nullptr), "null");
    CVordalDouble const tenth(0.1);
    EXPECT_EQ(JsonText(&tenth), "0.1");
    CVordalDouble const none(std::numeric_limits<double>::quiet_NaN());
    EXPECT_EQ(JsonText(&none), "\"nan\"");
    CVordalBool const yes(true);
    EXPECT_EQ(JsonText(&yes), "true");
    CVordalInt64 const large(-9007199254740993);
    EXPECT_EQ(JsonText(&large), "-9007199254740993");
    CVordalText const text(CString(L"a \"b\"\n\u00e4"));
    EXPECT_EQ(JsonText(&text), "\"a \\\"b\\\"\\n\xc3\xa4\"");
    CVordalIntList const list({1, 2});
    EXPECT_EQ(JsonText(&list), "[1,2]");
    CVordalText const longText(CString(std::wstring(5000, L'x')));
    EXPECT_EQ(JsonText(&longText).size(), 4000U + 3U + 3U); // with quotes: one was in what was cut
}

TEST_F(ActionLogTest, TablesAreRfc4180)
{
    StoredAction row{.time = 0.0,
                     .who = "terminal",
                     .sonar = Bow,
                     .sonarName = "Bow, \"port\"",
                     .key = "x5SonarName",
                     .before = "null",
                     .asked = R"("a\nb")",
                     .result = "agrees"};
    EXPECT_EQ(CsvHeader(), "time,who,sonar,key,old,new,result");
    EXPECT_EQ(CsvLine(row), "1970-01-01T00:00:00.000Z,terminal,\"Bow, \"\"port\"\"\",x5SonarName,,\"a\nb\",agrees");
    row.time = 1e300;
    EXPECT_EQ(IsoTime(row.time), "unknown");
    EXPECT_EQ(IsoTime(-62135596800.0), "0001-01-01T00:00:00.000Z");
    EXPECT_EQ(IsoTime(951782400.0), "2000-02-29T00:00:00.000Z");
}

TEST_F(ActionLogTest, ADamagedRowIsLeftOutAndTheProjectIsAsGoodAsBefore)
{
    store.SaveWindow(L"main", {7});
    for (int i = 1; i <= 5; ++i) {
        log.OnActionStands(Range(0.0, i, i, Result::Agrees));
    }
    Write();
    Change("UPDATE action SET asked='3.5' WHERE number=3");
    EXPECT_EQ(Json().size(), 4U);
    EXPECT_EQ(damage, (LogDamage{.changed = 1, .missing = 0}));
    Change("DELETE FROM action WHERE number=2 OR number=5");
    EXPECT_EQ(Json().size(), 2U);
    EXPECT_EQ(damage, (LogDamage{.changed = 1, .missing = 2}));
    EXPECT_EQ(ProjectStore(file).Load().windows.size(), 1U);
    // It goes on behind what was cut off.
    log.OnActionStands(Range(0.0, 6.0, 6.0, Result::Agrees));
    Write();
    EXPECT_EQ(Json().size(), 3U);
    EXPECT_EQ(damage, (LogDamage{.changed = 1, .missing = 2}));
    Change("DROP TABLE action");
    EXPECT_EQ(Json().size(), 0U);
    EXPECT_EQ(damage, (LogDamage{.changed = 0, .missing = 6}));
    EXPECT_EQ(ProjectStore(file).Load().windows.size(), 1U);
}

TEST_F(ActionLogTest, TheOldestRowsGiveWay)
{
    EXPECT_EQ(ProjectStore::GreatestActions, 100'000);
    std::vector<StoredAction> rows(60, {.time = 1.0,
                                        .who = "view",
                                        .sonar = Bow,
                                        .sonarName = "Bow",
                                        .key = "k",
                                        .before = "1",
                                        .asked = "2",
                                        .result = "agrees"});
    rows[20].key = "first";
    store.AppendActions(std::span(rows).first(30), 40);
    EXPECT_EQ(Json().size(), 30U);
    store.AppendActions(std::span(rows).subspan(30), 40);
    auto const lines = Json();
    EXPECT_EQ(lines.size(), 40U);
    EXPECT_NE(lines.front().find("\"first\""), std::string::npos);
    EXPECT_EQ(damage, LogDamage{});
}

TEST_F(ActionLogTest, WhatCannotBeWrittenWaits)
{
    log.OnActionStands(Range(0.0, 1.0, 1.0, Result::Agrees));
    Change("DROP TABLE action");
    EXPECT_THROW(Write(), vordal::StoreError);
    EXPECT_EQ(log.Waiting(), 1U);
    for (std::size_t i = 0; i < ActionLog::GreatestWaiting + 9; ++i) {
        log.OnActionStands(Range(0.0, 1.0, 1.0, Result::Agrees));
    }
    EXPECT_EQ(log.Waiting(), ActionLog::GreatestWaiting);
    EXPECT_EQ(log.Lost(), 10U);
}

TEST_F(ActionLogTest, AFileThatIsNoProjectIsRefusedInOneLine)
{
    auto const refusal = [](std::filesystem::path const& path) {
        try {
            ProjectStore::ReadActions(path, [](StoredAction const&) {});
        } catch (vordal::StoreError const& error) {
            return std::string(error.what());
        }
        return std::string();
    };
    EXPECT_NE(refusal(folder / "none.qx5").find("is not there"), std::string::npos);
    store.SaveWindow(L"main", std::vector<unsigned char>(100'000, 7));
    std::filesystem::resize_file(file, std::filesystem::file_size(file) / 2);
    log.OnActionStands(Range(0.0, 1.0, 1.0, Result::Agrees));
    auto const cut = refusal(file);
    EXPECT_EQ(cut.find('\n'), std::string::npos) << cut;
}

} // namespace
} // namespace qx5::operation
