// Tests of target files that are followed: whoever changes them, all who share one see it from the next request on.
#include "target_file_support.h"

#include <reference_host/common/clock.h>
#include <reference_host/targets/target_store.h>
#include <vordalhostdllR/SonarTargetsManager.h>

#include <algorithm>
#include <array>
#include <atomic>
#include <map>
#include <memory>
#include <new>
#include <random>
#include <stdexcept>

#include <sys/mman.h>

namespace vordal::test {
namespace {

/// A program of another make: it knows the table and nothing that lies beside it.
class PlainClient
{
public:
    explicit PlainClient(fs::path const& file)
    {
        if (sqlite3_open(file.c_str(), &m_database) != SQLITE_OK) {
            throw std::runtime_error("cannot be opened");
        }
        sqlite3_busy_timeout(m_database, 2000);
    }
    PlainClient(PlainClient const&) = delete;
    PlainClient& operator=(PlainClient const&) = delete;
    ~PlainClient() { sqlite3_close(m_database); }

    /// False when another program kept it from it for two seconds.
    bool TryRun(std::string const& sql)
    {
        auto const result = sqlite3_exec(m_database, sql.c_str(), nullptr, nullptr, nullptr);
        if (result == SQLITE_BUSY) {
            sqlite3_exec(m_database, "ROLLBACK", nullptr, nullptr, nullptr);
            return false;
        }
        if (result != SQLITE_OK) {
            throw std::runtime_error(sql + ": " + sqlite3_errmsg(m_database));
        }
        return true;
    }
    void Run(std::string const& sql)
    {
        while (!TryRun(sql)) {
        }
    }
    void SetTriggers(bool areRun)
    {
        sqlite3_db_config(m_database, SQLITE_DBCONFIG_ENABLE_TRIGGER, areRun ? 1 : 0, nullptr);
    }

private:
    sqlite3* m_database = nullptr;
};

// What such a program has always run, with a value for each column.
constexpr char const* OlderTable =
    "CREATE TABLE target(position INTEGER PRIMARY KEY, target_id, target_guid, ping_number, contact_time, "
    "detail_number_a, detail_flag, detail_number_b, detail_number_c, detail_value, position_valid, latitude, "
    "longitude, range, bearing, bearing_degrees, azimuth, contact_length, contact_width, contact_height, description, "
    "classification, extension_value, extension_angle, extension_measure, extension_measure_valid, temporary_geotiff, "
    "geotiff, lost); PRAGMA application_id=1364735316; PRAGMA user_version=1";

std::string Values(std::uint32_t id, std::string const& guid, int range, bool lost)
{
    return std::to_string(id) + ",'" + guid + "',0,0.0,0,0,0,0,0.0,0,0.0,0.0," + std::to_string(range) +
           ".0,0.0,0.0,0.0,0.0,0.0,0.0,'','',0.0,0.0,0.0,0,'',''," + (lost ? "1" : "0");
}

std::string OlderInsert(std::string const& values, std::string const& position = "NULL")
{
    return "INSERT INTO target VALUES(" + position + "," + values + ")";
}

std::string OlderFirst(std::uint32_t id)
{
    return " WHERE position = (SELECT position FROM target WHERE target_id = " + std::to_string(id) +
           " ORDER BY position LIMIT 1)";
}

using Ranges = std::vector<float>;

class FollowedTargetsTest : public TargetsTest
{
protected:
    FollowedTargetsTest() { host.SetClock(&clock); }

    /// As a program of before made them.
    void MakeOlderFile(std::vector<std::string> const& rows)
    {
        PlainClient older(file);
        older.Run("PRAGMA journal_mode=WAL");
        older.Run(OlderTable);
        for (auto const& row : rows) {
            older.Run(OlderInsert(row));
        }
    }
    SonarTargetsControl* Open() { return SonarTargetsManager::Instance().OpenSTSFile(Name()); }
    Ranges RangesOf(SonarTargetsControl& control)
    {
        Ranges ranges;
        WithinANotificationOf(host, [&] {
            for (auto const& target : control.GetSonarTargets()) {
                ranges.push_back(target.range);
            }
        });
        return ranges;
    }

