// Tests of the project store: what goes in comes out, and nothing that is there is ever lost or overwritten.
#include "tests/support/temporary_folder.h"

#include <reference_host/attributes/tree_bytes.h>
#include <reference_host/attributes/tree_merge.h>
#include <reference_host/store/project_store.h>

#include <gtest/gtest.h>

#include <bit>
#include <cmath>
#include <csignal>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <limits>

#include <sqlite3.h>
#include <sys/resource.h>
#include <sys/wait.h>
#include <unistd.h>

namespace vordal::test {
namespace {

namespace fs = std::filesystem;
using qx5::protocol::StoredTree;
using Bytes = std::vector<unsigned char>;

class StoreTest : public testing::Test
{
protected:
    static Bytes Content(fs::path const& path)
    {
        std::ifstream stream(path, std::ios::binary);
        return {std::istreambuf_iterator<char>(stream), {}};
    }
    static void Write(fs::path const& path, Bytes const& bytes)
    {
        std::ofstream stream(path, std::ios::binary | std::ios::trunc);
        stream.write(reinterpret_cast<char const*>(bytes.data()), static_cast<std::streamsize>(bytes.size()));
    }
    /// Opens and loads; the message of the refusal, empty when there was none.
    static std::string Refusal(fs::path const& path, ProjectStore::Missing missing = ProjectStore::Missing::Create)
    {
        try {
            ProjectStore store(path, missing);
            store.Load();
            return {};
        } catch (StoreError const& error) {
            return error.what();
        }
    }

