// The page "Tracker": whether the sonar's tracker runs, what it governs and how it treats the swath.
#pragma once

#include <VordalBaseR/CString.h>
#include <VordalMfc0R/CColorEdit.h>
#include <VordalMfc0R/DialogExchange.h>

#include <QWidget>

#include <memory>
#include <vector>

class AttributeKey;
class CAttributeMap;
class QCheckBox;

namespace qx5 {
class PageDevice;
}
namespace Ui {
class QX5SonarTrackerPage;
}

/// Check boxes take effect at once, the two numbers by Apply. Window thread.
class QX5SonarTrackerPage : public QWidget
{
public:
    QX5SonarTrackerPage(qx5::PageDevice& device, QWidget* parent);
    ~QX5SonarTrackerPage() override;

    void RefreshControls(CAttributeMap const& tree);
    /// Appends the keys whose change concerns this page.
    static void AddSubscribedKeys(std::vector<CString>& keys);

private:
    /// What the controls show.
    struct Fields
    {
        bool trackerEnabled = false;
        bool trackRange = false;
        bool trackPowerGain = false;
        bool trackPulseLength = false;
        bool coverageAngleEnabled = false;
        bool fixedSwathEnabled = false;
        bool limitCoverage = false;
        double fixedSwathWidth = 10.0;   ///< m
        double maxCoverageAngle = 140.0; ///< degrees
    };

    void ConnectField(CColorEdit& edit);
    void ConnectOption(QCheckBox* box, AttributeKey const& key, bool Fields::*field);
    void UpdateData(CDataExchange::Direction direction);
    void OnTrackerClicked();
    void Apply();
    void ResetEditState();

    qx5::PageDevice& m_device;
    std::unique_ptr<Ui::QX5SonarTrackerPage> m_ui;
    Fields m_fields;
    CColorEdit m_fixedSwathWidth;
    CColorEdit m_maxCoverageAngle;
};
