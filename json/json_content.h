// How a JSON document that was read lies in memory: for its parser and its nodes alone.
#pragma once

#include "json_value.h"

#include <cstdint>
#include <deque>
#include <string>

namespace qx5 {

/// What a document is made of; its parser fills it.
struct JsonContent
{
    /// A value, or the key of a member, which its value follows. An array or object is followed by what is in it.
    struct Entry
    {
        std::uint64_t at : 48;      ///< in `text`
        std::uint64_t kind : 4;     ///< JsonValue::Kind
        std::uint64_t isBeside : 1; ///< a text is not in `text` as it stands, but in `beside`
        /// Array, object: the place of the entry past all that is in it. Text, number: its length, or where it is in
        /// `beside`, as is the reason of a defect. Truth value: 0 or 1.
        std::uint64_t extent;
    };
    static_assert(sizeof(Entry) == 16);

    std::string text;
    std::deque<Entry> entries; ///< grows without being copied
    std::deque<std::string> beside;
    bool hasDefects = false;
};

} // namespace qx5
