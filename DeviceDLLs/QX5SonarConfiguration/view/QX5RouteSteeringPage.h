// The page "Sonar Steering": the control panel of the computation that steers the sonar's swath.
#pragma once

#include "ScrollSlider.h"

#include <VordalBaseR/CString.h>
#include <VordalConfigureR/FileTypeCombo.h>

#include <QWidget>

#include <memory>

namespace qx5 {
class PageDevice;
}
namespace Ui {
class QX5RouteSteeringPage;
}

/// Sends nothing to the device: it edits the computation's attributes through the view. Window thread.
class QX5RouteSteeringPage : public QWidget
{
public:
    QX5RouteSteeringPage(qx5::PageDevice& device, QWidget* parent);
    ~QX5RouteSteeringPage() override;

    /// Gives the sliders their limits again.
    void SetSliderLimits();
    /// What the computation says: see steering_keys.h; `difference` in degrees.
    void UpdateSteering(int sonarSteering, int routeSource, CString const& routeName, int mode, int pipeSteering,
                        int delay, double difference);

private:
    void OnRouteSteeringClicked();
    void OnPipeSteeringClicked();
    void OnRouteChosen();
    void OnDifferenceScrolled(qx5::ScrollKind kind, int position);
    void OnDelayScrolled(qx5::ScrollKind kind, int position);
    void ShowDifference(int tenths);
    void ShowDelay(int delay);
    /// The second number of what the active vessel says of pipe detection; 0 where it says nothing.
    static int ReadPipeDetectionLevel();
    /// Route steering and pipe steering exclude each other on the screen; the stored pipe setting survives.
    void ShowPipeSteering(bool routeSteering);

    qx5::PageDevice& m_device;
    std::unique_ptr<Ui::QX5RouteSteeringPage> m_ui;
    FileTypeCombo m_routes;
    int m_pipeRouteSonarSteering = 0;
    int m_pipeDetectionLevel = 0;
};
