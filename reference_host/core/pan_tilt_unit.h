// A simulated pan-and-tilt unit that carries a sonar head: it scans and rests, and its stream tells.
#pragma once

#include <VordalBaseR/CDataId.h>
#include <VordalBaseR/Export.h>

class BaseDevice;

namespace vordal {

class Host;

/// Scans or rests as it is told and publishes its state as a data block, the item 253 of one byte. It comes with what a
/// project has for such a unit: a computation that stands in for the stream, and the hoist's stream, whose block a
/// sonar fills in. Host thread; the host must outlive it.
class VORDAL_API PanTiltUnit
{
public:
    /// The computation's id is of group 1112, of the same vessel as the stream. Adds both to the host.
    PanTiltUnit(Host& host, CDataId const& computation, CDataId const& stream);

    /// Hangs the sonar's head on the unit: writes the attributes that say so into the tree of its multibeam device,
    /// adds the computation that names this device, and an empty block to the hoist's stream. Apply the sonar
    /// afterwards. `multibeamComputation` must be free.
    void Carry(BaseDevice& sonar, CDataId const& multibeamComputation);

    /// Publishes the state from now on: at once, and with each Publish.
    void SetScanning(bool scanning);
    bool IsScanning() const { return m_scanning; }
    void Publish();

    /// The stream that the hoist's commanded values of that sonar are published on.
    static CDataId HoistStream(CDataId const& sonar);

private:
    Host& m_host;
    CDataId const m_computation;
    CDataId const m_stream;
    bool m_scanning = false;
};

} // namespace vordal
