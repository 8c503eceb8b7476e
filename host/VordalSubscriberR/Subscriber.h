// The sinks that notifications end in.
#pragma once

#include <VordalBaseR/Export.h>
#include <VordalSubscriberR/NotificationInfo.h>

/// A sink. Any thread may raise a notification; where Notify is called does not depend on it. For a subscription made
/// on the window thread that is the window thread, once for all notifications that came since the last time; for all
/// others it is the host thread: at once, nested, when the host thread raises the notification, otherwise later, in the
/// order in which notifications were raised. No lock of the host is held. (A host that has no thread of its own tells
/// on the caller's.)
class VORDAL_API Subscriber
{
public:
    Subscriber() = default;
    Subscriber(Subscriber const&) = delete;
    Subscriber& operator=(Subscriber const&) = delete;
    virtual ~Subscriber();

    /// `info` may be null; it belongs to the sender and is valid during the call only.
    virtual void Notify(NotificationInfo const* info) = 0;
};

/// Calls a member function that takes what the notification carries. Holds a plain pointer to the object, which must
/// outlive the subscription.
template <typename T>
class MemFunSubscriber : public Subscriber
{
public:
    /// What is called: its argument is Notify's.
    using Function = void (T::*)(NotificationInfo const*);

    /// Neither is null.
    MemFunSubscriber(T* object, Function function) : m_object(object), m_function(function) {}
    void Notify(NotificationInfo const* info) override { (m_object->*m_function)(info); }

private:
    T* m_object;
    Function m_function;
};

/// Calls a member function without arguments. Holds a plain pointer to the object, which must outlive the
/// subscription.
template <typename T>
class MemFunNoInfoSubscriber : public Subscriber
{
public:
    /// What is called.
    using Function = void (T::*)();

    /// Neither is null.
    MemFunNoInfoSubscriber(T* object, Function function) : m_object(object), m_function(function) {}
    void Notify(NotificationInfo const*) override { (m_object->*m_function)(); }

private:
    T* m_object;
    Function m_function;
};
