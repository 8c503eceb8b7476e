// What of the host around a sonar a recording keeps.
#include "recorded_host.h"

#include <VordalDataBlocksR/BaseDevice.h>
#include <vordalhostdllR/CVordalBaseApp.h>
#include <vordalhostdllR/DataManager.h>
#include <vordalhostdllR/UserRoleUtils.h>

#include <protocol/utf8.h>

namespace qx5::recording {

std::optional<RecordedHost> HostAround(CDataId const& sonar)
{
    auto const* const device = DataManager::GetDataManager().FindDevice(sonar);
    if (device == nullptr) {
        return {};
    }
    return RecordedHost{protocol::EncodeUtf8(CVordalBaseApp::GetAppInstanceGuid().View()),
                        protocol::EncodeUtf8(device->GetPortName().View()), CVordalBaseApp::Instance() != nullptr,
                        UserRoleUtils::IsOperator()};
}

} // namespace qx5::recording
