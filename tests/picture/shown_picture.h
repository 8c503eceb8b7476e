// A host with one sonar and a display of its echoes, for tests.
#pragma once

#include "echo_blocks.h"

#include "reference_host/core/host.h"
#include "reference_host/displays/display.h"
#include "tests/reference_host/scripted_device.h"
#include "view/X5SonarPictureView.h"
#include "view/picture_widget.h"

#include <HalvaneX5InterfaceR/X5Keys.h>
#include <VordalAttributesR/AttributeConstants.h>
#include <VordalAttributesR/CVordalType.h>
#include <VordalBaseR/CDataInfo.h>

#include <memory>
#include <stdexcept>
#include <string>
#include <vector>

#include <QWidget>

#include <vordalhostdllR/EntryPoints.h>

namespace picture::test {

inline CDataId StreamOf(CDataId id, unsigned short group)
{
    id.SetGroupId(group);
    return id;
}

/// A sonar as it tells its settings: 75 m, a swath of 120 degrees, all gates on.
inline CAttributeMap SonarTree()
{
    using namespace X5Keys;
    CAttributeMap tree;
    auto const add = [&](AttributeKey const& key, double value) { tree.Add(key, CVordalDouble(value)); };
    add(x5Range, 75.0);
    add(x5CoverageAngle, 120.0);
    add(x5RxSteeringAngle, 0.0);
    add(x5ProjBeamAngleVer, 2.0);
    add(x5ProjBeamAngleHor, -1.5);
    add(GUIMinAngle, -70.0);
    add(GUIMaxAngle, 70.0);
    add(x5MinRangeGate, 20.0);
    add(x5MaxRangeGate, 65.0);
    add(x5MinDepthGate, 25.0);
    add(x5MaxDepthGate, 45.0);
    add(x5DepthGateTilt, 0.0);
    add(x5AGSearchMin, 22.0);
    add(x5AGSearchMax, 50.0);
    for (AttributeKey const& key : {x5RangeFilterEnabled, x5DepthFilterEnabled}) {
        tree.Add(key, CVordalBool(true));
    }
    tree.Add(x5AdaptiveGateEnabled, CVordalBool(false));
    tree.Add(DeviceEnum, CVordalInt(0));
    tree.Add(x5SampleRateSelection, CVordalInt(0));
    CAttributeMap& mode = *tree.Add(x5SonarSettings);
    CAttributeMap& rate = *mode.Add(x5SampleRateSet);
    rate.Add(x5RangeSet, CVordalDoubleList({50.0, 75.0, 100.0, 150.0}));
    rate.Add(x5Range)->Add(x5Max, CVordalDouble(150.0));
    CAttributeMap& steer = *mode.Add(x5BeamSteer);
    steer.Add(x5MinX, CVordalDouble(-10.0));
    steer.Add(x5MaxX, CVordalDouble(10.0));
    for (AttributeKey const& key : {x5RangeGate, x5DepthGate, x5NadirGate}) {
        CAttributeMap& gate = *mode.Add(key);
        gate.Add(x5MinValue, CVordalDouble(0.5));
        gate.Add(x5MinWindow, CVordalDouble(2.0));
    }
    return tree;
}

/// The host calls on this thread, which is its window's, too.
class ShownPicture
{
public:
    explicit ShownPicture(PaneKind kind, QSize size = QSize(900, 600))
    {
        host.SetApplication({.guid = L"test", .mainWindow = true, .lightMode = 1, .displays = {}});
        host.AddVessel({.number = 1, .name = L"Surveyor", .configuration = {}});
        auto made = std::make_unique<vordal::test::Scripted>();
        made->onRequest = [this](CAttributeMap* request) { requests.push_back(*request); };
        device = host.AddDevice(std::move(made), sonar, L"Bow");
        host.ReplaceAttributes(*device, SonarTree());
        RegisterViews();
        InitializeTemplates(host.Application());
        host.SetWindowThread([] {});
        Open(kind, size);
    }
    ShownPicture(ShownPicture const&) = delete;
    ShownPicture& operator=(ShownPicture const&) = delete;
    ~ShownPicture()
    {
        display.reset();
        host.EndWindowThread();
        UnInitializeTemplates();
    }

    void Open(PaneKind kind, QSize size)
    {
        vordal::DisplayContent content;
        content.viewClass = X5SonarPictureView::DisplayName(kind);
        content.attributes.Add(ATTR_DATAID, CVordalDataInfo(sonar, 65535, 65535));
        std::string reason;
        display = vordal::Display::Open(std::move(content), nullptr, reason);
        if (display == nullptr) {
            throw std::runtime_error(reason);
        }
        display->Widget()->resize(size);
        display->Widget()->show();
        display->InitialUpdate();
    }

    void Put(BlockItems const& water) { host.PutBlock(StreamOf(sonar, SONAR_WATER_COLUMN_GROUP), water.Make()); }
    void PutDetections(BlockItems const& bottom)
    {
        host.PutBlock(StreamOf(sonar, SONAR_DETECTIONS_GROUP), bottom.Make());
    }
    void Ping(MadeSeabed const& seabed, std::int32_t number)
    {
        Put(seabed.Water(number));
        PutDetections(seabed.Detections(number));
    }
    void Tell(AttributeKey const& key, CVordalType const& value)
    {
        CAttributeMap tree;
        tree.Add(key, value);
        host.MergeDecoded(*device, tree);
    }

    X5SonarPictureView& View() { return dynamic_cast<X5SonarPictureView&>(*display->View()); }
    PictureWidget& Widget() { return View().Picture(); }
    FanPane& Fan() { return dynamic_cast<FanPane&>(Widget().Content()); }

    CDataId const sonar{1, 78, 1, 1};
    std::vector<CAttributeMap> requests; ///< in the order in which the device got them
    vordal::Host host;
    Device* device = nullptr;
    std::unique_ptr<vordal::Display> display;
};

} // namespace picture::test
