// The plug-in as a module: what it registers, and that nothing of it stays behind however often it is loaded.
#include "reference_host/common/sonar_traffic.h"
#include "reference_host/core/host.h"
#include "reference_host/loader/plugin_loader.h"

#include <VordalConfigureR/CViewList.h>
#include <VordalDataBlocksR/CDataBlock.h>
#include <VordalMfc0R/CRuntimeClass.h>
#include <vordalhostdllR/CDisplayDoc.h>
#include <vordalhostdllR/CDocTemplateList.h>
#include <vordalhostdllR/VORDALMultiDocTemplate.h>

#include <array>
#include <atomic>
#include <chrono>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <span>
#include <string>
#include <string_view>
#include <thread>
#include <utility>

#include <malloc.h>

#include <gmock/gmock.h>

namespace {

using ::testing::ElementsAre;
using ::testing::IsEmpty;

std::unique_ptr<vordal::PlugIn> Load()
{
    std::string reason;
    auto plugin = vordal::PlugIn::Load(QX5_PLUGIN_FILE, reason);
    EXPECT_NE(plugin, nullptr) << reason;
    return plugin;
}

TEST(PluginModule, RegistersItsClassesAndTakesThemBack)
{
    vordal::Host host;
    host.SetApplication({});
    auto plugin = Load();
    ASSERT_NE(plugin, nullptr);
    EXPECT_THAT(host.DeviceClasses(), IsEmpty());
    EXPECT_FALSE(plugin->UnRegisterDevices()) << "the host's answer: there is nothing to take back yet";
    plugin->RegisterDevices();
    plugin->RegisterViews();
    plugin->InitializeTemplates(host.Application());
    EXPECT_THAT(host.DeviceClasses(), ElementsAre(CString(L"QX5SonarConfigurationControlDevice")));
    EXPECT_THAT(host.ViewClasses(), ElementsAre(CString(L"QX5SonarConfigurationView")));
    EXPECT_THAT(host.DisplayTemplates(), ElementsAre(CString(L"QX5SONARCONFIGURATION")));

    auto* const viewClass = CViewList::GetViewList().FindView(L"QX5SonarConfigurationView");
    ASSERT_NE(viewClass, nullptr);
    EXPECT_STREQ(viewClass->className, "QX5SonarConfigurationView");
    auto* const made = CDocTemplateList::GetDocTemplates().FindTemplate(L"QX5SONARCONFIGURATION");
    ASSERT_NE(dynamic_cast<VORDALMultiDocTemplateAttr1*>(made), nullptr);
    EXPECT_EQ(made->GetDocumentClass(), CDisplayDocAttr1::GetRuntimeClass());
    EXPECT_EQ(made->GetFrameClass(), CDisplayFrmAttr1::GetRuntimeClass());
    EXPECT_EQ(made->GetViewClass(), viewClass);
    EXPECT_EQ(made->GetDockFrameClass(), CDisplayDockFrmAttr1::GetRuntimeClass());

    plugin->UnInitializeTemplates();
    EXPECT_THAT(host.DisplayTemplates(), IsEmpty());
    EXPECT_TRUE(plugin->UnRegisterDevices());
    EXPECT_THAT(host.DeviceClasses(), IsEmpty());
    EXPECT_FALSE(plugin->UnRegisterDevices());
    EXPECT_EQ(host.MakeDevice(L"QX5SonarConfigurationControlDevice"), nullptr);
}

TEST(PluginModule, ASecondTemplateTakesTheName)
{
    vordal::Host host;
    host.SetApplication({});
    auto plugin = Load();
    ASSERT_NE(plugin, nullptr);
    plugin->InitializeTemplates(host.Application());
    auto* const first = CDocTemplateList::GetDocTemplates().FindTemplate(L"QX5SONARCONFIGURATION");
    plugin->InitializeTemplates(host.Application());
    auto* const second = CDocTemplateList::GetDocTemplates().FindTemplate(L"QX5SONARCONFIGURATION");
    EXPECT_NE(first, second);
    EXPECT_EQ(first->GetViewClass(), second->GetViewClass()); // both are there until the module goes
}

TEST(PluginModule, GoesWithAllThatItRegistered)
{
    vordal::Host host;
    host.SetApplication({});
    auto plugin = Load();
    ASSERT_NE(plugin, nullptr);
    plugin->RegisterDevices();
    plugin->RegisterViews();
    plugin->InitializeTemplates(host.Application());
    plugin.reset();
    EXPECT_THAT(host.DeviceClasses(), IsEmpty());
    EXPECT_THAT(host.ViewClasses(), IsEmpty());
    EXPECT_THAT(host.DisplayTemplates(), IsEmpty());
}

TEST(PluginModule, NeedsNoApplication)
{
    vordal::Host host;
    auto plugin = Load();
    ASSERT_NE(plugin, nullptr);
    plugin->InitializeTemplates(nullptr);
    EXPECT_THAT(host.DisplayTemplates(), IsEmpty());
}

/// What the process holds at the moment.
struct Holdings
{
    std::ptrdiff_t files;
    std::ptrdiff_t threads;
    std::size_t heapBytes;
};

std::ptrdiff_t EntriesOf(std::filesystem::path const& folder)
{
    return std::distance(std::filesystem::directory_iterator(folder), std::filesystem::directory_iterator());
}

Holdings Now()
{
    return {EntriesOf("/proc/self/fd"), EntriesOf("/proc/self/task"), mallinfo2().uordblks};
}

bool IsMapped(std::string const& file)
{
    std::ifstream maps("/proc/self/maps");
    for (std::string line; std::getline(maps, line);) {
        if (line.find(file) != std::string::npos) {
            return true;
        }
    }
    return false;
}

/// The whole life of a sonar with the module around it.
void LiveOnce(vordal::Threading threading)
{
    vordal::Host host(threading);
    host.SetApplication({});
    host.AddVessel({.number = 1, .name = L"Vessel", .configuration = {}});
    host.RunAndWait([&] {
        auto const plugin = Load();
        ASSERT_NE(plugin, nullptr);
        plugin->RegisterDevices();
        plugin->RegisterViews();
        auto* const sonar =
            host.AddDevice(host.MakeDevice(L"QX5SonarConfigurationControlDevice"), CDataId(1, 78, 1, 1), L"sonar");
        ASSERT_NE(sonar, nullptr);
        CAttributeMap attributes;
        attributes.Add(L"PingMode", CVordalInt(1), 0);
        attributes.Add(L"PingOnlyDuringScan", CVordalBool(true), 0);
        host.LoadDevice(*sonar, attributes);
        host.ApplyDevice(*sonar, true);
        sonar->HandlePortConnected();
        plugin->InitializeTemplates(host.Application());
        plugin->DeviceCtrlInit(1, 78, 1, 1);
        CAttributeMap request;
        request.Add(L"x5Range", CVordalDouble(50.0), 0);
        host.DeliverRequest(*sonar, &request);
        plugin->ReleaseDevices();
        host.RemoveAllDevices();
    });
    EXPECT_TRUE(host.Stop());
}

/// Counts the pings, which are the records of 92 bytes, and the sonars' joinings, each a ping rate in 96 bytes.
class Pings final : public vordal::SonarTraffic
{
public:
    bool SendRemoteControl(Sender const&, std::uint32_t, std::span<unsigned char const>, int, int) override
    {
        return true;
    }
    bool AskForRecord(Sender const&, std::uint32_t, int, int) override { return true; }
    bool SendData(Sender const&, std::uint32_t, std::span<unsigned char const>, double, int, int) override
    {
        return true;
    }
    bool SendRaw(Sender const& sender, std::string_view bytes, bool) override
    {
        joins += bytes.size() == 96 ? 1 : 0;
        if (bytes.size() == 92) {
            ++count;
            ++ofSonar[sender.device.GetDeviceNum()];
        }
        return true;
    }

