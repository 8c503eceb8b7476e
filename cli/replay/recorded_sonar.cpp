// What a sonar has told so far, for hosts that come later.
#include "recorded_sonar.h"

#include "reference_host/attributes/tree_bytes.h"
#include "reference_host/attributes/tree_merge.h"

#include <protocol/house_records.h>
#include <protocol/tree_codec.h>

#include <stdexcept>
#include <string>

namespace qx5::cli {

void ToldSoFar::Take(std::span<unsigned char const> frame)
{
    auto const view = protocol::ParseFrame(frame);
    if (!view || view->header.recordId != protocol::records::AttributeTree.Id()) {
        return;
    }
    CAttributeMap tree;
    std::string ignored;
    if (vordal::DecodeTree(view->data, protocol::LinkTree, tree, ignored)) {
        Merge({static_cast<std::int32_t>(view->header.deviceId), static_cast<std::int16_t>(view->header.enumerator)},
              tree);
    }
}

void ToldSoFar::Begin(CAttributeMap const& tree)
{
    Merge(protocol::OwnSonar, tree);
}

void ToldSoFar::Merge(protocol::Target from, CAttributeMap const& tree)
{
    auto const place = std::pair(from.deviceId, from.enumerator);
    if (m_units.count(place) != 0 || m_units.size() < GreatestUnits) {
        auto& unit = m_units[place];
        vordal::Merge(unit.tree, tree, unit.account);
    }
}

std::vector<unsigned char> ToldSoFar::Frames(double time) const
{
    std::vector<unsigned char> frames;
    for (auto const& [place, unit] : m_units) {
        try {
            auto const frame = protocol::BuildFrame(protocol::records::AttributeTree.Id(), {place.first, place.second},
                                                    time, vordal::EncodeTree(unit.tree, protocol::LinkTree));
            frames.insert(frames.end(), frame.begin(), frame.end());
        } catch (std::length_error const&) {
            // No sonar tells such a tree; whoever comes later hears of it piece by piece.
        }
    }
    return frames;
}

} // namespace qx5::cli
