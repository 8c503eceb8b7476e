// Pan, tilt, hoist and ray tracer: the handlers, pings only while the unit scans, the hoist's data block.
#include "../QX5SonarConfigurationControlDevice.h"
#include "command_values.h"
#include "reading.h"
#include <commands/pan_tilt_hoist.h>

#include <VordalBaseR/Angles.h>
#include <VordalBaseR/CExTime.h>
#include <VordalBaseR/CVordalUnitCnv.h>
#include <VordalDataBlocksR/BaseDataSource.h>
#include <VordalDataBlocksR/BaseIOHandler.h>
#include <protocol/bytes.h>
#include <protocol/records/basic.h>
#include <vordalhostdllR/DataManager.h>

#include <algorithm>
#include <array>

using ControlDevice = QX5SonarConfigurationControlDevice;
using namespace qx5;
namespace keys = qx5::protocol::keys;
namespace records = qx5::protocol::records;

namespace {

/// Item of the pan-and-tilt stream: not 0 while the unit scans.
constexpr unsigned short scanStateItem = 253;

/// The stream that the hoist's values are published on, by two fields of the device's id.
constexpr unsigned short hoistGroup = 117;
constexpr unsigned short hoistDeviceNumber = 1;

/// One item of the hoist's block with its value as it lies there, little-endian.
struct HoistItem
{
    unsigned short item;
    unsigned short type;
    unsigned int size;
    std::array<unsigned char, 8> value;
};

HoistItem WholeNumber(unsigned short item, int value)
{
    HoistItem row{item, DATA_INT32, 4, {}};
    protocol::PutU32LE(row.value, 0, static_cast<std::uint32_t>(value));
    return row;
}

/// The block holds what the attribute says divided by the factor, unlike the record, which multiplies by it.
HoistItem Angle(unsigned short item, double value)
{
    HoistItem row{item, DATA_DOUBLE, 8, {}};
    protocol::PutF64LE(row.value, 0, value / D_TO_R);
    return row;
}

/// Stores the value in the block's item of that number. Left alone: an item that is missing, of another type, or
/// without data.
void StoreItem(CDataBlock& block, HoistItem const& row)
{
    block.EnsureUnique();
    unsigned short index = 0;
    if (!block.LookUp(row.item, ADDR_FIRST_OF_ITEM, index)) {
        return;
    }
    CDataItem* item = block.GetItemForWrite(index);
    if (item->type != row.type) {
        return;
    }
    if (item->size != row.size) {
        if (!block.SetItemSize(index, row.size)) {
            return;
        }
        item = block.GetItemForWrite(index);
    }
    if (item->data == nullptr) {
        return;
    }
    auto* const data = static_cast<unsigned char*>(item->data);
    std::copy_n(row.value.begin(), row.size, data);
    item->status = 0;
}

/// Every device on the port. Null and empty places give nothing.
template <typename Visit>
void ForEachDevice(BaseIOHandler const* port, Visit const& visit)
{
    if (port == nullptr) {
        return;
    }
    for (int i = 0; i < port->GetDeviceCount(); ++i) {
        if (BaseDevice* const device = port->GetDevice(i)) {
            visit(*device);
        }
    }
}

/// Whether the host is to miss the data of the device when none come.
void MissData(BaseDevice& device, bool miss)
{
    if (auto* const supervised = dynamic_cast<Device*>(&device)) {
        supervised->DisableTimeOut(!miss);
    }
}

/// So that after a pause everything begins anew: what was received before it counts no more.
void BeginAnew(BaseDevice& device, double time)
{
    device.SetOutputStat(time, 0);
    if (BaseDataSource* const buffer = device.GetBuffer()) {
        buffer->Reset();
    }
    DataManager& data = DataManager::GetDataManager();
    unsigned short const vessel = device.GetDataId().GetVessel();
    for (int i = 0; i < data.GetCompsCount(vessel); ++i) {
        if (Compform* const computation = data.GetComputation(i, vessel)) {
            computation->ResetDataSource();
        }
    }
    MissData(device, true);
}

} // namespace

