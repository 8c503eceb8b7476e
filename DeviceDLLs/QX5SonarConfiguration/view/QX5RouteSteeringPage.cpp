// The page "Sonar Steering": how its controls stand for the attributes of the computation that steers the swath.
#include "QX5RouteSteeringPage.h"

#include "QX5SonarConfigurationView.h"
#include "page_controls.h"
#include "steering_keys.h"
#include "ui_QX5RouteSteeringPage.h"
#include "value_text.h"

#include <VordalAttributesR/CVordalType.h>
#include <VordalConfigureR/CPrsConfiguration.h>
#include <vordalhostdllR/VesselManager.h>

#include <algorithm>
#include <cstdint>
#include <limits>
#include <optional>
#include <string_view>

namespace steering = qx5::steering;

using qx5::FixedText;
using qx5::FloorToInt;
using qx5::PositionAfter;
using qx5::ScrollKind;
using qx5::ScrollSlider;

namespace {

constexpr int greatestDifference = 50; // tenths of a degree
constexpr int leastDelay = 2;
constexpr int greatestDelay = 10;
constexpr double degreesPerStep = 0.1;

/// Takes a whole number from the front of the text: white space, a sign and digits, as C's "%d" does. Beyond 32 bits it
/// saturates.
std::optional<int> TakeNumber(std::wstring_view& text)
{
    text.remove_prefix(std::min(text.find_first_not_of(L" \t\n\v\f\r"), text.size()));
    bool const negative = !text.empty() && text.front() == L'-';
    if (negative || (!text.empty() && text.front() == L'+')) {
        text.remove_prefix(1);
    }
    if (text.empty() || text.front() < L'0' || text.front() > L'9') {
        return std::nullopt;
    }
    constexpr std::int64_t least = std::numeric_limits<int>::min();
    constexpr std::int64_t greatest = std::numeric_limits<int>::max();
    std::int64_t number = 0;
    while (!text.empty() && text.front() >= L'0' && text.front() <= L'9') {
        int const digit = static_cast<int>(text.front() - L'0');
        number = std::clamp(number * 10 + (negative ? -digit : digit), least, greatest);
        text.remove_prefix(1);
    }
    return static_cast<int>(number);
}

/// The second of two numbers with a comma between them; 0 where there are no two.
int SecondNumber(std::wstring_view text)
{
    if (!TakeNumber(text) || text.empty() || text.front() != L',') {
        return 0;
    }
    text.remove_prefix(1);
    return TakeNumber(text).value_or(0);
}

int Limited(ScrollSlider const& slider, int position)
{
    return std::min(std::max(position, slider.minimum()), slider.maximum());
}

} // namespace

QX5RouteSteeringPage::QX5RouteSteeringPage(QX5SonarConfigurationView& view, QWidget* parent)
    : QWidget(parent), m_view(view), m_ui(std::make_unique<Ui::QX5RouteSteeringPage>()),
      m_routes(COMBO_ROUTE_FILES, true)
{
    m_ui->setupUi(this);
    m_ui->id28103->setVisible(false);
    qx5::ReserveWidth(*m_ui->id28100, QStringLiteral("5.0\u00B0"));
    qx5::ReserveWidth(*m_ui->id28102, QStringLiteral("10"));
    qx5::LeaveWheelToPage(*m_ui->id28096);
    m_routes.Attach(m_ui->id28096);
    SetSliderLimits();

    connect(m_ui->id28093, &QCheckBox::clicked, this, [this] { OnRouteSteeringClicked(); });
    connect(m_ui->id28103, &QCheckBox::clicked, this, [this] { OnPipeSteeringClicked(); });
    connect(m_ui->id28094, &QRadioButton::clicked, this, [this] { m_view.SetSteeringRouteSource(0); });
    connect(m_ui->id28095, &QRadioButton::clicked, this, [this] { m_view.SetSteeringRouteSource(1); });
    connect(m_ui->id28096, &QComboBox::activated, this, [this] { OnRouteChosen(); });
    connect(m_ui->id28097, &QRadioButton::clicked, this, [this] { m_view.SetSteeringMode(0); });
    connect(m_ui->id28098, &QRadioButton::clicked, this, [this] { m_view.SetSteeringMode(1); });
    connect(m_ui->id28099, &ScrollSlider::Scrolled, this, &QX5RouteSteeringPage::OnDifferenceScrolled);
    connect(m_ui->id28101, &ScrollSlider::Scrolled, this, &QX5RouteSteeringPage::OnDelayScrolled);
}

QX5RouteSteeringPage::~QX5RouteSteeringPage() = default;

