// The form in which attribute trees lie in a project: bytes with a version of their own, the same on every platform.
#pragma once

#include <VordalAttributesR/CAttributeMap.h>

#include <cstddef>
#include <span>
#include <string>
#include <vector>

namespace vordal {

inline constexpr unsigned char TreeBlobVersion = 1;
/// Deeper trees are refused on both ways.
inline constexpr int MaximumStoredDepth = 1000;

/// The children of `tree` with keys, values, flags and order; of the root itself its group. Bytes: u8 version, text
/// group, list of nodes. A number n is 7 bits a byte, lowest first, the high bit set on all but the last. A text: n
/// characters, then each as its code point. A list: n nodes. A node: text key, n flags, u8 kind (the numbers of
/// VordalKind), value, list. Values: Int, UInt and Int64 4, 4 and 8 bytes; Bool 1; Double 8; Pair 16; DataInfo six u16;
/// String a text; IntList and DoubleList n and the elements; Offset 24; little-endian. Throws std::length_error when
/// the tree is too deep.
VORDAL_API std::vector<unsigned char> EncodeTreeBlob(CAttributeMap const& tree);

/// Takes any bytes. False, and why in `error`, when they are not exactly one tree of this version.
VORDAL_API bool DecodeTreeBlob(std::span<unsigned char const> blob, CAttributeMap& tree, std::string& error);

} // namespace vordal
