// The reference host: what it owns, how it is taken down, and how requests, blocks and notifications pass through it.
#include "reference_host/host/host.h"

#include "reference_host/application/application.h"
#include "reference_host/attributes/tree_merge.h"
#include "reference_host/data/stream_buffer.h"
#include "reference_host/devices/port.h"
#include "reference_host/host/clock.h"
#include "reference_host/host/host_observer.h"
#include "reference_host/host/host_state.h"
#include "reference_host/host/host_turn.h"
#include "reference_host/host/log.h"
#include "reference_host/host/request_sends.h"
#include "reference_host/link/settings_data.h"

#include <VordalBaseR/FileObject.h>
#include <VordalSubscriberR/GeneralSubKeys.h>
#include <tvcoreR/Utf8.h>
#include <vordalhostdllR/SonarTargetsManager.h>

#include <algorithm>
#include <future>
#include <new>
#include <random>
#include <stdexcept>
#include <string>
#include <utility>

namespace vordal {
namespace {

/// More than any request of the chain takes at a time, images aside.
constexpr std::size_t ReserveBytes = std::size_t{512} << 10;

std::atomic<Host*> currentHost{nullptr};

/// A text in the form of a GUID, by chance.
CString MakeGuid()
{
    std::random_device random;
    std::wstring text;
    for (int i = 0; i < 32; ++i) {
        if (i == 8 || i == 12 || i == 16 || i == 20) {
            text += L'-';
        }
        text += L"0123456789abcdef"[random() & 0xFU];
    }
    return CString(std::move(text));
}

/// The end of a task that somebody waits for: its result, its exception, or that it was dropped.
struct Completion
{
    Completion() = default;
    Completion(Completion const&) = delete;
    Completion& operator=(Completion const&) = delete;
    ~Completion()
    {
        if (!answered) {
            promise.set_value(false);
        }
    }

    void Run(Host::Task const& task)
    {
        try {
            task();
            answered = true;
            promise.set_value(true);
        } catch (...) {
            answered = true;
            promise.set_exception(std::current_exception());
        }
    }

