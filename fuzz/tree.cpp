// Fuzzes the decoder of attribute trees: what it takes encodes and decodes again to the same bytes.
#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <span>
#include <string>

#include <protocol/house_records.h>

extern "C" int LLVMFuzzerTestOneInput(std::uint8_t const* data, std::size_t size)
{
    using namespace qx5::protocol;
    std::string error;
    auto const nodes = DecodeTree(std::span<unsigned char const>(data, size), error);
    if (!nodes) {
        if (error.empty()) {
            std::abort();
        }
        return 0;
    }
    // Bytes that are no UTF-8 become U+FFFD at the first reading, so the two encodings are compared, not the input.
    auto const once = EncodeTree(*nodes, error);
    if (!once) {
        return 0; // U+FFFD is longer than the byte it stands for: the tree may have outgrown a frame
    }
    auto const again = DecodeTree(*once, error);
    if (!again || EncodeTree(*again, error) != once) {
        std::abort();
    }
    return 0;
}
