// Fuzzes the texts of records: any bytes as the payload of any record, known or not, and as a whole frame.
#include <protocol/catalogue.h>
#include <protocol/frame.h>
#include <protocol/print.h>

#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <span>
#include <string>

namespace {

/// Texts go to terminals: nothing in them but characters and the ends of lines.
void Check(std::string const& text)
{
    unsigned char before = 0;
    for (char const c : text) {
        auto const byte = static_cast<unsigned char>(c);
        // U+0080 to U+009F are commands to terminals, too.
        if ((byte < 0x20 && c != '\n') || byte == 0x7F || (before == 0xC2 && byte < 0xA0)) {
            std::abort();
        }
        before = byte;
    }
    if (!text.empty() && text.back() != '\n') {
        std::abort();
    }
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(std::uint8_t const* data, std::size_t size)
{
    using namespace qx5::protocol;
    if (size < 2) {
        return 0;
    }
    std::size_t const choice = std::size_t{data[0]} * 256 + data[1];
    std::span<unsigned char const> const bytes(data + 2, size - 2);
    if (choice == 0xFFFF) {
        if (auto const frame = ParseFrame(bytes)) {
            Check(PrintFrame(*frame));
        }
        return 0;
    }
    auto const layouts = AllLayouts();
    auto const& layout = layouts[choice % layouts.size()];
    Check(PrintPayload(layout, bytes, "  "));
    // The form that such a payload is taken for, which may be another one of that id.
    Check(PrintPayload(layout.carrier, layout.id, bytes, ""));
    Check(PrintPayload(layout.carrier, layout.id + 60000, bytes, ""));
    return 0;
}
