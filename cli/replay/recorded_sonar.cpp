// What a sonar has told so far, for hosts that come later.
#include "recorded_sonar.h"

#include "reference_host/attributes/tree_bytes.h"
#include "reference_host/attributes/tree_merge.h"

#include <protocol/house_records.h>
#include <protocol/tree_codec.h>

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
        vordal::Merge(m_trees[{static_cast<std::int32_t>(view->header.deviceId),
                               static_cast<std::int16_t>(view->header.enumerator)}],
                      tree);
    }
}

void ToldSoFar::Begin(CAttributeMap const& tree)
{
    vordal::Merge(m_trees[{protocol::OwnSonar.deviceId, protocol::OwnSonar.enumerator}], tree);
}

std::vector<unsigned char> ToldSoFar::Frames(double time) const
{
    std::vector<unsigned char> frames;
    for (auto const& [unit, tree] : m_trees) {
        auto const frame = protocol::BuildFrame(protocol::records::AttributeTree.Id(), {unit.first, unit.second}, time,
                                                vordal::EncodeTree(tree, protocol::LinkTree));
        frames.insert(frames.end(), frame.begin(), frame.end());
    }
    return frames;
}

} // namespace qx5::cli
