// What a tool that watches the host is told, in the order in which it happens.
#pragma once

#include "reference_host/common/request_origin.h"

#include <VordalAttributesR/CAttributeMap.h>
#include <VordalBaseR/CDataId.h>
#include <VordalBaseR/CString.h>
#include <VordalBaseR/Export.h>
#include <VordalDataBlocksR/CDataBlock.h>

#include <exception>
#include <string>

class BaseDevice;
class FileObject;

namespace vordal {

/// One virtual for each call into the host that a recorder reports; each does nothing unless overridden (a message is
/// logged). Called before the host acts, on the caller's thread (any thread), with no lock of the host held, except
/// that a caller may hold the lock of its own device. Only calls from outside are told: what the host does of itself
/// (Host::MergeDecoded, Host::PutBlock, the merge inside DataManager::SetAttributeMap) is not. What is sent goes
/// through SonarTraffic.
class VORDAL_API HostObserver
{
public:
    virtual ~HostObserver();

    /// The device's SetAttributeMap or AppendAttributeMap. A device under construction has no id yet.
    virtual void OnEcho(BaseDevice& device, CAttributeMap const& tree, unsigned flags);
    /// DataManager::SetAttributeMap, whether or not there is such a device or computation. In a threaded host this is
    /// told on the host thread, when the call takes effect.
    virtual void OnHostSet(CDataId const& dataId, CAttributeMap const& tree, unsigned flags);
    virtual void OnOutputStat(BaseDevice& device, double time, int status);
    virtual void OnDisableTimeOut(BaseDevice& device, bool disable);
    virtual void OnDeviceCtrlViewType(BaseDevice& device, CString const& name);
    /// BaseDataSource::Reset on the buffer of that stream, or Compform::ResetDataSource of the computation `owner`; of
    /// a plain buffer `owner` is the stream's own id.
    virtual void OnResetBuffer(CDataId const& stream, CDataId const& owner);
    virtual void OnStoreBlock(CDataId const& stream, CDataBlock const& block);
    virtual void OnAnnounceBlock(CDataId const& stream);
    /// CDisplayMap::UpdateAllDisplays.
    virtual void OnUpdateDisplays(int hint);
    virtual void OnSelectDisplay(CString const& name);
    virtual void OnEnableDisplay(CString const& name);
    /// CVordalBaseApp::AddDisplay; `section` of `settings` tells how its window stands.
    virtual void OnAddDisplay(unsigned viewKey, CString const& name, CString const& type, FileObject const& settings,
                              CString const& section);
    virtual void OnSetLightMode(int mode, bool redraw);
    /// CVordalBaseApp::NotifyAttributesChanged.
    virtual void OnNotifyApplication(CDataId const& dataId);
    /// CDisplayDoc::RenameDisplay.
    virtual void OnRenameDisplay(CString const& title);
    /// DisplayManager::RemoveDisplay, whether or not there is such a display.
    virtual void OnRemoveDisplay(CString const& title);
    /// CVordalMessage::ShowMessage.
    virtual void OnMessage(CString const& text);
    /// SonarTargetsManager::OpenSTSFile, whatever comes of it.
    virtual void OnOpenTargets(CString const& fileName);
    virtual void OnCloseTargets(CString const& fileName);
    /// SynchronizeTargetManagerInfo::SetRequestTimeStamp.
    virtual void OnTargetListRequested();
    /// HugeFileStream::Remove, whether or not there is such a file.
    virtual void OnRemoveFile(CString const& fileName);
    /// A caller broke a rule of the contract that the host could pass over; `rule` is that rule. Logged unless
    /// overridden.
    virtual void OnContractBreach(CString const& rule);
    /// An exception left a request and was contained; it is logged as well.
    virtual void OnRequestFailed(BaseDevice& device, CAttributeMap const& request, std::exception_ptr failure);
    /// Device::ReportDroppedRequest. The keys are valid during the call.
    virtual void OnRequestDropped(BaseDevice& device, AttributeKey const& asked, AttributeKey const& missing);
    /// For the first time a sonar has told more than its device's tree takes (Host::SetToldLimits); Host::Told counts.
    virtual void OnAttributesRefused(BaseDevice& device);
    /// The guard has refused a request (Host::SetRequestGuard); `reason` is one line.
    virtual void OnRequestRefused(BaseDevice& device, CAttributeMap const& request, RequestOrigin who,
                                  std::string const& reason);
};

} // namespace vordal