    qx5::test::TemporaryFolder const folder;
    fs::path const file = folder / "project.qx5p";
};

CAttributeMap TreeOfEveryKind()
{
    CAttributeMap tree;
    tree.SetGroup(L"settings");
    tree.Add(L"int", CVordalInt(-2147483647 - 1), 0);
    tree.Add(L"uint", CVordalUInt(4294967295U), 4);
    tree.Add(L"int64", CVordalInt64(std::numeric_limits<std::int64_t>::min()), 0);
    tree.Add(L"true", CVordalBool(true), 0);
    tree.Add(L"false", CVordalBool(false), 0xFFFFFFFFU);
    tree.Add(L"double", CVordalDouble(-0.0), 0);
    tree.Add(L"nan", CVordalDouble(std::bit_cast<double>(std::uint64_t{0x7FF8000000000123})), 0);
    tree.Add(L"infinity", CVordalDouble(-std::numeric_limits<double>::infinity()), 0);
    tree.Add(L"pair", CVordalDouble2D(10.0, -10.0), 0);
    tree.Add(L"reference", CVordalDataInfo(CDataId(1, 78, 65535, 2), 65535, 7), 0);
    tree.Add(L"text", CVordalText(L"Tiefe \x00FC\x2603 and \xD800 alone"), 0);
    tree.Add(L"zero inside", CVordalText(CString(std::wstring(L"a\0b", 3))), 0);
    tree.Add(L"empty text", CVordalText(L""), 0);
    tree.Add(L"ints", CVordalIntList({1, -1, 2147483647}), 0);
    tree.Add(L"no ints", CVordalIntList({}), 0);
    tree.Add(L"doubles", CVordalDoubleList({0.1, -1e300}), 0);
    tree.Add(L"offset", CVordalOffset(CCompOffset(1.0, 2.0, -3.5)), 0);
    auto* const branch = tree.Add(L"branch");
    branch->Add(L"same", CVordalInt(1), 0);
    branch->Add(L"same", CVordalInt(2), 0);
    branch->Add(L"same")->Add(L"", CVordalInt(3), 0);
    tree.Add(L"int", CVordalInt(5), 0);
    return tree;
}

TEST(StoredTrees, BytesOfASmallTree)
{
    CAttributeMap tree;
    tree.Add(L"R\x00FC", CVordalInt(258), 300)->Add(L"b", CVordalBool(true), 0);
    Bytes const expected{
        1,                         // version
        0,                         // no group
        1,                         // one child
        2,    'R',  0xFC, 0x01,    // its key: two characters, the second 0xFC = 0x7C + 1 * 0x80
        0xAC, 0x02,                // flags 300 = 0x2C + 2 * 0x80
        1,    0x02, 0x01, 0,    0, // a signed integer, 258
        1,                         // one child
        1,    'b',                 // its key
        0,                         // flags
        4,    1,                   // a truth value, true
        0,                         // no children
    };
    EXPECT_EQ(EncodeTree(tree, StoredTree), expected);
    CAttributeMap decoded;
    std::string error;
    EXPECT_EQ(DecodeTree(expected, StoredTree, decoded, error), 2U) << error;
    EXPECT_TRUE(TreesEqual(tree, decoded));
}

TEST(StoredTrees, EveryKindComesBack)
{
    auto const tree = TreeOfEveryKind();
    CAttributeMap decoded;
    std::string error;
    ASSERT_TRUE(DecodeTree(EncodeTree(tree, StoredTree), StoredTree, decoded, error)) << error;
    EXPECT_TRUE(TreesEqual(tree, decoded)) << TreeText(decoded);
    EXPECT_EQ(decoded.GetGroup(), L"settings");
}

TEST(StoredTrees, DamageIsRefusedAndTheTreeUntouched)
{
    auto const blob = EncodeTree(TreeOfEveryKind(), StoredTree);
    CAttributeMap tree;
    tree.Add(L"kept", CVordalInt(1), 0);
    std::string error;
    for (std::size_t size = 0; size < blob.size(); ++size) {
        EXPECT_FALSE(DecodeTree(std::span(blob).first(size), StoredTree, tree, error)) << size;
        EXPECT_FALSE(error.empty());
    }
    auto longer = blob;
    longer.push_back(0);
    EXPECT_FALSE(DecodeTree(longer, StoredTree, tree, error));
    auto newer = blob;
    newer[0] = 2;
    EXPECT_FALSE(DecodeTree(newer, StoredTree, tree, error));
    EXPECT_EQ(error, "an unknown version at byte 1");
    // Counts of more than there can be, and a number that does not end.
    EXPECT_FALSE(DecodeTree(Bytes{1, 0, 0xFF, 0xFF, 0xFF, 0xFF, 0x7F}, StoredTree, tree, error));
    EXPECT_FALSE(DecodeTree(Bytes{1, 0xFF, 0xFF, 0xFF, 0xFF, 0xFF, 0xFF, 0xFF, 0xFF, 0xFF, 0xFF, 0x01}, StoredTree,
                            tree, error));
    EXPECT_TRUE(tree.Has(L"kept"));
    // Any single byte changed gives a tree or a refusal, and nothing worse.
    for (std::size_t at = 0; at < blob.size(); ++at) {
        auto changed = blob;
        changed[at] = static_cast<unsigned char>(changed[at] ^ 0xFFU);
        CAttributeMap scratch;
        DecodeTree(changed, StoredTree, scratch, error);
    }
}

TEST(StoredTrees, DepthHasALimit)
{
    constexpr auto deepest = static_cast<int>(StoredTree.deepest);
    auto const deep = [](int levels) {
        CAttributeMap tree;
        auto* node = &tree;
        for (int i = 0; i < levels; ++i) {
            node = node->Add(L"k");
        }
        return tree;
    };
    CAttributeMap decoded;
    std::string error;
    EXPECT_TRUE(DecodeTree(EncodeTree(deep(deepest), StoredTree), StoredTree, decoded, error)) << error;
    EXPECT_THROW(EncodeTree(deep(deepest + 1), StoredTree), std::length_error);
    Bytes bomb{1, 0};
    for (int i = 0; i < 100'000; ++i) {
        bomb.insert(bomb.end(), {1, 0, 0, 0}); // one child: empty key, no flags, no value
    }
    bomb.push_back(0);
    EXPECT_FALSE(DecodeTree(bomb, StoredTree, decoded, error));
    EXPECT_EQ(error.rfind("the tree is too deep at byte ", 0), 0U) << error;
}

TEST_F(StoreTest, AProjectComesBack)
{
    StoredProject project;
    project.ports = {{L"Sonar", L"sonar.example", 7000, {}}, {L"Second", L"127.0.0.1", 65535, {}}};
    project.ports[1].watch = {std::chrono::milliseconds(500), std::chrono::seconds(5), std::chrono::seconds(2), 7};
    project.devices.push_back(
        {CDataId(1, 78, 1, 1), L"Class", L"Fore sonar \x00E9", L"Sonar", true, TreeOfEveryKind()});
    project.devices.push_back({CDataId(1, 78, 2, 1), L"Class", L"", L"", false, {}});
    ComputationSetup computation;
    computation.dataId = CDataId(2, 1112, 1, 1);
    computation.type = 1011;
    computation.linkedDevices = {CDataId(1, 78, 2, 1), CDataId(1, 78, 1, 1)};
    computation.attributes.Add(L"steer", CVordalDouble(2.5), 0);
    project.computations.push_back(computation);
    VesselSetup vessel;
    vessel.number = 3;
    vessel.name = L"Surveyor";
    vessel.configuration[L"general"][L"draft"] = L"4.2";
    project.vessels.push_back(vessel);
    project.activeVessel = 3;
    project.toldLimits = {.keys = 700, .bytes = 123456};
    project.transmitLocked = true;
    project.views[L"Sonar view"].Add(L"ATTR_DATAID", CVordalDataInfo(CDataId(1, 78, 1, 1), 65535, 65535), 0);
    project.windows[L"main"] = {0, 255, 39, 0};
    project.windows[L"empty"] = {};
    {
        ProjectStore store(file);
        store.Save(project);
        store.Save(project);
    }
    auto const loaded = ProjectStore(file, ProjectStore::Missing::Refuse).Load();
    ASSERT_EQ(loaded.ports.size(), 2U);
    EXPECT_EQ(loaded.ports[0].name, L"Sonar");
    EXPECT_EQ(loaded.ports[0].host, L"sonar.example");
    EXPECT_EQ(loaded.ports[1].tcpPort, 65535);
    EXPECT_EQ(loaded.ports[0].watch, LineWatch());
    EXPECT_EQ(loaded.ports[1].watch, project.ports[1].watch);
    ASSERT_EQ(loaded.devices.size(), 2U);
    EXPECT_EQ(loaded.devices[0].dataId, CDataId(1, 78, 1, 1));
    EXPECT_EQ(loaded.devices[0].className, L"Class");
    EXPECT_EQ(loaded.devices[0].name, L"Fore sonar \x00E9");
    EXPECT_EQ(loaded.devices[0].portName, L"Sonar");
    EXPECT_TRUE(loaded.devices[0].enabled);
    EXPECT_TRUE(TreesEqual(loaded.devices[0].attributes, TreeOfEveryKind()));
    EXPECT_FALSE(loaded.devices[1].enabled);
    EXPECT_EQ(loaded.devices[1].attributes.Count(), 0);
    ASSERT_EQ(loaded.computations.size(), 1U);
    EXPECT_EQ(loaded.computations[0].dataId, computation.dataId);
    EXPECT_EQ(loaded.computations[0].type, 1011);
    EXPECT_TRUE(loaded.computations[0].stream.IsUndefined());
    EXPECT_EQ(loaded.computations[0].linkedDevices, computation.linkedDevices);
    EXPECT_TRUE(TreesEqual(loaded.computations[0].attributes, computation.attributes));
    ASSERT_EQ(loaded.vessels.size(), 1U);
    EXPECT_EQ(loaded.vessels[0].number, 3);
    EXPECT_EQ(loaded.vessels[0].name, L"Surveyor");
    EXPECT_EQ(loaded.vessels[0].configuration, vessel.configuration);
    EXPECT_EQ(loaded.activeVessel, 3);
    EXPECT_EQ(loaded.toldLimits, (TreeLimits{700, 123456}));
    EXPECT_TRUE(loaded.transmitLocked);
    ASSERT_EQ(loaded.views.size(), 1U);
    EXPECT_TRUE(TreesEqual(loaded.views.at(L"Sonar view"), project.views[L"Sonar view"]));
    EXPECT_EQ(loaded.windows, project.windows);
}

TEST_F(StoreTest, AWindowIsSavedAlone)
{
    {
        ProjectStore store(file);
        store.SaveDevice({CDataId(1, 78, 1, 1), L"A", L"first", L"", true, {}});
        store.SaveWindow(L"main", {1, 2});
        store.SaveWindow(L"main", {3});
    }
    auto const loaded = ProjectStore(file).Load();
    EXPECT_EQ(loaded.windows, (std::map<CString, Bytes>{{L"main", {3}}}));
    EXPECT_EQ(loaded.devices.size(), 1U);
}

/// The tables of the first format; the second has `window` as well.
constexpr char const* FirstFormat = R"(
    CREATE TABLE port(position INTEGER PRIMARY KEY, name TEXT NOT NULL, host TEXT NOT NULL, tcp_port INTEGER NOT NULL);
    CREATE TABLE device(position INTEGER PRIMARY KEY, id TEXT NOT NULL UNIQUE, class TEXT NOT NULL, name TEXT NOT NULL,
                        port TEXT NOT NULL, enabled INTEGER NOT NULL, attributes BLOB NOT NULL);
    CREATE TABLE computation(position INTEGER PRIMARY KEY, id TEXT NOT NULL, type INTEGER NOT NULL,
                             stream TEXT NOT NULL, attributes BLOB NOT NULL);
    CREATE TABLE computation_device(computation INTEGER NOT NULL, position INTEGER NOT NULL, device TEXT NOT NULL,
                                    PRIMARY KEY(computation, position));
    CREATE TABLE vessel(position INTEGER PRIMARY KEY, number INTEGER NOT NULL, name TEXT NOT NULL);
    CREATE TABLE vessel_item(vessel INTEGER NOT NULL, section TEXT NOT NULL, item TEXT NOT NULL, text TEXT NOT NULL,
                             PRIMARY KEY(vessel, section, item));
    CREATE TABLE view(name TEXT PRIMARY KEY, shown BLOB NOT NULL);
    CREATE TABLE setting(name TEXT PRIMARY KEY, value INTEGER NOT NULL);
    INSERT INTO port(name, host, tcp_port) VALUES('Sonar', 'sonar.example', 7000);
    INSERT INTO device(id, class, name, port, enabled, attributes) VALUES('1.78.1.1', 'A', 'first', '', 1, x'010000');
    PRAGMA application_id=0x51583550;
    PRAGMA user_version=1;
)";
constexpr char const* SecondFormat = R"(
    CREATE TABLE window(name TEXT PRIMARY KEY, state BLOB NOT NULL);
    INSERT INTO window(name, state) VALUES('main', x'07');
    PRAGMA user_version=2;
)";