    std::atomic<int> count = 0;
    std::atomic<int> joins = 0;
    std::array<std::atomic<int>, 4> ofSonar{}; ///< by device number
};

/// A sonar of the host's own class under ping control, so that it outlives the module.
Device* AddPingingSonar(vordal::Host& host, unsigned short number, int group, double overhead)
{
    auto* const sonar = host.AddDevice(host.MakeDevice(L"QX5Device"), CDataId(1, 78, number, 1));
    EXPECT_NE(sonar, nullptr);
    CAttributeMap attributes;
    attributes.Add(L"PingMode", CVordalInt(1), 0);
    attributes.Add(L"SonarGroupId", CVordalInt(group), 0);
    attributes.Add(L"Overhead", CVordalDouble(overhead), 0);
    attributes.Add(L"DeviceId", CVordalInt(7125), 0);
    host.ReplaceAttributes(*sonar, attributes);
    return sonar;
}

/// Settings data with a range of 15,000 m: at 1,500 m/s and an overhead of 100 % a pause of 20 s.
void TellSettings(vordal::Host& host, unsigned short number)
{
    CDataBlock block;
    block.AddItem(699, DATA_FLOAT, std::array<unsigned char, 4>{0x00, 0x60, 0x6A, 0x46}, 4, 0);
    host.PutBlock(CDataId(1, 78, number, 1), block);
}

template <typename Condition>
bool Eventually(Condition condition)
{
    auto const deadline = std::chrono::steady_clock::now() + std::chrono::seconds(60);
    while (!condition()) {
        if (std::chrono::steady_clock::now() > deadline) {
            return false;
        }
        std::this_thread::sleep_for(std::chrono::milliseconds(1));
    }
    return true;
}

TEST(PluginModule, EndsItsSequencingThreadsWhenItIsUnloaded)
{
    Pings pings;
    vordal::Host host(vordal::Threading::Inline);
    host.SetTraffic(&pings);
    host.SetApplication({});
    host.AddVessel({.number = 1, .name = L"Vessel", .configuration = {}});
    // Each in its own group.
    AddPingingSonar(host, 1, 1, 100.0);
    AddPingingSonar(host, 2, 2, 100.0);
    std::thread([] {}).join(); // a sanitizer starts a thread of its own beside the first
    auto threadsBefore = Now().threads;
    ASSERT_TRUE(Eventually([&] {
        auto const before = std::exchange(threadsBefore, Now().threads);
        return before == threadsBefore;
    })) << "one that has ended stands in the system's list for a moment more";
    auto plugin = Load();
    ASSERT_NE(plugin, nullptr);
    plugin->InitializeTemplates(host.Application());

    TellSettings(host, 1);
    TellSettings(host, 2);
    ASSERT_TRUE(Eventually([&] { return pings.count == 2; }));
    TellSettings(host, 2); // the second is in its pause now, the first is awaited
    EXPECT_GE(Now().threads, threadsBefore + 2);

    auto const begin = std::chrono::steady_clock::now();
    plugin.reset();
    EXPECT_LT(std::chrono::steady_clock::now() - begin, std::chrono::seconds(15)) << "it waited for the pause";
    EXPECT_FALSE(IsMapped("QX5SonarConfiguration.so"));
    // A thread that has ended may stand in the system's list for a moment more.
    EXPECT_TRUE(Eventually([&] { return Now().threads == threadsBefore; }));
    TellSettings(host, 1);
    EXPECT_EQ(pings.count, 2);
}

TEST(PluginModule, FindsTheSonarsAnewWhenTemplatesAreInitialisedWhileTheyPing)
{
    Pings pings;
    vordal::Host host(vordal::Threading::Inline);
    host.SetTraffic(&pings);
    host.SetApplication({});
    host.AddVessel({.number = 1, .name = L"Vessel", .configuration = {}});
    AddPingingSonar(host, 1, 1, 0.0);
    auto plugin = Load();
    ASSERT_NE(plugin, nullptr);
    plugin->InitializeTemplates(host.Application());
    TellSettings(host, 1);
    ASSERT_TRUE(Eventually([&] { return pings.count == 1; }));
    EXPECT_EQ(pings.joins, 1);

    // Nobody has answered: the sonar is awaited. Then all is forgotten, and it joins as if it were new, once.
    plugin->InitializeTemplates(host.Application());
    EXPECT_EQ(pings.count, 1) << "the turns have ended";
    TellSettings(host, 1);
    EXPECT_EQ(pings.joins, 2);
    ASSERT_TRUE(Eventually([&] { return pings.count == 2; }));
    // Its data let it ping again, once for each: it is followed by one subscription, not by two.
    TellSettings(host, 1);
    ASSERT_TRUE(Eventually([&] { return pings.count == 3; }));
    EXPECT_EQ(pings.joins, 2);
    plugin->ReleaseDevices();
    EXPECT_EQ(pings.count, 3);
}

TEST(PluginModule, TheHostAsksForASonarThatCameLaterAndLetsAllGo)
{
    Pings pings;
    vordal::Host host(vordal::Threading::Inline);
    host.SetTraffic(&pings);
    host.SetApplication({});
    host.AddVessel({.number = 1, .name = L"Vessel", .configuration = {}});
    AddPingingSonar(host, 1, 1, 0.0);
    auto plugin = Load();
    ASSERT_NE(plugin, nullptr);
    plugin->InitializeTemplates(host.Application());
    AddPingingSonar(host, 2, 2, 0.0);
    TellSettings(host, 2);
    EXPECT_EQ(pings.joins, 0) << "nobody has looked for it";
    plugin->DiscoverDevices();
    TellSettings(host, 2);
    EXPECT_EQ(pings.joins, 1);
    plugin->ReleaseDevices();
    TellSettings(host, 1);
    EXPECT_EQ(pings.joins, 1);
}

TEST(PluginModule, ASonarThatIsRemovedInItsTurnIsOutOfItAndTheOthersGoOn)
{
    for (auto const threading : {vordal::Threading::Inline, vordal::Threading::Threaded}) {
        Pings pings;
        vordal::Host host(threading);
        host.SetTraffic(&pings);
        host.SetApplication({});
        host.AddVessel({.number = 1, .name = L"Vessel", .configuration = {}});
        std::unique_ptr<vordal::PlugIn> plugin;
        Device* first = nullptr;
        auto const data = [&](unsigned short sonar) { TellSettings(host, sonar); };
        host.RunAndWait([&] {
            first = AddPingingSonar(host, 1, 1, 0.0);
            AddPingingSonar(host, 2, 1, 0.0);
            AddPingingSonar(host, 3, 1, 0.0);
            plugin = Load();
            plugin->InitializeTemplates(host.Application());
            data(1);
        });
        ASSERT_TRUE(Eventually([&] { return pings.ofSonar[1] == 1; }));
        host.RunAndWait([&] {
            data(2);
            data(3);
            host.SetBufferStatus(CDataId(1, 78, 3, 1), 1); // has gone
            EXPECT_TRUE(host.RemoveDevice(first));         // is awaited
            EXPECT_FALSE(host.RemoveDevice(first)) << "which is not the host's any more";
        });
        // The second answers each time, the third has nothing to say.
        for (int turn = 1; turn <= 3; ++turn) {
            ASSERT_TRUE(Eventually([&] { return pings.ofSonar[2] == turn; })) << turn;
            data(2);
        }
        EXPECT_EQ(pings.ofSonar[1], 1);
        EXPECT_EQ(pings.ofSonar[3], 0);
        host.RunAndWait([&] {
            host.RemoveAllDevices();
            int const last = pings.count;
            data(2);
            EXPECT_EQ(pings.count, last);
            plugin.reset();
        });
    }
}

TEST(PluginModule, ASonarWhoseStreamIsNotWellWhileAnotherIsRemovedTakesItsTurnsOnceItIs)
{
    Pings pings;
    vordal::Host host(vordal::Threading::Threaded);
    host.SetTraffic(&pings);
    host.SetApplication({});
    host.AddVessel({.number = 1, .name = L"Vessel", .configuration = {}});
    CDataId const unwell(1, 78, 2, 1);
    std::unique_ptr<vordal::PlugIn> plugin;
    host.RunAndWait([&] {
        Device* const first = AddPingingSonar(host, 1, 1, 0.0);
        AddPingingSonar(host, 2, 1, 0.0);
        plugin = Load();
        plugin->InitializeTemplates(host.Application());
        TellSettings(host, 2);
        host.SetBufferStatus(unwell, 3);
        EXPECT_TRUE(host.RemoveDevice(first));
    });
    int const before = pings.ofSonar[2];
    // It pings on command alone, so it tells no settings by itself.
    host.SetBufferStatus(unwell, 0);
    EXPECT_TRUE(Eventually([&] { return pings.ofSonar[2] == before + 1; }));
    // It is told of once, not at each change of its stream.
    host.SetBufferStatus(unwell, 3);
    host.SetBufferStatus(unwell, 0);
    ASSERT_TRUE(Eventually([&] { return pings.ofSonar[2] == before + 2; }));
    EXPECT_EQ(pings.joins, 2);
    host.RunAndWait([&] {
        host.RemoveAllDevices();
        plugin.reset();
    });
}

TEST(PluginModule, LeavesNothingBehindInAThousandLives)
{
    // Whatever is made once for the whole process is made in the first lives; the toolkit's tables grow over some more.
    for (int life = 0; life < 250; ++life) {
        LiveOnce(life % 10 == 0 ? vordal::Threading::Threaded : vordal::Threading::Inline);
    }
    Holdings const before = Now();
    for (int life = 0; life < 1000; ++life) {
        LiveOnce(life % 10 == 0 ? vordal::Threading::Threaded : vordal::Threading::Inline);
        ASSERT_FALSE(IsMapped("QX5SonarConfiguration.so")) << "after life " << life;
    }
    Holdings const after = Now();
    EXPECT_EQ(after.files, before.files);
    EXPECT_EQ(after.threads, before.threads);
    // A leak of a single object in each life would be tens of kilobytes; the heap's own bookkeeping is far less.
    // A sanitizer's heap tells nothing here and looks for leaks itself.
    EXPECT_LT(after.heapBytes, before.heapBytes + 16384);
}

} // namespace
