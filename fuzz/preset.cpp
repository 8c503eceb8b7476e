// Fuzzes the reader of presets: any bytes give a preset that is written and read again as the same, or one line that
// says where and why not; compared with a sonar that has nothing, it asks for nothing.
#include "operation/preset.h"
#include "operation/preset_table.h"

#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <string>
#include <string_view>

namespace {

using namespace qx5::operation;

void Require(bool holds)
{
    if (!holds) {
        std::abort();
    }
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(std::uint8_t const* data, std::size_t size)
{
    Preset preset;
    try {
        preset = ReadPreset(std::string_view(reinterpret_cast<char const*>(data), size));
    } catch (PresetError const& failure) {
        std::string_view const reason = failure.what();
        Require(!reason.empty() && reason.find('\n') == std::string_view::npos);
        Require(reason.find("line ") != std::string_view::npos || size > GreatestPresetSize);
        return 0;
    }
    std::string const document = WritePreset(preset);
    Require(WritePreset(ReadPreset(document)) == document);
    auto const table = PresetTable::ForSonar({}, preset);
    Require(table.Rows().size() == preset.settings.size());
    Require(table.Request([](PresetRow const&) { return true; }).Count() == 0);
    auto const same = PresetTable::Between(preset, preset);
    Require(same.Count(RowState::Equal) + same.Count(RowState::Unknown) == preset.settings.size());
    return 0;
}
