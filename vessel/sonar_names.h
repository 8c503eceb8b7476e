// What sonars are called on topics.
#pragma once

#include "operation/operator_desk.h"

#include <map>
#include <string>
#include <vector>

namespace qx5::vessel {

/// A sonar with the name that topics have for it.
struct TopicSonar
{
    CDataId id;
    std::string name;    ///< what the operator calls it
    std::string onTopic; ///< different for each

    bool operator==(TopicSonar const&) const = default;
};

/// Names as operators give them, in their order. Of two that are alike the later one has " (2)" behind it; a name that
/// topics have no room for has "_" in place of what is wrong with it.
std::vector<TopicSonar> NamedOnTopics(std::vector<operation::NamedSonar> const& sonars);

} // namespace qx5::vessel
