// What a vessel tells of itself and of its sonars beside their attributes: its time, who commands, how connections are.
#pragma once

#include "authority/lease.h"
#include "authority/vessel_time.h"

#include <VordalAttributesR/CAttributeMap.h>

#include <optional>
#include <string>

namespace qx5::authority {

/// As metrics "Vessel Time/Run" and "Vessel Time/Seconds" of the node, each second. The run is told as the Int64 of the
/// same bits.
CAttributeMap TreeOf(VesselTime const& time);
/// Nothing when the metrics told of a node do not have it.
std::optional<VesselTime> VesselTimeIn(CAttributeMap const& reserved);

/// As metrics "Lease/Holder", "Since", "Until", "Asker" and "AnswerBy" of the device: an empty text is nobody, a time
/// of 0 none. Added to what else is told of the device.
void AddLease(CAttributeMap& reserved, LeaseNews const& news);
/// Without sonar and number of the change; of nobody when the metrics told of a device do not have it.
LeaseNews LeaseIn(CAttributeMap const& reserved);

/// Between a sonar and its vessel.
enum class SonarLink : std::uint8_t
{
    Connected,
    NoAnswer, ///< never connected, or it should ping and tells nothing
    Lost,
};
/// "connected", "no answer", "lost".
std::string_view ToText(SonarLink link);
/// As metrics "Link/State" and "Link/Reason" of the device.
void AddLink(CAttributeMap& reserved, SonarLink link, std::string const& reason);
/// Nothing when that was not told.
std::optional<SonarLink> LinkIn(CAttributeMap const& reserved);
/// In one line; empty when there is nothing to say.
std::string LinkReasonIn(CAttributeMap const& reserved);

/// All that is told of a device beside its attributes.
struct SonarFacts
{
    LeaseNews lease;
    std::optional<SonarLink> link; ///< nothing when that is not told
    std::string linkReason;

    bool operator==(SonarFacts const&) const = default;
};
CAttributeMap TreeOf(SonarFacts const& facts);
SonarFacts SonarFactsIn(CAttributeMap const& reserved);

} // namespace qx5::authority
