// The host with the plug-in and the project, and the operator's window on it.
#include "stage.h"

#include "cli/scenario/view_controls.h"
#include "reference_host/common/path_text.h"
#include "reference_host/link/live_port.h"
#include "reference_host/store/project_store.h"
#include "reference_host/targets/target_store.h"

#include <VordalAttributesR/CVordalType.h>
#include <VordalDataBlocksR/BaseIOHandler.h>
#include <VordalDataBlocksR/CDataBlock.h>
#include <VordalSubscriberR/Subscriber.h>
#include <VordalSubscriberR/Subscription.h>
#include <commands/terminal_codes.h>
#include <protocol/bytes.h>
#include <protocol/records/all.h>
#include <protocol/settings_keys.h>
#include <simulator/sonar_model.h>
#include <vordalhostdllR/DataManager.h>
#include <vordalhostdllR/SonarTargetsManager.h>

#include <QTabBar>

#include <fmt/format.h>

namespace qx5::soak {

namespace {

namespace keys = protocol::keys;

constexpr int lightMode = 4;
constexpr unsigned short sonarGroup = 78;
/// Sonars up to here are on the first vessel; a group may have sonars on both.
constexpr std::size_t onFirstVessel = 5;
/// These have an operator terminal: one of a group, one by itself.
constexpr std::array<std::size_t, 2> withTerminal{0, SonarCount - 1};
/// What a sonar may fill of its device's tree: little, so that a flood soon meets the bound.
constexpr vordal::TreeLimits toldLimits{.keys = 2500, .bytes = std::uint32_t{2} << 20};
/// A sanitizer on a busy machine is slow.
constexpr auto endLimit = std::chrono::seconds(60);
/// As `qx5 run` does.
constexpr auto saveInterval = std::chrono::seconds(2);

unsigned short VesselOf(std::size_t sonar)
{
    return sonar < onFirstVessel ? 1 : 2;
}

CDataId TerminalOf(std::size_t sonar)
{
    CDataId id = IdOf(sonar);
    id.SetGroupId(terminal::Group);
    return id;
}

/// What a host's configuration says of the sonar's turns.
CAttributeMap ConfigurationOf(std::size_t sonar)
{
    Turns const& turns = TurnsOf[sonar];
    CAttributeMap tree;
    tree.Add(AttributeKey(keys::PingMode.text), CVordalInt(turns.group != 0 ? 1 : 0), 0);
    tree.Add(AttributeKey(keys::SonarGroupId.text), CVordalInt(turns.group), 0);
    tree.Add(AttributeKey(keys::Overhead.text), CVordalDouble(turns.overhead), 0);
    tree.Add(AttributeKey(keys::DeviceId.text), CVordalInt(simulator::model::DeviceId), 0);
    tree.Add(AttributeKey(keys::DeviceEnum.text), CVordalInt(0), 0);
    return tree;
}

/// Two settings that keys of a terminal call up.
CAttributeMap Presets()
{
    CAttributeMap tree;
    for (double const range : {10.0, 100.0}) {
        CAttributeMap& preset = *tree.Add(AttributeKey(keys::preset.text));
        preset.Add(AttributeKey(keys::x5Frequency.text), CVordalDouble(0.0), 0);
        preset.Add(AttributeKey(keys::x5Range.text), CVordalDouble(range), 0);
        preset.Add(AttributeKey(keys::x5Power.text), CVordalDouble(200.0), 0);
        preset.Add(AttributeKey(keys::x5Gain.text), CVordalDouble(range / 5.0), 0);
        preset.Add(AttributeKey(keys::x5PulseLength.text), CVordalDouble(0.0001), 0);
    }
    return tree;
}

CString NameOf(std::size_t sonar)
{
    return CString(L"Sonar " + std::to_wstring(sonar + 1));
}

} // namespace

class Stage::StreamWatch
{
public:
    StreamWatch(Sonars& sonars, std::size_t sonar) : m_sonars(sonars), m_sonar(sonar)
    {
        m_subscription.SetSubscriber(new MemFunNoInfoSubscriber<StreamWatch>(this, &StreamWatch::OnData), true);
        m_subscription.Subscribe(IdOf(sonar));
    }
    StreamWatch(StreamWatch const&) = delete;
    StreamWatch& operator=(StreamWatch const&) = delete;
    ~StreamWatch() { m_subscription.Unsubscribe(); }

private:
    void OnData() { m_sonars.SettingsReachedHost(m_sonar); }

