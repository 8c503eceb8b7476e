// The frame of a request: the chain of handlers, the scalar path, the path of records that frame themselves.
#include "QX5SonarConfigurationControlDevice.h"

#include "handlers/echo_map.h"
#include "handlers/scalar.h"
#include <VordalBaseR/CExTime.h>
#include <commands/all.h>
#include <commands/chain.h>
#include <protocol/bytes.h>
#include <protocol/frame.h>
#include <protocol/numbers.h>
#include <protocol/pack.h>
#include <protocol/records/all.h>
#include <values/vordal_value.h>

#include <array>
#include <string>
#include <utility>

using ControlDevice = QX5SonarConfigurationControlDevice;
using namespace qx5;
namespace keys = qx5::protocol::keys;
namespace records = qx5::protocol::records;

#define QX5_TABLE(name)                                                                                                \
    static_assert(commands::name.form != Form::Own, "a command that reads in its own way needs a handler by hand");    \
    void ControlDevice::name(CAttributeMap* request)                                                                   \
    {                                                                                                                  \
        Run(*request, commands::name);                                                                                 \
    }
#define QX5_NO_HANDLER(...)
QX5_REQUEST_CHAIN(QX5_TABLE, QX5_NO_HANDLER, QX5_NO_HANDLER, QX5_NO_HANDLER)
#undef QX5_TABLE
#undef QX5_NO_HANDLER

void ControlDevice::HandleRequestMap(CAttributeMap* request)
{
    if (request == nullptr) {
        return;
    }
    // Called by name, row by row: with a table of pointers, calling costs more than finding nothing to do.
#define QX5_HANDLER(name) name(request);
#define QX5_KEYED(name, rowKey) name(request, At<keys::rowKey>);
#define QX5_SCALAR(record, rowKey, rowKind)                                                                            \
    static_assert(FitsScalarPath(records::record, keys::rowKey, rowKind),                                              \
                  "the table of this scalar row's record is not what the row sends: PARM_INT goes with an int key as " \
                  "I32, PARM_FLOAT with a double as F32 (carrier Data for 7600 to 7699, and for these alone), "        \
                  "PARM_ANGLE_PAIR with a pair as two F32 in radians, and the record holds nothing else");             \
    RequestValue(request, static_cast<int>(records::record.Id()), At<keys::rowKey>, (rowKind));
    QX5_REQUEST_CHAIN(QX5_HANDLER, QX5_HANDLER, QX5_KEYED, QX5_SCALAR)
#undef QX5_HANDLER
#undef QX5_KEYED
#undef QX5_SCALAR
}

void ControlDevice::RequestValue(CAttributeMap* request, int recordId, AttributeKey const& key, PARMTYPE kind)
{
    auto const* const asked = std::as_const(*request).GetAttrMap(key, 0);
    if (asked == nullptr) {
        return;
    }
    ScalarShape const shape = ShapeOf(kind);
    protocol::Value value;
    if (!ReadVordal(asked->Value(), shape.kind, value)) {
        return;
    }
    auto const id = static_cast<std::uint32_t>(recordId);
    if (kind == PARM_FLOAT && FramesItself(recordId)) {
        Send76xxRecord(id, protocol::NarrowToFloat(std::get<double>(value)));
    } else {
        protocol::Payload payload(4 * shape.fields.size());
        for (protocol::Field const& field : shape.fields) {
            protocol::PackField(field, value, payload.Bytes());
        }
        SendRemote(id, payload, OwnSonar);
    }
    EchoMap echo;
    echo.TellValue(key, value);
    Report(echo.Tree(), 0);
}

bool ControlDevice::Send76xxRecord(unsigned long recordId, float value)
{
    auto const sonar = SonarIdentity();
    if (!sonar) {
        return false;
    }
    std::array<unsigned char, 4> payload{};
    protocol::PutF32LE(payload, 0, value);
    std::vector<unsigned char> const frame =
        protocol::BuildFrame(static_cast<std::uint32_t>(recordId), *sonar, CExTime::GetCurTime(), payload);
    SendMessageW(std::string(frame.begin(), frame.end()), false);
    return true;
}

std::optional<Target> ControlDevice::SonarIdentity() const
{
    unsigned flags = 0;
    Target sonar{0, -1};
    GetAttribValue(At<keys::DeviceId>, sonar.deviceId, flags);
    if (sonar.deviceId == 0) {
        return std::nullopt;
    }
    GetAttribValue(At<keys::DeviceEnum>, sonar.enumerator, flags);
    bool integratedDualHead = false;
    GetAttribValue(At<keys::x5SystemIDH>, integratedDualHead, flags);
    if (integratedDualHead) {
        sonar.enumerator = 0;
    }
    return sonar;
}