TEST_F(StoreTest, FilesOfFormerFormatsAreBroughtUpToDate)
{
    for (bool const second : {false, true}) {
        fs::remove(file);
        sqlite3* database = nullptr;
        ASSERT_EQ(sqlite3_open(file.c_str(), &database), SQLITE_OK);
        ASSERT_EQ(sqlite3_exec(database, FirstFormat, nullptr, nullptr, nullptr), SQLITE_OK);
        if (second) {
            ASSERT_EQ(sqlite3_exec(database, SecondFormat, nullptr, nullptr, nullptr), SQLITE_OK);
        }
        sqlite3_close(database);
        {
            ProjectStore store(file);
            auto const loaded = store.Load();
            ASSERT_EQ(loaded.devices.size(), 1U);
            EXPECT_EQ(loaded.devices[0].name, L"first");
            ASSERT_EQ(loaded.ports.size(), 1U);
            EXPECT_EQ(loaded.ports[0].tcpPort, 7000);
            EXPECT_EQ(loaded.ports[0].watch.unacknowledged.count(), 2000);
            EXPECT_EQ(loaded.ports[0].watch.keepaliveIdle.count(), 1);
            EXPECT_EQ(loaded.ports[0].watch.keepaliveInterval.count(), 1);
            EXPECT_EQ(loaded.ports[0].watch.keepaliveCount, 2);
            EXPECT_EQ(loaded.windows.size(), second ? 1U : 0U);
            store.SaveWindow(L"main", {7});
        }
        EXPECT_EQ(ProjectStore(file).Load().windows.size(), 1U);
    }
}

