// The page "Tracker": options that are requests of their own, and two numbers that wait for Apply.
#include "QX5SonarTrackerPage.h"

#include "page_controls.h"
#include "page_device.h"
#include "sonar_settings.h"
#include "ui_QX5SonarTrackerPage.h"

#include <VordalAttributesR/CVordalType.h>

#include <protocol/records/all.h>

namespace keys = qx5::protocol::keys;

using qx5::At;
using qx5::ReadValue;

QX5SonarTrackerPage::QX5SonarTrackerPage(qx5::PageDevice& device, QWidget* parent)
    : QWidget(parent), m_device(device), m_ui(std::make_unique<Ui::QX5SonarTrackerPage>())
{
    m_ui->setupUi(this);
    m_fixedSwathWidth.Attach(m_ui->swathWidthField);
    m_maxCoverageAngle.Attach(m_ui->maxCoverageField);
    UpdateData(CDataExchange::Direction::ToControls);
    SetDialogUnits(this);
    ConnectField(m_fixedSwathWidth);
    ConnectField(m_maxCoverageAngle);
    connect(m_ui->enableTrackerBox, &QCheckBox::clicked, this, [this] { OnTrackerClicked(); });
    ConnectOption(m_ui->trackRangeBox, At<keys::x5TrackerRangeEnabled>, &Fields::trackRange);
    ConnectOption(m_ui->trackPowerAndGainBox, At<keys::x5TrackerPowerGainEnabled>, &Fields::trackPowerGain);
    ConnectOption(m_ui->trackPulseLengthBox, At<keys::x5TrackerPulseLengthEnabled>, &Fields::trackPulseLength);
    ConnectOption(m_ui->trackCoverageBox, At<keys::x5TrackerCoverageAngleEnabled>, &Fields::coverageAngleEnabled);
    ConnectOption(m_ui->fixedSwathBox, At<keys::x5TrackerFixedSwathEnabled>, &Fields::fixedSwathEnabled);
    ConnectOption(m_ui->limitCoverageBox, At<keys::x5TrackerLimitCoverage>, &Fields::limitCoverage);
    connect(m_ui->applyButton, &QPushButton::clicked, this, [this] { Apply(); });
    ResetEditState();
}

QX5SonarTrackerPage::~QX5SonarTrackerPage() = default;

void QX5SonarTrackerPage::ConnectField(CColorEdit& edit)
{
    edit.SetEditHandler([this, &edit] {
        edit.SetBackColor(255, 255, 0);
        m_ui->applyButton->setEnabled(true);
    });
    edit.SetApplyHandler([this] { Apply(); });
}

void QX5SonarTrackerPage::ConnectOption(QCheckBox* box, AttributeKey const& key, bool Fields::*field)
{
    connect(box, &QCheckBox::clicked, this, [this, key, field] {
        UpdateData(CDataExchange::Direction::FromControls);
        CAttributeMap values;
        values.Append(new CAttributeMap(key, VordalTypeCreator::MakeValue(m_fields.*field)));
        m_device.SendRequest(values);
    });
}

void QX5SonarTrackerPage::AddSubscribedKeys(std::vector<CString>& keys)
{
    for (auto const* key :
         {&keys::x5SystemMode, &keys::x5TrackerRangeEnabled, &keys::x5TrackerPowerGainEnabled,
          &keys::x5TrackerPulseLengthEnabled, &keys::x5TrackerCoverageAngleEnabled, &keys::x5TrackerFixedSwathEnabled,
          &keys::x5TrackerFixedSwathWidth, &keys::x5TrackerLimitCoverage, &keys::x5TrackerMaxCoverageAngle}) {
        keys.emplace_back(key->text);
    }
}

void QX5SonarTrackerPage::RefreshControls(CAttributeMap const& tree)
{
    m_fields.trackerEnabled = qx5::IsTracking(tree);
    m_fields.trackRange = ReadValue<keys::x5TrackerRangeEnabled>(tree, false);
    m_fields.trackPowerGain = ReadValue<keys::x5TrackerPowerGainEnabled>(tree, false);
    m_fields.trackPulseLength = ReadValue<keys::x5TrackerPulseLengthEnabled>(tree, false);
    m_fields.coverageAngleEnabled = ReadValue<keys::x5TrackerCoverageAngleEnabled>(tree, false);
    m_fields.fixedSwathEnabled = ReadValue<keys::x5TrackerFixedSwathEnabled>(tree, false);
    m_fields.fixedSwathWidth = ReadValue<keys::x5TrackerFixedSwathWidth>(tree, 0.0);
    m_fields.limitCoverage = ReadValue<keys::x5TrackerLimitCoverage>(tree, false);
    m_fields.maxCoverageAngle = ReadValue<keys::x5TrackerMaxCoverageAngle>(tree, 0.0);
    UpdateData(CDataExchange::Direction::ToControls);
    // Last: the exchange tells of what was typed and is gone.
    ResetEditState();
}

void QX5SonarTrackerPage::UpdateData(CDataExchange::Direction direction)
{
    CDataExchange const exchange(direction);
    DDX_bCheck(exchange, m_ui->enableTrackerBox, m_fields.trackerEnabled);
    DDX_bCheck(exchange, m_ui->trackRangeBox, m_fields.trackRange);
    DDX_bCheck(exchange, m_ui->trackPowerAndGainBox, m_fields.trackPowerGain);
    DDX_bCheck(exchange, m_ui->trackPulseLengthBox, m_fields.trackPulseLength);
    DDX_bCheck(exchange, m_ui->trackCoverageBox, m_fields.coverageAngleEnabled);
    DDX_bCheck(exchange, m_ui->fixedSwathBox, m_fields.fixedSwathEnabled);
    DDX_bCheck(exchange, m_ui->limitCoverageBox, m_fields.limitCoverage);
    DDX_FmtDouble(exchange, m_ui->swathWidthField, m_fields.fixedSwathWidth, FORMAT_DISTANCE, 0);
    DDX_FmtDouble(exchange, m_ui->maxCoverageField, m_fields.maxCoverageAngle, FORMAT_ANGLE, 0);
}

void QX5SonarTrackerPage::OnTrackerClicked()
{
    UpdateData(CDataExchange::Direction::FromControls);
    CAttributeMap values;
    values.Append(new CAttributeMap(
        At<keys::x5SystemMode>, VordalTypeCreator::MakeValue(m_fields.trackerEnabled ? qx5::SystemModeTracker : 0)));
    m_device.SendRequest(values);
}

void QX5SonarTrackerPage::Apply()
{
    UpdateData(CDataExchange::Direction::FromControls);
    CAttributeMap values;
    values.Append(
        new CAttributeMap(At<keys::x5TrackerFixedSwathWidth>, VordalTypeCreator::MakeValue(m_fields.fixedSwathWidth)));
    values.Append(new CAttributeMap(At<keys::x5TrackerMaxCoverageAngle>,
                                    VordalTypeCreator::MakeValue(m_fields.maxCoverageAngle)));
    m_device.SendRequest(values);
    ResetEditState();
}

void QX5SonarTrackerPage::ResetEditState()
{
    for (auto* edit : {&m_fixedSwathWidth, &m_maxCoverageAngle}) {
        if (edit->HasOwnBackColor()) {
            edit->SetSystemBackColor(SYSTEM_COLOR_CLEAN_FIELD);
        }
    }
    m_ui->applyButton->setEnabled(false);
}
