// Frames between host and sonar, taken apart.
#include "cli/sonar_frames.h"

#include "reference_host/attributes/tree_bytes.h"

#include <protocol/frame.h>
#include <protocol/house_records.h>
#include <protocol/tree_codec.h>

#include <string>
#include <utility>

namespace qx5::cli {

std::optional<CAttributeMap> ToldAttributes(std::span<unsigned char const> frame)
{
    auto const view = protocol::ParseFrame(frame);
    if (!view || view->header.recordId != protocol::records::AttributeTree.Id()) {
        return std::nullopt;
    }
    std::string problem;
    CAttributeMap tree;
    return vordal::DecodeTree(view->data, protocol::LinkTree, tree, problem) ? std::optional(std::move(tree))
                                                                             : std::nullopt;
}

std::optional<SonarCommand> CommandOf(std::span<unsigned char const> frame)
{
    auto const view = protocol::ParseFrame(frame);
    auto const command = view ? protocol::ParseRemoteControl(*view) : std::nullopt;
    return command ? std::optional(SonarCommand{command->commandId, command->payload}) : std::nullopt;
}

} // namespace qx5::cli
