// Fuzzes the decoder of attribute trees, as the link and as a project has them: what it takes encodes and decodes again
// to the same bytes.
#include "reference_host/attributes/tree_bytes.h"

#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <span>
#include <stdexcept>
#include <string>

namespace {

using qx5::protocol::TreeForm;

void Check(std::span<unsigned char const> bytes, TreeForm const& form)
{
    CAttributeMap tree;
    std::string error;
    if (!vordal::DecodeTree(bytes, form, tree, error)) {
        if (error.empty() || tree.Count() != 0) {
            std::abort();
        }
        return;
    }
    // Bytes that are no UTF-8 become U+FFFD at the first reading, and numbers have more than one form: the two
    // encodings are compared, not the input.
    std::vector<unsigned char> once;
    try {
        once = vordal::EncodeTree(tree, form);
    } catch (std::length_error const&) {
        return; // U+FFFD is longer than the byte it stands for: the tree may have outgrown a frame
    }
    CAttributeMap again;
    if (!vordal::DecodeTree(once, form, again, error) || vordal::EncodeTree(again, form) != once) {
        std::abort();
    }
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(std::uint8_t const* data, std::size_t size)
{
    std::span<unsigned char const> const bytes(data, size);
    Check(bytes, qx5::protocol::LinkTree);
    Check(bytes, qx5::protocol::StoredTree);
    return 0;
}
