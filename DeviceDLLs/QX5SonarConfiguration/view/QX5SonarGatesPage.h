// The page "Sonar Gates": the intervals of depth and range that the sonar takes into account.
#pragma once

#include "ScrollSlider.h"

#include <VordalBaseR/CString.h>
#include <VordalMfc0R/CColorEdit.h>

#include <QWidget>

#include <array>
#include <memory>
#include <vector>

class CAttributeMap;
class QX5SonarConfigurationView;

namespace Ui {
class QX5SonarGatesPage;
}

/// The limits are typed and take effect by Apply, forced into what the sonar can do; all else takes effect at once. A
/// refresh overwrites what was typed and not applied. Window thread.
class QX5SonarGatesPage : public QWidget
{
public:
    QX5SonarGatesPage(QX5SonarConfigurationView& view, QWidget* parent);
    ~QX5SonarGatesPage() override;

    /// Takes the least values and openings of the gates from the settings of the enumerator.
    void ApplyLimits(CAttributeMap const& tree, int deviceEnum);
    void RefreshControls(CAttributeMap const& tree);
    /// Appends the keys whose change concerns this page.
    static void AddSubscribedKeys(std::vector<CString>& keys);

private:
    // The rest is the page's own.
    QX5SonarConfigurationView& m_view;
    std::unique_ptr<Ui::QX5SonarGatesPage> m_ui;
};
