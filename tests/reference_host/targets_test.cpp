// Tests of the target store and of files by name: what goes in comes out, other programs are followed, damage is
// refused.
#include "target_file_support.h"

#include <reference_host/common/clock.h>
#include <reference_host/common/host_observer.h>
#include <reference_host/targets/target_store.h>

#include <VordalBaseR/HugeFileStream.h>
#include <VordalConfigureR/DataSearch.h>
#include <VordalSubscriberR/GeneralSubKeys.h>
#include <vordalhostdllR/SonarTargetsManager.h>

#include <cmath>
#include <limits>
#include <optional>

#include <sys/stat.h>

namespace vordal::test {
namespace {

class Watcher final : public HostObserver
{
public:
    std::vector<std::wstring> events;

    void OnOpenTargets(CString const& fileName) override { Note(L"open ", fileName); }
    void OnCloseTargets(CString const& fileName) override { Note(L"close ", fileName); }
    void OnTargetListRequested() override { events.emplace_back(L"stamp"); }
    void OnRemoveFile(CString const& fileName) override { Note(L"remove ", fileName); }

private:
    void Note(std::wstring text, CString const& name) { events.push_back(text.append(name.View())); }
};

// The file.

TEST_F(TargetsTest, EveryFieldComesBack)
{
    constexpr float nan = std::numeric_limits<float>::quiet_NaN();
    constexpr float infinity = std::numeric_limits<float>::infinity();
    StoredTarget contact;
    auto& target = contact.target;
    target.pingNumber = 4294967295U;
    target.contactTime = 1700000000.25;
    target.detailNumberA = 1;
    target.detailFlag = true;
    target.detailNumberC = 3;
    target.detailValue = std::numeric_limits<float>::denorm_min();
    target.latitude = -0.0;
    target.longitude = std::numeric_limits<double>::quiet_NaN();
    target.range = 0.1F;
    target.bearing = -0.0F;
    target.azimuth = nan;
    target.contactLength = infinity;
    target.contactWidth = -infinity;
    target.contactHeight = std::numeric_limits<float>::max();
    target.description = CString(L"Tiefe \x00FC\x2603\n'; DROP TABLE target;--");
    target.classification = CString(std::wstring(100000, L'w'));
    target.extensionValue = 16777216.0F;
    target.extensionAngle = -1.5F;
    target.extensionMeasure = 2.5F;
    target.extensionMeasureValid = true;
    target.detailNumberB = 2;
    target.targetId = 7;
    target.targetGuid = CString(std::wstring(L"a\0b", 3));
    target.SetLatitudeLongitudeValid(true);
    target.SetTempSonarContactGeoTiff(L"C:\\temp\\a.tif");
    target.SetGeoTIFF(L"/a.tif");
    target.SetBearingInDeg(77.5F);
    contact.lost = true;
    Put({contact, StoredTarget()});

    auto const read = TargetFile(file).Read();
    ASSERT_EQ(read.size(), 2U);
    auto const& back = read[0].target;
    EXPECT_EQ(back.pingNumber, 4294967295U);
    EXPECT_EQ(back.contactTime, 1700000000.25);
    EXPECT_EQ(back.detailNumberA, 1U);
    EXPECT_TRUE(back.detailFlag);
    EXPECT_EQ(back.detailNumberC, 3U);
    EXPECT_EQ(back.detailValue, std::numeric_limits<float>::denorm_min());
    EXPECT_TRUE(back.latitude == 0.0 && std::signbit(back.latitude));
    EXPECT_TRUE(std::isnan(back.longitude));
    EXPECT_EQ(back.range, 0.1F);
    EXPECT_TRUE(back.bearing == 0.0F && std::signbit(back.bearing));
    EXPECT_TRUE(std::isnan(back.azimuth));
    EXPECT_EQ(back.contactLength, infinity);
    EXPECT_EQ(back.contactWidth, -infinity);
    EXPECT_EQ(back.contactHeight, std::numeric_limits<float>::max());
    EXPECT_EQ(back.description, target.description);
    EXPECT_EQ(back.classification, target.classification);
    EXPECT_EQ(back.extensionValue, 16777216.0F);
    EXPECT_EQ(back.extensionAngle, -1.5F);
    EXPECT_EQ(back.extensionMeasure, 2.5F);
    EXPECT_TRUE(back.extensionMeasureValid);
    EXPECT_EQ(back.detailNumberB, 2U);
    EXPECT_EQ(back.targetId, 7U);
    EXPECT_EQ(back.targetGuid, target.targetGuid);
    EXPECT_TRUE(back.IsLatitudeLongitudeValid());
    EXPECT_EQ(back.GetTempSonarContactGeoTiff(), CString(L"C:\\temp\\a.tif"));
    EXPECT_EQ(back.GetGeoTIFF(), CString(L"/a.tif"));
    EXPECT_EQ(back.GetBearingInDeg(), 77.5F);
    EXPECT_TRUE(read[0].lost);
    EXPECT_EQ(read[1].target.description, CString());
    EXPECT_FALSE(read[1].lost);
    EXPECT_FALSE(std::signbit(read[1].target.range));
}

TEST_F(TargetsTest, ChangesKeepTheOrder)
{
    TargetFile targets(file, TargetFile::Missing::Create);
    EXPECT_TRUE(targets.Read().empty());
    for (std::uint32_t id : {5U, 3U, 5U, 9U}) {
        targets.Append(Contact(id, L"", static_cast<float>(id)));
    }
    EXPECT_TRUE(targets.Change(Contact(5, L"", 50.0F)));
    EXPECT_FALSE(targets.Change(Contact(6, L"", 60.0F)));
    EXPECT_TRUE(targets.Remove(3));
    EXPECT_FALSE(targets.Remove(3));
    auto const read = targets.Read();
    ASSERT_EQ(read.size(), 3U);
    EXPECT_EQ(read[0].target.range, 50.0F);
    EXPECT_EQ(read[1].target.range, 5.0F);
    EXPECT_EQ(read[2].target.range, 9.0F);
    EXPECT_TRUE(targets.Remove(5));
    EXPECT_EQ(targets.Read().at(0).target.range, 5.0F);
}

TEST_F(TargetsTest, AFileTakesAMillionContactsAndNotOneMore)
{
    Put({Contact(7)});
    // As fast as it goes, without a row of the log for each.
    Sql("DROP TRIGGER target_added;"
        "WITH RECURSIVE number(n) AS (SELECT 2 UNION ALL SELECT n + 1 FROM number WHERE n < 1000000) "
        "INSERT INTO target(position, target_id) SELECT n, n FROM number");
    auto const refusalOf = [&](std::function<void(TargetFile&)> const& change) -> std::string {
        TargetFile targets(file, TargetFile::Missing::Refuse, TargetFile::Keeping::Scratch,
                           TargetFile::Checking::Header);
        try {
            change(targets);
            return {};
        } catch (TargetFileError const& error) {
            return error.what();
        }
    };
    auto const append = [](TargetFile& targets) { targets.Append(Contact(5'000'000)); };
    EXPECT_EQ(refusalOf(append),
              Quoted() + " holds 1000000 contacts, as many as a target file may; the contact is not added");
    EXPECT_EQ(Number("SELECT count(*) FROM target"), 1'000'000);
    EXPECT_EQ(refusalOf([](TargetFile& targets) {
                  EXPECT_TRUE(targets.Change(Contact(7, L"", 5.0F)));
                  EXPECT_TRUE(targets.Remove(500'000));
              }),
              "");
    EXPECT_EQ(refusalOf(append), "") << "there is room for one, wherever it was made";
    EXPECT_EQ(Number("SELECT count(*) FROM target WHERE target_id = 5000000"), 1);
    EXPECT_NE(refusalOf(append), "");

    // Another program's business; nobody reads it then.
    Sql("INSERT INTO target(target_id) VALUES(10)");
    EXPECT_EQ(refusalOf([](TargetFile& targets) { targets.Read(); }),
              Quoted() + " holds more contacts than can be meant");

    std::vector<StoredTarget> const tooMany(1'000'001);
    EXPECT_EQ(refusalOf([&](TargetFile& targets) { targets.Replace(tooMany); }),
              Quoted() + " takes no 1000001 contacts: a target file may hold 1000000; it is left as it is");
    EXPECT_EQ(Number("SELECT count(*) FROM target"), 1'000'001);
}

TEST_F(TargetsTest, AContactIsFoundInTheFileByAnIndexOfIds)
{
    Put({Contact(5), Contact(3)});
    // What a change and a removal ask for, also those of programs that know nothing of the index.
    EXPECT_NE(Text("EXPLAIN QUERY PLAN SELECT position FROM target WHERE target_id = 3 ORDER BY position LIMIT 1", 3)
                  .find("INDEX target_by_id"),
              std::string::npos);
}

TEST_F(TargetsTest, WhatIsNoTargetFileIsRefusedInOneLineAndLeft)
{
    EXPECT_EQ(Refusal(), Quoted() + " is not there");
    EXPECT_FALSE(fs::exists(file));

    Write(file, "this is a text, long enough to be taken for the start of a database, and it is none at all.........");
    auto content = Content(file);
    EXPECT_EQ(Refusal(TargetFile::Missing::Create), Quoted() + " is no target file; it is left as it is");
    EXPECT_EQ(Content(file), content);
    fs::remove(file);

    Sql("CREATE TABLE other(x)");
    content = Content(file);
    EXPECT_EQ(Refusal(TargetFile::Missing::Create),
              Quoted() + " is a database, but no target file; it is left as it is");
    EXPECT_EQ(Content(file), content);
    fs::remove(file);

    fs::create_directory(file);
    EXPECT_EQ(Refusal(TargetFile::Missing::Create), Quoted() + " is no file");
    fs::remove(file);
    fs::create_symlink(file, file);
    EXPECT_NE(Refusal(TargetFile::Missing::Create).find("cannot be opened"), std::string::npos);
}

TEST_F(TargetsTest, DamageIsRefused)
{
    std::vector<StoredTarget> contacts;
    for (std::uint32_t id = 0; id < 300; ++id) {
        contacts.push_back(Contact(id, L"6f9619ff-8b86-d011-b42d-00cf4fc964ff"));
    }
    Put(contacts);
    auto const whole = Content(file);
    ASSERT_GT(whole.size(), 20000U);
    auto damaged = whole;
    for (std::size_t at = 4096; at < damaged.size(); at += 4096) {
        damaged.replace(at, 64, 64, '\x5A');
    }
    Write(file, damaged);
    EXPECT_NE(Refusal().find("is damaged"), std::string::npos) << Refusal();
    EXPECT_EQ(Refusal().find('\n'), std::string::npos);
    Write(file, whole.substr(0, 5000));
    EXPECT_NE(Refusal().find("is damaged"), std::string::npos) << Refusal();
    Write(file, whole.substr(0, 50));
    EXPECT_NE(Refusal(), "");

    Write(file, whole);
    Sql("UPDATE target SET range = 'far' WHERE target_id = 5");
    EXPECT_EQ(Refusal(), Quoted() + " is damaged: \"range\" holds what is no number; it is left as it is");
    Write(file, whole);
    Sql("UPDATE target SET ping_number = -1 WHERE target_id = 5");
    EXPECT_EQ(Refusal(), Quoted() + " is damaged: \"ping_number\" holds what is no such number; it is left as it is");
    Write(file, whole);
    Sql("UPDATE target SET range = 1e300 WHERE target_id = 5");
    EXPECT_EQ(Refusal(), Quoted() + " is damaged: a number of \"range\" is out of range; it is left as it is");
    Write(file, whole);
    Sql("PRAGMA user_version=2");
    EXPECT_NE(Refusal().find("was written by a newer version (format 2, this program knows 1)"), std::string::npos);
    Write(file, whole);
    Sql("DROP TABLE target");
    EXPECT_NE(Refusal().find("no such table"), std::string::npos) << Refusal();
}

TEST_F(TargetsTest, AProcessThatIsKilledInTheMiddleLeavesAllOrNothing)
{
    std::vector<StoredTarget> contacts(200, Contact(1));
    Put(contacts);
    for (int round = 0; round < 10; ++round) {
        OtherProcess writer([&] {
            TargetFile targets(file);
            for (float range = 1.0F;; range += 1.0F) {
                targets.Replace(std::vector<StoredTarget>(200, Contact(1, L"", range)));
            }
        });
        // Kill it as soon as it is at work.
        TargetFile targets(file);
        auto const before = targets.Version();
        writer.Start();
        while (targets.Version() == before) {
        }
        EXPECT_TRUE(writer.Kill());
        auto const read = TargetFile(file).Read();
        ASSERT_EQ(read.size(), 200U);
        for (auto const& each : read) {
            ASSERT_EQ(each.target.range, read[0].target.range);
        }
    }
}

// The store behind the contract.

class TargetStoreTest : public TargetsTest
{
protected:
    TargetStoreTest()
    {
        host.SetClock(&clock);
        host.SetObserver(&watcher);
        host.SetFileFolders({folder});
    }
    SonarTargetsControl* Open() { return SonarTargetsManager::Instance().OpenSTSFile(Name()); }
    void WithinANotification(std::function<void()> const& work) { WithinANotificationOf(host, work); }

    FixedClock clock{1700000000.0};
    Watcher watcher;
    Host host{Threading::Inline};
};

TEST_F(TargetStoreTest, AFileIsOpenedByItsFullName)
{
    Put({Contact(1, L"one"), Contact(2, L"two")});
    auto* const control = Open();
    ASSERT_NE(control, nullptr);
    EXPECT_EQ(control->FileName(), Name());
    ASSERT_EQ(control->GetSonarTargets().size(), 2U);
    EXPECT_EQ(control->GetSonarTargets()[1].targetId, 2U);
    auto* const other = Open();
    ASSERT_NE(other, nullptr);
    EXPECT_NE(other, control);
    other->Close();
    EXPECT_EQ(control->GetSonarTargets().size(), 2U);
    control->GetSynchronizeTargetManagerInfo().SetRequestTimeStamp();
    EXPECT_EQ(control->GetSynchronizeTargetManagerInfo().GetRequestTimeStamp(), 1700000000.0);
    control->Close();
    std::wstring const name(Name().View());
    EXPECT_EQ(watcher.events, (std::vector<std::wstring>{L"open " + name, L"open " + name, L"close " + name, L"stamp",
                                                         L"close " + name}));
    EXPECT_TRUE(lines.empty());
}

TEST_F(TargetStoreTest, NoFileNoNameAndADamagedOne)
{
    EXPECT_EQ(SonarTargetsManager::Instance().OpenSTSFile(CString()), nullptr);
    EXPECT_EQ(Open(), nullptr);
    EXPECT_EQ(SonarTargetsManager::Instance().OpenSTSFile(CString(std::wstring(L"a\0b", 3))), nullptr);
    EXPECT_TRUE(lines.empty());
    Write(file, std::string(5000, 'x'));
    EXPECT_EQ(Open(), nullptr);
    EXPECT_EQ(lines, std::vector<std::string>{Quoted() + " is no target file; it is left as it is"});
}

TEST_F(TargetStoreTest, AFileIsCheckedAsAWholeOnce)
{
    std::vector<StoredTarget> contacts;
    for (std::uint32_t id = 0; id < 300; ++id) {
        contacts.push_back(Contact(id, L"6f9619ff-8b86-d011-b42d-00cf4fc964ff"));
    }
    Put(contacts);
    EXPECT_TRUE(host.Targets().Change(Name(), Contact(0, L"6f9619ff-8b86-d011-b42d-00cf4fc964ff", 1.0F)));
    // Damage that a change of the first contact does not meet.
    auto damaged = Content(file);
    ASSERT_GT(damaged.size(), 20000U);
    damaged.replace(damaged.size() - 4096, 64, 64, '\x5A');
    Write(file, damaged);
    EXPECT_NE(Refusal().find("is damaged"), std::string::npos) << Refusal();
    EXPECT_TRUE(host.Targets().Change(Name(), Contact(0, L"6f9619ff-8b86-d011-b42d-00cf4fc964ff", 2.0F)));
    TargetStore another([this](auto const& task) { host.RunAndWait(task); }, [this] { return host.Now(); });
    EXPECT_THROW(another.Change(Name(), Contact(0, L"", 3.0F)), TargetFileError) << "its first change";
    // What it is, is looked at each time.
    Write(file, std::string(5000, 'x'));
    EXPECT_THROW(host.Targets().Change(Name(), Contact(0)), TargetFileError);
}

TEST_F(TargetStoreTest, ALookUpGivesTheFirstOfItsGuidThatIsNotLost)
{
    auto lost = Contact(1, L"same");
    lost.lost = true;
    Put({lost, Contact(2, L"same"), Contact(3, L"same"), Contact(4)});
    auto* const control = Open();
    EXPECT_EQ(control->GetSonarTargets().size(), 4U);
    EXPECT_EQ(control->GetSonarTargetByTargetGuid(L"same")->targetId, 2U);
    EXPECT_EQ(control->GetSonarTargetByTargetGuid(L"")->targetId, 4U);
    EXPECT_EQ(control->GetSonarTargetByTargetGuid(L"Same"), nullptr);
    control->Close();
}

TEST_F(TargetStoreTest, ALookUpGivesTheFirstOfItsIdLostOrNot)
{
    auto lost = Contact(2, L"lost");
    lost.lost = true;
    Put({Contact(1, L"one"), lost, Contact(2, L"two"), Contact(4294967295U, L"last")});
    auto* const control = Open();
    EXPECT_EQ(control->GetSonarTargetByTargetId(2)->targetGuid, CString(L"lost"));
    EXPECT_EQ(control->GetSonarTargetByTargetId(4294967295U)->targetGuid, CString(L"last"));
    EXPECT_EQ(control->GetSonarTargetByTargetId(0), nullptr);
    control->Close();
}

TEST_F(TargetStoreTest, WhatAnotherProcessChangesIsSeenFromTheNextNotificationOn)
{
    Put({Contact(1, L"one")});
    OtherProcess other([&] {
        TargetFile targets(file);
        targets.Append(Contact(2, L"two"));
        targets.Remove(1);
    });
    auto* const control = Open();
    WithinANotification([&] {
        auto const& contacts = control->GetSonarTargets();
        ASSERT_EQ(contacts.size(), 1U);
        other.Start();
        ASSERT_TRUE(other.Finish());
        EXPECT_EQ(&control->GetSonarTargets(), &contacts);
        EXPECT_EQ(contacts.at(0).targetId, 1U);
        // A notification within this one is part of it.
        WithinANotification([&] { EXPECT_EQ(control->GetSonarTargets().at(0).targetId, 1U); });
        EXPECT_EQ(control->GetSonarTargetByTargetGuid(L"two"), nullptr);
    });
    WithinANotification([&] {
        ASSERT_EQ(control->GetSonarTargets().size(), 1U);
        EXPECT_EQ(control->GetSonarTargets()[0].targetId, 2U);
        EXPECT_EQ(control->GetSonarTargetByTargetGuid(L"one"), nullptr);
    });
    control->Close();
}

TEST_F(TargetStoreTest, EveryReadIsOfOneMomentWhileAnotherProcessWrites)
{
    constexpr std::size_t count = 100;
    Put(std::vector<StoredTarget>(count, Contact(1)));
    OtherProcess writer([&] {
        TargetFile targets(file);
        for (float range = 1.0F;; range += 1.0F) {
            targets.Replace(std::vector<StoredTarget>(count, Contact(1, L"", range)));
        }
    });
    auto* const control = Open();
    writer.Start();
    float last = 0.0F;
    for (int changes = 0; changes < 50;) {
        auto const& contacts = control->GetSonarTargets();
        ASSERT_EQ(contacts.size(), count);
        auto const range = contacts.front().range;
        for (auto const& contact : contacts) {
            ASSERT_EQ(contact.range, range);
        }
        ASSERT_GE(range, last);
        changes += range != last ? 1 : 0;
        last = range;
    }
    EXPECT_TRUE(writer.Kill()) << "the writer failed";
    control->Close();
    EXPECT_TRUE(lines.empty());
}

TEST_F(TargetStoreTest, AFileThatCannotBeReadAnyMoreKeepsItsContactsAndSaysSoOnce)
{
    Put({Contact(1, L"one")});
    auto* const control = Open();
    Sql("DROP TABLE target");
    for (int i = 0; i < 3; ++i) {
        ASSERT_EQ(control->GetSonarTargets().size(), 1U);
    }
    ASSERT_EQ(lines.size(), 1U);
    EXPECT_NE(lines[0].find("its contacts stay as they were read last"), std::string::npos);
    control->Close();
}

TEST_F(TargetStoreTest, ChangesTellEverybody)
{
    struct Heard
    {
        std::uint32_t id;
        std::uint32_t code;
        double time;
        std::size_t contacts;
        bool operator==(Heard const&) const = default;
    };
    std::vector<Heard> heard;
    Put({});
    auto* const control = Open();
    Subscription subscription{Subscription::General};
    subscription.SetSubscriber(
        new Sink([&](NotificationInfo const* info) {
            auto const* const change = dynamic_cast<SONAR_TARGET_SEL_INFO const*>(info);
            ASSERT_NE(change, nullptr);
            heard.push_back({change->targetId, change->changeCode, change->time, control->GetSonarTargets().size()});
        }),
        true);
    subscription.Subscribe(GeneralSubKeys::STS_SELECTED_SONAR_TARGET_CHANGE);
    auto& store = host.Targets();
    store.Add(Name(), Contact(7));
    store.Add(Name(), Contact(8));
    EXPECT_TRUE(store.Change(Name(), Contact(7, L"", 5.0F)));
    EXPECT_FALSE(store.Change(Name(), Contact(9)));
    EXPECT_TRUE(store.Remove(Name(), 7));
    EXPECT_FALSE(store.Remove(Name(), 7));
    EXPECT_EQ(heard,
              (std::vector<Heard>{
                  {7, 1, 1700000000.0, 1}, {8, 1, 1700000000.0, 2}, {7, 2, 1700000000.0, 2}, {7, 3, 1700000000.0, 1}}));
    fs::remove(file);
    EXPECT_THROW(store.Change(Name(), Contact(8)), TargetFileError);
    EXPECT_EQ(heard.size(), 4U);
    control->Close();
}

TEST_F(TargetStoreTest, ANewHostBeginsEmpty)
{
    auto& manager = SonarTargetsManager::Instance();
    EXPECT_FALSE(manager.geoTiffOutputEnabled);
    EXPECT_EQ(manager.GetActiveSonarTargetsName(), CString());
    EXPECT_EQ(manager.GetOperatorName(), CString());
    host.Targets().SetActive(L"a");
    host.Targets().SetOperatorName(L"b");
    EXPECT_EQ(manager.GetActiveSonarTargetsName(), CString(L"a"));
    EXPECT_EQ(manager.GetOperatorName(), CString(L"b"));
}

// Files by name.

TEST_F(TargetStoreTest, FilesAreReadFromStartToEnd)
{
    auto const path = folder / "image.tif";
    CString const name = vordal::TextOf(path);
    Write(path, "0123456789");
    HugeFileStream stream;
    char buffer[16] = {};
    EXPECT_EQ(stream.GetSize(), 0U);
    EXPECT_EQ(stream.Read(buffer, 4), 0U);
    ASSERT_TRUE(stream.Open(name, false, false));
    EXPECT_EQ(stream.GetSize(), 10U);
    EXPECT_EQ(stream.Read(buffer, 4), 4U);
    EXPECT_EQ(stream.GetSize(), 10U);
    EXPECT_EQ(stream.Read(buffer + 4, 12), 6U);
    EXPECT_EQ(std::string(buffer, 11), std::string("0123456789\0", 11));
    EXPECT_EQ(stream.Read(buffer, 1), 0U);
    ASSERT_TRUE(stream.Open(name, false, false)) << "from the start again";
    EXPECT_EQ(stream.Read(buffer, 1), 1U);
    stream.Close();
    EXPECT_EQ(stream.GetSize(), 0U);
    EXPECT_EQ(stream.Read(buffer, 1), 0U);
    ASSERT_TRUE(stream.Open(name, true, true));
    EXPECT_EQ(stream.GetSize(), 0U) << "emptied";
}

TEST_F(TargetStoreTest, AFileBeyondFourGigabytesTellsItsSize)
{
    auto const path = folder / "huge.tif";
    Write(path, "II*");
    fs::resize_file(path, (std::uintmax_t{1} << 32) + 5); // sparse
    HugeFileStream stream;
    ASSERT_TRUE(stream.Open(vordal::TextOf(path), false, false));
    EXPECT_EQ(stream.GetSize(), (std::uint64_t{1} << 32) + 5);
    char buffer[5] = {'x', 'x', 'x', 'x', 'x'};
    EXPECT_EQ(stream.Read(buffer, 5), 5U);
    EXPECT_EQ(std::string(buffer, 5), std::string("II*\0\0", 5));
}

TEST_F(TargetStoreTest, WhatIsNoFileIsNotOpened)
{
    HugeFileStream stream;
    auto const opens = [&](fs::path const& path) { return stream.Open(vordal::TextOf(path), false, false); };
    EXPECT_FALSE(opens(folder / "missing"));
    EXPECT_FALSE(fs::exists(folder / "missing"));
    EXPECT_FALSE(opens(folder));
    EXPECT_FALSE(stream.Open(CString(), false, false));
    fs::create_symlink(folder / "loop", folder / "loop");
    EXPECT_FALSE(opens(folder / "loop"));
    ASSERT_EQ(mkfifo((folder / "pipe").c_str(), 0600), 0);
    EXPECT_FALSE(opens(folder / "pipe")) << "and without waiting for its other end";
    Write(folder / "secret", "x");
    fs::permissions(folder / "secret", fs::perms::none);
    if (geteuid() != 0) {
        EXPECT_FALSE(opens(folder / "secret"));
    }
    EXPECT_EQ(stream.GetSize(), 0U);
}

TEST_F(TargetStoreTest, FilesAreRemovedByName)
{
    auto const path = folder / "image.tif";
    CString const name = vordal::TextOf(path);
    Write(path, "x");
    EXPECT_TRUE(HugeFileStream::Remove(name));
    EXPECT_FALSE(fs::exists(path));
    EXPECT_FALSE(HugeFileStream::Remove(name));
    EXPECT_FALSE(HugeFileStream::Remove(CString()));
    fs::create_directory(path);
    EXPECT_FALSE(HugeFileStream::Remove(name));
    EXPECT_TRUE(fs::exists(path));
    std::wstring const event = L"remove " + std::wstring(name.View());
    EXPECT_EQ(watcher.events, (std::vector<std::wstring>{event, event, L"remove ", event}));
}

TEST_F(TargetStoreTest, OnlyFilesBelowTheProjectsFoldersAreReadAndRemoved)
{
    auto const open = [](fs::path const& path) {
        HugeFileStream stream;
        return stream.Open(vordal::TextOf(path), false, false);
    };
    auto const remove = [](fs::path const& path) { return HugeFileStream::Remove(vordal::TextOf(path)); };
    fs::create_directories(folder / "project" / "images");
    fs::create_directory(folder / "project-not");
    fs::create_directory(folder / "pictures");
    auto const inside = folder / "project" / "images" / "inside.tif";
    std::vector<fs::path> const outside{folder / "outside.tif", folder / "project-not" / "outside.tif",
                                        folder / "pictures" / "outside.tif"};
    Write(inside, "x");
    for (auto const& path : outside) {
        Write(path, "x");
    }
    fs::create_symlink(outside[0], folder / "project" / "link.tif");
    fs::create_directory_symlink(folder / "pictures", folder / "project" / "linked");
    std::vector<fs::path> leadOut = outside;
    leadOut.push_back(folder / "project" / ".." / "outside.tif");
    leadOut.push_back(folder / "project" / "linked" / "outside.tif");

    host.SetFileFolders({});
    EXPECT_FALSE(open(inside)) << "a host without a project names no folder";
    host.SetProjectFolder(FILE_SONAR_TARGETS, vordal::FolderOf(folder / "project" / "survey.qx5"));
    EXPECT_TRUE(open(inside));
    EXPECT_TRUE(open(folder / "project" / "." / "images" / ".." / "images" / "inside.tif"));
    EXPECT_FALSE(open(folder / "project" / "link.tif"));
    for (auto const& path : leadOut) {
        EXPECT_FALSE(open(path)) << path;
        EXPECT_FALSE(remove(path)) << path;
        EXPECT_TRUE(fs::exists(path)) << path;
    }
    EXPECT_TRUE(remove(folder / "project" / "link.tif")) << "the link itself lies there";
    EXPECT_TRUE(fs::exists(outside[0]));
    EXPECT_TRUE(remove(inside));

    // Folders of the host's own choice take the place of the project's.
    host.SetFileFolders({folder / "pictures"});
    EXPECT_TRUE(open(outside[2]));
    EXPECT_TRUE(open(folder / "project" / "linked" / "outside.tif"));
    Write(inside, "x");
    EXPECT_FALSE(open(inside));
    EXPECT_TRUE(remove(outside[2]));
}

TEST_F(TargetStoreTest, NoNameLeadsOutOfTheFileRoot)
{
    fs::create_directory(folder / "root");
    Write(folder / "outside", "x");
    Write(folder / "root" / "inside", "y");
    host.SetFileRoot(folder / "root");
    HugeFileStream stream;
    for (auto const* name : {L"../outside", L"/../outside", L"/a/../../outside", L"/./../outside", L"..", L"/", L"."}) {
        EXPECT_FALSE(stream.Open(name, false, false)) << CString(name).GetLength();
        EXPECT_FALSE(HugeFileStream::Remove(name));
    }
    EXPECT_FALSE(stream.Open(vordal::TextOf(folder / "outside"), false, false));
    for (auto const* name : {L"inside", L"/inside", L"/../../inside", L"//inside"}) {
        EXPECT_TRUE(stream.Open(name, false, false)) << CString(name).GetLength();
    }
    EXPECT_TRUE(HugeFileStream::Remove(L"/inside"));
    EXPECT_TRUE(fs::exists(folder / "outside"));
}

} // namespace
} // namespace vordal::test