TEST_F(StoreTest, AFileOfTheThirdFormatKeepsItsChecksums)
{
    auto const makeThird = [&](char const* after) {
        fs::remove(file);
        {
            ProjectStore store(file);
            store.SaveWindow(L"main", {7});
        }
        sqlite3* database = nullptr;
        ASSERT_EQ(sqlite3_open(file.c_str(), &database), SQLITE_OK);
        ASSERT_EQ(sqlite3_exec(database, "DROP TABLE preset; DROP TABLE action; PRAGMA user_version=3;", nullptr,
                               nullptr, nullptr),
                  SQLITE_OK);
        ASSERT_EQ(sqlite3_exec(database, after, nullptr, nullptr, nullptr), SQLITE_OK);
        sqlite3_close(database);
    };
    makeThird("");
    {
        ProjectStore store(file);
        EXPECT_EQ(store.Load().windows.size(), 1U);
        EXPECT_TRUE(store.Presets().empty());
        store.SavePreset(L"a", "{}");
    }
    EXPECT_EQ(ProjectStore(file).Presets().size(), 1U);
    // Damage is not sealed on the way.
    makeThird("UPDATE window SET state=x'08', checksum=NULL");
    EXPECT_NE(Refusal(file).find("\"window\" is not as it was saved"), std::string::npos) << Refusal(file);
}

TEST_F(StoreTest, PresetsStayBesideWhatIsSaved)
{
    ProjectStore store(file);
    store.SavePreset(L"Shallow \x00E4", "{\"a\": 1}\n");
    store.SavePreset(L"Deep", "x");
    store.SavePreset(L"Deep", "y");
    store.Save({});
    EXPECT_EQ(store.Presets(), (std::map<CString, std::string>{{L"Deep", "y"}, {L"Shallow \x00E4", "{\"a\": 1}\n"}}));
    {
        // Another program, while this one has the file open.
        ProjectStore other(file);
        EXPECT_EQ(other.Presets().size(), 2U);
        EXPECT_TRUE(other.RemovePreset(L"Deep"));
        EXPECT_FALSE(other.RemovePreset(L"Deep"));
    }
    EXPECT_EQ(store.Presets().size(), 1U);
}

TEST_F(StoreTest, AChangedBitOfAPresetIsDamage)
{
    {
        ProjectStore store(file);
        store.SavePreset(L"name", "a document that is looked for");
    }
    auto bytes = Content(file);
    std::string const text = "a document that is looked for";
    auto const found = std::search(bytes.begin(), bytes.end(), text.begin(), text.end());
    ASSERT_NE(found, bytes.end());
    *found ^= 1U;
    Write(file, bytes);
    EXPECT_NE(Refusal(file).find("\"preset\" is not as it was saved"), std::string::npos) << Refusal(file);
}

