// A key of the protocol's tables as the attribute tree takes it.
#pragma once

#include <VordalAttributesR/AttributeKey.h>
#include <protocol/record_layout.h>

namespace qx5 {

/// Its hash is made at compile time: a look-up computes none.
template <protocol::Key const& K>
inline constexpr AttributeKey At{K.text};

} // namespace qx5
