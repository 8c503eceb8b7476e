// The handlers for options around the acquisition of data.
#include "../QX5SonarConfigurationControlDevice.h"
#include "command_values.h"
#include "echo_map.h"
#include "reading.h"
#include <commands/acquisition.h>

using ControlDevice = QX5SonarConfigurationControlDevice;
using namespace qx5;
namespace keys = qx5::protocol::keys;
namespace records = qx5::protocol::records;

void ControlDevice::Request7042Options(CAttributeMap* request)
{
    constexpr Command const& command = commands::Request7042Options;
    if (!MayConcern(request->KeyFilter(), command)) {
        return;
    }
    CommandValues values;
    if (!ReadOperands(*request, Stored(), command, values)) {
        return;
    }
    auto& divisor = std::get<std::int32_t>(values[OperandOf(command, keys::x57042DownsampleDivisor)]);
    if (std::get<std::int32_t>(values[OperandOf(command, keys::x57042DownsampleType)]) != 0 && divisor < 2) {
        divisor = 2;
    }
    protocol::RecordLayout const record = records::Options7042;
    protocol::Payload payload(record.size);
    PackOperands(command, values, record, payload);
    SendRemote(record.id, payload, OwnSonar);

    EchoMap echo;
    for (Operand const& operand : command.operands) {
        echo.TellValue(operand.attribute, values[OperandOf(command, *operand.key)]);
    }
    Report(echo.Tree(), command.echoFlags);
}

void ControlDevice::RequestImageDataSetup(CAttributeMap* request)
{
    int height = 0;
    int bytesPerPixel = 0;
    if (!Read(*request, At<keys::MaxImageHeight>, height) && !Read(*request, At<keys::BytesPerPixel>, bytesPerPixel)) {
        return;
    }
    protocol::RecordLayout const record = records::ImageDataSetup;
    protocol::Payload payload(record.size);
    PackKey(record, keys::MaxImageHeight, height, payload);
    PackKey(record, keys::BytesPerPixel, bytesPerPixel, payload);
    SendRemote(record.id, payload, OwnSonar);

    EchoMap echo;
    if (height != 0) {
        echo.Tell(At<keys::MaxImageHeight>, height);
    }
    if (bytesPerPixel != 0) {
        echo.Tell(At<keys::BytesPerPixel>, bytesPerPixel);
    }
    Report(echo.Tree(), commands::RequestImageDataSetup.echoFlags);
}