bool Equal(StoredProject const& left, StoredProject const& right)
{
    auto const sameTrees = [](auto const& one, auto const& other) {
        return std::equal(one.begin(), one.end(), other.begin(), other.end(), [](auto const& a, auto const& b) {
            return a.first == b.first && TreesEqual(a.second, b.second);
        });
    };
    return std::equal(left.ports.begin(), left.ports.end(), right.ports.begin(), right.ports.end(),
                      [](StoredPort const& a, StoredPort const& b) {
                          return a.name == b.name && a.host == b.host && a.tcpPort == b.tcpPort && a.watch == b.watch;
                      }) &&
           std::equal(left.devices.begin(), left.devices.end(), right.devices.begin(), right.devices.end(),
                      [](StoredDevice const& a, StoredDevice const& b) {
                          return a.dataId == b.dataId && a.className == b.className && a.name == b.name &&
                                 a.portName == b.portName && a.enabled == b.enabled &&
                                 TreesEqual(a.attributes, b.attributes);
                      }) &&
           std::equal(left.vessels.begin(), left.vessels.end(), right.vessels.begin(), right.vessels.end(),
                      [](VesselSetup const& a, VesselSetup const& b) {
                          return a.number == b.number && a.name == b.name && a.configuration == b.configuration;
                      }) &&
           std::equal(left.computations.begin(), left.computations.end(), right.computations.begin(),
                      right.computations.end(),
                      [](ComputationSetup const& a, ComputationSetup const& b) {
                          return a.dataId == b.dataId && a.type == b.type && a.stream == b.stream &&
                                 a.linkedDevices == b.linkedDevices && TreesEqual(a.attributes, b.attributes);
                      }) &&
           left.activeVessel == right.activeVessel && left.toldLimits == right.toldLimits &&
           left.transmitLocked == right.transmitLocked && left.windows == right.windows &&
           sameTrees(left.views, right.views);
}

TEST_F(StoreTest, AFlippedBitIsFoundOrChangesNothing)
{
    StoredProject project;
    project.ports = {{L"Sonar", L"sonar.example", 7000, {}}, {L"Second", L"127.0.0.1", 65535, {}}};
    project.ports[1].watch.unacknowledged = std::chrono::milliseconds(500);
    project.devices.push_back({CDataId(1, 78, 1, 1), L"Class", L"Fore sonar", L"Sonar", true, TreeOfEveryKind()});
    project.vessels.push_back({});
    project.vessels[0].number = 3;
    project.vessels[0].name = L"Surveyor";
    project.vessels[0].configuration[L"general"][L"draft"] = L"4.2";
    ComputationSetup computation;
    computation.dataId = CDataId(2, 1112, 1, 1);
    computation.type = 1011;
    computation.linkedDevices = {CDataId(1, 78, 1, 1)};
    project.computations.push_back(computation);
    project.activeVessel = 3;
    project.views[L"Sonar view"].Add(L"ATTR_DATAID", CVordalInt(7), 0);
    project.windows[L"main"] = {0, 255, 39, 0};
    {
        ProjectStore store(file);
        store.Save(project);
    }
    auto const good = Content(file);
    ASSERT_TRUE(Equal(ProjectStore(file).Load(), project));
    // Each fifth byte that is in use, with another of its bits: most of the file's pages are empty.
    std::size_t inUse = 0;
    std::size_t tried = 0;
    std::size_t refused = 0;
    for (std::size_t at = 0; at < good.size(); ++at) {
        if (good[at] == 0 || ++inUse % 5 != 0) {
            continue;
        }
        auto flipped = good;
        flipped[at] = static_cast<unsigned char>(flipped[at] ^ (1U << (at % 8)));
        auto const damaged = folder / "flipped.qx5p";
        Write(damaged, flipped);
        ++tried;
        try {
            ProjectStore store(damaged);
            ASSERT_TRUE(Equal(store.Load(), project)) << "byte " << at << " is believed";
        } catch (StoreError const&) {
            ++refused;
            ASSERT_EQ(Content(damaged), flipped) << "byte " << at << ": the file was touched";
        }
    }
    EXPECT_GT(tried, 500U);
    EXPECT_GT(refused, 400U);
}

TEST_F(StoreTest, AFileWithoutALogGetsOne)
{
    {
        ProjectStore store(file);
        store.SaveWindow(L"main", {7});
    }
    sqlite3* database = nullptr;
    ASSERT_EQ(sqlite3_open(file.c_str(), &database), SQLITE_OK);
    // What the third format lacks.
    ASSERT_EQ(sqlite3_exec(database, "DROP TABLE preset; DROP TABLE action; PRAGMA user_version=3", nullptr, nullptr,
                           nullptr),
              SQLITE_OK);
    sqlite3_close(database);
    auto const rows = [this] {
        std::size_t count = 0;
        EXPECT_EQ(ProjectStore::ReadActions(file, [&](vordal::StoredAction const&) { ++count; }), vordal::LogDamage{});
        return count;
    };
    EXPECT_EQ(rows(), 0U) << "reading alone changes nothing";
    {
        ProjectStore store(file);
        auto const loaded = store.Load();
        EXPECT_EQ(loaded.windows.size(), 1U);
        EXPECT_FALSE(loaded.transmitLocked);
        vordal::StoredAction action;
        action.sonar = CDataId(1, 78, 1, 1);
        store.AppendActions(std::span(&action, 1));
    }
    EXPECT_EQ(rows(), 1U);
}

TEST_F(StoreTest, AChangedValueIsNamedByItsTable)
{
    {
        ProjectStore store(file);
        store.SaveDevice({CDataId(1, 78, 1, 1), L"A", L"first", L"", true, {}});
        store.SaveWindow(L"main", {7});
    }
    sqlite3* database = nullptr;
    ASSERT_EQ(sqlite3_open(file.c_str(), &database), SQLITE_OK);
    ASSERT_EQ(sqlite3_exec(database, "UPDATE window SET state=x'08'", nullptr, nullptr, nullptr), SQLITE_OK);
    sqlite3_close(database);
    EXPECT_NE(Refusal(file).find("is damaged: a row of its table \"window\" is not as it was saved"), std::string::npos)
        << Refusal(file);
}

