// A project from its file to sonars that answer, and back into the file.
#include "stage.h"
#include "tests/support/temporary_folder.h"

#include <reference_host/loader/plugin_set.h>
#include <reference_host/project/open_project.h>
#include <reference_host/store/project_store.h>

#include <vordalhostdllR/DataManager.h>

#include <filesystem>
#include <future>

#include <gtest/gtest.h>

namespace qx5::test {
namespace {

namespace fs = std::filesystem;

CDataId const first(1, 78, 1, 1);
CDataId const second(1, 78, 2, 1);
CDataId const foreign(1, 78, 3, 1);

class Projects : public testing::Test
{
protected:
    Projects()
    {
        vordal::StoredProject project;
        project.ports = {{L"port-1", L"127.0.0.1", sonars[0].Port(), {}},
                         {L"port-2", L"127.0.0.1", sonars[1].Port(), {}}};
        project.vessels = {{.number = 1, .name = L"Meridian", .configuration = {}}};
        project.activeVessel = 1;
        vordal::StoredDevice device{
            first, L"QX5SonarConfigurationControlDevice", L"deep sonar", L"port-1", true, CAttributeMap()};
        device.attributes.Add(L"PingMode", CVordalInt(1), 0);
        device.attributes.Add(L"DeviceId", CVordalInt(7125), 0);
        device.attributes.Add(L"Request")->Add(L"x5Range", CVordalDouble(9.0), 0);
        project.devices.push_back(device);
        device = {second, L"QX5SonarConfigurationControlDevice", L"shallow sonar", L"port-2", true, CAttributeMap()};
        device.attributes.Add(L"Note", CVordalInt(42), 0);
        project.devices.push_back(device);
        project.devices.push_back({foreign, L"ForeignDevice", L"winch", L"port-2", true, CAttributeMap()});
        vordal::ProjectStore(File()).Save(project);
    }

    fs::path File() const { return folder / "project.qx"; }

