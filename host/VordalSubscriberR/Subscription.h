// Subscriptions: to the general bus, to buffer status, to the active vessel, to attributes of a device, to streams.
#pragma once

#include <VordalBaseR/CString.h>
#include <VordalBaseR/Export.h>

#include <memory>
#include <vector>

class BaseDataSource;
class CDataId;
class Subscriber;

/// The subscriptions to the attributes of one device. Made and owned by the host; a plug-in only passes it on.
class SubscriptionMap;

/// One sink joined to one or more keys of one bus. Unsubscribe, or the destructor, ends it: once it has returned the
/// sink is not called any more (a call that is running on another thread is waited for; from inside the sink itself
/// it returns at once). On the thread on which the sink is told nobody is waited for, whatever locks are held there;
/// elsewhere no lock may be held that the sink needs. Not to be used from two threads at once.
class VORDAL_API Subscription
{
public:
    /// The bus that a kind means.
    enum Kind : int
    {
        ActiveVessel = 2, ///< another vessel becomes the active one
        BufferStatus = 4, ///< a stream's status changes
        General = 7,      ///< what GeneralSubKeys names
    };

    /// For attribute keys of one device, see SetMap.
    Subscription();
    /// For one of the host's buses, see Kind. Subscribing with another kind does nothing.
    explicit Subscription(int kind);
    Subscription(Subscription const&) = delete;
    Subscription& operator=(Subscription const&) = delete;
    ~Subscription();

    /// `own`: the subscription deletes the sink when it is replaced or when the subscription goes.
    void SetSubscriber(Subscriber* subscriber, bool own);
    /// The device whose attributes are followed; null for none, until there is another. What was subscribed to before
    /// is followed there from now on. The map must be there while the subscription is.
    void SetMap(SubscriptionMap* map);
    /// Joins the sink to a key. Joining twice to one key still notifies once.
    void Subscribe(CString const& key);
    void Subscribe(std::vector<CString> const& keys);
    /// Ends it, for all its keys; nothing when there is none.
    void Unsubscribe();

private:
    struct State;
    std::unique_ptr<State> m_state;
};

/// The subscription to one stream of data blocks; the same rules.
class VORDAL_API DataSubscription
{
public:
    DataSubscription();
    DataSubscription(DataSubscription const&) = delete;
    DataSubscription& operator=(DataSubscription const&) = delete;
    ~DataSubscription();

    /// See Subscription.
    void SetSubscriber(Subscriber* subscriber, bool own);
    /// Joins the sink to the stream, in place of the one that it was joined to.
    void Subscribe(CDataId const& dataId);
    /// See Subscription.
    void Unsubscribe();
    /// The buffer of the stream subscribed to; null without a subscription or where the stream has no buffer. A
    /// notification that is running may ask even while another thread unsubscribes.
    BaseDataSource* GetDataBuffer();

private:
    struct State;
    std::unique_ptr<State> m_state;
};
