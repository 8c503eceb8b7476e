// Sonar contacts: marked targets on their way to the sonar system.
#pragma once

#include <array>

#include <protocol/record_table.h>

// clang-format off

namespace qx5::protocol {

namespace records {

// Framed by itself. No key carries any of it: the host's target store does. The image of a contact goes as a file for
// the sonar, see the single-beam systems.
inline constexpr Field ContactTargetId{.offset = 0, .wire = Wire::U32, .name = "target id"};
inline constexpr Field ContactPingNumber{.offset = 4, .wire = Wire::U32, .name = "ping number"};
inline constexpr Field ContactTime{.offset = 8, .wire = Wire::TimeX5, .name = "contact time"};
inline constexpr Field ContactOperator{.offset = 18, .wire = Wire::Text, .extent = 128, .name = "operator"};
inline constexpr Field ContactState{.offset = 146, .wire = Wire::U32, .name = "contact state (0 new, 1 updated, 2 deleted)"};
inline constexpr Field ContactRange{.offset = 150, .wire = Wire::F32, .name = "range"};
// Angles of single precision are turned into radians in single precision, before they are packed.
inline constexpr Field ContactBearing{.offset = 154, .wire = Wire::F32, .unit = Unit::Radian, .name = "bearing"};
inline constexpr Field ContactInformation{.offset = 158, .wire = Wire::U32, .name = "information flags"};
inline constexpr Field ContactLatitude{.offset = 162, .wire = Wire::F64, .convert = Convert::Radians, .unit = Unit::Radian, .name = "latitude"};
inline constexpr Field ContactLongitude{.offset = 170, .wire = Wire::F64, .convert = Convert::Radians, .unit = Unit::Radian, .name = "longitude"};
inline constexpr Field ContactAzimuth{.offset = 178, .wire = Wire::F32, .unit = Unit::Radian, .name = "azimuth"};
inline constexpr Field ContactLength{.offset = 182, .wire = Wire::F32, .name = "contact length"};
inline constexpr Field ContactWidth{.offset = 186, .wire = Wire::F32, .name = "contact width"};
inline constexpr Field ContactClassification{.offset = 190, .wire = Wire::Text, .extent = 128, .name = "classification"};
inline constexpr Field ContactDescription{.offset = 318, .wire = Wire::Text, .extent = 128, .name = "description"};
inline constexpr Field ContactGuid{.offset = 446, .wire = Wire::Text, .extent = 64, .name = "target GUID"};
inline constexpr Field ContactExtensionValue{.offset = 510, .wire = Wire::F32, .name = "extension value"};
inline constexpr Field ContactExtensionAngle{.offset = 514, .wire = Wire::F32, .unit = Unit::Radian, .name = "extension angle"};
inline constexpr Field ContactExtensionMeasure{.offset = 518, .wire = Wire::F32, .name = "extension measure"};
inline constexpr RecordTable Contact{3001, "sonar contact", 522, {
    ContactTargetId, ContactPingNumber, ContactTime, ContactOperator, ContactState, ContactRange, ContactBearing,
    ContactInformation, ContactLatitude, ContactLongitude, ContactAzimuth, ContactLength, ContactWidth,
    ContactClassification, ContactDescription, ContactGuid, ContactExtensionValue, ContactExtensionAngle,
    ContactExtensionMeasure,
}, {.carrier = Carrier::Data}};

inline constexpr auto ContactsRecords = std::to_array<RecordLayout>({
    Contact,
});

} // namespace records

} // namespace qx5::protocol
