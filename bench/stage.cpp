// The stage that requests are measured on.
#include "stage.h"

#include <VordalSubscriberR/Subscriber.h>

#include <stdexcept>

namespace bench {

CAttributeMap Stage::MakeTree(int nodes)
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

LiveSonar::LiveSonar(vordal::Host& host, vordal::LinkThread& thread, unsigned short number) : m_host(host)
{
    vordal::LinkOptions options;
    options.host = "127.0.0.1";
    options.port = m_listener.Port();
    m_port = std::make_unique<vordal::X5Port>(host, thread, L"port", options);
    host.RunAndWait([&] {
        m_device =
            host.AddDevice(host.MakeDevice(L"QX5SonarConfigurationControlDevice"), CDataId(1, 78, number, 1), L"sonar");
        host.ReplaceAttributes(*m_device, Stage::MakeTree(5000));
        host.SetPort(*m_device, m_port.get());
    });
    m_subscription = std::make_unique<Subscription>();
    m_subscription->SetSubscriber(new MemFunNoInfoSubscriber<LiveSonar>(this, &LiveSonar::OnEcho), true);
    m_subscription->SetMap(m_device->GetAttributeSubscriptionMap());
    m_subscription->Subscribe(CString(rangeKey.Text()));
    m_port->Open();
    m_farEnd = m_listener.Accept();
    while (!m_port->GetLink().IsConnected()) {
        std::this_thread::yield();
    }
}

LiveSonar::~LiveSonar()
{
    m_subscription.reset();
    m_port->Close();
    m_host.RunAndWait([this] {
        m_host.RemoveDevice(m_device);
        m_port.reset();
    });
    CloseSocket(m_farEnd);
}

void LiveSonar::OnEcho()
{
    m_device->GetAttributeMap(m_seen);
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
    m_host.RunAndWait([this] {
        std::string reason;
        m_plugin = vordal::PlugIn::Load(PLUGIN_FILE, reason);
        if (m_plugin == nullptr) {
            throw std::runtime_error(reason);
        }
        m_plugin->RegisterDevices();
    });
    m_drained = std::make_unique<LiveSonar>(m_host, m_linkThread, static_cast<unsigned short>(1));
    m_drain = std::make_unique<Drain>(m_drained->FarEnd());
    m_read = std::make_unique<LiveSonar>(m_host, m_linkThread, static_cast<unsigned short>(2));
}

Stage::~Stage()
{
    m_drain.reset();
    m_drained.reset();
    m_read.reset();
    m_host.RunAndWait([this] { m_plugin.reset(); });
    m_host.Stop();
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
        m_host.SetTraffic(&m_live);
        work();
    });
}

} // namespace bench
