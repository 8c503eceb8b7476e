// The transmit lock, by the tables of the commands.
#include "operation/transmit_lock.h"

#include "operation/action_values.h"
#include "operation/tree_walk.h"

#include <VordalAttributesR/CVordalType.h>
#include <VordalDataBlocksR/BaseDevice.h>
#include <commands/catalogue.h>
#include <protocol/records/all.h>
#include <protocol/settings_keys.h>

#include <algorithm>
#include <array>
#include <optional>
#include <utility>

#include <fmt/format.h>

namespace qx5::operation {

namespace {

namespace keys = protocol::keys;
namespace records = protocol::records;

struct HarmfulRecord
{
    std::uint32_t id;
    LockedAction action;
    std::string_view does;
};

constexpr std::array harmfulRecords{
    HarmfulRecord{records::PingsOn.Id(), LockedAction::Transmit, "switches the pings on"},
    HarmfulRecord{records::Shutdown.Id(), LockedAction::Shutdown, "shuts the sonar down"},
    HarmfulRecord{records::Reboot.Id(), LockedAction::Reboot, "restarts the sonar"},
    HarmfulRecord{records::LoadFactoryParameters.Id(), LockedAction::FactorySettings, "loads the factory settings"},
};

constexpr AttributeKey powerKey{keys::x5Power.text};
constexpr AttributeKey settingsKey{keys::x5SonarSettings.text};
constexpr AttributeKey greatestKey{keys::x5Max.text};

bool IsZero(CVordalType const& value)
{
    int number = 1;
    bool flag = true;
    return (value.Get(number) && number == 0) || (value.Get(flag) && !flag);
}

std::string Named(protocol::Key const& key, CVordalType const& value)
{
    std::string const name = tvcore::ToUtf8(CString(key.text));
    return value.IsEmpty() ? name : name + "=" + ValueText(key.text, &value);
}

/// Whether the command sends that record for a request of the operand, as far as the table tells.
bool Sends(Command const& command, Sending const& sending, Operand const& operand, CVordalType const& value)
{
    bool const isFirst = &operand == &command.operands.front();
    switch (sending.when.kind) {
    case Condition::Kind::Set:
        return !isFirst || !IsZero(value);
    case Condition::Kind::Clear:
        return !isFirst || IsZero(value);
    default:
        return true;
    }
}

void AddHarmsOfRecords(std::vector<Harm>& harms, CAttributeMap const& request)
{
    for (ChainEntry const& row : Chain()) {
        for (Sending const& sending : row.command->sends) {
            auto const harmful = std::find_if(harmfulRecords.begin(), harmfulRecords.end(),
                                              [&](HarmfulRecord const& each) { return each.id == sending.record.id; });
            if (harmful == harmfulRecords.end() || sending.record.carrier != protocol::Carrier::RemoteControl) {
                continue;
            }
            for (Operand const& operand : row.command->operands) {
                auto const* const node = IsRequestable(operand) ? request.GetAttrMap(operand.attribute) : nullptr;
                if (node != nullptr && Sends(*row.command, sending, operand, node->Value())) {
                    harms.push_back(
                        {harmful->action, Named(*operand.key, node->Value()) + " " + std::string(harmful->does)});
                    break;
                }
            }
        }
    }
}

/// The least of the upper limits that the sonar tells for its operation modes.
std::optional<double> FullPower(CAttributeMap const& stored)
{
    std::optional<double> full;
    int const modes = stored.Count(settingsKey);
    for (int i = 0; i < modes; ++i) {
        double greatest = 0.0;
        if (stored.Find(settingsKey, i).Find(powerKey).FindValue(greatestKey).Get(greatest)) {
            full = full ? std::min(*full, greatest) : greatest;
        }
    }
    return full;
}

std::optional<std::string> HarmOfPower(CAttributeMap const& request, CAttributeMap const& stored)
{
    double asked = 0.0;
    CVordalType const& value = request.FindValue(powerKey);
    if (!value.Get(asked)) {
        return std::nullopt;
    }
    // Written so that what is no number counts as harmful.
    if (auto const full = FullPower(stored)) {
        return asked < *full ? std::nullopt : std::optional(Named(keys::x5Power, value) + " is full power");
    }
    double has = 0.0;
    stored.FindValue(powerKey).Get(has);
    return asked <= has ? std::nullopt
                        : std::optional(Named(keys::x5Power, value) +
                                        " is more power than it has, and the sonar does not tell what full power is");
}

} // namespace

std::string_view ToText(LockedAction action)
{
    switch (action) {
    case LockedAction::Transmit:
        return "transmit";
    case LockedAction::Power:
        return "power";
    case LockedAction::Shutdown:
        return "shutdown";
    case LockedAction::Reboot:
        return "reboot";
    case LockedAction::FactorySettings:
        return "factory-settings";
    }
    return "";
}

std::vector<Harm> HarmsOf(CAttributeMap const& request, CAttributeMap const& stored)
{
    std::vector<Harm> harms;
    AddHarmsOfRecords(harms, request);
    if (auto power = HarmOfPower(request, stored)) {
        harms.push_back({LockedAction::Power, *std::move(power)});
    }
    return harms;
}

void TransmitLock::Exempt(CDataId const& sonar, bool isSimulated)
{
    std::lock_guard const lock(m_mutex);
    std::erase(m_exempt, sonar);
    if (isSimulated) {
        m_exempt.push_back(sonar);
    }
}

bool TransmitLock::Admits(BaseDevice& device, CAttributeMap const& request, vordal::RequestOrigin, std::string& reason)
{
    if (!IsLocked()) {
        return true;
    }
    {
        std::lock_guard const lock(m_mutex);
        if (std::find(m_exempt.begin(), m_exempt.end(), device.GetDataId()) != m_exempt.end()) {
            return true;
        }
    }
    CAttributeMap stored;
    device.GetAttributeMap(stored);
    auto const harms = HarmsOf(request, stored);
    if (!harms.empty()) {
        reason = "the transmit lock is on: " + harms.front().text;
    }
    return harms.empty();
}

} // namespace qx5::operation