TEST_F(StoreTest, SingleDevicesAndViewsAreSaved)
{
    CAttributeMap attributes;
    attributes.Add(L"a", CVordalInt(1), 0);
    {
        ProjectStore store(file);
        store.SaveDevice({CDataId(1, 78, 1, 1), L"A", L"first", L"", true, {}});
        store.SaveDevice({CDataId(1, 78, 2, 1), L"A", L"second", L"", true, {}});
        store.SaveDevice({CDataId(1, 78, 1, 1), L"B", L"first again", L"", true, {}});
        EXPECT_TRUE(store.SaveAttributes(CDataId(1, 78, 2, 1), attributes));
        EXPECT_FALSE(store.SaveAttributes(CDataId(1, 78, 9, 1), attributes));
        store.SaveView(L"v", {});
        store.SaveView(L"v", attributes);
    }
    ProjectStore store(file);
    auto const loaded = store.Load();
    ASSERT_EQ(loaded.devices.size(), 2U);
    EXPECT_EQ(loaded.devices[0].name, L"first again");
    EXPECT_EQ(loaded.devices[0].className, L"B");
    EXPECT_TRUE(TreesEqual(loaded.devices[1].attributes, attributes));
    EXPECT_TRUE(TreesEqual(loaded.views.at(L"v"), attributes));
    EXPECT_TRUE(store.RemoveDevice(CDataId(1, 78, 1, 1)));
    EXPECT_FALSE(store.RemoveDevice(CDataId(1, 78, 1, 1)));
    EXPECT_EQ(store.Load().devices.size(), 1U);
}

TEST_F(StoreTest, AProjectThatCannotBeSavedLeavesTheOldOne)
{
    ProjectStore store(file);
    StoredProject project;
    project.devices.push_back({CDataId(1, 78, 1, 1), L"A", L"kept", L"", true, {}});
    store.Save(project);
    auto* node = &project.devices[0].attributes;
    for (std::size_t i = 0; i <= StoredTree.deepest; ++i) {
        node = node->Add(L"k");
    }
    EXPECT_THROW(store.Save(project), StoreError);
    ASSERT_EQ(store.Load().devices.size(), 1U);
    EXPECT_EQ(store.Load().devices[0].name, L"kept");
    EXPECT_EQ(store.Load().devices[0].attributes.Count(), 0);
}

TEST_F(StoreTest, WhatIsNoProjectIsRefusedAndUntouched)
{
    for (auto const& bytes : {Bytes{'h', 'e', 'l', 'l', 'o'}, Bytes(5000, 'x'), Bytes(4096, 0)}) {
        Write(file, bytes);
        EXPECT_NE(Refusal(file).find("is no project file"), std::string::npos) << Refusal(file);
        EXPECT_EQ(Content(file), bytes);
    }
    EXPECT_EQ(std::distance(fs::directory_iterator(folder), fs::directory_iterator()), 1) << "no other files appear";
}

TEST_F(StoreTest, ADamagedProjectIsRefusedAndUntouched)
{
    {
        ProjectStore store(file);
        store.SaveDevice({CDataId(1, 78, 1, 1), L"A", L"first", L"", true, TreeOfEveryKind()});
    }
    auto const good = Content(file);
    auto damaged = good;
    // Every page but the header's hundred bytes: whatever the tables were, they are not any more.
    for (std::size_t at = 100; at < damaged.size(); ++at) {
        damaged[at] = static_cast<unsigned char>(damaged[at] ^ 0x5AU);
    }
    Write(file, damaged);
    EXPECT_NE(Refusal(file).find("damaged"), std::string::npos) << Refusal(file);
    EXPECT_EQ(Content(file), damaged);

    auto const half = Bytes(good.begin(), good.begin() + static_cast<std::ptrdiff_t>(good.size() / 2));
    Write(file, half);
    EXPECT_NE(Refusal(file).find("damaged"), std::string::npos) << Refusal(file);
    EXPECT_EQ(Content(file), half);
}

TEST_F(StoreTest, ANewerVersionAndAForeignDatabaseAreRefusedAndUntouched)
{
    {
        ProjectStore store(file);
    }
    // A database's header holds the user version at 60 and the application id at 68, big-endian.
    auto newer = Content(file);
    ASSERT_GT(newer.size(), 100U);
    EXPECT_EQ(Bytes(newer.begin() + 68, newer.begin() + 72), (Bytes{'Q', 'X', '5', 'P'}));
    EXPECT_EQ(newer[63], 4);
    newer[63] = 5;
    Write(file, newer);
    EXPECT_NE(Refusal(file).find("newer version (format 5"), std::string::npos) << Refusal(file);
    EXPECT_EQ(Content(file), newer);
    auto foreign = newer;
    foreign[68] = 0;
    Write(file, foreign);
    EXPECT_NE(Refusal(file).find("no project"), std::string::npos) << Refusal(file);
    EXPECT_EQ(Content(file), foreign);
}

