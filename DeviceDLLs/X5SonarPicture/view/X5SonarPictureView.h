// A display of a sonar's echoes: one picture with a row of controls above it.
#pragma once

#include "pane_kind.h"

#include <VordalBaseR/CDataId.h>
#include <VordalBaseR/CString.h>
#include <VordalMfc0R/CRuntimeClass.h>
#include <VordalMfc0R/CView.h>
#include <VordalSubscriberR/Subscription.h>
#include <vordalhostdllR/CVordalBaseView.h>

#include <QString>

#include <memory>

class NotificationInfo;
class QCheckBox;
class QComboBox;
class QLabel;
class QSpinBox;
class QWidget;
namespace picture {
class PictureWidget;
}

/// Follows the sonar that the host has selected, and the active vessel, as the sonar's own view does. Window thread.
class X5SonarPictureView : public CView
{
public:
    explicit X5SonarPictureView(picture::PaneKind kind);
    ~X5SonarPictureView() override;

    /// The class of that kind's views as the host's registries know it.
    static CRuntimeClass* GetRuntimeClass(picture::PaneKind kind);
    /// By which the host knows that kind's view and template.
    static CString DisplayName(picture::PaneKind kind);

    QWidget* GetWidget() override;
    void OnInitialUpdate() override;
    void OnUpdate(CView* sender, int hint, void const* data) override;

    void SelectDevice(CDataId const& id);
    picture::PictureWidget& Picture() { return *m_picture; }
    /// Writes what the map holds: a name that ends in ".asc" as an ESRI grid of mean depths, in ".png" as it is shown,
    /// one pixel a cell, with a world file ".pgw" beside it. Empty when that is done, otherwise why not, in one line.
    QString SaveMap(QString const& file);

private:
    void MakeControls();
    void AskWhereToSave();
    void TakeChoices();
    /// Among the display's stored attributes, and back from them.
    void StoreChoices();
    void RestoreChoices();
    void ShowChoices();
    void OnSelectedSonarChange(NotificationInfo const* info);
    void OnActiveVesselChange(NotificationInfo const* info);
    void RenameDisplay(CDataId const& id);

    picture::PaneKind const m_kind;
    std::unique_ptr<QWidget> m_widget;
    // Of the widget.
    picture::PictureWidget* m_picture = nullptr;
    QCheckBox* m_freeze = nullptr;
    QCheckBox* m_follow = nullptr;
    QComboBox* m_colours = nullptr;
    QComboBox* m_layer = nullptr; ///< of a map alone
    QLabel* m_saved = nullptr;    ///< of a map alone: what came of saving it
    QSpinBox* m_from = nullptr;
    QSpinBox* m_to = nullptr;
    bool m_hasChosenLevels = false; ///< else they are those of the first echoes

    CVordalBaseView m_baseView;
    CDataId m_sonar;

    // Last, so that they go first: a sink is called with all else in place.
    Subscription m_sonarSelection{Subscription::General};
    Subscription m_vesselSelection{Subscription::ActiveVessel};
};
