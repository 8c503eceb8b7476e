// All records and keys that this system knows, for look-up by number and by text.
#pragma once

#include <cstddef>
#include <cstdint>
#include <optional>
#include <span>
#include <string_view>

#include <protocol/record_layout.h>

namespace qx5::protocol {

std::span<RecordLayout const> AllLayouts();
std::span<Key const* const> AllKeys();

/// The layout of a record, or null. Where one id has several forms, the one of that payload size is taken: the form
/// that it fits exactly, otherwise the largest that it holds, otherwise the first. A command that is passed through and
/// has no form of its own for that has the one of the remote-control command.
RecordLayout const* FindLayout(Carrier carrier, std::uint32_t id, std::optional<std::size_t> payloadSize = {});

/// The same for a payload at hand: among the forms of one id only those count whose constants it carries, unless it
/// carries those of none.
RecordLayout const* FindLayout(Carrier carrier, std::uint32_t id, std::span<unsigned char const> payload);

/// The key of that exact text, or null.
Key const* FindKey(std::wstring_view text);

} // namespace qx5::protocol
