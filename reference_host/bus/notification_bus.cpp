// The one mechanism behind all subscriptions: snapshots of who follows what, and the account of running calls.
#include "reference_host/bus/notification_bus.h"

#include "reference_host/attributes/attribute_node.h"
#include "reference_host/common/current_host.h"
#include "reference_host/common/failure.h"
#include "reference_host/common/host_thread.h"
#include "reference_host/common/host_turn.h"
#include "reference_host/common/log.h"

#include <algorithm>
#include <array>
#include <bit>
#include <new>

namespace vordal {

struct Joint::RunningCall
{
    explicit RunningCall(Joint& joint) : m_joint(joint)
    {
        std::lock_guard const lock(m_joint.m_mutex);
        sink = m_joint.m_sink;
        thread = std::this_thread::get_id();
        serial = m_joint.m_nextSerial++;
        next = m_joint.m_running;
        m_joint.m_running = this;
    }
    RunningCall(RunningCall const&) = delete;
    RunningCall& operator=(RunningCall const&) = delete;
    ~RunningCall()
    {
        // The sink goes before the account is closed: whoever waits for this call may then unload the sink's code.
        sink.reset();
        std::lock_guard const lock(m_joint.m_mutex);
        auto** link = &m_joint.m_running;
        while (*link != this) {
            link = &(*link)->next;
        }
        *link = next;
        m_joint.m_callEnded.notify_all();
    }

    Joint& m_joint;
    std::shared_ptr<SinkHolder> sink;
    std::thread::id thread;
    std::uint64_t serial;
    RunningCall* next;
};

void Joint::Deliver(NotificationInfo const* info)
{
    HostTurn const turn;
    RunningCall const call(*this);
    if (call.sink != nullptr && call.sink->Sink() != nullptr) {
        call.sink->Sink()->Notify(info);
    }
}

void Joint::Replace(std::shared_ptr<SinkHolder> sink)
{
    std::unique_lock lock(m_mutex);
    std::swap(m_sink, sink);
    auto const self = std::this_thread::get_id();
    // Calls that begin from here on use the new sink and are not waited for.
    auto const limit = m_nextSerial;
    m_callEnded.wait(lock, [&] {
        for (auto const* call = m_running; call != nullptr; call = call->next) {
            if (call->serial < limit && call->thread != self) {
                return false;
            }
        }
        return true;
    });
    lock.unlock();
    sink.reset();
}

std::shared_ptr<SinkHolder> Joint::Sink()
{
    std::lock_guard const lock(m_mutex);
    return m_sink;
}

struct NotificationBus::Snapshot
{
    struct Entry
    {
        std::uint64_t hash;
        std::wstring text;
        std::vector<std::uint32_t> joints; ///< positions in `joints`, ascending
    };

    std::vector<std::shared_ptr<Joint>> joints;
    std::vector<Entry> entries; ///< ascending by hash
    std::uint64_t filter = 0;   ///< union of the keys' filters

    Entry const* Find(AttributeKey const& key) const
    {
        if ((filter & key.Filter()) != key.Filter()) {
            return nullptr;
        }
        auto at = std::lower_bound(entries.begin(), entries.end(), key.Hash(),
                                   [](Entry const& entry, std::uint64_t hash) { return entry.hash < hash; });
        for (; at != entries.end() && at->hash == key.Hash(); ++at) {
            if (at->text == key.Text()) {
                return &*at;
            }
        }
        return nullptr;
    }

