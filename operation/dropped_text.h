// What people are told of a request that the plug-in drops.
#pragma once

#include <VordalAttributesR/AttributeKey.h>

#include <string>

namespace qx5::operation {

/// One line without its end, in UTF-8: what was asked for, and which value for it is found nowhere (see
/// Device::ReportDroppedRequest).
std::string DroppedText(AttributeKey const& asked, AttributeKey const& missing);

} // namespace qx5::operation