    test::TemporaryFolder const folder;
    FarEnd sonars[2];
};

/// A number of the device's tree; the least of all where there is none.
template <typename Number>
Number NumberOf(CDataId const& device, wchar_t const* key)
{
    CAttributeMap tree;
    Number number = std::numeric_limits<Number>::lowest();
    DataManager::GetDataManager().GetAttributeMap(device, tree);
    tree.FindValue(key, 0).Get(number);
    return number;
}

TEST_F(Projects, AreMadeLoadedAppliedConnectedFollowedAndSaved)
{
    vordal::FixedClock clock{standingTime};
    vordal::LiveTraffic traffic;
    vordal::Host host{vordal::Threading::Threaded};
    vordal::LinkThread linkThread;
    host.SetClock(&clock);
    host.SetTraffic(&traffic);
    host.SetApplication({});
    std::string reason;
    auto plugIns = std::make_unique<vordal::PlugIns>();
    host.RunAndWait([&] { EXPECT_TRUE(plugIns->Add(QX5_PLUGIN_FILE, reason)) << reason; });
    {
        vordal::OpenProject project(host, linkThread, vordal::ProjectStore(File()).Load());
        EXPECT_EQ(project.Problems(), std::vector<std::string>{"the device \"winch\" is left out: no plug-in has "
                                                               "registered its class ForeignDevice"});
        ASSERT_EQ(host.Devices().size(), 2U);
        EXPECT_EQ(host.Devices()[0]->GetDeviceName(), L"deep sonar");
        EXPECT_EQ(NumberOf<int>(second, L"Note"), 42);
        CAttributeMap tree;
        DataManager::GetDataManager().GetAttributeMap(first, tree);
        EXPECT_FALSE(tree.Has(L"Request", 0)) << "a stored request does not come back to life";

        project.Start(*plugIns);
        project.Connect();
        EXPECT_TRUE(Eventually([&] {
            return project.FindPort(L"port-1")->GetLink().IsConnected() &&
                   project.FindPort(L"port-2")->GetLink().IsConnected();
        }));
        EXPECT_EQ(project.FindPort(L"port-3"), nullptr);
        // What the sonars tell of themselves is followed; the one with a ping mode is told not to ping by itself.
        EXPECT_TRUE(Eventually([&] { return NumberOf<double>(second, L"x5Range") > 0.0; }));
        EXPECT_TRUE(Eventually([&] {
            for (auto const& arrival : sonars[0].Arrivals()) {
                Bytes const& frame = arrival.frame;
                // Command 1004 is 0x03EC.
                if (frame.size() == 96 && frame[64] == 0xEC && frame[65] == 0x03) {
                    return true;
                }
            }
            return false;
        }));
        CAttributeMap request;
        request.Add(L"Request")->Add(L"x5Range", CVordalDouble(50.0), 0);
        host.RunAndWait([&] { DataManager::GetDataManager().SetAttributeMap(second, request, 4, false); });
        EXPECT_TRUE(sonars[1].WaitForRange(50.0F));
        EXPECT_TRUE(sonars[0].Ranges().empty());
        vordal::ProjectStore(File()).Save(project.Collect());
    }
    EXPECT_TRUE(host.Devices().empty());
    host.Stop();
    plugIns.reset();

    auto const saved = vordal::ProjectStore(File()).Load();
    ASSERT_EQ(saved.devices.size(), 3U);
    double range = 0.0;
    EXPECT_NE(saved.devices[1].attributes.FindValue(L"x5Range", 0).Get(range), 0);
    EXPECT_EQ(range, 50.0);
    EXPECT_EQ(saved.devices[2].className, L"ForeignDevice") << "what nobody could make stays";
    EXPECT_EQ(saved.ports.size(), 2U);
    ASSERT_EQ(saved.vessels.size(), 1U);
    EXPECT_EQ(saved.vessels[0].name, L"Meridian");
}

TEST_F(Projects, ALiveHostTakesDownInOrder)
{
    vordal::LiveHost host;
    std::string reason;
    ASSERT_TRUE(host.LoadPlugIn(QX5_PLUGIN_FILE, reason)) << reason;
    EXPECT_EQ(host.SonarClass(), L"QX5SonarConfigurationControlDevice");
    auto& project = host.Open(vordal::ProjectStore(File()).Load());
    host.Start();
    EXPECT_TRUE(Eventually([&] { return project.FindPort(L"port-2")->GetLink().IsConnected(); }));
    int called = 0;
    auto const before = [&] {
        ++called;
        EXPECT_TRUE(host.IsHostThread());
        EXPECT_EQ(host.Devices().size(), 2U);
        EXPECT_TRUE(project.FindPort(L"port-2")->GetLink().IsConnected());
    };
    EXPECT_TRUE(host.End(patience, before));
    EXPECT_TRUE(host.End(patience, before));
    EXPECT_EQ(called, 1);
    EXPECT_TRUE(host.Devices().empty());
    EXPECT_EQ(host.Project(), nullptr);
    EXPECT_TRUE(host.DeviceClasses().empty()) << "the plug-in is still there";
}

TEST_F(Projects, ALiveHostKeepsConnectionsAndPlugInsFromATaskThatDoesNotEnd)
{
    vordal::LiveHost host;
    std::string reason;
    ASSERT_TRUE(host.LoadPlugIn(QX5_PLUGIN_FILE, reason)) << reason;
    host.Open(vordal::ProjectStore(File()).Load());
    host.Start();
    std::promise<void> end;
    host.Post([ended = end.get_future().share()] { ended.wait(); });
    EXPECT_FALSE(host.End(std::chrono::milliseconds(1)));
    EXPECT_NE(host.Project(), nullptr);
    EXPECT_FALSE(host.DeviceClasses().empty());
    end.set_value();
}

/// A project at work in a live host, without the device that nobody can make.
class ProjectsAtWork : public Projects
{
protected:
    ProjectsAtWork()
    {
        host.SetClock(&clock);
        // Turns end with the main window.
        host.SetApplication({.guid = L"test", .mainWindow = true, .lightMode = 4, .displays = {}});
        std::string reason;
        EXPECT_TRUE(host.LoadPlugIn(QX5_PLUGIN_FILE, reason)) << reason;
        auto stored = vordal::ProjectStore(File()).Load();
        stored.devices.pop_back();
        project = &host.Open(stored);
        host.Start();
        EXPECT_TRUE(Eventually([&] { return IsConnected(first) && IsConnected(second); }));
    }
    bool IsConnected(CDataId const& device)
    {
        bool connected = false;
        host.RunAndWait([&] {
            auto* const port = project->PortOf(device);
            connected = port != nullptr && port->GetLink().IsConnected();
        });
        return connected;
    }
    std::uint64_t Connections(CDataId const& device)
    {
        std::uint64_t count = 0;
        host.RunAndWait([&] { count = project->PortOf(device)->GetLink().GetCounters().connections; });
        return count;
    }
    void Ask(CDataId const& device, double range)
    {
        CAttributeMap request;
        request.Add(L"Request")->Add(L"x5Range", CVordalDouble(range), 0);
        host.RunAndWait([&] { DataManager::GetDataManager().SetAttributeMap(device, request, 4, false); });
    }