TEST_F(StoreTest, ThingsInTheWayAreNamed)
{
    EXPECT_EQ(Refusal(file, ProjectStore::Missing::Refuse), "\"" + file.string() + "\" is not there");
    EXPECT_FALSE(fs::exists(file));
    EXPECT_EQ(Refusal(folder), "\"" + folder.string() + "\" is no file");
    EXPECT_NE(Refusal(folder / "none" / "project").find("cannot be"), std::string::npos);
    {
        ProjectStore store(file);
    }
    EXPECT_NE(Refusal(file / "project").find("project\""), std::string::npos);
    if (geteuid() != 0) {
        fs::permissions(file, fs::perms::owner_read);
        EXPECT_NE(Refusal(file).find("cannot be written"), std::string::npos);
    }
}

TEST_F(StoreTest, AKilledProcessLosesNothingThatWasSaved)
{
    for (int round = 0; round < 20; ++round) {
        auto const path = folder / ("killed" + std::to_string(round));
        int saved[2];
        ASSERT_EQ(pipe(saved), 0);
        auto const child = fork();
        ASSERT_GE(child, 0);
        if (child == 0) {
            close(saved[0]);
            try {
                ProjectStore store(path);
                for (int number = 1;; ++number) {
                    StoredProject project;
                    for (int device = 1; device <= 20; ++device) {
                        CAttributeMap attributes;
                        attributes.Add(L"number", CVordalInt(number), 0);
                        attributes.Add(L"ballast", CVordalText(std::wstring(1000, L'x')), 0);
                        project.devices.push_back(
                            {CDataId(1, 78, static_cast<unsigned short>(device), 1), L"A", L"", L"", true, attributes});
                    }
                    store.Save(project);
                    if (write(saved[1], &number, sizeof number) != sizeof number) {
                        _exit(1);
                    }
                }
            } catch (...) {
                _exit(1);
            }
        }
        close(saved[1]);
        int last = 0;
        int number = 0;
        // A few saves pass, then death comes in the middle of a later one.
        while (last < 3 + round % 4 && read(saved[0], &number, sizeof number) == sizeof number) {
            last = number;
        }
        for (int spin = 0; spin < round * 20'000; ++spin) {
            asm volatile("" ::: "memory");
        }
        kill(child, SIGKILL);
        int status = 0;
        waitpid(child, &status, 0);
        ASSERT_TRUE(WIFSIGNALED(status));
        while (read(saved[0], &number, sizeof number) == sizeof number) {
            last = number;
        }
        close(saved[0]);
        auto const loaded = ProjectStore(path, ProjectStore::Missing::Refuse).Load();
        ASSERT_EQ(loaded.devices.size(), 20U);
        int found = 0;
        ASSERT_TRUE(loaded.devices[0].attributes.FindValue(L"number", 0).Get(found));
        EXPECT_GE(found, last) << "a save that was told is gone";
        EXPECT_LE(found, last + 1);
        for (auto const& device : loaded.devices) {
            int other = 0;
            ASSERT_TRUE(device.attributes.FindValue(L"number", 0).Get(other));
            EXPECT_EQ(other, found) << "half a save";
        }
    }
}

StoredProject ProjectOfVessel(unsigned short vessel)
{
    StoredProject project;
    project.activeVessel = vessel;
    return project;
}

/// From here on a file of this process holds no more than so many pages: a save finds the disk full.
class FullDisk
{
public:
    explicit FullDisk(int pages)
    {
        greatestPages = pages;
        sqlite3_auto_extension(reinterpret_cast<void (*)()>(Limit));
    }
    FullDisk(FullDisk const&) = delete;
    FullDisk& operator=(FullDisk const&) = delete;
    ~FullDisk() { sqlite3_reset_auto_extension(); }

private:
    static int Limit(sqlite3* database, char**, void const*)
    {
        auto const limit = "PRAGMA max_page_count=" + std::to_string(greatestPages);
        return sqlite3_exec(database, limit.c_str(), nullptr, nullptr, nullptr);
    }
    static inline int greatestPages = 0;
};

class SaveAsTest : public StoreTest
{
protected:
    SaveAsTest()
    {
        ProjectStore store(file);
        store.Save(ProjectOfVessel(1));
        store.SavePreset(L"Deep", "{deep}");
        StoredAction action{.time = 1.5,
                            .who = "view",
                            .sonar = CDataId(1, 78, 1, 1),
                            .sonarName = "Bow",
                            .key = "x5Range",
                            .before = "100",
                            .asked = "50",
                            .result = "agrees"};
        for (int i = 0; i < 3; ++i) {
            store.AppendActions({&action, 1}, 2);
        }
    }
    std::string Failure(fs::path const& target, fs::path const& source = {}) const
    {
        try {
            ProjectStore::SaveAs(target, ProjectOfVessel(7), source);
            return {};
        } catch (StoreError const& error) {
            return error.what();
        }
    }
    std::size_t FileCount() const
    {
        return static_cast<std::size_t>(std::distance(fs::directory_iterator(folder.string()), {}));
    }

