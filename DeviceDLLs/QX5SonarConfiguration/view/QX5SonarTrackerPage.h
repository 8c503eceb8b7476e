// The page "Tracker": whether the sonar's tracker runs, what it governs and how it treats the swath.
#pragma once

#include <VordalBaseR/CString.h>
#include <VordalMfc0R/CColorEdit.h>

#include <QWidget>

#include <memory>
#include <vector>

class CAttributeMap;
class QX5SonarConfigurationView;

namespace Ui {
class QX5SonarTrackerPage;
}

/// Check boxes take effect at once, the two numbers by Apply. Window thread.
class QX5SonarTrackerPage : public QWidget
{
public:
    QX5SonarTrackerPage(QX5SonarConfigurationView& view, QWidget* parent);
    ~QX5SonarTrackerPage() override;

    void RefreshControls(CAttributeMap const& tree);
    /// Appends the keys whose change concerns this page.
    static void AddSubscribedKeys(std::vector<CString>& keys);

private:
    // The rest is the page's own.
    QX5SonarConfigurationView& m_view;
    std::unique_ptr<Ui::QX5SonarTrackerPage> m_ui;
};
