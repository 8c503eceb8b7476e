// The two readers of JSON text, which ParseJson has and tests hold against one another.
#pragma once

#include "json_content.h"

namespace qx5 {

/// Reads `content.text` into the rest of the content, which is empty. Throws InvalidDocument, as ParseJson does.
void ReadJson(JsonContent& content);

/// Does the same for a document in which nothing is wrong, several times faster. False where something is, or may
/// be: the content then holds a part of it.
bool ReadSoundJson(JsonContent& content);

} // namespace qx5
