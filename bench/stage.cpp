// The stage that requests are measured on.
#include "stage.h"

#include <VordalSubscriberR/Subscriber.h>

#include <stdexcept>

namespace bench {

CAttributeMap MakeTree(int nodes)
{
    CAttributeMap tree;
    int made = 0;
    while (made < nodes) {
        std::wstring const branchKey = L"Branch" + std::to_wstring(made);
        CAttributeMap* branch = tree.Add(AttributeKey(std::wstring_view(branchKey)));
        ++made;
        for (int i = 0; i < 49 && made < nodes; ++i, ++made) {
            std::wstring const key = L"Value" + std::to_wstring(i);
            branch->Add(AttributeKey(std::wstring_view(key)), CVordalDouble(i), 0);
        }
    }
    tree.Add(rangeKey, CVordalDouble(1.0), 0);
    return tree;
}

LiveSonar::LiveSonar(vordal::LiveHost& host, unsigned short number, CAttributeMap const& tree)
{
    CDataId const id(1, 78, number, 1);
    vordal::StoredProject project;
    vordal::AddConnected(project, {id, L"QX5SonarConfigurationControlDevice", L"sonar", {}, true, tree}, L"127.0.0.1",
                         m_listener.Port());
    m_project.emplace(host, host.Links(), std::move(project));
    m_device = host.Devices().back();
    m_subscription = std::make_unique<Subscription>();
    m_subscription->SetSubscriber(new MemFunNoInfoSubscriber<LiveSonar>(this, &LiveSonar::OnEcho), true);
    m_subscription->SetMap(m_device->GetAttributeSubscriptionMap());
    m_subscription->Subscribe(CString(rangeKey.Text()));
    m_project->Start(host.LoadedPlugIns());
    m_project->Connect();
    m_farEnd = m_listener.Accept();
    while (!m_project->Ports().front()->GetLink().IsConnected()) {
        std::this_thread::yield();
    }
}

LiveSonar::~LiveSonar()
{
    m_subscription.reset();
    m_project.reset();
    CloseSocket(m_farEnd);
}

void LiveSonar::OnEcho()
{
    m_device->GetAttributeMap(m_seen);
    m_lastTold = std::chrono::steady_clock::now();
    m_told.fetch_add(1);
    m_told.notify_all();
}

void LiveSonar::WaitUntilTold(std::uint64_t times)
{
    for (std::uint64_t have = m_told.load(); have < times; have = m_told.load()) {
        m_told.wait(have);
    }
}

Stage::Stage()
{
    m_host.AddVessel({.number = 1, .name = L"Vessel", .configuration = {}});
    if (std::string reason; !m_host.LoadPlugIn(PLUGIN_FILE, reason)) {
        throw std::runtime_error(reason);
    }
    m_drained = std::make_unique<LiveSonar>(m_host, static_cast<unsigned short>(1));
    m_drain = std::make_unique<Drain>(m_drained->FarEnd());
    m_read = std::make_unique<LiveSonar>(m_host, static_cast<unsigned short>(2));
}

Stage::~Stage()
{
    m_drain.reset();
}

void Stage::OnHostRecorded(std::function<void()> const& work)
{
    m_host.RunAndWait([&] {
        m_host.SetTraffic(&m_recorder);
        work();
    });
}

void Stage::OnHostLive(std::function<void()> const& work)
{
    m_host.RunAndWait([&] {
        m_host.SetTraffic(m_live);
        work();
    });
}

} // namespace bench
