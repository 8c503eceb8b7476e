// What a sonar has told so far, for hosts that come later.
#pragma once

#include "reference_host/attributes/tree_account.h"

#include <VordalAttributesR/CAttributeMap.h>

#include <protocol/frame.h>

#include <cstdint>
#include <map>
#include <span>
#include <utility>
#include <vector>

namespace qx5::cli {

/// Of each unit that frames name (device id and enumerator) its attributes as told so far, up to what a host takes of
/// one sonar; of more units than a sonar has nothing. One thread.
class ToldSoFar
{
public:
    /// Of other records than attribute trees nothing is kept.
    void Take(std::span<unsigned char const> frame);
    /// What the sonar as a whole had before.
    void Begin(CAttributeMap const& tree);
    /// All of it as frames, one behind the other; `time` in seconds since 1970 UTC. Empty where nothing was told.
    std::vector<unsigned char> Frames(double time) const;

private:
    static constexpr std::size_t GreatestUnits = 64;
    static constexpr vordal::TreeLimits ToldLimits{20'000, std::uint32_t{4} << 20};

    struct Unit
    {
        CAttributeMap tree;
        vordal::TreeAccount account{ToldLimits};
    };
    void Merge(protocol::Target from, CAttributeMap const& tree);

    std::map<std::pair<std::int32_t, std::int32_t>, Unit> m_units;
};

} // namespace qx5::cli
