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
class QLabel;
class QLineEdit;
class QString;

namespace qx5 {
class PageDevice;
}
namespace Ui {
class QX5SonarGatesPage;
}

/// The limits are typed and take effect by Apply, forced into what the sonar can do; all else takes effect at once. A
/// refresh overwrites what was typed and not applied. Window thread.
class QX5SonarGatesPage : public QWidget
{
public:
    QX5SonarGatesPage(qx5::PageDevice& device, QWidget* parent);
    ~QX5SonarGatesPage() override;

    /// Takes the least values and openings of the gates from the settings of the enumerator.
    void ApplyLimits(CAttributeMap const& tree, int deviceEnum);
    void RefreshControls(CAttributeMap const& tree);
    /// Appends the keys whose change concerns this page.
    static void AddSubscribedKeys(std::vector<CString>& keys);

private:
    /// An interval in metres.
    struct Interval
    {
        double least;
        double greatest;
    };

    /// Two fields and what the sonar can do between them.
    struct Gate
    {
        double minValue = 0.1F; ///< m; single precision, widened
        double minWindow = 2.0; ///< m
        /// Whether the last edit was in the field of the minimum.
        bool minEdited = false;
        QLineEdit* minField = nullptr;
        QLineEdit* maxField = nullptr;
        CColorEdit minEdit;
        CColorEdit maxEdit;
    };

    /// What a slider's label shows of a value.
    using TextOf = QString (*)(double value);

    void ConnectGate(Gate& gate, QLineEdit* minField, QLineEdit* maxField);
    void ConnectControls();
    void OnEdited(Gate& gate, CColorEdit& edit, bool minimum);
    void ShowLimits(Gate& gate, double least, double greatest);
    void ResetEditState();
    void Apply();
    /// The gate's numbers, brought within what the sonar can do. The field that was touched last holds as far as it
    /// can, the other one gives way.
    Interval LimitedInterval(Gate const& gate, bool keepMinimum) const;
    void OnGatesClicked();
    void OnSliderScrolled(qx5::ScrollSlider& slider, QLabel& label, TextOf text, CString const& key,
                          qx5::ScrollKind kind, int position);
    static void ShowValue(qx5::ScrollSlider& slider, QLabel& label, TextOf text, int least, int greatest, double value);

    qx5::PageDevice& m_device;
    std::unique_ptr<Ui::QX5SonarGatesPage> m_ui;
    int m_deviceEnum = 0;
    Gate m_depthGate;
    Gate m_rangeGate;
    Gate m_adaptiveGate;
    /// Greatest range at the present sample rate, in metres: no gate reaches beyond it.
    double m_maxRange = 0.0;
    bool m_refreshing = false;
};
