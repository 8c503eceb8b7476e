// Reads JSON text into documents.
#pragma once

#include "json_document.h"
#include "json_path.h"

#include <cstddef>
#include <string>
#include <string_view>

namespace qx5 {

/// How many arrays and objects may stand inside one another; a node of a tree takes two. What is nested deeper is
/// checked for syntax, costs no memory, and becomes a defect.
inline constexpr std::size_t JsonNestingLimit = 1024;

/// Reads one JSON document (RFC 8259; a byte order mark before it is skipped). Throws InvalidDocument when the text is
/// not JSON; the reason then names line and column. What is JSON but not usable becomes a defect in its place: a text
/// with U+0000, a lone surrogate or invalid UTF-8, a number beyond the range of a double, a key that its object has
/// already, nesting past the limit. Beside the text it takes 12 bytes for each value and key, and reads without a copy.
JsonDocument ParseJson(std::string text);

/// Throws InvalidDocument for the first defect in `value`, which stands at `path`.
void RefuseDefects(JsonNode const& value, JsonPath const& path);

/// "line 3, column 7" of a place in a document, each from 1; columns count bytes.
std::string LineAndColumn(std::string_view document, std::size_t at);

} // namespace qx5
