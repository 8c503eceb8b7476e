// How the costs of a host grow with the number of its devices and of those who follow them.
#include "curve.h"

#include "bench/measure.h"
#include "bench/stage.h"

#include <VordalSubscriberR/Subscriber.h>
#include <VordalSubscriberR/Subscription.h>
#include <protocol/settings_keys.h>

#include <memory>
#include <optional>
#include <string>
#include <utility>

namespace bench {

namespace {

namespace keys = qx5::protocol::keys;

class Ignoring : public Subscriber
{
public:
    void Notify(NotificationInfo const*) override {}
};

/// Subscriptions to one device, each for one key: the same, or one of its own.
class ManySubscriptions
{
public:
    ManySubscriptions(Device& device, std::size_t count, bool isOneKey) : m_device(device), m_subscriptions(count)
    {
        for (std::size_t i = 0; i < count; ++i) {
            m_keys.push_back(isOneKey ? CString(rangeKey.Text()) : CString(L"Key" + std::to_wstring(i)));
        }
    }
    void Join()
    {
        for (std::size_t i = 0; i < m_subscriptions.size(); ++i) {
            m_subscriptions[i].SetSubscriber(&m_sink, false);
            m_subscriptions[i].SetMap(m_device.GetAttributeSubscriptionMap());
            m_subscriptions[i].Subscribe(m_keys[i]);
        }
    }
    void Leave()
    {
        for (Subscription& each : m_subscriptions) {
            each.Unsubscribe();
        }
    }

private:
    Device& m_device;
    Ignoring m_sink;
    std::vector<Subscription> m_subscriptions;
    std::vector<CString> m_keys;
};

Curve FollowersCurve(Stage& stage, std::string name, std::string work, bool isOneKey, bool isLeaving)
{
    return {std::move(name),
            std::move(work),
            {625, 2500, 10'000, 40'000},
            1.0,
            {{10'000, 30e6}},
            [&stage, isOneKey, isLeaving](std::size_t size, std::vector<double>& nanoseconds) {
                // How much of them still lies in the caches differs from one time to the next.
                constexpr int times = 5;
                for (int i = 0; i < times; ++i) {
                    ManySubscriptions followers(stage.Drained().GetDevice(), size, isOneKey);
                    if (isLeaving) {
                        followers.Join();
                        Time(1, 1, nanoseconds, [&] { followers.Leave(); });
                    } else {
                        Time(1, 1, nanoseconds, [&] { followers.Join(); });
                        followers.Leave();
                    }
                }
            }};
}

CDataId IdOf(std::size_t number)
{
    return CDataId(1, 78, static_cast<unsigned short>(1000 + number), 1);
}

Curve DevicesCurve(Stage& stage, std::string name, std::string work, bool isRemoving)
{
    return {std::move(name),
            std::move(work),
            {625, 2500, 10'000, 40'000},
            1.0,
            {{10'000, 200e6}},
            [&stage, isRemoving](std::size_t size, std::vector<double>& nanoseconds) {
                stage.Host().RunAndWait([&] {
                    auto& host = stage.Host();
                    std::vector<Device*> devices;
                    auto const add = [&] {
                        for (std::size_t i = 0; i < size; ++i) {
                            devices.push_back(host.AddDevice(std::make_unique<Device>(), IdOf(i)));
                        }
                    };
                    auto const remove = [&] {
                        for (Device* const device : devices) {
                            host.RemoveDevice(device);
                        }
                    };
                    if (isRemoving) {
                        add();
                        Time(1, 1, nanoseconds, remove);
                    } else {
                        Time(1, 1, nanoseconds, add);
                        remove();
                    }
                });
            }};
}

/// Sonars on ports that are not opened.
vordal::StoredProject ProjectOf(std::size_t sonars, bool pingInTurn)
{
    vordal::StoredProject project;
    for (std::size_t i = 0; i < sonars; ++i) {
        vordal::StoredDevice sonar{
            IdOf(i), pingInTurn ? L"QX5Device" : L"QX5SonarConfigurationControlDevice", L"sonar", {}, true, {}};
        if (pingInTurn) {
            sonar.attributes.Add(AttributeKey(keys::PingMode.text), CVordalInt(1), 0);
            sonar.attributes.Add(AttributeKey(keys::DeviceId.text), CVordalInt(7125), 0);
        }
        vordal::AddConnected(project, std::move(sonar), L"127.0.0.1", 9);
    }
    return project;
}

} // namespace

std::vector<Curve> HostCurves(Stage& stage)
{
    std::vector<Curve> curves;
    curves.push_back(FollowersCurve(stage, "followers-join", "N subscriptions to one key of a device", true, false));
    curves.push_back(FollowersCurve(stage, "followers-leave", "the same end", true, true));
    curves.push_back(
        FollowersCurve(stage, "followers-of-many-keys-join", "N subscriptions to N keys of a device", false, false));
    curves.push_back(FollowersCurve(stage, "followers-of-many-keys-leave", "the same end", false, true));
    curves.push_back(DevicesCurve(stage, "devices-added", "N devices added to a host", false));
    curves.push_back(DevicesCurve(stage, "devices-removed", "N devices removed from a host, the first first", true));
    curves.push_back({"sonars-discovered",
                      "a project of N sonars that ping in turn started, the plug-in's discovery of them included",
                      {256, 1024, 4096, 16'384},
                      1.0,
                      {{4096, 200e6}},
                      [&stage](std::size_t size, std::vector<double>& nanoseconds) {
                          stage.Host().SetMainWindow(true);
                          vordal::OpenProject project(stage.Host(), stage.Host().Links(), ProjectOf(size, true));
                          Time(1, 1, nanoseconds, [&] { project.Start(stage.Host().LoadedPlugIns()); });
                      }});
    curves.push_back({"sonars-opened",
                      "a project of N sonars on ports of their own opened",
                      {250, 1000, 4000, 16'000},
                      1.0,
                      {{4000, 200e6}},
                      [&stage](std::size_t size, std::vector<double>& nanoseconds) {
                          auto project = ProjectOf(size, false);
                          std::optional<vordal::OpenProject> open;
                          Time(1, 1, nanoseconds, [&] {
                              open.emplace(stage.Host(), stage.Host().Links(), std::move(project));
                              open->Start(stage.Host().LoadedPlugIns());
                          });
                      }});
    curves.push_back({"sonars-closed",
                      "the same closed",
                      {250, 1000, 4000, 16'000},
                      1.0,
                      {{4000, 200e6}},
                      [&stage](std::size_t size, std::vector<double>& nanoseconds) {
                          std::optional<vordal::OpenProject> open;
                          open.emplace(stage.Host(), stage.Host().Links(), ProjectOf(size, false));
                          open->Start(stage.Host().LoadedPlugIns());
                          Time(1, 1, nanoseconds, [&] { open.reset(); });
                      }});
    return curves;
}

} // namespace bench
