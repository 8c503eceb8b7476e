// The catalogue: each family of commands adds its include, one line to the layouts and one to the keys.
#include <protocol/catalogue.h>

#include <algorithm>
#include <array>

#include <protocol/house_records.h>
#include <protocol/records/all.h>

namespace qx5::protocol {

namespace {

template <typename Item, std::size_t... Sizes>
constexpr auto Concatenate(std::array<Item, Sizes> const&... arrays)
{
    std::array<Item, (Sizes + ... + 0)> all{};
    std::size_t at = 0;
    auto const append = [&](auto const& items) {
        for (auto const& item : items)
            all[at++] = item;
    };
    (append(arrays), ...);
    return all;
}

// clang-format off
constexpr auto Layouts = Concatenate(
    records::HouseRecords,
    records::BasicRecords,
    records::DualHeadRecords,
    records::BeamGeometryRecords,
    records::GatesRecords,
    records::PulseFrequencyGainRecords,
    records::TrackerDetectionRecords,
    records::TriggersTimingRecords,
    records::AcquisitionRecords,
    records::MotionHeadingRecords,
    records::PortSensorsRecords,
    records::ProcessorPortsRecords,
    records::InstallationRecords,
    records::PositioningRecords,
    records::SingleBeamRecords,
    records::DataRecordingRecords,
    records::RecorderSettingsRecords,
    records::StoragePlaybackRecords);

constexpr auto Keys = Concatenate(
    SharedKeys,
    BasicKeys,
    DualHeadKeys,
    BeamGeometryKeys,
    GatesKeys,
    PulseFrequencyGainKeys,
    TrackerDetectionKeys,
    TriggersTimingKeys,
    AcquisitionKeys,
    MotionHeadingKeys,
    PortSensorsKeys,
    ProcessorPortsKeys,
    InstallationKeys,
    PositioningKeys,
    SingleBeamKeys,
    DataRecordingKeys,
    RecorderSettingsKeys,
    StoragePlaybackKeys);
// clang-format on

/// By text, so that a look-up takes few comparisons and twins lie side by side.
constexpr auto SortedKeys = [] {
    auto keys = Keys;
    std::sort(keys.begin(), keys.end(), [](Key const* a, Key const* b) { return a->text < b->text; });
    return keys;
}();

constexpr bool TextsDiffer()
{
    for (std::size_t i = 1; i < SortedKeys.size(); ++i) {
        if (SortedKeys[i - 1]->text == SortedKeys[i]->text)
            return false;
    }
    return true;
}
static_assert(TextsDiffer(), "two keys have the same text");

constexpr bool IsListed(KeyPointer key)
{
    return key == nullptr || std::any_of(Keys.begin(), Keys.end(), [key](Key const* listed) { return key == listed; });
}

constexpr bool EveryKeyOfARecordIsListed()
{
    for (RecordLayout const& layout : Layouts) {
        auto const listed = [](Field const& field) { return IsListed(field.key); };
        if (!std::all_of(layout.fields.begin(), layout.fields.end(), listed) ||
            !std::all_of(layout.itemFields.begin(), layout.itemFields.end(), listed) || !IsListed(layout.tailKey))
            return false;
    }
    return true;
}
static_assert(EveryKeyOfARecordIsListed(), "a record uses a key that its family does not list");

} // namespace

std::span<RecordLayout const> AllLayouts()
{
    return Layouts;
}

std::span<Key const* const> AllKeys()
{
    return SortedKeys;
}

RecordLayout const* FindLayout(Carrier carrier, std::uint32_t id, std::optional<std::size_t> payloadSize)
{
    RecordLayout const* first = nullptr;
    RecordLayout const* largest = nullptr;
    for (RecordLayout const& layout : Layouts) {
        if (layout.carrier != carrier || layout.id != id)
            continue;
        if (first == nullptr)
            first = &layout;
        if (!payloadSize)
            continue;
        if (layout.size == *payloadSize && layout.tail == Tail::None)
            return &layout;
        if (layout.size <= *payloadSize && (largest == nullptr || layout.size > largest->size))
            largest = &layout;
    }
    if (first == nullptr && carrier == Carrier::PassThrough)
        return FindLayout(Carrier::RemoteControl, id, payloadSize);
    return largest != nullptr ? largest : first;
}

Key const* FindKey(std::wstring_view text)
{
    auto const at = std::lower_bound(SortedKeys.begin(), SortedKeys.end(), text,
                                     [](Key const* key, std::wstring_view wanted) { return key->text < wanted; });
    return at != SortedKeys.end() && (*at)->text == text ? *at : nullptr;
}

} // namespace qx5::protocol
