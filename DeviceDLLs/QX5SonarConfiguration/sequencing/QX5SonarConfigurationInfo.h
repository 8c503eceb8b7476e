// The one object that knows the sonars whose pings the plug-in controls, and lets those of a group ping in turn.
#pragma once

#include "QX5SonarConfiguration.h"

#include <VordalBaseR/CDataId.h>
#include <VordalBaseR/CString.h>
#include <VordalBaseR/Export.h>
#include <VordalDataBlocksR/CDataBlock.h>

#include <cstdint>
#include <memory>
#include <mutex>
#include <vector>

class BaseDataSource;
class BaseDevice;
class DataSubscription;
class NotificationInfo;
class PingGroup;
class Subscription;

/// A sonar under ping control, as discovery found it. Copies share the subscriptions.
struct SonarEntry
{
    std::int32_t groupId = 0;
    CDataId dataId;
    std::shared_ptr<DataSubscription> dataSubscription; ///< calls OnNewSonarSettingsData
    std::shared_ptr<Subscription> statusSubscription;   ///< calls OnBufferStatusChange
    double overheadPercent = 0.0;
    std::int32_t deviceId = 0;
    std::int32_t enumerator = 0;
    CStringA pingRecord; ///< 92 bytes, sent as they stand for every ping
};

/// Finds the sonars that are to ping under control and sorts them into groups. Of a group one sonar pings at a time.
///
/// Init and Exit are for a host that knows this class, on its thread, and are called by nobody in the plug-in. Its
/// entry points do the same for every other host: DiscoverDevices, and InitializeTemplates, as Init; ReleaseDevices,
/// and LibraryDetach, as Exit. A host calls Exit or ReleaseDevices (or unloads the plug-in) before it destroys devices
/// that were found, and Init or DiscoverDevices when devices came or went. The notifications may arrive on any thread,
/// and on several at once. Between them the lists are guarded by a lock that is never held while calling out.
class VORDAL_PLUGIN_EXPORT QX5SonarConfigurationInfo
{
public:
    static QX5SonarConfigurationInfo& Instance();

    /// The copy shares groups and subscriptions; the latter go on telling the object that discovered.
    QX5SonarConfigurationInfo(QX5SonarConfigurationInfo const& other);
    QX5SonarConfigurationInfo& operator=(QX5SonarConfigurationInfo const& other);
    /// Does not stop the groups' threads: Exit comes first.
    virtual ~QX5SonarConfigurationInfo();

    /// Forgets what is known and discovers anew; a second call after devices came or went sees them.
    void Init();
    /// Ends the subscriptions and the threads; when it has returned no ping is sent any more. Within a notification it
    /// may be called, too, and does not wait for that; within the send of a ping it may not.
    void Exit();

    /// Settings data of a sonar came in. The first makes the sonar a member of its group.
    void OnNewSonarSettingsData(NotificationInfo const* info);
    /// The status of a sonar's data buffer changed.
    void OnBufferStatusChange(NotificationInfo const* info);

protected:
    QX5SonarConfigurationInfo();

private:
    friend struct ConfigurationInfoAccess; // tests look inside through it
    friend void ::InitializeTemplates(CVordalBaseApp* application);
    friend void ::DiscoverDevices();
    friend void ::ReleaseDevices();
    friend void ::LibraryDetach();

    void ClearList();
    void GetAttributes();
    /// Adds the device to the entries and follows it, if it is a sonar under ping control; otherwise false.
    bool AddEntry(BaseDevice& device, CDataId const& dataId);
    /// A remote-control record of size + 92 bytes, with the host's time now. `payload` may be null with size 0.
    CStringA BuildRemoteControlRecord(unsigned long commandId, unsigned char* payload, unsigned long size, int deviceId,
                                      int enumerator);
    /// Lets a sonar with a reserved place ping no more by itself, and makes it a member.
    void JoinGroup(PingGroup& group, CDataId const& dataId);
    std::shared_ptr<PingGroup> FindOrMakeGroup(std::int32_t groupId);

    std::vector<SonarEntry> entries;
    std::vector<std::shared_ptr<PingGroup>> groups;
    BaseDataSource* lastBuffer = nullptr; ///< the buffer that was read last
    CDataBlock lastBlock;                 ///< the block that was read last

    /// Guards the members above.
    mutable std::mutex m_lock;
};
