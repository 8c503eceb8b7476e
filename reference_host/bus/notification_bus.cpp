// The one mechanism behind all subscriptions: snapshots of who follows what, and the account of running calls.
#include "reference_host/bus/notification_bus.h"

#include "reference_host/attributes/attribute_node.h"
#include "reference_host/attributes/shared_blocks.h"
#include "reference_host/bus/key_followers.h"
#include "reference_host/common/current_host.h"
#include "reference_host/common/failure.h"
#include "reference_host/common/host_thread.h"
#include "reference_host/common/host_turn.h"
#include "reference_host/common/log.h"

#include <algorithm>
#include <array>
#include <bit>
#include <cstddef>
#include <map>
#include <memory_resource>
#include <new>
#include <utility>

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

/// The keys that are followed. Copies share what neither of them changes.
class NotificationBus::Table
{
public:
    Table() = default;
    Table(Table const& other) : filter(other.filter), m_keys(other.m_keys), m_taken(other.m_taken) {}
    Table& operator=(Table const&) = delete;

    static void Release(Table* table)
    {
        if (table != nullptr && DropReference(table->references)) {
            delete table;
        }
    }

    KeyFollowers* Find(AttributeKey const& key) const
    {
        return (filter & key.Filter()) != key.Filter() ? nullptr : m_keys[PlaceOf(key)].followers.get();
    }
    /// In place of those of the same key, if there are any.
    void Put(std::shared_ptr<KeyFollowers> followers)
    {
        auto place = PlaceOf(followers->Key());
        if (m_keys[place].followers == nullptr) {
            if (m_taken + 1 > m_keys.Capacity() / 4 * 3) {
                MakeRoom();
                place = PlaceOf(followers->Key());
            }
            ++m_taken;
        }
        filter |= followers->Key().Filter();
        auto& entry = m_keys.Own(place);
        entry.followers = std::move(followers);
        entry.isTaken = true;
    }
    void Remove(AttributeKey const& key)
    {
        auto const place = PlaceOf(key);
        if (m_keys[place].followers != nullptr) {
            m_keys.Own(place).followers = nullptr;
        }
    }

    std::atomic<std::uint32_t> references{1};
    std::uint64_t filter = 0; ///< union of those of the keys, and of some that were there

private:
    struct Entry
    {
        std::shared_ptr<KeyFollowers> followers;
        bool isTaken = false; ///< or was
    };
    using Keys = SharedBlocks<Entry, 4>;

    /// Where the key stands, or the free place that the search for it ends at.
    std::uint32_t PlaceOf(AttributeKey const& key) const
    {
        auto const mask = m_keys.Capacity() - 1;
        for (auto at = static_cast<std::uint32_t>(key.Hash() ^ (key.Hash() >> 32)) & mask;; at = (at + 1) & mask) {
            auto const& entry = m_keys[at];
            if (!entry.isTaken || (entry.followers != nullptr && entry.followers->Is(key))) {
                return at;
            }
        }
    }
    void MakeRoom()
    {
        std::uint32_t live = 0;
        for (std::uint32_t at = 0; at < m_keys.Capacity(); ++at) {
            live += m_keys[at].followers != nullptr ? 1U : 0U;
        }
        Keys larger(std::max(leastCapacity, std::bit_ceil(live * 3)));
        Keys const former(m_keys);
        m_keys = std::move(larger);
        m_taken = 0;
        filter = 0;
        for (std::uint32_t at = 0; at < former.Capacity(); ++at) {
            if (former[at].followers != nullptr) {
                Put(former[at].followers);
            }
        }
    }

    static constexpr std::uint32_t leastCapacity = 16;

    Keys m_keys{leastCapacity};
    std::uint32_t m_taken = 0;
};

/// The table as it was at one moment, for a notification.
class NotificationBus::Snapshot
{
public:
    explicit Snapshot(Table* table) : m_table(table) {}
    Snapshot(Snapshot const&) = delete;
    Snapshot& operator=(Snapshot const&) = delete;
    ~Snapshot() { Table::Release(m_table); }

    /// Null for a key that nobody follows.
    KeyFollowers const* Find(AttributeKey const& key) const
    {
        return m_table != nullptr ? m_table->Find(key) : nullptr;
    }

private:
    Table* m_table;
};