    Sonars& m_sonars;
    std::size_t const m_sonar;
    DataSubscription m_subscription;
};

CDataId IdOf(std::size_t sonar)
{
    return CDataId(1, sonarGroup, static_cast<unsigned short>(sonar + 1), VesselOf(sonar));
}

Stage::Stage(Sonars& sonars, RequestWatch& watch, std::filesystem::path const& folder, bool isNew)
    : m_sonars(sonars), m_folder(folder), m_contactFile(vordal::TextOf(folder / "contacts.sts")),
      m_session(std::make_unique<cli::WindowSession>(m_feed, lightMode))
{
    watch.Attach(Host());
    auto const must = [](bool done, std::string const& error) {
        if (!done) {
            throw Broken("the session does not begin: " + error);
        }
    };
    std::string error;
    must(m_session->LoadPlugins({PLUGIN_FILE}, 1, error), error);
    m_sonarClass = m_session->SonarClass();
    Host().RunAndWait([&] {
        Host().SetFileRoot(m_folder);
        Host().Targets().Place(m_contactFile, m_folder / "contacts.sts");
        Host().Targets().SetActive(m_contactFile);
        SonarTargetsManager::Instance().geoTiffOutputEnabled = true;
    });
    auto const project = m_folder / "soak.qx5";
    if (isNew) {
        std::filesystem::remove(project);
    }
    if (!std::filesystem::exists(project)) {
        try {
            vordal::ProjectStore(project).Save(Fleet());
        } catch (vordal::StoreError const& failure) {
            throw Broken(failure.what());
        }
    }
    m_sonars.ControlChanges();
    bool const isBegun = m_session->Begin(Fleet(), project.string(), error);
    must(isBegun, error);
    Host().RunAndWait([&] {
        for (std::size_t i = 0; i < SonarCount; ++i) {
            m_streams.push_back(std::make_unique<StreamWatch>(m_sonars, i));
        }
    });
    m_thread = std::make_unique<vordal::WindowThread>(Host());
    m_window = std::make_unique<vordal::MainWindow>(vordal::WindowSetup{.vessels = m_session->Listed(),
                                                                        .lightMode = lightMode,
                                                                        .activeVessel = m_session->ActiveVessel(),
                                                                        .shownDevice = IdOf(0)},
                                                    m_feed, m_session->Requests());
    m_view = std::make_unique<cli::ShownView>(*m_session, *m_window);
    m_thread->SetDeliveredHandler([this] { m_view->Follow(); });
    auto const& memory = m_session->WindowMemory();
    if (!memory.empty()) {
        m_window->RestoreMemory(
            QByteArray(reinterpret_cast<char const*>(memory.data()), static_cast<qsizetype>(memory.size())));
    }
    m_view->OpenFirst(IdOf(0));
    m_window->show();
    QObject::connect(&m_saving, &QTimer::timeout, m_window.get(), [this] {
        Remember();
        m_view->Keep();
        m_session->SaveSoon();
    });
    m_saving.start(saveInterval);
}

Stage::~Stage() = default;

vordal::StoredProject Stage::Fleet()
{
    vordal::StoredProject fleet;
    fleet.toldLimits = toldLimits;
    fleet.vessels = {cli::MakeVessel(1, L"Survey vessel", true), cli::MakeVessel(2, L"ROV", false)};
    for (std::size_t i = 0; i < SonarCount; ++i) {
        vordal::AddConnected(fleet, {IdOf(i), m_sonarClass, NameOf(i), {}, true, ConfigurationOf(i)}, L"127.0.0.1",
                             m_sonars.Port(i));
    }
    for (std::size_t const i : withTerminal) {
        fleet.devices.push_back({TerminalOf(i), L"Device", NameOf(i) + L"'s terminal", {}, true, Presets()});
    }
    return fleet;
}

void Stage::Remember()
{
    auto const memory = m_window->SaveMemory();
    m_session->WindowMemory().assign(memory.begin(), memory.end());
}

void Stage::End()
{
    m_saving.stop();
    Remember();
    m_view.reset();
    m_window.reset();
    m_thread.reset();
    Host().RunAndWait([this] { m_streams.clear(); });
    m_sonars.ControlChanges();
    std::string error;
    bool const isSaved = m_session->End(error, endLimit);
    m_session.reset();
    if (!isSaved) {
        throw Broken("the session does not end in order: " + error);
    }
}

QWidget* Stage::Control(std::string_view page, int id)
{
    auto* const widget =
        m_view->Frame().findChild<QWidget*>(QString::fromLatin1(page.data(), static_cast<qsizetype>(page.size())));
    auto const* const row = cli::FindViewControl(page, id);
    return widget != nullptr && row != nullptr ? widget->findChild<QWidget*>(QString::fromLatin1(
                                                     row->name.data(), static_cast<qsizetype>(row->name.size())))
                                               : nullptr;
}

QWidget* Stage::Tabs()
{
    return m_view->Frame().findChild<QTabBar*>();
}

void Stage::OpenView(std::size_t sonar)
{
    m_view->OpenFirst(IdOf(sonar));
}

void Stage::CloseView()
{
    m_view->Close();
}

void Stage::RemoveSonar(std::size_t sonar)
{
    Removed removed;
    bool isRemoved = false;
    m_sonars.ControlChanges();
    Host().RunAndWait([&] {
        auto* const device = DataManager::GetDataManager().FindDevice(IdOf(sonar));
        if (device != nullptr) {
            removed.port = device->GetPortPtr();
            device->GetAttributeMap(removed.attributes);
            isRemoved = Host().RemoveDevice(device);
        }
    });
    m_sonars.ControlChanges();
    if (!isRemoved) {
        throw Broken(fmt::format("sonar {} cannot be removed", sonar + 1));
    }
    m_removed[sonar] = std::move(removed);
}

void Stage::AddSonar(std::size_t sonar)
{
    auto const& removed = *m_removed[sonar];
    bool isAdded = false;
    m_sonars.ControlChanges();
    Host().RunAndWait([&] {
        // Those that take turns are looked for once it is there.
        Host().DiscoverAnew([&] {
            auto made = Host().MakeDevice(m_sonarClass);
            made->SetPortName(NameOf(sonar));
            Device* const device = Host().AddDevice(std::move(made), IdOf(sonar), NameOf(sonar));
            if (device == nullptr) {
                return;
            }
            Host().SetToldLimits(*device, toldLimits);
            Host().LoadDevice(*device, removed.attributes);
            Host().ApplyDevice(*device, true);
            Host().SetPort(*device, removed.port);
            isAdded = true;
        });
    });
    m_sonars.ControlChanges();
    if (!isAdded) {
        throw Broken(fmt::format("sonar {} cannot be put back", sonar + 1));
    }
    m_removed[sonar].reset();
}

bool Stage::IsQuiet(std::size_t sonar)
{
    bool isQuiet = false;
    Host().RunAndWait([&] {
        auto* const device = DataManager::GetDataManager().FindDevice(IdOf(sonar));
        auto* const port = device != nullptr ? dynamic_cast<vordal::LivePort*>(device->GetPortPtr()) : nullptr;
        isQuiet = port != nullptr && port->GetLink().IsConnected() && port->GetLink().GetQueuedBytes() == 0;
    });
    return isQuiet;
}

CAttributeMap Stage::TreeOf(std::size_t sonar)
{
    CAttributeMap tree;
    DataManager::GetDataManager().GetAttributeMap(IdOf(sonar), tree);
    return tree;
}

void Stage::EnterCode(std::size_t sonar, std::uint32_t code)
{
    std::array<unsigned char, 4> bytes{};
    protocol::PutU32LE(bytes, 0, code);
    Host().Post([host = &Host(), stream = TerminalOf(sonar), bytes] {
        CDataBlock block;
        block.SetTime(host->Now());
        block.AddItem(terminal::CodeItem, DATA_INT32, bytes, bytes.size(), 0);
        host->PutBlock(stream, block);
    });
}

} // namespace qx5::soak
