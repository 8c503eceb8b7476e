// Sonars that ping in turn, found anew once one of them tells another number.
#pragma once

#include "reference_host/core/host.h"

#include <VordalAttributesR/CAttributeMap.h>
#include <VordalBaseR/CDataId.h>

#include <protocol/settings_keys.h>

#include <array>
#include <cstdint>
#include <optional>
#include <vector>

namespace qx5::cli {

/// What a device's tree says of its turns: whether there are any, and in which group.
inline constexpr std::array TurnKeys{AttributeKey(protocol::keys::PingMode.text),
                                     AttributeKey(protocol::keys::SonarGroupId.text)};

/// A device's tree; empty for one that is not there. Any thread.
CAttributeMap TreeOf(CDataId const& device);

/// The group in which a sonar with that tree pings in turn; none when it pings by itself.
std::optional<std::int32_t> GroupOf(CAttributeMap const& tree);
/// What a device's tree says of its turns.
CAttributeMap TurnsOf(std::optional<std::int32_t> group);

/// Sonars that ping in turn are found by the number that they tell: once it is another one, they are looked for anew.
/// Host thread.
class TurnsWatch
{
public:
    explicit TurnsWatch(vordal::Host& host) : m_host(host) {}

    /// The sonar pings in turn, or does not.
    void Note(CDataId const& sonar);
    void Forget(CDataId const& sonar);
    /// To be called every 50 ms or so.
    void Follow();

private:
    /// With the number that it has told.
    struct InTurn
    {
        CDataId sonar;
        std::optional<int> told;
    };

    vordal::Host& m_host;
    std::vector<InTurn> m_inTurn;
};

} // namespace qx5::cli
