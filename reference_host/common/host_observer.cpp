// An observer that does nothing, for those who override part of it.
#include "reference_host/common/host_observer.h"

#include "reference_host/common/log.h"

#include <tvcoreR/Utf8.h>

namespace vordal {

HostObserver::~HostObserver() = default;
void HostObserver::OnEcho(BaseDevice&, CAttributeMap const&, unsigned) {}
void HostObserver::OnHostSet(CDataId const&, CAttributeMap const&, unsigned) {}
void HostObserver::OnOutputStat(BaseDevice&, double, int) {}
void HostObserver::OnDisableTimeOut(BaseDevice&, bool) {}
void HostObserver::OnDeviceCtrlViewType(BaseDevice&, CString const&) {}
void HostObserver::OnResetBuffer(CDataId const&, CDataId const&) {}
void HostObserver::OnStoreBlock(CDataId const&, CDataBlock const&) {}
void HostObserver::OnAnnounceBlock(CDataId const&) {}
void HostObserver::OnUpdateDisplays(int) {}
void HostObserver::OnSelectDisplay(CString const&) {}
void HostObserver::OnEnableDisplay(CString const&) {}
void HostObserver::OnAddDisplay(unsigned, CString const&, CString const&, FileObject const&, CString const&) {}
void HostObserver::OnSetLightMode(int, bool) {}
void HostObserver::OnNotifyApplication(CDataId const&) {}
void HostObserver::OnRenameDisplay(CString const&) {}
void HostObserver::OnRemoveDisplay(CString const&) {}
void HostObserver::OnMessage(CString const& text)
{
    // An operator's message is not to be lost where nobody shows it.
    Log(LogLevel::Info, tvcore::ToUtf8(text));
}
void HostObserver::OnOpenTargets(CString const&) {}
void HostObserver::OnCloseTargets(CString const&) {}
void HostObserver::OnTargetListRequested() {}
void HostObserver::OnRemoveFile(CString const&) {}
void HostObserver::OnContractBreach(CString const& rule)
{
    Log(LogLevel::Warning, "not kept: " + tvcore::ToUtf8(rule));
}
void HostObserver::OnRequestFailed(BaseDevice&, CAttributeMap const&, std::exception_ptr) {}
void HostObserver::OnRequestDropped(BaseDevice&, AttributeKey const&, AttributeKey const&) {}
void HostObserver::OnAttributesRefused(BaseDevice&) {}
void HostObserver::OnRequestRefused(BaseDevice&, CAttributeMap const&, RequestOrigin, std::string const&) {}

} // namespace vordal