    FixedClock clock{1700000000.0};
    Host host{Threading::Inline};
};

TEST_F(FollowedTargetsTest, AllWhoHaveAFileOpenShareItsContacts)
{
    Put({Contact(1, L"one"), Contact(2, L"two")});
    auto* const first = Open();
    auto* const second = Open();
    WithinANotificationOf(host, [&] {
        EXPECT_EQ(&first->GetSonarTargets(), &second->GetSonarTargets());
        EXPECT_EQ(first->GetSonarTargetByTargetId(2), second->GetSonarTargetByTargetGuid(L"two"));
    });
    first->Close();
    EXPECT_EQ(second->GetSonarTargets().size(), 2U);
    second->Close();
}

TEST_F(FollowedTargetsTest, OnlyWhatAnotherProgramHasChangedIsRead)
{
    Put({Contact(1, L"one", 1.0F), Contact(2, L"two", 2.0F), Contact(3, L"three", 3.0F)});
    auto* const control = Open();
    EXPECT_EQ(RangesOf(*control), (Ranges{1.0F, 2.0F, 3.0F}));
    PlainClient other(file);
    // What cannot be read, and of which nobody is told: whoever reads all would meet it.
    other.SetTriggers(false);
    other.Run("BEGIN; UPDATE target SET range = 'far' WHERE target_id = 1");
    other.SetTriggers(true);
    other.Run("UPDATE target SET range = 20.0 WHERE target_id = 2; COMMIT");
    EXPECT_EQ(RangesOf(*control), (Ranges{1.0F, 20.0F, 3.0F}));
    EXPECT_TRUE(lines.empty());
    other.Run("UPDATE target SET range = 'near' WHERE target_id = 3");
    EXPECT_EQ(RangesOf(*control), (Ranges{1.0F, 20.0F, 3.0F}));
    ASSERT_EQ(lines.size(), 1U);
    EXPECT_EQ(lines[0], Quoted() + " is damaged: \"range\" holds what is no number; it is left as it is; its contacts "
                                   "stay as they were read last");
    other.Run("UPDATE target SET range = 30.0 WHERE target_id = 3");
    EXPECT_EQ(RangesOf(*control), (Ranges{1.0F, 20.0F, 30.0F}));
    control->Close();
}

TEST_F(FollowedTargetsTest, WhatChangesWithoutATraceIsReadAnew)
{
    Put({Contact(1, L"one", 1.0F), Contact(2, L"two", 2.0F)});
    auto* const control = Open();
    PlainClient other(file);
    other.SetTriggers(false);
    other.Run("UPDATE target SET range = 10.0 WHERE target_id = 1");
    EXPECT_EQ(RangesOf(*control), (Ranges{10.0F, 2.0F})) << "somebody has switched off what keeps the log";
    other.SetTriggers(true);
    other.Run("DROP TRIGGER target_changed; UPDATE target SET range = 11.0 WHERE target_id = 1");
    EXPECT_EQ(RangesOf(*control), (Ranges{11.0F, 2.0F}));
    other.Run("UPDATE target SET range = 12.0 WHERE target_id = 1; DELETE FROM target_change");
    EXPECT_EQ(RangesOf(*control), (Ranges{12.0F, 2.0F}));
    other.Run("DROP TRIGGER target_added; DROP TRIGGER target_removed; DROP TRIGGER target_changed; "
              "DROP TABLE target_change; UPDATE target SET range = 13.0 WHERE target_id = 1");
    EXPECT_EQ(RangesOf(*control), (Ranges{13.0F, 2.0F}));
    other.Run("VACUUM; UPDATE target SET range = 14.0 WHERE target_id = 1");
    EXPECT_EQ(RangesOf(*control), (Ranges{14.0F, 2.0F}));
    // More at once than the log keeps.
    other.Run(
        "WITH RECURSIVE number(n) AS (SELECT 3 UNION ALL SELECT n + 1 FROM number WHERE n < 12000) "
        "INSERT INTO target(position, target_id, target_guid, ping_number, contact_time, detail_number_a, detail_flag, "
        "detail_number_b, detail_number_c, position_valid, extension_measure_valid, lost, range) SELECT n, n, "
        "'', 0, 0, 0, 0, 0, 0, 0, 0, 0, 5.0 FROM number");
    EXPECT_EQ(RangesOf(*control).size(), 12000U);
    EXPECT_EQ(Number("SELECT count(*) FROM target_change"), 10000) << "it is kept short";
    EXPECT_TRUE(lines.empty());
    control->Close();
}

TEST_F(FollowedTargetsTest, AnOlderFileIsReadWrittenAndFollowedAndItsProgramsGoOn)
{
    MakeOlderFile({Values(7, "seven", 70, false), Values(8, "eight", 80, false)});
    EXPECT_EQ(TargetFile(file).Read().size(), 2U);
    EXPECT_EQ(Number("SELECT count(*) FROM sqlite_schema"), 1) << "reading leaves it as it is";

    auto* const control = Open();
    EXPECT_EQ(RangesOf(*control), (Ranges{70.0F, 80.0F}));
    EXPECT_EQ(Text("PRAGMA integrity_check(1)"), "ok");
    EXPECT_EQ(Number("PRAGMA user_version"), 1) << "whose programs refuse a newer one";
    EXPECT_EQ(Number("PRAGMA application_id"), 1364735316);
    {
        PlainClient older(file);
        older.Run(OlderInsert(Values(9, "nine", 90, false)));
        EXPECT_EQ(RangesOf(*control), (Ranges{70.0F, 80.0F, 90.0F}));
        older.Run("BEGIN IMMEDIATE; UPDATE target SET range = 81.0" + OlderFirst(8) + "; DELETE FROM target" +
                  OlderFirst(7) + "; COMMIT");
        EXPECT_EQ(RangesOf(*control), (Ranges{81.0F, 90.0F}));
        host.Targets().Add(Name(), Contact(10, L"ten", 100.0F));
        host.Targets().Change(Name(), Contact(9, L"nine", 91.0F));
        EXPECT_EQ(RangesOf(*control), (Ranges{81.0F, 91.0F, 100.0F}));
        // All of them anew, as that program puts its own in place of what is there.
        older.Run("BEGIN IMMEDIATE; DELETE FROM target; " + OlderInsert(Values(1, "one", 10, false)) + "; " +
                  OlderInsert(Values(2, "two", 20, false)) + "; COMMIT");
        EXPECT_EQ(RangesOf(*control), (Ranges{10.0F, 20.0F}));
    }
    EXPECT_EQ(Text("SELECT group_concat(target_id || target_guid) FROM (SELECT * FROM target ORDER BY position)"),
              "1one,2two");
    control->Close();
    EXPECT_TRUE(lines.empty());
}

TEST_F(FollowedTargetsTest, AnOlderFileThatSomebodyWritesIsFollowedNonetheless)
{
    MakeOlderFile({Values(7, "seven", 70, false)});
    PlainClient older(file);
    older.Run("BEGIN IMMEDIATE; UPDATE target SET range = 71.0");
    auto* const control = Open();
    ASSERT_NE(control, nullptr);
    EXPECT_EQ(RangesOf(*control), Ranges{70.0F});
    EXPECT_EQ(Number("SELECT count(*) FROM sqlite_schema"), 1) << "nobody waited for the other program";
    older.Run("COMMIT");
    EXPECT_EQ(RangesOf(*control), Ranges{71.0F});
    older.Run("UPDATE target SET range = 72.0");
    EXPECT_EQ(RangesOf(*control), Ranges{72.0F});
    control->Close();
}

TEST_F(FollowedTargetsTest, AFileThatIsRefusedIsLeftAsItIs)
{
    MakeOlderFile({Values(7, "seven", 70, false)});
    PlainClient(file).Run("UPDATE target SET range = 'far'; PRAGMA wal_checkpoint(TRUNCATE)");
    auto const before = Content(file);
    EXPECT_EQ(Open(), nullptr);
    EXPECT_EQ(lines.size(), 1U);
    EXPECT_EQ(Content(file), before);
}

TEST_F(FollowedTargetsTest, AnotherFileInItsPlaceIsFollowed)
{
    Put({Contact(1, L"one", 1.0F)});
    auto const other = folder / "other.sts";
    TargetFile(other, TargetFile::Missing::Create).Replace({Contact(2, L"two", 2.0F), Contact(3, L"three", 3.0F)});
    auto* const control = Open();
    fs::rename(other, file);
    EXPECT_EQ(RangesOf(*control), (Ranges{2.0F, 3.0F}));
    EXPECT_TRUE(host.Targets().Change(Name(), Contact(3, L"three", 30.0F)));
    EXPECT_EQ(RangesOf(*control), (Ranges{2.0F, 30.0F}));
    fs::remove(file);
    EXPECT_EQ(RangesOf(*control), (Ranges{2.0F, 30.0F})) << "what is there no more stays as it was read last";
    EXPECT_TRUE(lines.empty());
    control->Close();
}

TEST_F(FollowedTargetsTest, WithinANotificationAllStaysAlsoUnderChangesOfThisHost)
{
    Put({Contact(1, L"the first of three contacts", 1.0F), Contact(2, L"the second", 2.0F), Contact(3, L"last", 3.0F)});
    auto* const control = Open();
    WithinANotificationOf(host, [&] {
        auto const& targets = control->GetSonarTargets();
        auto const* const first = control->GetSonarTargetByTargetId(1);
        host.Targets().Change(Name(), Contact(1, L"it has another name now", 10.0F));
        host.Targets().Remove(Name(), 2);
        host.Targets().Add(Name(), Contact(4, L"four", 4.0F));
        EXPECT_EQ(&control->GetSonarTargets(), &targets);
        EXPECT_EQ(targets.size(), 3U);
        EXPECT_EQ(first->range, 1.0F);
        EXPECT_EQ(first->targetGuid, CString(L"the first of three contacts"));
        EXPECT_NE(control->GetSonarTargetByTargetId(2), nullptr);
    });
    WithinANotificationOf(host, [&] {
        auto const* const last = control->GetSonarTargetByTargetGuid(L"last");
        auto const& targets = control->GetSonarTargets();
        ASSERT_EQ(targets.size(), 3U);
        EXPECT_EQ(targets[0].targetGuid, CString(L"it has another name now"));
        EXPECT_EQ(targets[2].range, 4.0F);
        EXPECT_EQ(last->targetGuid, CString(L"last")) << "it stays when gaps are closed";
        EXPECT_EQ(control->GetSonarTargetByTargetId(2), nullptr);
    });
    control->Close();
}

/// A plain map by position, to which the same is done.
struct Row
{
    std::uint32_t id = 0;
    std::wstring guid;
    int range = 0;
    bool lost = false;
};
using Model = std::map<std::int64_t, Row>;

std::wstring const guids[]{L"", L"a", L"b", L"c"};
constexpr std::uint32_t IdCount = 6;

Model::iterator FirstOf(Model& model, std::uint32_t id)
{
    return std::find_if(model.begin(), model.end(), [&](auto const& each) { return each.second.id == id; });
}

void ExpectSame(SonarTargetsControl const& control, Model& model)
{
    for (std::uint32_t id = 0; id <= IdCount; ++id) {
        auto const* const found = control.GetSonarTargetByTargetId(id);
        auto const first = FirstOf(model, id);
        ASSERT_EQ(found != nullptr, first != model.end()) << id;
        ASSERT_TRUE(found == nullptr || found->range == static_cast<float>(first->second.range)) << id;
    }
    for (auto const& guid : guids) {
        auto const* const found = control.GetSonarTargetByTargetGuid(CString(guid));
        auto const first = std::find_if(model.begin(), model.end(), [&](auto const& each) {
            return !each.second.lost && each.second.guid == guid;
        });
        ASSERT_EQ(found != nullptr, first != model.end());
        ASSERT_TRUE(found == nullptr || found->range == static_cast<float>(first->second.range));
    }
    auto const& targets = control.GetSonarTargets();
    ASSERT_EQ(targets.size(), model.size());
    std::size_t at = 0;
    for (auto const& [position, row] : model) {
        ASSERT_EQ(targets[at].targetId, row.id);
        ASSERT_EQ(targets[at].targetGuid, CString(row.guid));
        ASSERT_EQ(targets[at].range, static_cast<float>(row.range));
        ++at;
    }
}

TEST_F(FollowedTargetsTest, WhoeverChangesTheFileItIsWhatAPlainListIs)
{
    Put({});
    for (std::uint32_t seed = 0; seed < 6; ++seed) {
        SCOPED_TRACE(seed);
        std::mt19937 random(seed);
        Model model;
        TargetFile(file).Replace({});
        auto* const control = Open();
        TargetFile another(file);
        PlainClient plain(file);
        auto const end = [&model] { return model.empty() ? 1 : model.rbegin()->first + 1; };
        for (int step = 1; step <= 400; ++step) {
            Row const row{static_cast<std::uint32_t>(random() % IdCount), guids[random() % std::size(guids)], step,
                          random() % 4 == 0};
            auto stored = Contact(row.id, row.guid.c_str(), static_cast<float>(step));
            stored.lost = row.lost;
            auto const values = Values(row.id, std::string(row.guid.begin(), row.guid.end()), step, row.lost);
            auto const first = FirstOf(model, row.id);
            auto const changeFirst = [&] {
                if (first != model.end()) {
                    first->second = row;
                }
            };
            auto const removeFirst = [&] {
                if (first != model.end()) {
                    model.erase(first);
                }
            };
            switch (random() % 14) {
            case 0:
            case 1:
                host.Targets().Add(Name(), stored);
                model[end()] = row;
                break;
            case 2:
                EXPECT_EQ(host.Targets().Change(Name(), stored), first != model.end());
                changeFirst();
                break;
            case 3:
                EXPECT_EQ(host.Targets().Remove(Name(), row.id), first != model.end());
                removeFirst();
                break;
            case 4:
                another.Append(stored);
                model[end()] = row;
                break;
            case 5:
                another.Change(stored);
                changeFirst();
                break;
            case 6:
                another.Remove(row.id);
                removeFirst();
                break;
            case 7:
                plain.Run(OlderInsert(values));
                model[end()] = row;
                break;
            case 8:
                plain.Run("DELETE FROM target" + OlderFirst(row.id));
                removeFirst();
                break;
            case 9: { // in place of what is there, or between, or ahead of all
                auto const position = static_cast<std::int64_t>(random() % 60) - 20;
                plain.Run("INSERT OR REPLACE" + OlderInsert(values, std::to_string(position)).substr(6));
                model[position] = row;
                break;
            }
            case 10: // to another position
                if (auto const to = static_cast<std::int64_t>(random() % 60) - 20;
                    first != model.end() && !model.contains(to)) {
                    plain.Run("UPDATE target SET position = " + std::to_string(to) + OlderFirst(row.id));
                    auto moved = model.extract(first);
                    moved.key() = to;
                    model.insert(std::move(moved));
                }
                break;
            case 11: // several at once
                plain.Run("BEGIN; UPDATE target SET target_id = " + std::to_string(row.id) +
                          " WHERE position % 3 = 0; " + "DELETE FROM target WHERE position % 5 = 0; COMMIT");
                for (auto& each : model) {
                    each.second.id = each.first % 3 == 0 ? row.id : each.second.id;
                }
                std::erase_if(model, [](auto const& each) { return each.first % 5 == 0; });
                break;
            case 12: // what is not done in the end
                plain.Run("BEGIN; DELETE FROM target; ROLLBACK");
                break;
            default:
                if (random() % 20 == 0) {
                    another.Replace({stored, stored});
                    model = {{1, row}, {2, row}};
                } else {
                    plain.Run("UPDATE target SET range = " + std::to_string(step) + ".0" + OlderFirst(row.id));
                    if (first != model.end()) {
                        first->second.range = step;
                    }
                }
                break;
            }
            if (random() % 3 != 0) {
                WithinANotificationOf(host, [&] { ExpectSame(*control, model); });
                ASSERT_FALSE(HasFatalFailure()) << "step " << step;
            }
        }
        control->Close();
    }
    EXPECT_TRUE(lines.empty());
}

// Two hosts and another program at once.

constexpr std::uint32_t Rounds = 10'000;
constexpr std::uint32_t KeptOfEach = 5; ///< contacts that each of them has added last
constexpr std::size_t Parties = 3;

/// What each has done for certain, for the others to see.
using Done = std::array<std::atomic<std::uint32_t>, Parties>;

std::uint32_t CounterOf(std::size_t party)
{
    return static_cast<std::uint32_t>(party + 1);
}
std::uint32_t AddedBy(std::size_t party, std::uint32_t round)
{
    return static_cast<std::uint32_t>(1'000'000 * (party + 1)) + round;
}

void Require(bool holds, char const* what)
{
    if (!holds) {
        throw std::logic_error(what);
    }
}

/// Until it is done: another program may keep it waiting for longer than it waits by itself.
void Insist(std::function<void()> const& change)
{
    for (;;) {
        try {
            change();
            return;
        } catch (TargetFileError const& error) {
            Require(std::string_view(error.what()).ends_with("is in use by another program"), error.what());
        }
    }
}

void RunHost(Host& host, CString const& name, std::size_t self, Done& done)
{
    auto* const control = SonarTargetsManager::Instance().OpenSTSFile(name);
    Require(control != nullptr, "the file cannot be opened");
    std::array<std::uint32_t, Parties> seen{};
    auto& store = host.Targets();
    for (std::uint32_t round = 1; round <= Rounds; ++round) {
        Insist([&] {
            Require(store.Change(name, Contact(CounterOf(self), L"counter", static_cast<float>(round))), "lost");
        });
        Insist([&] { store.Add(name, Contact(AddedBy(self, round), L"", static_cast<float>(round))); });
        if (round > KeptOfEach) {
            Insist([&] { Require(store.Remove(name, AddedBy(self, round - KeptOfEach)), "lost"); });
        }
        done[self] = round;
        std::array<std::uint32_t, Parties> before{};
        std::copy(done.begin(), done.end(), before.begin());
        WithinANotificationOf(host, [&] {
            for (std::size_t party = 0; party < Parties; ++party) {
                auto const* const counter = control->GetSonarTargetByTargetId(CounterOf(party));
                Require(counter != nullptr, "a contact is lost");
                auto const now = static_cast<std::uint32_t>(counter->range);
                Require(now >= before[party], "stale");
                Require(now >= seen[party], "went back");
                Require(party != self || now == round, "its own change is not there");
                seen[party] = now;
            }
            for (auto mine = round < KeptOfEach ? 1 : round - KeptOfEach + 1; mine <= round; ++mine) {
                Require(control->GetSonarTargetByTargetId(AddedBy(self, mine)) != nullptr, "its own contact is lost");
            }
            Require(round % 64 != 0 || control->GetSonarTargets().size() <= Parties * (KeptOfEach + 2), "too many");
        });
    }
    control->Close();
}

void RunPlainClient(fs::path const& file, std::size_t self, Done& done)
{
    PlainClient plain(file);
    plain.Run("PRAGMA synchronous=NORMAL");
    for (std::uint32_t round = 1; round <= Rounds; ++round) {
        auto sql = "BEGIN IMMEDIATE; UPDATE target SET range = " + std::to_string(round) + ".0" +
                   OlderFirst(CounterOf(self)) + "; " +
                   OlderInsert(Values(AddedBy(self, round), "", static_cast<int>(round), false)) + "; ";
        if (round > KeptOfEach) {
            sql += "DELETE FROM target" + OlderFirst(AddedBy(self, round - KeptOfEach)) + "; ";
        }
        plain.Run(sql + "COMMIT");
        done[self] = round;
    }
}

TEST_F(FollowedTargetsTest, TwoHostsAndAnotherProgramLoseNothingAndSeeAllOfOneAnother)
{
    Put({Contact(CounterOf(0)), Contact(CounterOf(1)), Contact(CounterOf(2))});
    void* const shared = mmap(nullptr, sizeof(Done), PROT_READ | PROT_WRITE, MAP_SHARED | MAP_ANONYMOUS, -1, 0);
    ASSERT_NE(shared, MAP_FAILED);
    auto& done = *new (shared) Done{};
    auto const say = [](std::exception const& error) {
        fprintf(stderr, "another process: %s\n", error.what());
        throw;
    };
    OtherProcess secondHost([&] {
        try {
            RunHost(host, Name(), 1, done);
        } catch (std::exception const& error) {
            say(error);
        }
    });
    OtherProcess plainClient([&] {
        try {
            RunPlainClient(file, 2, done);
        } catch (std::exception const& error) {
            say(error);
        }
    });
    secondHost.Start();
    plainClient.Start();
    EXPECT_NO_THROW(RunHost(host, Name(), 0, done));
    EXPECT_TRUE(secondHost.Finish());
    EXPECT_TRUE(plainClient.Finish());

    auto const left = TargetFile(file).Read();
    EXPECT_EQ(left.size(), Parties * (KeptOfEach + 1));
    for (std::size_t party = 0; party < Parties; ++party) {
        EXPECT_EQ(left[party].target.range, static_cast<float>(Rounds));
        for (auto round = Rounds - KeptOfEach + 1; round <= Rounds; ++round) {
            EXPECT_TRUE(std::any_of(left.begin(), left.end(), [&](StoredTarget const& each) {
                return each.target.targetId == AddedBy(party, round);
            }));
        }
    }
    EXPECT_EQ(Text("PRAGMA integrity_check(1)"), "ok");
    EXPECT_TRUE(lines.empty());
    munmap(shared, sizeof(Done));
}

} // namespace
} // namespace vordal::test