void QX5RouteSteeringPage::SetSliderLimits()
{
    m_ui->id28099->setRange(0, greatestDifference);
    m_ui->id28101->setRange(leastDelay, greatestDelay);
}

// What the computation says

void QX5RouteSteeringPage::UpdateSteering(int sonarSteering, int routeSource, CString const& routeName, int mode,
                                          int pipeSteering, int delay, double difference)
{
    m_ui->id28093->setChecked(sonarSteering != 0);
    qx5::SetChecked(*m_ui->id28094, routeSource == 0);
    qx5::SetChecked(*m_ui->id28095, routeSource == 1);
    qx5::SetChecked(*m_ui->id28097, mode == 0);
    qx5::SetChecked(*m_ui->id28098, mode == 1);

    m_pipeRouteSonarSteering = pipeSteering;
    m_pipeDetectionLevel = ReadPipeDetectionLevel();
    m_ui->id28103->setVisible(m_pipeDetectionLevel > 0);
    ShowPipeSteering(sonarSteering != 0);

    m_routes.SetSelected(routeName);

    int const tenths = Limited(*m_ui->id28099, FloorToInt(difference * 10.0 + 0.5));
    ShowDifference(tenths);
    m_ui->id28099->setValue(tenths);
    int const limitedDelay = Limited(*m_ui->id28101, delay);
    ShowDelay(limitedDelay);
    m_ui->id28101->setValue(limitedDelay);
}

int QX5RouteSteeringPage::ReadPipeDetectionLevel()
{
    auto const* const vessel = VesselManager::GetVesselManager().GetActiveVesselPtr();
    auto const* const configuration = vessel != nullptr ? vessel->GetConfiguration() : nullptr;
    CString text;
    if (configuration == nullptr ||
        !configuration->GetItem(steering::PipeDetectionSection, steering::EnablePipeDetectionItem, text)) {
        return 0;
    }
    return SecondNumber(text);
}

void QX5RouteSteeringPage::ShowPipeSteering(bool routeSteering)
{
    if (m_pipeDetectionLevel != 0) {
        m_ui->id28103->setEnabled(!routeSteering);
        m_ui->id28103->setChecked(m_pipeRouteSonarSteering != 0 && !routeSteering);
    }
}

void QX5RouteSteeringPage::ShowDifference(int tenths)
{
    m_ui->id28100->setText(FixedText(tenths * degreesPerStep, 1, 2) + QStringLiteral("\u00B0"));
}

void QX5RouteSteeringPage::ShowDelay(int delay)
{
    m_ui->id28102->setText(QString::number(delay));
}

// What the operator does

void QX5RouteSteeringPage::OnRouteSteeringClicked()
{
    bool const checked = m_ui->id28093->isChecked();
    m_view.WriteSteeringAttribute(steering::SonarSteering, VordalTypeCreator::MakeValue(checked ? 1 : 0));
    ShowPipeSteering(checked);
}

void QX5RouteSteeringPage::OnPipeSteeringClicked()
{
    m_pipeRouteSonarSteering = m_ui->id28103->isChecked() ? 1 : 0;
    m_view.WriteSteeringAttribute(steering::PipeRouteSonarSteering,
                                  VordalTypeCreator::MakeValue(m_pipeRouteSonarSteering));
}

void QX5RouteSteeringPage::OnRouteChosen()
{
    m_view.WriteSteeringAttribute(steering::RouteName, VordalTypeCreator::MakeValue(m_routes.GetSelected()));
}

void QX5RouteSteeringPage::OnDifferenceScrolled(ScrollKind kind, int position)
{
    if (kind == ScrollKind::ThumbReleased) {
        return;
    }
    int const tenths = PositionAfter(*m_ui->id28099, kind, position);
    ShowDifference(tenths);
    if (kind == ScrollKind::EndOfScrolling) {
        m_view.WriteSteeringAttribute(steering::PipeRouteSteeringDiff,
                                      VordalTypeCreator::MakeValue(tenths * degreesPerStep));
    }
    m_ui->id28099->setValue(tenths);
}

void QX5RouteSteeringPage::OnDelayScrolled(ScrollKind kind, int position)
{
    if (kind == ScrollKind::ThumbReleased) {
        return;
    }
    int const delay = PositionAfter(*m_ui->id28101, kind, position);
    ShowDelay(delay);
    if (kind == ScrollKind::EndOfScrolling) {
        m_view.WriteSteeringAttribute(steering::PipeRouteSteeringDelay, VordalTypeCreator::MakeValue(delay));
    }
    m_ui->id28101->setValue(delay);
}
