// The families' tables put together, for those who look things up in them and for what is checked at compile time: each
// family of commands adds one line to the layouts and one to the keys.
#pragma once

#include <algorithm>
#include <array>
#include <cstddef>
#include <string_view>

#include <protocol/house_records.h>
#include <protocol/records/all.h>
#include <protocol/settings_keys.h>

namespace qx5::protocol::catalogue {

template <typename Item, std::size_t... Sizes>
constexpr auto Concatenate(std::array<Item, Sizes> const&... arrays)
{
    std::array<Item, (Sizes + ... + 0)> all{};
    std::size_t at = 0;
    auto const append = [&](auto const& items) {
        for (auto const& item : items) {
            all[at++] = item;
        }
    };
    (append(arrays), ...);
    return all;
}

// clang-format off
inline constexpr auto Layouts = Concatenate(
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
    records::SinglePingRecords,
    records::DataRecordingRecords,
    records::RecorderSettingsRecords,
    records::StoragePlaybackRecords,
    records::PanTiltHoistRecords,
    records::ContactsRecords,
    records::TargetExchangeRecords,
    records::EchoRecords);

inline constexpr auto Keys = Concatenate(
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
    StoragePlaybackKeys,
    PanTiltHoistKeys,
    TargetExchangeKeys);
// clang-format on

/// By text, so that a look-up takes few comparisons and twins lie side by side.
inline constexpr auto SortedKeys = [] {
    auto keys = Keys;
    std::sort(keys.begin(), keys.end(), [](Key const* a, Key const* b) { return a->text < b->text; });
    return keys;
}();

/// Halves its way through the sorted keys: compilers count the steps of a constant expression.
constexpr bool IsListed(KeyPointer key)
{
    if (key == nullptr) {
        return true;
    }
    auto const place = std::lower_bound(SortedKeys.begin(), SortedKeys.end(), key->text,
                                        [](Key const* listed, std::wstring_view text) { return listed->text < text; });
    return place != SortedKeys.end() && key == *place;
}

/// A record is found by its number: the catalogue has a layout of that carrier, number and size.
constexpr bool IsListed(RecordLayout const& layout)
{
    return std::any_of(Layouts.begin(), Layouts.end(), [&](RecordLayout const& each) {
        return each.carrier == layout.carrier && each.id == layout.id && each.size == layout.size;
    });
}

} // namespace qx5::protocol::catalogue
