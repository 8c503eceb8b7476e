// What a sonar has told so far, for hosts that come later.
#pragma once

#include <VordalAttributesR/CAttributeMap.h>

#include <protocol/frame.h>

#include <cstdint>
#include <map>
#include <span>
#include <utility>
#include <vector>

namespace qx5::cli {

/// Of each unit that frames name (device id and enumerator) its attributes as told so far. One thread.
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
    std::map<std::pair<std::int32_t, std::int32_t>, CAttributeMap> m_trees;
};

} // namespace qx5::cli