namespace {

/// Has the host thread tell a notification, in its turn, when this thread may not: its sinks may need a lock that the
/// host thread holds while it waits for them to return. False: this thread tells it. `makeTell` gives what tells it
/// later, with copies of all that it takes; it is not called where this thread tells at once, which needs none.
template <typename MakeTell>
bool TellsOnHostThread(NotificationInfo const* info, MakeTell const& makeTell)
{
    auto* const thread = ThreadToTellOn();
    if (thread == nullptr) {
        return false;
    }
    thread->Post([tell = makeTell(), copy = info != nullptr ? info->Clone() : nullptr] {
        LogFailureOf("a notification failed on the host thread: ", [&] { tell(copy.get()); });
    });
    return true;
}

// A list of so many is short enough to be gone through for one that follows.
constexpr std::uint32_t fewFollowers = 16;

void CallIfThere(KeyFollower const& follower, NotificationInfo const* info)
{
    if (!follower.hasLeft.load(std::memory_order_acquire)) {
        follower.joint->Call(info);
    }
}

/// Those that are there now, not such as come meanwhile.
void CallAll(KeyFollowers const& followers, NotificationInfo const* info)
{
    for (std::uint32_t at = 0, count = followers.Count(); at < count; ++at) {
        CallIfThere(followers[at], info);
    }
}

} // namespace

NotificationBus::NotificationBus(void (*changed)() noexcept) : m_changed(changed) {}
NotificationBus::~NotificationBus()
{
    Table::Release(m_table);
}

NotificationBus::Snapshot NotificationBus::Take() const
{
    if (IsEmpty()) {
        return Snapshot(nullptr);
    }
    std::lock_guard const lock(m_mutex);
    if (m_table != nullptr) {
        m_table->references.fetch_add(1, std::memory_order_relaxed);
    }
    return Snapshot(m_table);
}

NotificationBus::Table& NotificationBus::OwnTable()
{
    if (m_table == nullptr) {
        m_table = new Table;
    } else if (m_table->references.load(std::memory_order_acquire) != 1) {
        auto* const own = new Table(*m_table);
        Table::Release(std::exchange(m_table, own));
    }
    return *m_table;
}

void NotificationBus::Join(std::shared_ptr<Joint> const& joint, std::span<CString const> keys)
{
    if (keys.empty()) {
        return;
    }
    {
        std::lock_guard const lock(m_mutex);
        PutIn(joint, keys);
    }
    TellChanged();
}

void NotificationBus::PutIn(std::shared_ptr<Joint> const& joint, std::span<CString const> keys)
{
    auto const [at, isNew] = m_members.try_emplace(joint.get());
    if (isNew) {
        at->second.joint = joint;
        at->second.order = m_nextOrder++;
    }
    m_empty.store(false, std::memory_order_release);
    for (auto const& key : keys) {
        Follow(at->second, AttributeKey(key));
    }
}

void NotificationBus::Follow(Membership& membership, AttributeKey const& key)
{
    auto* followers = m_table != nullptr ? m_table->Find(key) : nullptr;
    auto const isThere = [&](Membership::Place const& place) { return place.followers.get() == followers; };
    if (followers != nullptr && std::any_of(membership.places.begin(), membership.places.end(), isThere)) {
        return;
    }
    membership.places.reserve(membership.places.size() + 1);
    auto const count = followers != nullptr ? followers->Count() : 0;
    if (count > 0 && (*followers)[count - 1].order > membership.order) {
        Renew(*followers, &membership);
        return;
    }
    auto const place = static_cast<std::uint32_t>(membership.places.size());
    if (followers == nullptr) {
        auto own = std::make_shared<KeyFollowers>(key);
        auto const at = own->Append(membership.joint, membership.order, place);
        OwnTable().Put(own);
        membership.places.push_back({std::move(own), at});
        return;
    }
    auto const at = followers->Append(membership.joint, membership.order, place);
    membership.places.push_back({followers->shared_from_this(), at});
}

void NotificationBus::Renew(KeyFollowers const& followers, Membership* more)
{
    auto const own = std::make_shared<KeyFollowers>(followers.Key());
    auto const appendMore = [&] {
        own->Append(more->joint, more->order, static_cast<std::uint32_t>(more->places.size()));
        more = nullptr;
    };
    for (std::uint32_t at = 0; at < followers.Count(); ++at) {
        auto const& each = followers[at];
        if (each.hasLeft.load(std::memory_order_relaxed)) {
            continue;
        }
        if (more != nullptr && more->order < each.order) {
            appendMore();
        }
        own->Append(each.joint, each.order, each.place);
    }
    if (more != nullptr) {
        appendMore();
    }
    OwnTable().Put(own);
    // From here on nothing fails.
    for (std::uint32_t at = 0; at < own->Count(); ++at) {
        auto const& each = (*own)[at];
        auto& places = m_members.find(each.joint.get())->second.places;
        if (each.place == places.size()) {
            places.push_back({own, at});
        } else {
            places[each.place] = {own, at};
        }
    }
}