    fs::path const other = folder / "other.qx5";
};

TEST_F(SaveAsTest, TakesPresetsAndLogWithIt)
{
    ProjectStore const open(file); // as that of a window
    EXPECT_EQ(Failure(other, file), "");
    EXPECT_EQ(FileCount(), 2U);
    ProjectStore copy(other, ProjectStore::Missing::Refuse);
    EXPECT_EQ(copy.Load(), ProjectOfVessel(7));
    EXPECT_EQ(copy.Presets(), (std::map<CString, std::string>{{L"Deep", "{deep}"}}));
    std::vector<StoredAction> rows;
    EXPECT_EQ(ProjectStore::ReadActions(other, [&](StoredAction const& row) { rows.push_back(row); }), LogDamage());
    ASSERT_EQ(rows.size(), 2U) << "of three the first had given way";
    EXPECT_EQ(rows[0].sonarName, "Bow");
    // The numbers go on: none is missing.
    copy.AppendActions({rows.data(), 1});
    EXPECT_EQ(ProjectStore::ReadActions(other, [](StoredAction const&) {}), LogDamage());
    EXPECT_EQ(ProjectStore(file).Load(), ProjectOfVessel(1)) << "the source is as it was";
}

TEST_F(SaveAsTest, ReplacesAProjectAndNothingElse)
{
    ProjectStore(other).SavePreset(L"Old", "{}");
    EXPECT_EQ(Failure(other), "");
    ProjectStore replaced(other);
    EXPECT_EQ(replaced.Load(), ProjectOfVessel(7));
    EXPECT_TRUE(replaced.Presets().empty());

    auto const letter = folder / "letter.txt";
    Write(letter, {'D', 'e', 'a', 'r', ' ', 'a', 'l', 'l'});
    EXPECT_EQ(Failure(letter), "\"" + letter.string() + "\" is no project file; it is left as it is");
    EXPECT_EQ(Content(letter), (Bytes{'D', 'e', 'a', 'r', ' ', 'a', 'l', 'l'}));
    EXPECT_EQ(Failure(folder), "\"" + folder.string() + "\" is no file");
    EXPECT_NE(Failure(folder / "none" / "a.qx5").find("none/a.qx5\" cannot be"), std::string::npos);
    EXPECT_EQ(FileCount(), 3U);
}

TEST_F(SaveAsTest, LeavesTheOldFileWholeOnAFullDisk)
{
    ProjectStore(other).SavePreset(L"Old", "{}");
    auto const before = Content(other);
    {
        FullDisk const full(12);
        EXPECT_EQ(Failure(other, file), "\"" + other.string() + "\" cannot be written: the disk is full");
    }
    {
        // No file may grow beyond so many bytes.
        auto* const handler = std::signal(SIGXFSZ, SIG_IGN);
        rlimit was{};
        ASSERT_EQ(getrlimit(RLIMIT_FSIZE, &was), 0);
        rlimit const full{20000, was.rlim_max};
        ASSERT_EQ(setrlimit(RLIMIT_FSIZE, &full), 0);
        auto const line = Failure(other, file);
        setrlimit(RLIMIT_FSIZE, &was);
        std::signal(SIGXFSZ, handler);
        EXPECT_EQ(line.find("\"" + other.string() + "\" cannot be"), 0U) << line;
    }
    EXPECT_EQ(Content(other), before);
    EXPECT_EQ(FileCount(), 2U) << "nothing is left beside it";
    EXPECT_EQ(Failure(other, file), "") << "and later it works";
}

TEST_F(SaveAsTest, LeavesAFileThatAnotherProgramWrites)
{
    ProjectStore(other).SavePreset(L"Old", "{}");
    auto const before = Content(other);
    sqlite3* writer = nullptr;
    ASSERT_EQ(sqlite3_open(other.c_str(), &writer), SQLITE_OK);
    ASSERT_EQ(sqlite3_exec(writer, "BEGIN IMMEDIATE", nullptr, nullptr, nullptr), SQLITE_OK);
    EXPECT_EQ(Failure(other), "\"" + other.string() + "\" is in use by another program");
    sqlite3_close(writer);
    EXPECT_EQ(Content(other), before);
}

TEST_F(StoreTest, AFullDiskLosesNothingThatWasSaved)
{
    ProjectStore(file).Save(ProjectOfVessel(3));
    {
        FullDisk const full(30);
        ProjectStore store(file);
        auto project = ProjectOfVessel(4);
        project.windows[L"main window"].assign(1000000, 1);
        std::string line;
        try {
            store.Save(project);
        } catch (StoreError const& error) {
            line = error.what();
        }
        EXPECT_EQ(line, "\"" + file.string() + "\" cannot be written: the disk is full");
        EXPECT_EQ(store.Load(), ProjectOfVessel(3));
        store.Save(ProjectOfVessel(5));
    }
    EXPECT_EQ(ProjectStore(file).Load(), ProjectOfVessel(5));
}

} // namespace
} // namespace vordal::test