    FarEnd other;
    vordal::FixedClock clock{standingTime};
    vordal::LiveHost host;
    vordal::OpenProject* project = nullptr;
};

TEST_F(ProjectsAtWork, ADeviceIsAddedConnectedAndRemoved)
{
    CDataId const third(1, 78, 9, 2);
    vordal::StoredDevice device{third, L"QX5SonarConfigurationControlDevice", L"ROV sonar", L"port-3", true, {}};
    device.attributes.Add(L"Note", CVordalInt(7), 0);
    vordal::ComputationSetup steering;
    steering.dataId = CDataId(1, 1117, 9, 2);
    steering.type = 1117;
    steering.linkedDevices = {third};
    bool isAdded = false;
    host.RunAndWait([&] {
        project->AddVessel({.number = 2, .name = L"ROV", .configuration = {}});
        isAdded = project->Add(device, vordal::StoredPort{L"port-3", L"127.0.0.1", other.Port(), {}}, {steering});
        project->PortOf(third)->Open();
    });
    ASSERT_TRUE(isAdded);
    ASSERT_TRUE(Eventually([&] { return IsConnected(third); }));
    EXPECT_EQ(NumberOf<int>(third, L"Note"), 7);
    EXPECT_NE(DataManager::GetDataManager().GetLinkedComputation(third, 0), nullptr);
    Ask(third, 50.0);
    EXPECT_TRUE(other.WaitForRange(50.0F));
    vordal::StoredProject now;
    host.RunAndWait([&] {
        now = project->Collect();
        EXPECT_FALSE(project->Add(device, {}, {})) << "its id is taken";
        device.dataId = CDataId(1, 78, 10, 2);
        device.className = L"Nobody's";
        EXPECT_FALSE(project->Add(device, {}, {}));
    });
    EXPECT_EQ(now.devices.size(), 3U);
    EXPECT_EQ(now.vessels.size(), 2U);
    EXPECT_EQ(now.computations.size(), 1U);
    EXPECT_EQ(now.ports.size(), 3U);
    EXPECT_TRUE(project->Problems().empty());

    host.RunAndWait([&] {
        EXPECT_TRUE(project->Remove(third));
        EXPECT_FALSE(project->Remove(third));
        now = project->Collect();
    });
    EXPECT_EQ(now.devices.size(), 2U);
    EXPECT_EQ(now.devices[0].name, L"deep sonar");
    EXPECT_TRUE(now.computations.empty());
    EXPECT_EQ(now.ports.size(), 2U);
    EXPECT_EQ(DataManager::GetDataManager().FindDevice(third), nullptr);
    EXPECT_TRUE(IsConnected(first) && IsConnected(second));
    EXPECT_EQ(Connections(first), 1U);
    // The first of the list goes: the others are found as before.
    host.RunAndWait([&] {
        EXPECT_TRUE(project->Remove(first));
        EXPECT_TRUE(project->Rename(second, L"shoal sonar"));
        now = project->Collect();
    });
    ASSERT_EQ(now.devices.size(), 1U);
    EXPECT_EQ(now.devices[0].name, L"shoal sonar");
    EXPECT_EQ(now.devices[0].dataId, second);
    EXPECT_TRUE(IsConnected(second));
}

TEST_F(ProjectsAtWork, AnotherAddressConnectsThatSonarAloneAnew)
{
    Ask(second, 40.0);
    ASSERT_TRUE(sonars[1].WaitForRange(40.0F));
    vordal::StoredProject now;
    host.RunAndWait([&] {
        EXPECT_TRUE(project->SetAddress(second, L"127.0.0.1", other.Port()));
        EXPECT_FALSE(project->SetAddress(foreign, L"127.0.0.1", other.Port()));
        project->PortOf(second)->Open();
        now = project->Collect();
    });
    ASSERT_TRUE(Eventually([&] { return IsConnected(second); }));
    Ask(second, 60.0);
    EXPECT_TRUE(other.WaitForRange(60.0F));
    EXPECT_EQ(sonars[1].Ranges(), std::vector<float>{40.0F}) << "the former one hears nothing more";
    EXPECT_EQ(Connections(first), 1U);
    ASSERT_EQ(now.ports.size(), 2U);
    EXPECT_EQ(now.ports[1].tcpPort, other.Port());
    EXPECT_EQ(now.devices[1].portName, now.ports[1].name);
    EXPECT_NE(NumberOf<double>(second, L"x5Range"), 0.0) << "its settings stay";
}

TEST_F(ProjectsAtWork, OneOfTwoOnAPortGoesToAnotherAddress)
{
    CDataId const twin(1, 78, 9, 1);
    host.RunAndWait([&] {
        ASSERT_TRUE(project->Add({twin, L"QX5SonarConfigurationControlDevice", L"twin", L"port-1", true, {}}, {}, {}));
        EXPECT_EQ(project->PortOf(twin), project->PortOf(first));
        EXPECT_TRUE(project->SetAddress(twin, L"127.0.0.1", other.Port()));
        project->PortOf(twin)->Open();
    });
    EXPECT_TRUE(Eventually([&] { return IsConnected(twin); }));
    EXPECT_TRUE(IsConnected(first));
    EXPECT_EQ(Connections(first), 1U);
    host.RunAndWait([&] { EXPECT_TRUE(project->Remove(twin)); });
    EXPECT_TRUE(IsConnected(first));
}

TEST_F(ProjectsAtWork, ASonarJoinsTheTurnsOfItsGroupAndLeavesThem)
{
    auto const pings = [](FarEnd& sonar) {
        std::size_t count = 0;
        for (auto const& arrival : sonar.Arrivals()) {
            Bytes const& frame = arrival.frame;
            // Command 1107 is 0x0453.
            count += frame.size() == 92 && frame[64] == 0x53 && frame[65] == 0x04 ? 1 : 0;
        }
        return count;
    };
    EXPECT_EQ(pings(sonars[1]), 0U);
    CAttributeMap turns;
    turns.Add(L"PingMode", CVordalInt(1), 0);
    turns.Add(L"SonarGroupId", CVordalInt(0), 0);
    turns.Add(L"DeviceId", CVordalInt(7125), 0);
    host.RunAndWait([&] { EXPECT_TRUE(project->SetTurns(second, turns)); });
    ASSERT_TRUE(Eventually([&] { return pings(sonars[0]) > 3 && pings(sonars[1]) > 3; }));
    CAttributeMap none;
    none.Add(L"PingMode", CVordalInt(0), 0);
    host.RunAndWait([&] {
        EXPECT_TRUE(project->SetTurns(second, none));
        EXPECT_FALSE(project->SetTurns(foreign, none));
    });
    auto const before = pings(sonars[0]);
    ASSERT_TRUE(Eventually([&] { return pings(sonars[0]) > before + 5; }));
    auto const left = pings(sonars[1]);
    ASSERT_TRUE(Eventually([&] { return pings(sonars[0]) > before + 15; }));
    EXPECT_EQ(pings(sonars[1]), left);
    // One that takes turns goes while its group is at it.
    host.RunAndWait([&] { EXPECT_TRUE(project->Remove(first)); });
    EXPECT_TRUE(IsConnected(second));
}

TEST_F(Projects, ADeviceWhoseIdIsTakenIsLeftOut)
{
    vordal::Host host{vordal::Threading::Threaded};
    vordal::LinkThread linkThread;
    host.RunAndWait([&] { host.AddDevice(host.MakeDevice(L"Device"), first, L"other"); });
    vordal::StoredProject stored;
    stored.devices.push_back({first, L"Device", L"late", L"", true, CAttributeMap()});
    {
        vordal::OpenProject const project(host, linkThread, stored);
        EXPECT_EQ(project.Problems(),
                  std::vector<std::string>{"the device \"late\" is left out: its id 1.78.1.1 is taken"});
    }
    ASSERT_EQ(host.Devices().size(), 1U) << "the other's stays";
    EXPECT_EQ(host.Devices()[0]->GetDeviceName(), L"other");
}

} // namespace
} // namespace qx5::test
