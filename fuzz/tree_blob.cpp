// Fuzzes the form in which trees lie in a project: what it takes encodes and decodes again to the same bytes.
#include "reference_host/store/tree_blob.h"

#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <span>
#include <string>

extern "C" int LLVMFuzzerTestOneInput(std::uint8_t const* data, std::size_t size)
{
    CAttributeMap tree;
    std::string error;
    if (!vordal::DecodeTreeBlob(std::span<unsigned char const>(data, size), tree, error)) {
        if (error.empty() || tree.Count() != 0) {
            std::abort();
        }
        return 0;
    }
    // Numbers have more than one form, so the two encodings are compared, not the input.
    auto const once = vordal::EncodeTreeBlob(tree);
    CAttributeMap again;
    if (!vordal::DecodeTreeBlob(once, again, error) || vordal::EncodeTreeBlob(again) != once) {
        std::abort();
    }
    return 0;
}