void ControlDevice::RequestRaytracerSetupMode(CAttributeMap* request)
{
    constexpr Command const& command = commands::RequestRaytracerSetupMode;
    int mode = 0;
    double range = 0.0;
    double depth = 0.0;
    double tilt = 0.0;
    if (!Read(*request, At<keys::RaytracerMode>, mode) || !Read(*request, At<keys::RaytracerManualRange>, range) ||
        !Read(*request, At<keys::RaytracerManualDepth>, depth) ||
        !Read(*request, At<keys::RaytracerManualTilt>, tilt)) {
        return;
    }
    protocol::RecordLayout const record = records::RaytracerSetup;
    protocol::Payload payload(record.size);
    PackKey(record, keys::RaytracerMode, mode, payload);
    PackKey(record, keys::RaytracerManualDepth, depth, payload);
    PackKey(record, keys::RaytracerManualRange, unitConverter->ConvertFromUnit(UNIT_DISTANCE, range), payload);
    PackKey(record, keys::RaytracerManualTilt, tilt, payload);
    Send(record, payload, command.sends.front().target);
}

void ControlDevice::OnPanAndTiltUpdate()
{
    if (!pingOnlyDuringScan || panTiltBuffer == nullptr ||
        !panTiltBuffer->ReadBlock(panTiltBlock, DATA_ACCESS_LATEST)) {
        return;
    }
    unsigned short index = 0;
    if (panTiltBlock.LookUp(scanStateItem, ADDR_FIRST_OF_ITEM, index)) {
        CDataItem const* const item = panTiltBlock.GetItem(index);
        if (item->type == DATA_BYTE && item->data != nullptr && item->size == 1) {
            panTiltScanning = *static_cast<unsigned char const*>(item->data) != 0;
        }
    }

    // By the level of the two states, not by a change of one: as long as they disagree every update acts.
    int pings = 0;
    Read(Stored(), At<keys::x5PingOnOffState>, pings);
    bool const pinging = pings != 0;
    if (panTiltScanning == pinging) {
        return;
    }
    CAttributeMap request;
    request.Add(At<keys::x5PingOnOffState>, CVordalInt(panTiltScanning ? 1 : 0));
    RequestPingOnOff(&request);

    if (panTiltScanning) {
        double const time = CExTime::GetCurTime();
        ForEachDevice(m_port, [time](BaseDevice& device) { BeginAnew(device, time); });
    } else {
        ForEachDevice(m_port, [](BaseDevice& device) { MissData(device, false); });
    }
}

void ControlDevice::OnHoistDataChange()
{
    CAttributeMap attributes;
    if (!GetAttributeMap(attributes)) {
        return;
    }
    int raiseLower = 0;
    double roll = 0.0;
    double rotate = 0.0;
    double tilt = 0.0;
    Read(attributes, At<keys::CmdRaiseLower>, raiseLower);
    Read(attributes, At<keys::CmdRoll>, roll);
    Read(attributes, At<keys::CmdRotate>, rotate);
    Read(attributes, At<keys::CmdTilt>, tilt);

    CDataId stream = m_dataId;
    stream.SetGroupId(hoistGroup);
    stream.SetDeviceNum(hoistDeviceNumber);
    BaseDataSource* const buffer = DataManager::GetDataManager().FindDatablockBuffer(stream, false);
    if (buffer == nullptr) {
        return;
    }
    CDataBlock block;
    buffer->ReadCurrentBlock(block);
    block.SetTime(CExTime::GetCurTime());
    block.SetStatus(0);
    for (HoistItem const& row :
         {WholeNumber(259, raiseLower), Angle(258, roll), Angle(251, rotate), Angle(252, tilt)}) {
        StoreItem(block, row);
    }
    buffer->StoreBlock(block);
    buffer->AnnounceBlock();
}
