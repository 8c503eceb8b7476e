// Sonars that ping in turn.
#include "turns_watch.h"

#include "cli/project_parts.h"

#include <VordalAttributesR/CVordalType.h>
#include <protocol/records/shared_keys.h>
#include <vordalhostdllR/DataManager.h>

#include <algorithm>

namespace qx5::cli {

namespace {

constexpr AttributeKey const& pingModeKey = TurnKeys[0];
constexpr AttributeKey const& groupKey = TurnKeys[1];
constexpr AttributeKey deviceIdKey{protocol::keys::DeviceId.text};

std::optional<int> NumberOf(CAttributeMap const& tree, AttributeKey const& key)
{
    int number = 0;
    return tree.FindValue(key).Get(number) ? std::optional(number) : std::nullopt;
}

} // namespace

CAttributeMap TreeOf(CDataId const& device)
{
    CAttributeMap tree;
    DataManager::GetDataManager().GetAttributeMap(device, tree);
    return tree;
}

std::optional<std::int32_t> GroupOf(CAttributeMap const& tree)
{
    return NumberOf(tree, pingModeKey).value_or(0) != 0 ? std::optional(NumberOf(tree, groupKey).value_or(0))
                                                        : std::nullopt;
}

CAttributeMap TurnsOf(std::optional<std::int32_t> group)
{
    CAttributeMap tree;
    tree.Add(pingModeKey, CVordalInt(group ? 1 : 0), 0);
    if (group) {
        tree.Add(groupKey, CVordalInt(*group), 0);
    }
    return tree;
}

void TurnsWatch::Note(CDataId const& sonar)
{
    Forget(sonar);
    auto const tree = TreeOf(sonar);
    if (IsSonar(sonar) && GroupOf(tree)) {
        m_inTurn.push_back({sonar, NumberOf(tree, deviceIdKey)});
    }
}

void TurnsWatch::Forget(CDataId const& sonar)
{
    std::erase_if(m_inTurn, [&](InTurn const& each) { return each.sonar == sonar; });
}

void TurnsWatch::Follow()
{
    bool isAnother = false;
    for (InTurn& each : m_inTurn) {
        auto const told = NumberOf(TreeOf(each.sonar), deviceIdKey);
        if (told && told != each.told) {
            each.told = told;
            isAnother = true;
        }
    }
    if (isAnother) {
        m_host.DiscoverAnew([] {});
    }
}

} // namespace qx5::cli
