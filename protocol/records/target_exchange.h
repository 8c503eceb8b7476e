// Target lists between applications, settings of the detection unit, A-scan status, user role and system events.
#pragma once

#include <array>

#include <protocol/record_table.h>
#include <protocol/records/shared_keys.h>

// clang-format off

namespace qx5::protocol {

namespace keys {

inline constexpr Key RequestTargetList{L"RequestTargetList", Kind::Any, Unit::None, "ask the other side for its list of contacts"};
inline constexpr Key RequesterAppId{L"RequesterAppId", Kind::String, Unit::None, "the application that asks or whose user it is"};
inline constexpr Key SendTargetList{L"SendTargetList", Kind::Any, Unit::None, "send this side's list of contacts"};
inline constexpr Key SendAScanStatus{L"SendAScanStatus", Kind::Any, Unit::None, "tell the state of the A-scan monitor"};
inline constexpr Key AScanPingNumber{L"AScanPingNumber", Kind::Int, Unit::None, "ping that the A-scan monitor shows"};
inline constexpr Key CadImageEnhancement{L"CadImageEnhancement", Kind::Int, Unit::None, "image enhancement of the detection unit, a code of the unit"};
inline constexpr Key CadDetectorSensitivity{L"CadDetectorSensitivity", Kind::Double, Unit::None, "sensitivity of the detection unit"};
inline constexpr Key CadOnnxIndex{L"CadOnnxIndex", Kind::Int, Unit::None, "algorithm of the detection unit, an index of the unit"};
inline constexpr Key CADStreamIndex{L"CADStreamIndex", Kind::Int, Unit::None, "stream that the detection unit works on"};
inline constexpr Key x5NumberOfBeams{L"x5NumberOfBeams", Kind::Int, Unit::None, "number of beams that the detection unit works on"};
inline constexpr Key x5NumberOfPixels{L"x5NumberOfPixels", Kind::Int, Unit::None, "number of samples of each beam that the detection unit works on"};
inline constexpr Key UserRole{L"UserRole", Kind::Int, Unit::None, "role of the user, a code of the host"};
inline constexpr Key UserRoleType{L"UserRoleType", Kind::Int, Unit::None, "kind of role, a code of the host"};
inline constexpr Key X5SystemEventType{L"X5SystemEventType", Kind::Int, Unit::None, "kind of system event, a code of the host"};
inline constexpr Key X5SystemEventMessage{L"X5SystemEventMessage", Kind::String, Unit::None, "text of the system event"};
inline constexpr Key X5SystemEventTime{L"X5SystemEventTime", Kind::Double, Unit::Second, "time of the system event; must be there, goes nowhere"};

} // namespace keys

namespace records {

inline constexpr RecordTable DetectorAlgorithm{1620, "algorithm of the detection unit", 4, {
    {&keys::CadOnnxIndex, 0, Wire::I32},
}, {.carrier = Carrier::PassThrough}};
inline constexpr RecordTable ImageEnhancement{1700, "image enhancement of the detection unit", 1, {
    {&keys::CadImageEnhancement, 0, Wire::U8},
}, {.carrier = Carrier::PassThrough}};
inline constexpr RecordTable DetectionSensitivity{1750, "sensitivity of the detection unit", 4, {
    {&keys::CadDetectorSensitivity, 0, Wire::F32},
}, {.carrier = Carrier::PassThrough}};

inline constexpr RecordTable TargetListRequest{3004, "target list request", 64, {
    {&keys::RequesterAppId, 0, Wire::Text, Convert::None, 64},
}, {.carrier = Carrier::PassThrough}};

inline constexpr Field TargetListApplication{.offset = 0, .wire = Wire::Text, .extent = 64, .name = "application"};
inline constexpr Field TargetListItemSize{.offset = 64, .wire = Wire::U32, .unit = Unit::Byte, .name = "size of an item", .constant = 132};
inline constexpr Field TargetListCount{.offset = 68, .wire = Wire::U32, .name = "number of items"};
inline constexpr Field ListedGuid{.offset = 0, .wire = Wire::Text, .extent = 64, .name = "target GUID"};
inline constexpr Field ListedDetailNumberA{.offset = 64, .wire = Wire::U32, .name = "detail number A"};
inline constexpr Field ListedDetailFlag{.offset = 68, .wire = Wire::U32, .name = "detail flag"};
inline constexpr Field ListedDetailNumberB{.offset = 72, .wire = Wire::U32, .name = "detail number B"};
inline constexpr Field ListedDetailNumberC{.offset = 76, .wire = Wire::U32, .name = "detail number C"};
inline constexpr Field ListedRange{.offset = 80, .wire = Wire::F32, .name = "range"};
inline constexpr Field ListedBearing{.offset = 84, .wire = Wire::F32, .unit = Unit::Degree, .name = "bearing"};
inline constexpr Field ListedExtensionMeasureValid{.offset = 88, .wire = Wire::F32, .name = "extension measure valid (0 or 1)"};
inline constexpr Field ListedExtensionMeasure{.offset = 92, .wire = Wire::F32, .name = "extension measure"};
inline constexpr Field ListedLatitude{.offset = 96, .wire = Wire::F64, .unit = Unit::Degree, .name = "latitude"};
inline constexpr Field ListedLongitude{.offset = 104, .wire = Wire::F64, .unit = Unit::Degree, .name = "longitude"};
inline constexpr Field ListedLength{.offset = 112, .wire = Wire::F32, .name = "contact length"};
inline constexpr Field ListedWidth{.offset = 116, .wire = Wire::F32, .name = "contact width"};
inline constexpr Field ListedHeight{.offset = 120, .wire = Wire::F32, .name = "contact height"};
inline constexpr Field ListedDetailValue{.offset = 124, .wire = Wire::F32, .name = "detail value"};
inline constexpr Field ListedTargetId{.offset = 128, .wire = Wire::U32, .name = "target id"};
inline constexpr RecordTable TargetList{3004, "target list", 72, {
    TargetListApplication,
    TargetListItemSize,
    TargetListCount,
}, RepeatedItems{132, {
    ListedGuid, ListedDetailNumberA, ListedDetailFlag, ListedDetailNumberB, ListedDetailNumberC, ListedRange,
    ListedBearing, ListedExtensionMeasureValid, ListedExtensionMeasure, ListedLatitude, ListedLongitude, ListedLength,
    ListedWidth, ListedHeight, ListedDetailValue, ListedTargetId,
}}, {.carrier = Carrier::Data, .tailName = "contacts"}};

inline constexpr Field AScanOn{.offset = 0, .wire = Wire::U8, .name = "A-scan monitor on"};
inline constexpr Field AScanBeamCount{.offset = 5, .wire = Wire::U16, .name = "number of beams"};
inline constexpr RecordTable AScanStatus{7034, "A-scan status", 39, {
    AScanOn,
    {&keys::AScanPingNumber, 1, Wire::U32},
    AScanBeamCount,
}, {.carrier = Carrier::Data, .tail = Tail::U16List, .tailName = "beams"}};

inline constexpr RecordTable BeamAndSampleSetting{7036, "beam and sample setting of the detection unit", 20, {
    {.offset = 0, .wire = Wire::U32, .name = "form", .constant = 1},
    {&keys::CADStreamIndex,    8, Wire::U32},
    {&keys::x5NumberOfBeams,  12, Wire::U32},
    {&keys::x5NumberOfPixels, 16, Wire::U32},
}, {.carrier = Carrier::PassThrough}};

// The first eight bytes are a time of 0.0.
inline constexpr Field SystemEventTextLength{.offset = 10, .wire = Wire::U16, .unit = Unit::Byte, .name = "length of the text with its terminator"};
inline constexpr RecordTable SystemEvent{7051, "system event", 14, {
    {&keys::X5SystemEventType, 8, Wire::U16},
    SystemEventTextLength,
}, {.carrier = Carrier::Data, .tail = Tail::Utf8Z, .tailKey = &keys::X5SystemEventMessage}};

inline constexpr RecordTable UserRole{12000, "user role", 68, {
    {&keys::UserRoleType,    0, Wire::U16},
    {&keys::RequesterAppId,  2, Wire::Text, Convert::None, 64},
    {&keys::UserRole,       66, Wire::U16},
}, {.carrier = Carrier::Data}};

inline constexpr auto TargetExchangeRecords = std::to_array<RecordLayout>({
    DetectorAlgorithm, ImageEnhancement, DetectionSensitivity, TargetListRequest, TargetList, AScanStatus,
    BeamAndSampleSetting, SystemEvent, UserRole,
});

} // namespace records

/// Every key of this file, for look-up by text.
inline constexpr auto TargetExchangeKeys = std::to_array<Key const*>({
    &keys::RequestTargetList, &keys::RequesterAppId, &keys::SendTargetList, &keys::SendAScanStatus,
    &keys::AScanPingNumber, &keys::CadImageEnhancement, &keys::CadDetectorSensitivity, &keys::CadOnnxIndex,
    &keys::CADStreamIndex, &keys::x5NumberOfBeams, &keys::x5NumberOfPixels, &keys::UserRole, &keys::UserRoleType,
    &keys::X5SystemEventType, &keys::X5SystemEventMessage, &keys::X5SystemEventTime,
});

} // namespace qx5::protocol
