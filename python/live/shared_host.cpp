// Bringing the host up with the first sonar, following what is asked in it, taking it down with the last.
#include "python/live/shared_host.h"

#include "python/keys/every_key.h"
#include "reference_host/attributes/host_keys.h"
#include "reference_host/attributes/tree_merge.h"
#include "reference_host/streams/settings_data.h"

#include <VordalSubscriberR/Subscriber.h>
#include <protocol/utf8.h>
#include <vordalhostdllR/CVordalBaseApp.h>
#include <vordalhostdllR/DataManager.h>

#include <chrono>
#include <limits>
#include <stdexcept>
#include <utility>
#include <vector>

#include <fmt/format.h>

namespace qx5::live {

namespace {

/// As the window has it: what waits for a sonar is looked at so often.
constexpr std::chrono::milliseconds tickPeriod{20};
constexpr std::chrono::seconds endLimit{10};
constexpr unsigned short vessel = 1;

/// The host that lives.
struct Living
{
    std::mutex mutex; ///< guards what follows
    std::condition_variable changed;
    bool isThere = false; ///< one is beginning, lives or is ending
    std::weak_ptr<SharedHost> host;
};

Living& TheLiving()
{
    static Living living;
    return living;
}

class ChangeSink final : public Subscriber
{
public:
    explicit ChangeSink(std::shared_ptr<SonarState> state) : m_state(std::move(state)) {}
    void Notify(NotificationInfo const*) override { m_state->TakeAttributes(); }

private:
    std::shared_ptr<SonarState> const m_state;
};

std::vector<CString> AllKeyTexts()
{
    std::vector<CString> texts;
    for (protocol::Key const* const key : python::EveryKey()) {
        texts.emplace_back(key->text);
    }
    return texts;
}

} // namespace

/// Hears of all requests and finds those that were asked for here.
class SharedHost::Follower final : public operation::ActionListener
{
public:
    explicit Follower(SharedHost& host) : m_host(host) {}

    /// The request that is carried out from now on, null for none.
    void SetCurrent(SonarState* sonar, std::shared_ptr<LiveRequest> request)
    {
        m_sonar = sonar;
        m_current = std::move(request);
        m_isNumbered = false;
        m_echoed = CAttributeMap();
    }
    /// Whether the current one has begun.
    bool HasBegun() const { return m_isNumbered; }
    CAttributeMap const& Echoed() const { return m_echoed; }

