// A seabed of one's own, described in a file.
#pragma once

#include "simulator/acoustics/scene.h"

#include <cstddef>
#include <string>
#include <string_view>

namespace qx5::cli {

inline constexpr std::size_t GreatestSceneFile = 1024 * 1024; ///< bytes

/// A JSON document: `{"depth": 30, "slope_east": 2, "bottom": "mud", "waves": [{"height", "length", "heading"}],
/// "mounds": [{"east", "north", "radius", "height", "bottom"}], "targets": [{"east", "north", "depth", "strength"}]}`,
/// each key but those within targets with a default. Refused in one line that says where and why.
acoustics::Result<acoustics::Scene> ReadScene(std::string_view document);
/// The same of a file; the line begins with its name.
acoustics::Result<acoustics::Scene> ReadSceneFile(std::string const& file);

} // namespace qx5::cli
