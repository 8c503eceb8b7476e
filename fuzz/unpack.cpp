// Fuzzes unpacking: any bytes as the payload of any record of the catalogue.
#include <protocol/catalogue.h>
#include <protocol/unpack.h>

#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <span>

extern "C" int LLVMFuzzerTestOneInput(std::uint8_t const* data, std::size_t size)
{
    using namespace qx5::protocol;
    if (size < 2) {
        return 0;
    }
    auto const layouts = AllLayouts();
    auto const& layout = layouts[(std::size_t{data[0]} * 256 + data[1]) % layouts.size()];
    std::span<unsigned char const> const payload(data + 2, size - 2);
    auto const record = Unpack(layout, payload);
    KeyValues(record.fields);
    for (auto const& item : record.items) {
        KeyValues(item);
    }
    // A record is what it says: too short, or whole with something left over, never both.
    if (record.missingBytes > 0 && (record.excessBytes > 0 || !record.items.empty())) {
        std::abort();
    }
    return 0;
}
