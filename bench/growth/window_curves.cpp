// How the costs of the operator's window grow with what it lists.
#include "curve.h"

#include "bench/measure.h"
#include "bench/stage.h"
#include "reference_host/window/device_panel.h"

#include <QApplication>

#include <vector>

namespace bench {

std::vector<Curve> WindowCurves()
{
    std::vector<Curve> curves;
    curves.push_back({"device-list-status",
                      "the status of each of N listed devices changed, and what is seen of it painted",
                      {64, 256, 1000, 4000},
                      1.0,
                      {{256, 16e6}, {1000, 60e6}},
                      [](std::size_t size, std::vector<double>& nanoseconds) {
                          EnsureToolkit();
                          vordal::ListedVessel vessel;
                          vessel.name = QStringLiteral("Vessel");
                          for (std::size_t i = 0; i < size; ++i) {
                              CDataId const id(1, 78, static_cast<unsigned short>(i + 1), 1);
                              vessel.devices.push_back({id, QStringLiteral("Sonar %1").arg(i), {}, false});
                          }
                          vordal::DevicePanel panel({vessel});
                          panel.resize(300, 500);
                          panel.show();
                          QApplication::processEvents();
                          auto state = vordal::LinkState::Connecting;
                          Time(3, 1, nanoseconds, [&] {
                              state = state == vordal::LinkState::Connecting ? vordal::LinkState::Connected
                                                                             : vordal::LinkState::Connecting;
                              for (vordal::ListedDevice const& device : vessel.devices) {
                                  panel.SetStatus(device.id, {state, {}, {}});
                              }
                              QApplication::processEvents();
                          });
                      }});
    return curves;
}

} // namespace bench
