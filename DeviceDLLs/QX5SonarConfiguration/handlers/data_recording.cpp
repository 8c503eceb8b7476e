// The handlers for recording by the sonar processor, and how it keeps in step with the host's logger.
#include "../QX5SonarConfigurationControlDevice.h"
#include "../platform/local_time.h"
#include "echo_map.h"
#include "reading.h"
#include <commands/data_recording.h>

#include <VordalBaseR/CExTime.h>
#include <protocol/pack.h>

#include <array>
#include <cwchar>

using ControlDevice = QX5SonarConfigurationControlDevice;
using namespace qx5;
namespace keys = qx5::protocol::keys;
namespace records = qx5::protocol::records;

CString ControlDevice::CreateX5RecordFilename()
{
    std::tm const local = platform::LocalTime(CExTime::ConvertToCTime(CExTime::GetCurTime()));
    std::array<wchar_t, 128> name{};
    // Nothing but digits of the C locale's calendar: the name is the same whatever the locale.
    std::size_t const length = std::wcsftime(name.data(), name.size(), L"%Y%m%d_%H%M%S_VORDAL", &local);
    return CString(std::wstring_view(name.data(), length));
}

void ControlDevice::StartRecording(CString const& fileName, Target target)
{
    protocol::RecordLayout const record = records::StartRecording;
    protocol::Payload payload(record.size);
    protocol::PackField(records::RecordingFileName, fileName.View(), payload.Bytes());
    Send(record, payload, target);
}

void ControlDevice::StartLogging()
{
    loggerRunning = true;
    bool inStep = false;
    unsigned flags = 0;
    if (!GetAttribValue(At<keys::SyncDataRecording>, inStep, flags) || !inStep) {
        return;
    }
    StartRecording(CreateX5RecordFilename(), OwnSonar);
}

void ControlDevice::StopLogging()
{
    loggerRunning = false;
    bool inStep = false;
    unsigned flags = 0;
    if (GetAttribValue(At<keys::SyncDataRecording>, inStep, flags) && inStep) {
        SendRemote(records::StopRecording.Id(), {}, OwnSonar);
    }
}

void ControlDevice::RequestOnOffDataRecording(CAttributeMap* request, AttributeKey const& key)
{
    int recording = 0;
    if (!Read(*request, key, recording)) {
        return;
    }
    if (recording != 0) {
        StartRecording(CString(), Processor);
    } else {
        SendRemote(records::StopRecording.Id(), {}, Processor);
    }
    EchoMap echo;
    echo.Tell(key, recording);
    Report(echo.Tree(), commands::RequestOnOffDataRecording.echoFlags);
}

void ControlDevice::RequestSyncDataRecording(CAttributeMap* request)
{
    bool inStep = false;
    if (!Read(*request, At<keys::SyncDataRecording>, inStep)) {
        return;
    }
    // The sonar is brought to the logger's state; leaving the step changes nothing.
    if (inStep && loggerRunning) {
        StartRecording(CreateX5RecordFilename(), OwnSonar);
    } else if (inStep) {
        SendRemote(records::StopRecording.Id(), {}, OwnSonar);
    }
    EchoMap echo;
    echo.Tell(At<keys::SyncDataRecording>, inStep);
    Report(echo.Tree(), commands::RequestSyncDataRecording.echoFlags);
}