    Entry& FindOrAdd(AttributeKey const& key)
    {
        if (auto const* found = Find(key)) {
            return entries[static_cast<std::size_t>(found - entries.data())];
        }
        auto const at = std::upper_bound(entries.begin(), entries.end(), key.Hash(),
                                         [](std::uint64_t hash, Entry const& entry) { return hash < entry.hash; });
        filter |= key.Filter();
        return *entries.insert(at, Entry{key.Hash(), std::wstring(key.Text()), {}});
    }
};

namespace {

/// Has the host thread tell a notification, in its turn, when this thread may not: its sinks may need a lock that the
/// host thread holds while it waits for them to return. False: this thread tells it.
template <typename Tell>
bool TellsOnHostThread(NotificationInfo const* info, Tell tell)
{
    auto* const thread = ThreadToTellOn();
    if (thread == nullptr) {
        return false;
    }
    thread->Post([tell = std::move(tell), copy = info != nullptr ? info->Clone() : nullptr] {
        LogFailureOf("a notification failed on the host thread: ", [&] { tell(copy.get()); });
    });
    return true;
}

} // namespace

NotificationBus::NotificationBus(void (*changed)() noexcept) : m_changed(changed) {}
NotificationBus::~NotificationBus() = default;

std::shared_ptr<NotificationBus::Snapshot const> NotificationBus::Take() const
{
    if (IsEmpty()) {
        return nullptr;
    }
    std::lock_guard const lock(m_mutex);
    return m_snapshot;
}

void NotificationBus::Publish(std::shared_ptr<Snapshot const> next)
{
    m_empty.store(next->joints.empty(), std::memory_order_release);
    std::swap(m_snapshot, next);
}

void NotificationBus::Join(std::shared_ptr<Joint> const& joint, std::span<CString const> keys)
{
    if (keys.empty()) {
        return;
    }
    PutIn(joint, keys);
    TellChanged();
}

void NotificationBus::PutIn(std::shared_ptr<Joint> const& joint, std::span<CString const> keys)
{
    std::lock_guard const lock(m_mutex);
    auto next = m_snapshot != nullptr ? std::make_shared<Snapshot>(*m_snapshot) : std::make_shared<Snapshot>();
    auto const found = std::find(next->joints.begin(), next->joints.end(), joint);
    auto const position = static_cast<std::uint32_t>(found - next->joints.begin());
    if (found == next->joints.end()) {
        next->joints.push_back(joint);
    }
    for (auto const& key : keys) {
        auto& followers = next->FindOrAdd(AttributeKey(key)).joints;
        auto const at = std::lower_bound(followers.begin(), followers.end(), position);
        if (at == followers.end() || *at != position) {
            followers.insert(at, position);
        }
    }
    Publish(std::move(next));
}

void NotificationBus::Leave(std::shared_ptr<Joint> const& joint) noexcept
{
    try {
        TakeOut(joint);
    } catch (std::bad_alloc const&) {
        // It stays where it is, and once it has left by itself nobody finds a sink behind it.
    }
    TellChanged();
}

void NotificationBus::TakeOut(std::shared_ptr<Joint> const& joint)
{
    std::lock_guard const lock(m_mutex);
    if (m_snapshot == nullptr) {
        return;
    }
    auto const found = std::find(m_snapshot->joints.begin(), m_snapshot->joints.end(), joint);
    if (found == m_snapshot->joints.end()) {
        return;
    }
    auto const gone = static_cast<std::uint32_t>(found - m_snapshot->joints.begin());
    auto next = std::make_shared<Snapshot>();
    next->joints = m_snapshot->joints;
    next->joints.erase(next->joints.begin() + static_cast<std::ptrdiff_t>(gone));
    for (auto const& entry : m_snapshot->entries) {
        Snapshot::Entry kept{entry.hash, entry.text, {}};
        for (auto const position : entry.joints) {
            if (position != gone) {
                kept.joints.push_back(position < gone ? position : position - 1);
            }
        }
        if (!kept.joints.empty()) {
            next->filter |= AttributeKey::FilterOf(kept.hash);
            next->entries.push_back(std::move(kept));
        }
    }
    Publish(std::move(next));
}

std::size_t NotificationBus::LeaveAll(std::function<bool(Subscriber const&)> const& areSuch)
{
    auto const snapshot = Take();
    if (snapshot == nullptr) {
        return 0;
    }
    std::size_t count = 0;
    for (auto const& joint : snapshot->joints) {
        auto const sink = joint->Sink();
        if (sink != nullptr && sink->Sink() != nullptr && areSuch(*sink->Sink())) {
            Leave(joint);
            joint->Leave();
            ++count;
        }
    }
    return count;
}

bool NotificationBus::IsFollowed(AttributeKey const& key) const
{
    auto const snapshot = Take();
    return snapshot != nullptr && snapshot->Find(key) != nullptr;
}

void NotificationBus::Notify(AttributeKey const& key, NotificationInfo const* info) const
{
    if (TellsOnHostThread(info, [bus = shared_from_this(), text = CString(key.Text())](NotificationInfo const* copy) {
            bus->Notify(AttributeKey(text), copy);
        })) {
        return;
    }
    auto const snapshot = Take();
    if (snapshot == nullptr) {
        return;
    }
    if (auto const* entry = snapshot->Find(key)) {
        for (auto const position : entry->joints) {
            snapshot->joints[position]->Call(info);
        }
    }
}

void NotificationBus::NotifyKeysOf(CAttributeMap const& tree, NotificationInfo const* info) const
{
    if (TellsOnHostThread(
            info, [bus = shared_from_this(), tree](NotificationInfo const* copy) { bus->NotifyKeysOf(tree, copy); })) {
        return;
    }
    auto const snapshot = Take();
    if (snapshot == nullptr) {
        return;
    }
    // One bit for each joint: those of several keys are told once, all in the order of joining.
    std::array<std::uint64_t, 8> fewMarks{};
    std::vector<std::uint64_t> manyMarks;
    std::span<std::uint64_t> marks = fewMarks;
    if (auto const words = (snapshot->joints.size() + 63) / 64; words > fewMarks.size()) {
        manyMarks.resize(words);
        marks = manyMarks;
    }
    bool any = false;
    for (CAttributeMap const& child : tree) {
        auto const* node = TreeAccess::Node(child);
        if (node == nullptr) {
            continue;
        }
        if (auto const* entry = snapshot->Find(TreeAccess::KeyOf(*node))) {
            any = true;
            for (auto const position : entry->joints) {
                marks[position / 64] |= std::uint64_t{1} << (position % 64);
            }
        }
    }
    if (!any) {
        return;
    }
    for (std::size_t word = 0; word < marks.size(); ++word) {
        for (auto bits = marks[word]; bits != 0; bits &= bits - 1) {
            snapshot->joints[word * 64 + static_cast<std::size_t>(std::countr_zero(bits))]->Call(info);
        }
    }
}

} // namespace vordal
