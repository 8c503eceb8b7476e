// Fuzzes unpacking and printing: any bytes as the payload of any record of the catalogue.
#include <cstddef>
#include <cstdint>
#include <span>

#include <protocol/catalogue.h>
#include <protocol/print.h>
#include <protocol/unpack.h>

extern "C" int LLVMFuzzerTestOneInput(std::uint8_t const* data, std::size_t size)
{
    if (size < 2)
        return 0;
    auto const layouts = qx5::protocol::AllLayouts();
    auto const& layout = layouts[(std::size_t{data[0]} * 256 + data[1]) % layouts.size()];
    std::span<unsigned char const> const payload(data + 2, size - 2);
    auto const record = qx5::protocol::Unpack(layout, payload);
    qx5::protocol::KeyValues(record.fields);
    for (auto const& item : record.items)
        qx5::protocol::KeyValues(item);
    qx5::protocol::PrintPayload(layout.carrier, layout.id, payload, "");
    return 0;
}
