// A simulated pan-and-tilt unit that carries a sonar head.
#include "reference_host/core/pan_tilt_unit.h"

#include "reference_host/attributes/tree_merge.h"
#include "reference_host/core/host.h"

#include <VordalAttributesR/AttributeConstants.h>
#include <VordalBaseR/CDataInfo.h>
#include <VordalDataBlocksR/CDataBlock.h>
#include <protocol/records/pan_tilt_hoist.h>

#include <utility>

namespace vordal {
namespace {

constexpr unsigned short scanStateItem = 253;
constexpr unsigned short hoistGroup = 117;
constexpr int multibeamComputationType = 1011;

/// The commanded values in the hoist's block, all 0: raise or lower, roll, rotate, tilt.
CDataBlock HoistBlock()
{
    CDataBlock block;
    block.AddItem(259, DATA_INT32, {}, 4, 0);
    block.AddItem(258, DATA_DOUBLE, {}, 8, 0);
    block.AddItem(251, DATA_DOUBLE, {}, 8, 0);
    block.AddItem(252, DATA_DOUBLE, {}, 8, 0);
    return block;
}

CVordalDataInfo WholeStream(CDataId const& id)
{
    return CVordalDataInfo(id, 65535, 65535);
}

} // namespace

PanTiltUnit::PanTiltUnit(Host& host, CDataId const& computation, CDataId const& stream)
    : m_host(host), m_computation(computation), m_stream(stream)
{
    ComputationSetup setup;
    setup.dataId = computation;
    setup.stream = stream;
    m_host.AddComputation(std::move(setup));
    m_host.Buffer(stream);
}

void PanTiltUnit::Carry(BaseDevice& sonar, CDataId const& multibeamComputation)
{
    CAttributeMap mounting;
    mounting.Add(AttributeKey(qx5::protocol::keys::MountedOnPanAndTilt.text), CVordalInt(1), 0);
    mounting.Add(ATTR_PANTILTPOS_DATAID, WholeStream(m_computation), 0);
    m_host.MergeDecoded(sonar, mounting);

    ComputationSetup setup;
    setup.dataId = multibeamComputation;
    setup.type = multibeamComputationType;
    setup.attributes.Add(ATTR_MBEAMDATAID, WholeStream(sonar.GetDataId()), 0);
    m_host.AddComputation(std::move(setup));

    m_host.PutBlock(HoistStream(sonar.GetDataId()), HoistBlock());
}

void PanTiltUnit::SetScanning(bool scanning)
{
    m_scanning = scanning;
    Publish();
}

void PanTiltUnit::Publish()
{
    CDataBlock block;
    block.SetTime(m_host.Now());
    unsigned char const state = m_scanning ? 1 : 0;
    block.AddItem(scanStateItem, DATA_BYTE, {&state, 1}, 1, 0);
    m_host.PutBlock(m_stream, block);
}

CDataId PanTiltUnit::HoistStream(CDataId const& sonar)
{
    CDataId stream = sonar;
    stream.SetGroupId(hoistGroup);
    stream.SetDeviceNum(1);
    return stream;
}

} // namespace vordal