    void OnActionBegins(operation::Action const& action) override
    {
        // What the plug-in asks for while it carries the request out comes after it.
        if (m_current != nullptr && !m_isNumbered) {
            m_isNumbered = true;
            m_waiting.emplace(action.number, m_current);
        }
        if (auto const recorder = m_host.RecorderOf(action.sonar)) {
            recorder->OnActionBegins(action);
        }
    }
    void OnActionStands(operation::Action const& action) override
    {
        if (auto const found = m_waiting.find(action.number); found != m_waiting.end()) {
            auto const request = std::move(found->second);
            m_waiting.erase(found);
            auto const entry = m_host.m_sonars.find(action.sonar.GetKey());
            bool const isConnected = entry != m_host.m_sonars.end() && entry->second.state->IsConnected();
            bool const wantsConnection =
                action.result == operation::Result::NotSent || action.result == operation::Result::Unanswered;
            request->Stands(action.result, action.reason, action.got, wantsConnection && !isConnected);
        }
        if (auto const recorder = m_host.RecorderOf(action.sonar)) {
            recorder->OnActionStands(action);
        }
    }
    void OnSonarTells(CDataId const& sonar, CAttributeMap const& tree) override
    {
        if (auto const recorder = m_host.RecorderOf(sonar)) {
            recorder->OnSonarTells(sonar, tree);
        }
    }
    void OnEcho(CDataId const& sonar, CAttributeMap const& tree, unsigned flags) override
    {
        // Another thread carries out no request.
        if (m_host.m_host.IsHostThread() && m_current != nullptr && m_sonar->Id() == sonar) {
            vordal::Merge(m_echoed, tree);
        }
        if (auto const recorder = m_host.RecorderOf(sonar)) {
            recorder->OnEcho(sonar, tree, flags);
        }
    }
    void OnWritten(CDataId const& sonar, CAttributeMap const& tree) override
    {
        if (auto const recorder = m_host.RecorderOf(sonar)) {
            recorder->OnWritten(sonar, tree);
        }
    }

private:
    SharedHost& m_host;
    SonarState* m_sonar = nullptr;
    std::shared_ptr<LiveRequest> m_current;
    bool m_isNumbered = false;
    CAttributeMap m_echoed;
    std::map<std::uint64_t, std::shared_ptr<LiveRequest>> m_waiting; ///< by the action's number
};

std::shared_ptr<SharedHost> SharedHost::Take(std::filesystem::path const& plugin)
{
    Living& living = TheLiving();
    auto const leave = [&living] {
        {
            std::lock_guard const lock(living.mutex);
            living.isThere = false;
        }
        living.changed.notify_all();
    };
    std::unique_lock lock(living.mutex);
    std::shared_ptr<SharedHost> host;
    living.changed.wait(lock, [&] {
        host = living.host.lock();
        return host != nullptr || !living.isThere;
    });
    if (host != nullptr) {
        if (!(host->m_plugin == plugin)) {
            throw std::runtime_error(fmt::format("{} is loaded already: close all sonars before connecting with {}",
                                                 host->m_plugin.string(), plugin.string()));
        }
        return host;
    }
    living.isThere = true;
    lock.unlock();
    try {
        host = std::shared_ptr<SharedHost>(new SharedHost(plugin), [leave](SharedHost* ending) {
            delete ending;
            leave();
        });
    } catch (...) {
        leave();
        throw;
    }
    {
        std::lock_guard const again(living.mutex);
        living.host = host;
    }
    // Who came meanwhile waits for it.
    living.changed.notify_all();
    return host;
}

SharedHost::SharedHost(std::filesystem::path const& plugin)
    : m_plugin(plugin), m_follower(std::make_shared<Follower>(*this))
{
    m_host.SetApplication(
        {.guid = CVordalBaseApp::GetAppInstanceGuid(), .mainWindow = false, .lightMode = 4, .displays = {}});
    m_desk.Join(m_host);
    m_desk.Tap().Set(m_follower);
    LoadPlugIn();
    vordal::StoredProject project;
    project.vessels = {{.number = vessel, .name = L"Vessel", .configuration = {}}};
    m_host.Open(std::move(project));
    m_host.Start();
    m_ticker = std::thread([this] { Tick(); });
}

void SharedHost::LoadPlugIn()
{
    std::error_code problem;
    std::vector<std::filesystem::path> modules{m_plugin};
    bool const isFolder = std::filesystem::is_directory(m_plugin, problem);
    if (isFolder) {
        modules = vordal::FindModules(m_plugin);
    }
    std::string error;
    for (auto const& module : modules) {
        if (m_host.LoadPlugIn(module, error) && !m_host.SonarClass().IsEmpty()) {
            return;
        }
    }
    throw std::runtime_error(!error.empty() ? error
                             : isFolder     ? fmt::format("{}: no plug-in in it offers a sonar", m_plugin.string())
                                            : fmt::format("{}: the plug-in offers no sonar", m_plugin.string()));
}

SharedHost::~SharedHost()
{
    {
        std::lock_guard const lock(m_tickMutex);
        m_isEnding = true;
    }
    m_tickChanged.notify_all();
    if (m_ticker.joinable()) {
        m_ticker.join();
    }
    m_host.End(endLimit, [this] {
        m_desk.Finish();
        m_sonars.clear();
    });
    m_desk.Tap().Set(nullptr);
}

void SharedHost::Tick()
{
    std::unique_lock lock(m_tickMutex);
    while (!m_tickChanged.wait_for(lock, tickPeriod, [this] { return m_isEnding; })) {
        lock.unlock();
        m_host.RunAndWait([this] { m_desk.Tick(); });
        lock.lock();
    }
}

CDataId SharedHost::FreeId()
{
    // A number comes again only when all others have gone by.
    while (true) {
        m_lastNumber = static_cast<unsigned short>(m_lastNumber % std::numeric_limits<unsigned short>::max() + 1);
        CDataId const id(1, vordal::SonarDataGroup, m_lastNumber, vessel);
        if (!m_sonars.contains(id.GetKey())) {
            return id;
        }
    }
}

std::shared_ptr<SonarState> SharedHost::Add(SonarOptions const& options)
{
    CString const deviceClass = m_host.SonarClass();
    std::shared_ptr<SonarState> sonar;
    bool isAdded = false;
    OnHost([&] {
        CDataId const id = FreeId();
        sonar = std::make_shared<SonarState>(id);
        m_desk.SetName(id, options.name);
        vordal::StoredProject added;
        vordal::AddConnected(added,
                             {.dataId = id,
                              .className = deviceClass,
                              .name = CString(protocol::DecodeUtf8(options.name)),
                              .portName = {},
                              .enabled = true,
                              .attributes = {}},
                             CString(protocol::DecodeUtf8(options.host)), options.port);
        Entry* entry = nullptr;
        {
            std::lock_guard const lock(m_sonarsMutex);
            entry = &m_sonars[id.GetKey()];
            entry->state = sonar;
        }
        isAdded = m_host.Project()->Add(added.devices.front(), added.ports.front(), {});
        if (!isAdded) {
            std::lock_guard const lock(m_sonarsMutex);
            m_sonars.erase(id.GetKey());
            return;
        }
        entry->changes = std::make_unique<Subscription>();
        entry->changes->SetSubscriber(new ChangeSink(sonar), true);
        entry->changes->SetMap(DataManager::GetDataManager().GetAttributeSubscriptionMap(id));
        entry->changes->Subscribe(AllKeyTexts());
        vordal::LivePort& port = *m_host.Project()->PortOf(id);
        port.SetStatusListener([this, sonar](vordal::LinkStatus const& status) {
            if (auto const recorder = sonar->Recorder()) {
                recorder->Connection(sonar->Id(), status);
            }
            sonar->TakeLink(status);
            m_desk.OnLinkStatus(sonar->Id(), status);
        });
        port.Open();
    });
    if (!isAdded) {
        throw std::runtime_error("the sonar's device cannot be made");
    }
    return sonar;
}

void SharedHost::Remove(SonarState& sonar)
{
    OnHost([&] {
        CDataId const id = sonar.Id();
        sonar.TakeLink({.state = vordal::LinkState::Closed, .reason = "it was closed", .retryIn = {}});
        m_sonars.at(id.GetKey()).changes.reset();
        m_desk.OnRemoved(id);
        // While the sonar still hears that its echoes are not wanted any more.
        sonar.TakeEnd();
        m_host.Project()->Remove(id);
        std::lock_guard const lock(m_sonarsMutex);
        m_sonars.erase(id.GetKey());
    });
}

std::shared_ptr<recording::FlightRecorder> SharedHost::RecorderOf(CDataId const& sonar)
{
    std::lock_guard const lock(m_sonarsMutex);
    auto const found = m_sonars.find(sonar.GetKey());
    return found != m_sonars.end() ? found->second.state->Recorder() : nullptr;
}

void SharedHost::Request(std::shared_ptr<SonarState> const& sonar, std::shared_ptr<LiveRequest> const& request,
                         CAttributeMap const& tree)
{
    bool const isPosted =
        m_host.Post([this, sonar = sonar, request = request, tree = tree] { CarryOut(*sonar, request, tree); });
    if (!isPosted) {
        request->Stands(operation::Result::NotSent, "the host is ending", {}, true);
    }
}

void SharedHost::CarryOut(SonarState& sonar, std::shared_ptr<LiveRequest> const& request, CAttributeMap const& tree)
{
    CAttributeMap whole;
    *whole.Add(vordal::keys::Request) = tree;
    m_follower->SetCurrent(&sonar, request);
    bool const isThere = DataManager::GetDataManager().SetAttributeMap(sonar.Id(), whole, 4, false);
    bool const hasBegun = m_follower->HasBegun();
    CAttributeMap const echoed = m_follower->Echoed();
    m_follower->SetCurrent(nullptr, nullptr);
    request->CarriedOut(echoed);
    if (!isThere) {
        request->Stands(operation::Result::NotSent, "the sonar was closed", {}, true);
    } else if (!hasBegun) {
        request->Stands(operation::Result::Failed, "the request could not be followed", {}, false);
    }
}

vordal::SonarLink* SharedHost::LinkOf(CDataId const& sonar)
{
    auto* const port = m_host.Project()->PortOf(sonar);
    return port != nullptr ? &port->GetLink() : nullptr;
}

} // namespace qx5::live
