// What a notification carries to its subscribers.
#pragma once

#include <VordalBaseR/CDataId.h>
#include <VordalBaseR/Export.h>

#include <memory>

/// Base of everything that a notification carries. The sender owns it; it is valid during the call only.
class VORDAL_API NotificationInfo
{
public:
    NotificationInfo() = default;
    NotificationInfo(NotificationInfo const&) = default;
    NotificationInfo& operator=(NotificationInfo const&) = default;
    virtual ~NotificationInfo();

    /// A copy of the same kind, for subscriptions that are told later on another thread (see Subscriber). Kinds of a
    /// module's own override it; otherwise those subscribers get the bare base.
    virtual std::unique_ptr<NotificationInfo> Clone() const;
};

/// A notification about one device, computation or stream.
class VORDAL_API DataId_NI : public NotificationInfo
{
public:
    /// About that device, computation or stream.
    explicit DataId_NI(CDataId const& dataId) : m_dataId(dataId) {}
    ~DataId_NI() override;
    std::unique_ptr<NotificationInfo> Clone() const override;

    /// What it is about.
    CDataId const& GetDataId() const { return m_dataId; }

private:
    CDataId m_dataId;
};

/// A notification that carries one plain value, such as a vessel number (`NFDataT<unsigned short>`).
template <typename T>
class VORDAL_API NFDataT : public NotificationInfo
{
public:
    /// Carries a copy.
    explicit NFDataT(T const& data) : m_data(data) {}

    std::unique_ptr<NotificationInfo> Clone() const override { return std::make_unique<NFDataT>(*this); }

    /// The value, valid as long as the notification.
    T const& GetData() const { return m_data; }

private:
    T m_data;
};
