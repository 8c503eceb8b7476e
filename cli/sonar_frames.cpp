// Frames between host and sonar, taken apart.
#include "cli/sonar_frames.h"

#include "reference_host/link/tree_transfer.h"

#include <protocol/frame.h>
#include <protocol/house_records.h>

#include <string>

namespace qx5::cli {

std::optional<CAttributeMap> ToldAttributes(std::span<unsigned char const> frame)
{
    auto const view = protocol::ParseFrame(frame);
    if (!view || view->header.recordId != protocol::records::AttributeTree.Id()) {
        return std::nullopt;
    }
    std::string problem;
    auto const nodes = protocol::DecodeTree(view->data, problem);
    return nodes ? std::optional(vordal::ToAttributeMap(*nodes)) : std::nullopt;
}

std::optional<SonarCommand> CommandOf(std::span<unsigned char const> frame)
{
    auto const view = protocol::ParseFrame(frame);
    auto const command = view ? protocol::ParseRemoteControl(*view) : std::nullopt;
    return command ? std::optional(SonarCommand{command->commandId, command->payload}) : std::nullopt;
}

} // namespace qx5::cli