    std::promise<bool> promise;
    bool answered = false;
};

/// "request x5Range, x5Power to device 1.78.1.1": enough to find a failure's origin, however large the request is.
std::string DescribeRequest(BaseDevice const& device, CAttributeMap const* request)
{
    std::string text = "request";
    int named = 0;
    if (request != nullptr) {
        for (CAttributeMap const& child : *request) {
            if (named == 4) {
                text += ", ...";
                break;
            }
            text += named++ == 0 ? " " : ", ";
            text += tvcore::ToUtf8(CString(child.KeyText().substr(0, 64)));
        }
    }
    return text + " to device " + tvcore::ToUtf8(device.GetDataId().GetKey());
}

} // namespace

HostState* CurrentState()
{
    auto* const host = currentHost.load(std::memory_order_acquire);
    return host != nullptr ? &host->State() : nullptr;
}

HostObserver* CurrentObserver()
{
    auto* const state = CurrentState();
    return state != nullptr ? state->observer.load(std::memory_order_acquire) : nullptr;
}

HostThread* ThreadToTellOn()
{
    auto* const state = CurrentState();
    auto* const thread = state != nullptr ? state->thread.get() : nullptr;
    return thread != nullptr && !thread->IsThisThread() ? thread : nullptr;
}

std::shared_ptr<NotificationBus> BusOfKind(int kind)
{
    auto* const state = CurrentState();
    if (state == nullptr) {
        return nullptr;
    }
    switch (kind) {
    case Subscription::ActiveVessel:
        return state->activeVesselBus;
    case Subscription::BufferStatus:
        return state->bufferStatusBus;
    case Subscription::General:
        return state->generalBus;
    default:
        return nullptr;
    }
}

std::shared_ptr<NotificationBus> StreamBus()
{
    auto* const state = CurrentState();
    return state != nullptr ? state->streamBus : nullptr;
}

BaseDataSource* FindBuffer(CDataId const& id)
{
    auto* const state = CurrentState();
    return state != nullptr ? state->FindBuffer(id, false) : nullptr;
}

HostState::HostState(Threading mode) : threading(mode), window(std::make_shared<WindowInbox>(mode == Threading::Inline))
{
}
HostState::~HostState() = default;

Device* HostState::FindDevice(std::uint64_t packedId) const
{
    std::lock_guard const lock(mutex);
    return FindDeviceLocked(packedId);
}

Device* HostState::FindDeviceLocked(std::uint64_t packedId) const
{
    auto const found = std::find_if(devices.begin(), devices.end(),
                                    [&](DeviceEntry const& entry) { return PackedId(entry.id) == packedId; });
    return found != devices.end() ? found->device.get() : nullptr;
}

DeviceInUse::DeviceInUse(HostState& host, CDataId const& id) : m_host(host)
{
    std::lock_guard const lock(m_host.mutex);
    m_device = m_host.FindDeviceLocked(PackedId(id));
    if (m_device != nullptr) {
        ++m_device->Internals().uses;
    }
}

DeviceInUse::~DeviceInUse()
{
    if (m_device != nullptr) {
        std::lock_guard const lock(m_host.mutex);
        if (--m_device->Internals().uses == 0) {
            m_host.useEnded.notify_all();
        }
    }
}

Computation* HostState::FindComputation(CDataId const& id) const
{
    std::lock_guard const lock(mutex);
    for (auto const& computation : computations) {
        if (computation->GetDataId() == id) {
            return computation.get();
        }
    }
    return nullptr;
}

StreamBuffer* HostState::FindBuffer(CDataId const& id, bool create)
{
    std::lock_guard const lock(mutex);
    auto const found = buffers.find(PackedId(id));
    if (found != buffers.end()) {
        return found->second.get();
    }
    return create ? buffers.emplace(PackedId(id), std::make_unique<StreamBuffer>(id)).first->second.get() : nullptr;
}

std::vector<std::shared_ptr<NotificationBus>> HostState::AllBuses() const
{
    std::vector<std::shared_ptr<NotificationBus>> buses{activeVesselBus, bufferStatusBus, generalBus, streamBus};
    std::lock_guard const lock(mutex);
    for (auto const& entry : devices) {
        buses.push_back(entry.device->Internals().subscriptions->Bus());
    }
    for (auto const& computation : computations) {
        buses.push_back(computation->Subscriptions().Bus());
    }
    return buses;
}

void HostState::ChangeDeviceId(BaseDevice const& device, CDataId const& id)
{
    std::lock_guard const lock(mutex);
    for (auto& entry : devices) {
        if (entry.device.get() == &device) {
            entry.id = id;
        }
    }
}

bool Computation::GetAttribValue(AttributeKey const& key, CDataInfo& value, unsigned& flags) const
{
    std::lock_guard const lock(m_mutex);
    auto const* node = m_setup.attributes.GetAttrMap(key, 0);
    if (node == nullptr || !node->Value().Get(value)) {
        return false;
    }
    flags = node->GetFlags();
    return true;
}

void Computation::GetDataSource(CDataId& dataId) const
{
    dataId = m_setup.stream.IsUndefined() ? m_setup.dataId : m_setup.stream;
}

void Computation::GetAttributeMap(CAttributeMap& map) const
{
    CAttributeMap copy;
    {
        std::lock_guard const lock(m_mutex);
        copy = m_setup.attributes;
    }
    map = std::move(copy);
}

void Computation::ResetDataSource()
{
    CDataId stream;
    GetDataSource(stream);
    if (auto* const observer = CurrentObserver()) {
        observer->OnResetBuffer(stream, m_setup.dataId);
    }
    auto* const state = CurrentState();
    if (auto* const buffer = state != nullptr ? state->FindBuffer(stream, false) : nullptr) {
        buffer->Empty();
    }
}

bool Computation::IsLinkedTo(CDataId const& device) const
{
    return std::find(m_setup.linkedDevices.begin(), m_setup.linkedDevices.end(), device) != m_setup.linkedDevices.end();
}

void Computation::MergeIn(CAttributeMap const& tree)
{
    std::lock_guard const lock(m_mutex);
    Merge(m_setup.attributes, tree);
}

Host::Host(Threading threading) : m_state(std::make_unique<HostState>(threading))
{
    Host* none = nullptr;
    if (!currentHost.compare_exchange_strong(none, this)) {
        throw std::logic_error("a host is alive in this process already");
    }
    m_state->appInstanceGuid = MakeGuid();
    m_state->targets = std::make_unique<TargetStore>(*this);
    SonarTargetsManager::Instance().geoTiffOutputEnabled = false;
    if (threading == Threading::Threaded) {
        m_state->thread = std::make_unique<HostThread>();
    }
}

Host::~Host()
{
    if (m_state->thread != nullptr) {
        m_state->thread->Finish();
    }
    m_state->window->Detach();
    RemoveAllDevices();
    currentHost.store(nullptr, std::memory_order_release);
}

Host& Host::Current()
{
    auto* const host = CurrentOrNull();
    if (host == nullptr) {
        throw std::logic_error("no host is alive in this process");
    }
    return *host;
}

Host* Host::CurrentOrNull()
{
    return currentHost.load(std::memory_order_acquire);
}

void Host::SetClock(Clock const* clock)
{
    m_state->clock.store(clock, std::memory_order_release);
}

double Host::Now() const
{
    auto const* const clock = m_state->clock.load(std::memory_order_acquire);
    return clock != nullptr ? clock->Now() : SystemClock().Now();
}

void Host::SetTraffic(SonarTraffic* traffic)
{
    m_state->traffic.store(traffic, std::memory_order_release);
}
SonarTraffic* Host::Traffic() const
{
    return m_state->traffic.load(std::memory_order_acquire);
}
void Host::SetObserver(HostObserver* observer)
{
    m_state->observer.store(observer, std::memory_order_release);
}
HostObserver* Host::Observer() const
{
    return m_state->observer.load(std::memory_order_acquire);
}
void Host::SetRequestFailures(RequestFailures failures)
{
    m_state->failures = failures;
}

bool Host::IsHostThread() const
{
    return m_state->thread != nullptr ? m_state->thread->IsThisThread() : std::this_thread::get_id() == m_state->owner;
}

bool Host::Post(HostTask task)
{
    if (m_state->threading == Threading::Inline) {
        task();
        return true;
    }
    return m_state->thread != nullptr && m_state->thread->Post(std::move(task));
}

void Host::RunOnHostThread(HostTask task)
{
    if (IsHostThread()) {
        task();
    } else {
        Post(std::move(task));
    }
}

bool Host::RunAndWait(Task const& task)
{
    if (m_state->threading == Threading::Inline || IsHostThread()) {
        task();
        return true;
    }
    // The queued task holds the one reference: however it goes, the answer is given. It refers to `task`, which is safe
    // because this call does not return before.
    auto completion = std::make_shared<Completion>();
    auto answer = completion->promise.get_future();
    Post([&task, owned = std::exchange(completion, nullptr)] { owned->Run(task); });
    return answer.get();
}

bool Host::Stop(std::chrono::milliseconds limit)
{
    return m_state->thread == nullptr || m_state->thread->Stop(limit);
}

std::vector<CString> Host::DeviceClasses() const
{
    std::lock_guard const lock(m_state->mutex);
    std::vector<CString> names;
    for (auto const& [name, creator] : m_state->creators) {
        names.push_back(name);
    }
    return names;
}

std::vector<CString> Host::ViewClasses() const
{
    return m_state->displays.ViewNames();
}

std::vector<CString> Host::DisplayTemplates() const
{
    return m_state->displays.TemplateNames();
}

namespace {

std::unique_ptr<Device> MakeDeviceOf(CString const& className)
{
    if (className == L"QX5Device") {
        return std::make_unique<QX5Device>();
    }
    if (className == L"Device") {
        return std::make_unique<Device>();
    }
    std::unique_ptr<BaseDevice> made(CDevList::GetDevList().MakeDevice(className));
    auto* const device = dynamic_cast<Device*>(made.get());
    if (device == nullptr) {
        return nullptr;
    }
    static_cast<void>(made.release()); // the same object as `device`
    return std::unique_ptr<Device>(device);
}

} // namespace

std::unique_ptr<Device> Host::MakeDevice(CString const& className)
{
    auto device = MakeDeviceOf(className);
    if (device != nullptr) {
        device->SetDeviceDriverName(className);
    }
    return device;
}

Device* Host::AddDevice(std::unique_ptr<Device> device, CDataId const& dataId, CString const& name)
{
    auto* const added = device.get();
    if (added == nullptr || dataId.IsUndefined()) {
        return nullptr;
    }
    auto& buffer = Buffer(dataId);
    {
        std::lock_guard const lock(m_state->mutex);
        for (auto const& entry : m_state->devices) {
            if (entry.id == dataId) {
                return nullptr;
            }
        }
        m_state->devices.push_back({dataId, std::move(device)});
    }
    added->SetDeviceName(name);
    added->Create(dataId, &buffer);
    return added;
}

void Host::SetPort(BaseDevice& device, BaseIOHandler* port)
{
    auto* const before = device.GetPortPtr();
    if (before == port) {
        return;
    }
    if (auto* devices = dynamic_cast<AttachedDevices*>(before)) {
        devices->Detach(&device);
    }
    device.SetPortPtr(port);
    if (auto* devices = dynamic_cast<AttachedDevices*>(port)) {
        devices->Attach(&device);
    }
}

bool Host::RemoveDevice(BaseDevice* device)
{
    bool isOurs = false;
    std::vector<PingControl*> released;
    {
        std::lock_guard const lock(m_state->mutex);
        isOurs = std::any_of(m_state->devices.begin(), m_state->devices.end(),
                             [&](HostState::DeviceEntry const& entry) { return entry.device.get() == device; });
        if (isOurs) {
            released = m_state->pingControls;
        }
    }
    std::erase_if(released, [](PingControl const* control) { return !control->IsActive(); });
    for (PingControl* const control : released) {
        control->Release();
    }
    bool const isGone = isOurs && TakeOut(device);
    for (PingControl* const control : released) {
        control->Discover();
    }
    if (!released.empty()) {
        TellSettingsAgain();
    }
    return isGone;
}

bool Host::TakeOut(BaseDevice* device)
{
    std::unique_ptr<Device> removed;
    {
        std::unique_lock lock(m_state->mutex);
        auto const found =
            std::find_if(m_state->devices.begin(), m_state->devices.end(),
                         [&](HostState::DeviceEntry const& entry) { return entry.device.get() == device; });
        if (found == m_state->devices.end()) {
            return false;
        }
        removed = std::move(found->device);
        m_state->devices.erase(found);
        m_state->formerSubscriptions.push_back(removed->Internals().subscriptions);
        // Nobody finds it any more; who found it before is waited for.
        m_state->useEnded.wait(lock, [&] { return removed->Internals().uses == 0; });
    }
    removed->StopDevice();
    SetPort(*removed, nullptr);
    return true;
}

void Host::TellSettingsAgain()
{
    // A sonar that pings on command alone says nothing by itself, and joins its group with its settings.
    for (Device* const device : Devices()) {
        CDataId const& id = device->GetDataId();
        auto* const buffer = id.GetGroupId() == SonarDataGroup ? m_state->FindBuffer(id, false) : nullptr;
        unsigned short state = 0;
        unsigned short status = 0;
        if (buffer == nullptr || !buffer->GetStatus(state, status) || state == 0) {
            continue;
        }
        if (status == 0) {
            buffer->Announce();
        } else {
            // It would be pinged and awaited though it cannot answer.
            buffer->AnnounceWhenWell();
        }
    }
}

void Host::RemoveAllDevices()
{
    std::vector<PingControl*> controls;
    {
        std::lock_guard const lock(m_state->mutex);
        controls = m_state->pingControls;
    }
    for (PingControl* const control : controls) {
        if (control->IsActive()) {
            control->Release();
        }
    }
    while (true) {
        Device* first = nullptr;
        {
            std::lock_guard const lock(m_state->mutex);
            if (m_state->devices.empty()) {
                return;
            }
            first = m_state->devices.front().device.get();
        }
        TakeOut(first);
    }
}

std::vector<Device*> Host::Devices() const
{
    std::lock_guard const lock(m_state->mutex);
    std::vector<Device*> devices;
    devices.reserve(m_state->devices.size());
    for (auto const& entry : m_state->devices) {
        devices.push_back(entry.device.get());
    }
    return devices;
}

Compform* Host::AddComputation(ComputationSetup setup)
{
    auto computation = std::make_unique<Computation>(std::move(setup));
    std::lock_guard const lock(m_state->mutex);
    return m_state->computations.emplace_back(std::move(computation)).get();
}

CBaseVessel* Host::AddVessel(VesselSetup setup)
{
    auto vessel = std::make_unique<Vessel>(std::move(setup));
    std::lock_guard const lock(m_state->mutex);
    return m_state->vessels.emplace_back(std::move(vessel)).get();
}

bool Host::GetVesselItem(unsigned short number, CString const& section, CString const& item, CString& text) const
{
    std::lock_guard const lock(m_state->mutex);
    for (auto const& vessel : m_state->vessels) {
        if (vessel->GetVesselNumber() != number) {
            continue;
        }
        auto const* const configuration = vessel->GetConfiguration();
        return configuration->GetItem(section, item, text);
    }
    return false;
}

void Host::SelectSonar(CDataId const& dataId)
{
    RunOnHostThread([this, packed = PackedId(dataId)] {
        DataId_NI const info(UnpackedId(packed));
        Notify(Subscription::General, GeneralSubKeys::ADT_SELECTED_SONAR_CHANGE, &info);
    });
}

void Host::SetWindowThread(std::function<void()> wake)
{
    m_state->window->Attach(std::move(wake));
}

void Host::EndWindowThread()
{
    m_state->window->Detach();
}

void Host::DeliverToWindow()
{
    m_state->window->Deliver();
}

std::vector<Message> Host::Messages() const
{
    return m_state->messages.All();
}

void Host::SelectVessel(unsigned short number)
{
    {
        std::lock_guard const lock(m_state->mutex);
        for (std::size_t i = 0; i < m_state->vessels.size(); ++i) {
            if (m_state->vessels[i]->GetVesselNumber() == number) {
                m_state->activeVessel = i;
                break;
            }
        }
    }
    RunOnHostThread([this, number] {
        NFDataT<unsigned short> const info(number);
        Notify(Subscription::ActiveVessel, sel_change::ACTIVE_VESSEL, &info);
    });
}

CVordalBaseApp* Host::Application() const
{
    return m_state->application.get();
}

void Host::SetUnitFactor(int unitGroup, double factor)
{
    m_state->project.units.SetFactor(unitGroup, factor);
}

void Host::SetProjectFolder(unsigned kind, std::optional<CString> folder)
{
    m_state->project.SetFolder(kind, std::move(folder));
}

void Host::SetRoutes(std::vector<CString> routes)
{
    m_state->project.SetRoutes(std::move(routes));
}

void Host::SetItemTexts(unsigned short group, unsigned short item, std::vector<CString> texts)
{
    m_state->project.SetItemTexts(group, item, std::move(texts));
}

void Host::SetApplication(ApplicationSetup setup)
{
    m_state->application = std::make_unique<vordal::Application>(std::move(setup));
}

void Host::SetMainWindow(bool open)
{
    if (m_state->application != nullptr) {
        m_state->application->SetMainWindow(open);
    } else if (open) {
        SetApplication({});
    }
}

void Host::ReplaceAttributes(BaseDevice& device, CAttributeMap const& tree)
{
    auto& internals = device.Internals();
    std::lock_guard const lock(*internals.lock);
    internals.tree = tree;
    internals.told.CountAnew(internals.tree);
}

void Host::MergeDecoded(BaseDevice& device, CAttributeMap const& tree)
{
    if (!MergeToldAndNotify(device.Internals(), device.GetDataId(), tree)) {
        return;
    }
    auto const told = Told(device);
    Log(LogLevel::Warning, "the device \"" + tvcore::ToUtf8(device.GetDeviceName()) + "\" (" +
                               tvcore::ToUtf8(device.GetDataId().GetKey()) + "): its sonar tells more than " +
                               std::to_string(told.Limits().keys) + " keys or " + std::to_string(told.Limits().bytes) +
                               " bytes of texts and lists; the rest is refused and counted, values of known keys go "
                               "on, and this is said once");
    if (auto* const observer = Observer()) {
        observer->OnAttributesRefused(device);
    }
}

void Host::SetToldLimits(BaseDevice& device, TreeLimits const& limits)
{
    auto& internals = device.Internals();
    std::lock_guard const lock(*internals.lock);
    internals.told.SetLimits(limits);
    internals.refusalTold = false;
}

TreeAccount Host::Told(BaseDevice const& device) const
{
    auto const& internals = device.Internals();
    std::lock_guard const lock(*internals.lock);
    return internals.told;
}

bool Host::MergeIntoComputation(CDataId const& dataId, CAttributeMap const& tree)
{
    auto* const computation = m_state->FindComputation(dataId);
    if (computation != nullptr) {
        computation->MergeIn(tree);
    }
    return computation != nullptr;
}

bool Host::LoadDevice(Device& device, CAttributeMap const& tree)
{
    auto const& name = device.GetDeviceName();
    FileObject file;
    file.CreateSection(name);
    file.SetAttributeMap(name, tree);
    bool const loaded = device.LoadAttribs(name, &file);
    auto& internals = device.Internals();
    std::lock_guard const lock(*internals.lock);
    ForgetReferences(internals.tree);
    internals.told.CountAnew(internals.tree);
    return loaded;
}

void Host::ApplyDevice(Device& device, bool changed)
{
    device.ApplyAttribs(changed);
    auto& internals = device.Internals();
    std::lock_guard const lock(*internals.lock);
    ForgetReferences(internals.tree);
    internals.told.NoteOthersWrote();
}

bool Host::HasReserve()
{
    if (m_state->reserve == nullptr) {
        m_state->reserve.reset(new (std::nothrow) std::byte[ReserveBytes]);
    }
    return m_state->reserve != nullptr;
}

void Host::CarryOut(Device& device, CAttributeMap* request, CAttributeMap const* given)
{
    if (!HasReserve()) {
        throw std::bad_alloc();
    }
    RequestSends sends;
    try {
        device.DeliverRequest(request);
        return;
    } catch (std::bad_alloc const&) {
        if (given == nullptr || !sends.BeginAgain()) {
            throw;
        }
    }
    m_state->reserve.reset();
    CAttributeMap again(*given);
    device.DeliverRequest(&again);
}

bool Host::DeliverRequest(Device& device, CAttributeMap* request, CAttributeMap const* given)
{
    HostTurn const turn;
    if (m_state->failures == RequestFailures::Pass) {
        CarryOut(device, request, given);
        return true;
    }
    std::exception_ptr failure;
    std::string reason;
    try {
        CarryOut(device, request, given);
        return true;
    } catch (std::exception const& thrown) {
        failure = std::current_exception();
        reason = thrown.what();
    } catch (...) {
        failure = std::current_exception();
        reason = "an exception of an unknown kind";
    }
    Log(LogLevel::Error, DescribeRequest(device, request) + " failed: " + reason);
    if (auto* observer = Observer()) {
        observer->OnRequestFailed(device, request != nullptr ? *request : CAttributeMap::EmptyNode(), failure);
    }
    return false;
}

BaseDataSource& Host::Buffer(CDataId const& stream)
{
    return *m_state->FindBuffer(stream, true);
}

void Host::PutBlock(CDataId const& stream, CDataBlock const& block)
{
    auto* const buffer = m_state->FindBuffer(stream, true);
    if (auto* const thread = ThreadToTellOn()) {
        thread->Post([this, buffer, block] { PutBlock(buffer->GetDataId(), block); });
        return;
    }
    buffer->Put(block);
    buffer->Announce();
}

void Host::SetBufferStatus(CDataId const& stream, unsigned short status)
{
    auto* const buffer = m_state->FindBuffer(stream, true);
    if (auto* const thread = ThreadToTellOn()) {
        thread->Post([this, buffer, status] { SetBufferStatus(buffer->GetDataId(), status); });
        return;
    }
    buffer->SetStatus(status);
    DataId_NI const info(stream);
    Notify(Subscription::BufferStatus, stream.GetKey(), &info);
}

void Host::SetFileRoot(std::filesystem::path const& folder)
{
    std::lock_guard const lock(m_state->mutex);
    m_state->fileRoot = folder;
}

void Host::SetFileFolders(std::vector<std::filesystem::path> folders)
{
    std::lock_guard const lock(m_state->mutex);
    m_state->fileFolders = std::move(folders);
}

TargetStore& Host::Targets()
{
    return *m_state->targets;
}

void Host::SetAppInstanceGuid(CString const& guid)
{
    std::lock_guard const lock(m_state->mutex);
    m_state->appInstanceGuid = guid;
}

void Host::SetUserIsOperator(bool isOperator)
{
    m_state->userIsOperator = isOperator;
}

void Host::SetAScanStatus(bool on)
{
    m_state->aScanOn = on;
}

void Host::Notify(Subscription::Kind kind, CString const& key, NotificationInfo const* info)
{
    if (auto const bus = BusOfKind(kind)) {
        bus->Notify(AttributeKey(key), info);
    }
}

} // namespace vordal
