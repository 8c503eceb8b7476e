// What a sonar tells of the values that it takes.
#pragma once

#include <VordalAttributesR/CAttributeMap.h>

#include <protocol/record_layout.h>
#include <protocol/value.h>

#include <cstddef>
#include <optional>

namespace qx5::operation {

/// From the least to the greatest number, both included; where one is missing there is no limit.
struct LimitRange
{
    std::optional<double> least;
    std::optional<double> greatest;

    /// A number that stands on a limit is there also when it comes back from the sonar.
    bool Has(double number) const;
};

/// The limits that a device's tree holds of one operation mode. A value; any thread.
class SonarLimits
{
public:
    /// Of a sonar that tells none.
    SonarLimits() = default;

    /// Those that hold once the sonar has what is asked for: operation mode, sample rate, pulse type and mode of the
    /// gain come from `asked` where it has them, at its root, and otherwise from the device's tree.
    SonarLimits(CAttributeMap const& tree, CAttributeMap const& asked);

    /// Whether the sonar tells that it does not take that value of the key. A number that is not finite it never takes.
    bool IsBeyond(protocol::Key const& key, protocol::Value const& value) const;

    /// What the sonar tells that it takes of a key with limits, in the key's unit; of a pair the first or the second
    /// number. Nothing told: no limits.
    LimitRange RangeOf(protocol::Key const& key, std::size_t part = 0) const;
    /// Whether sonars have a way to tell limits of that key.
    static bool HasLimits(protocol::Key const& key);

private:
    CAttributeMap m_tree;
    CAttributeMap m_settings; ///< of the operation mode
    int m_sampleRate = 0;
    int m_pulseType = 0;
    bool m_isGainFixed = false;
};

} // namespace qx5::operation
