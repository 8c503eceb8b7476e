// Bytes that are handed on without a copy.
#pragma once

#include <memory>
#include <span>

namespace vordal {

/// Bytes, and what keeps them: they stay as they are for as long as anybody holds this.
struct OwnedBytes
{
    std::shared_ptr<void const> owner;
    std::span<unsigned char const> bytes;
};

} // namespace vordal
