// Two heads that work as one system: coupling and the list of forwarded records.
#pragma once

#include <array>
#include <cstdint>

#include <protocol/record_table.h>
#include <protocol/records/shared_keys.h>

// clang-format off

namespace qx5::protocol {

namespace keys {

inline constexpr Key x5DualHeadSlaveIp{L"x5DualHeadSlaveIp", Kind::Int, Unit::None, "IPv4 address of the slave head's processor, as a number"};
inline constexpr Key x5FullRateDualHead{L"x5FullRateDualHead", Kind::Bool, Unit::None, "both heads ping at the full rate"};
inline constexpr Key x5SlavedRecords{L"x5SlavedRecords", Kind::IntList, Unit::None, "ids of the records that the master head forwards to the slave"};

} // namespace keys

namespace records {

// One id, two forms: the shorter one uncouples, the longer one couples.
inline constexpr RecordTable UncoupleHeads{1500, "uncouple heads", 4, {
    {.offset = 0, .wire = Wire::U32, .name = "coupled"},
}};
inline constexpr RecordTable CoupleHeads{1500, "couple heads", 56, {
    {.offset = 0, .wire = Wire::U32, .name = "coupled", .constant = 1},
    {&keys::x5DualHeadSlaveIp,   4, Wire::U32},
    {&keys::x5FullRateDualHead, 12, Wire::U32},
}};

inline constexpr Field ForwardedRecordCount{.offset = 0, .wire = Wire::U32, .name = "number of records"};
inline constexpr RecordTable DefaultForwarding{1501, "default list of forwarded records", 4, {
    ForwardedRecordCount,
}, {.tail = Tail::U32List, .tailName = "record ids"}};
inline constexpr RecordTable FullRate{1502, "full-rate coupling", 4, {
    {&keys::x5FullRateDualHead, 0, Wire::U32},
}};
inline constexpr RecordTable Forwarding{1504, "list of forwarded records", 4, {
    ForwardedRecordCount,
}, {.tail = Tail::U32List, .tailName = "record ids", .tailKey = &keys::x5SlavedRecords}};

/// What a master head forwards unless it is told otherwise, in the order in which it is sent.
inline constexpr auto DefaultForwardedRecords = std::to_array<std::int32_t>({
    1002, 1003, 1004, 1005, 1006, 1007, 1008, 1009, 1010, 1011, 1014, 1016, 1017, 1026, 1027, 1033, 1036, 1037, 1039,
    1040, 1043, 1044, 1045, 1046, 1047, 1116, 1118, 1124, 1750, 1200, 1201, 1209, 1211, 1504, 7011, 7610, 7614,
});
static_assert(DefaultForwardedRecords.size() == 37);

inline constexpr auto DualHeadRecords = std::to_array<RecordLayout>({
    UncoupleHeads, CoupleHeads, DefaultForwarding, FullRate, Forwarding,
});

} // namespace records

/// Every key of this file, for look-up by text.
inline constexpr auto DualHeadKeys = std::to_array<Key const*>({
    &keys::x5DualHeadSlaveIp, &keys::x5FullRateDualHead, &keys::x5SlavedRecords,
});

} // namespace qx5::protocol
