// The page "Sonar Steering": how its controls stand for the attributes of the computation that steers the swath.
#include "QX5RouteSteeringPage.h"

#include "page_controls.h"
#include "page_device.h"
#include "ui_QX5RouteSteeringPage.h"
#include "value_text.h"
#include <commands/steering_keys.h>

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

QX5RouteSteeringPage::QX5RouteSteeringPage(qx5::PageDevice& device, QWidget* parent)
    : QWidget(parent), m_device(device), m_ui(std::make_unique<Ui::QX5RouteSteeringPage>()),
      m_routes(COMBO_ROUTE_FILES, true)
{
    m_ui->setupUi(this);
    m_ui->pipeSteeringBox->setVisible(false);
    qx5::ReserveWidth(*m_ui->differenceValue, QStringLiteral("5.0\u00B0"));
    qx5::ReserveWidth(*m_ui->delayValue, QStringLiteral("10"));
    qx5::LeaveWheelToPage(*m_ui->routeList);
    m_routes.Attach(m_ui->routeList);
    SetSliderLimits();

    connect(m_ui->routeSteeringBox, &QCheckBox::clicked, this, [this] { OnRouteSteeringClicked(); });
    connect(m_ui->pipeSteeringBox, &QCheckBox::clicked, this, [this] { OnPipeSteeringClicked(); });
    connect(m_ui->activeRouteButton, &QRadioButton::clicked, this, [this] { m_device.SetSteeringRouteSource(0); });
    connect(m_ui->localRouteButton, &QRadioButton::clicked, this, [this] { m_device.SetSteeringRouteSource(1); });
    connect(m_ui->routeList, &QComboBox::activated, this, [this] { OnRouteChosen(); });
    connect(m_ui->horizontalButton, &QRadioButton::clicked, this, [this] { m_device.SetSteeringMode(0); });
    connect(m_ui->flexButton, &QRadioButton::clicked, this, [this] { m_device.SetSteeringMode(1); });
    m_ui->differenceSlider->SetScale([](int tenths) { return tenths * degreesPerStep; }, {}, *m_ui->differenceValue);
    m_ui->delaySlider->SetScale({}, {}, *m_ui->delayValue);
    connect(m_ui->differenceSlider, &ScrollSlider::Scrolled, this, &QX5RouteSteeringPage::OnDifferenceScrolled);
    connect(m_ui->delaySlider, &ScrollSlider::Scrolled, this, &QX5RouteSteeringPage::OnDelayScrolled);
}

QX5RouteSteeringPage::~QX5RouteSteeringPage() = default;

void QX5RouteSteeringPage::SetSliderLimits()
{
    m_ui->differenceSlider->setRange(0, greatestDifference);
    m_ui->delaySlider->setRange(leastDelay, greatestDelay);
}

// What the computation says

void QX5RouteSteeringPage::UpdateSteering(int sonarSteering, int routeSource, CString const& routeName, int mode,
                                          int pipeSteering, int delay, double difference)
{
    m_ui->routeSteeringBox->setChecked(sonarSteering != 0);
    qx5::SetChecked(*m_ui->activeRouteButton, routeSource == 0);
    qx5::SetChecked(*m_ui->localRouteButton, routeSource == 1);
    qx5::SetChecked(*m_ui->horizontalButton, mode == 0);
    qx5::SetChecked(*m_ui->flexButton, mode == 1);

    m_pipeRouteSonarSteering = pipeSteering;
    m_pipeDetectionLevel = ReadPipeDetectionLevel();
    m_ui->pipeSteeringBox->setVisible(m_pipeDetectionLevel > 0);
    ShowPipeSteering(sonarSteering != 0);

    m_routes.SetSelected(routeName);

    int const tenths = Limited(*m_ui->differenceSlider, FloorToInt(difference * 10.0 + 0.5));
    ShowDifference(tenths);
    m_ui->differenceSlider->setValue(tenths);
    int const limitedDelay = Limited(*m_ui->delaySlider, delay);
    ShowDelay(limitedDelay);
    m_ui->delaySlider->setValue(limitedDelay);
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
        m_ui->pipeSteeringBox->setEnabled(!routeSteering);
        m_ui->pipeSteeringBox->setChecked(m_pipeRouteSonarSteering != 0 && !routeSteering);
    }
}

void QX5RouteSteeringPage::ShowDifference(int tenths)
{
    m_ui->differenceValue->setText(FixedText(tenths * degreesPerStep, 1, 2) + QStringLiteral("\u00B0"));
}

void QX5RouteSteeringPage::ShowDelay(int delay)
{
    m_ui->delayValue->setText(QString::number(delay));
}

// What the operator does

void QX5RouteSteeringPage::OnRouteSteeringClicked()
{
    bool const checked = m_ui->routeSteeringBox->isChecked();
    m_device.WriteSteeringAttribute(steering::SonarSteering, VordalTypeCreator::MakeValue(checked ? 1 : 0));
    ShowPipeSteering(checked);
}

void QX5RouteSteeringPage::OnPipeSteeringClicked()
{
    m_pipeRouteSonarSteering = m_ui->pipeSteeringBox->isChecked() ? 1 : 0;
    m_device.WriteSteeringAttribute(steering::PipeRouteSonarSteering,
                                    VordalTypeCreator::MakeValue(m_pipeRouteSonarSteering));
}

void QX5RouteSteeringPage::OnRouteChosen()
{
    m_device.WriteSteeringAttribute(steering::RouteName, VordalTypeCreator::MakeValue(m_routes.GetSelected()));
}

void QX5RouteSteeringPage::OnDifferenceScrolled(ScrollKind kind, int position)
{
    if (kind == ScrollKind::ThumbReleased) {
        return;
    }
    int const tenths = PositionAfter(*m_ui->differenceSlider, kind, position);
    ShowDifference(tenths);
    if (kind == ScrollKind::EndOfScrolling) {
        m_device.WriteSteeringAttribute(steering::PipeRouteSteeringDiff,
                                        VordalTypeCreator::MakeValue(tenths * degreesPerStep));
    }
    m_ui->differenceSlider->setValue(tenths);
}

void QX5RouteSteeringPage::OnDelayScrolled(ScrollKind kind, int position)
{
    if (kind == ScrollKind::ThumbReleased) {
        return;
    }
    int const delay = PositionAfter(*m_ui->delaySlider, kind, position);
    ShowDelay(delay);
    if (kind == ScrollKind::EndOfScrolling) {
        m_device.WriteSteeringAttribute(steering::PipeRouteSteeringDelay, VordalTypeCreator::MakeValue(delay));
    }
    m_ui->delaySlider->setValue(delay);
}
