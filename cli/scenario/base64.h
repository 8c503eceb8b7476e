// Base64 text to bytes.
#pragma once

#include <optional>
#include <string_view>
#include <vector>

namespace qx5::cli {

/// The bytes of a base64 text: standard alphabet, padded, no breaks. Empty when the text is anything else.
std::optional<std::vector<unsigned char>> DecodeBase64(std::string_view text);

} // namespace qx5::cli