void NotificationBus::Leave(std::shared_ptr<Joint> const& joint) noexcept
{
    try {
        std::lock_guard const lock(m_mutex);
        TakeOut(joint.get());
    } catch (std::bad_alloc const&) { // nothing that matters is missing, see there
    }
    TellChanged();
}

void NotificationBus::TakeOut(Joint const* joint)
{
    auto const found = m_members.find(joint);
    if (found == m_members.end()) {
        return;
    }
    auto const membership = std::move(found->second);
    m_members.erase(found);
    m_empty.store(m_members.empty(), std::memory_order_release);
    for (auto const& place : membership.places) {
        place.followers->NoteLeft(place.at);
    }
    // Should there be no memory for it, what is left has nobody in it that is called.
    for (auto const& place : membership.places) {
        auto const live = place.followers->Live();
        if (live == 0) {
            OwnTable().Remove(place.followers->Key());
        } else if (auto const count = place.followers->Count(); count > fewFollowers && live < count / 2) {
            Renew(*place.followers, nullptr);
        }
    }
}

std::size_t NotificationBus::LeaveAll(std::function<bool(Subscriber const&)> const& areSuch)
{
    std::map<std::uint64_t, std::shared_ptr<Joint>> members;
    {
        std::lock_guard const lock(m_mutex);
        for (auto const& [joint, membership] : m_members) {
            members.emplace(membership.order, membership.joint);
        }
    }
    std::size_t count = 0;
    for (auto const& [order, joint] : members) {
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
    return Take().Find(key) != nullptr;
}

void NotificationBus::Notify(AttributeKey const& key, NotificationInfo const* info) const
{
    if (TellsOnHostThread(info, [&] {
            return [bus = shared_from_this(), text = CString(key.Text())](NotificationInfo const* copy) {
                bus->Notify(AttributeKey(text), copy);
            };
        })) {
        return;
    }
    auto const snapshot = Take();
    if (auto const* const followers = snapshot.Find(key)) {
        CallAll(*followers, info);
    }
}

void NotificationBus::NotifyKeysOf(CAttributeMap const& tree, NotificationInfo const* info) const
{
    if (TellsOnHostThread(info, [&] {
            return [bus = shared_from_this(), tree](NotificationInfo const* copy) { bus->NotifyKeysOf(tree, copy); };
        })) {
        return;
    }
    if (IsEmpty()) {
        return;
    }
    auto const snapshot = Take();
    // Few of them need no memory of their own.
    std::array<std::byte, 4096> room;
    std::pmr::monotonic_buffer_resource memory(room.data(), room.size());
    std::pmr::vector<KeyFollowers const*> keys(&memory);
    for (CAttributeMap const& child : tree) {
        auto const* const node = TreeAccess::Node(child);
        auto const* const followers = node != nullptr ? snapshot.Find(TreeAccess::KeyOf(*node)) : nullptr;
        if (followers != nullptr && (keys.empty() || keys.back() != followers)) {
            keys.push_back(followers);
        }
    }
    if (keys.empty()) {
        return;
    }
    if (keys.size() == 1) {
        CallAll(*keys.front(), info);
        return;
    }
    // Those of several keys are told once, all in the order of joining.
    std::sort(keys.begin(), keys.end());
    keys.erase(std::unique(keys.begin(), keys.end()), keys.end());
    std::pmr::vector<KeyFollower const*> followers(&memory);
    for (auto const* const key : keys) {
        for (std::uint32_t at = 0, count = key->Count(); at < count; ++at) {
            followers.push_back(&(*key)[at]);
        }
    }
    std::sort(followers.begin(), followers.end(), [](auto const* a, auto const* b) { return a->order < b->order; });
    KeyFollower const* told = nullptr;
    for (auto const* const follower : followers) {
        if (told == nullptr || told->order != follower->order) {
            told = follower;
            CallIfThere(*follower, info);
        }
    }
}

} // namespace vordal
