// The satellite positioning and inertial unit.
#pragma once

#include <array>

#include <protocol/record_table.h>
#include <protocol/records/shared_keys.h>

// One row a key, one row a field: tables are wider than code.
// clang-format off

namespace qx5::protocol {

namespace keys {

// The unit's lengths and angles pass through in its own units.
inline constexpr Key OstDgnssInsPrimaryToSecondaryAntennaSettingsX{L"OstDgnssInsPrimaryToSecondaryAntennaSettingsX", Kind::Double, Unit::None, "from the primary to the secondary antenna, X axis"};
inline constexpr Key OstDgnssInsPrimaryToSecondaryAntennaSettingsY{L"OstDgnssInsPrimaryToSecondaryAntennaSettingsY", Kind::Double, Unit::None, "from the primary to the secondary antenna, Y axis"};
inline constexpr Key OstDgnssInsPrimaryToSecondaryAntennaSettingsZ{L"OstDgnssInsPrimaryToSecondaryAntennaSettingsZ", Kind::Double, Unit::None, "from the primary to the secondary antenna, Z axis"};
inline constexpr Key OstDgnssInsImuToPrimaryAntennaSettingsX{L"OstDgnssInsImuToPrimaryAntennaSettingsX", Kind::Double, Unit::None, "from the inertial unit to the primary antenna, X axis"};
inline constexpr Key OstDgnssInsImuToPrimaryAntennaSettingsY{L"OstDgnssInsImuToPrimaryAntennaSettingsY", Kind::Double, Unit::None, "from the inertial unit to the primary antenna, Y axis"};
inline constexpr Key OstDgnssInsImuToPrimaryAntennaSettingsZ{L"OstDgnssInsImuToPrimaryAntennaSettingsZ", Kind::Double, Unit::None, "from the inertial unit to the primary antenna, Z axis"};
inline constexpr Key OstDgnssInsMountingAccuracySettingsX{L"OstDgnssInsMountingAccuracySettingsX", Kind::Double, Unit::None, "accuracy of the mounting, X axis"};
inline constexpr Key OstDgnssInsMountingAccuracySettingsY{L"OstDgnssInsMountingAccuracySettingsY", Kind::Double, Unit::None, "accuracy of the mounting, Y axis"};
inline constexpr Key OstDgnssInsMountingAccuracySettingsZ{L"OstDgnssInsMountingAccuracySettingsZ", Kind::Double, Unit::None, "accuracy of the mounting, Z axis"};
inline constexpr Key OstDgnssInsImuToCoGSettingsX{L"OstDgnssInsImuToCoGSettingsX", Kind::Double, Unit::None, "from the inertial unit to the centre of gravity, X axis"};
inline constexpr Key OstDgnssInsImuToCoGSettingsY{L"OstDgnssInsImuToCoGSettingsY", Kind::Double, Unit::None, "from the inertial unit to the centre of gravity, Y axis"};
inline constexpr Key OstDgnssInsImuToCoGSettingsZ{L"OstDgnssInsImuToCoGSettingsZ", Kind::Double, Unit::None, "from the inertial unit to the centre of gravity, Z axis"};
inline constexpr Key OstDgnssInsPrimaryLeaverArmSettingsX{L"OstDgnssInsPrimaryLeaverArmSettingsX", Kind::Double, Unit::None, "lever arm of the primary point, X axis"};
inline constexpr Key OstDgnssInsPrimaryLeaverArmSettingsY{L"OstDgnssInsPrimaryLeaverArmSettingsY", Kind::Double, Unit::None, "lever arm of the primary point, Y axis"};
inline constexpr Key OstDgnssInsPrimaryLeaverArmSettingsZ{L"OstDgnssInsPrimaryLeaverArmSettingsZ", Kind::Double, Unit::None, "lever arm of the primary point, Z axis"};
inline constexpr Key OstDgnssInsImuMountingAngleSettingsX{L"OstDgnssInsImuMountingAngleSettingsX", Kind::Double, Unit::None, "mounting angle of the inertial unit, X axis"};
inline constexpr Key OstDgnssInsImuMountingAngleSettingsY{L"OstDgnssInsImuMountingAngleSettingsY", Kind::Double, Unit::None, "mounting angle of the inertial unit, Y axis"};
inline constexpr Key OstDgnssInsImuMountingAngleSettingsZ{L"OstDgnssInsImuMountingAngleSettingsZ", Kind::Double, Unit::None, "mounting angle of the inertial unit, Z axis"};

inline constexpr Key OstDgnssInsIntegratorXml{L"OstDgnssInsIntegratorXml", Kind::String, Unit::None, "the unit's configuration as XML"};

inline constexpr Key OstDgnssInsPrimarySerialPortBaudrate{L"OstDgnssInsPrimarySerialPortBaudrate", Kind::Int, Unit::None, "baud rate of the primary serial port, code 0 to 4"};
inline constexpr Key OstDgnssInsPrimarySerialPort485{L"OstDgnssInsPrimarySerialPort485", Kind::Bool, Unit::None, "run the primary serial port as RS-485"};
inline constexpr Key OstDgnssInsSecondarySerialPortBaudrate{L"OstDgnssInsSecondarySerialPortBaudrate", Kind::Int, Unit::None, "baud rate of the secondary serial port, code 0 to 4"};
inline constexpr Key OstDgnssInsSecondarySerialPort485{L"OstDgnssInsSecondarySerialPort485", Kind::Bool, Unit::None, "run the secondary serial port as RS-485"};
inline constexpr Key OstDgnssInsCorrectionsSerialPortBaudrate{L"OstDgnssInsCorrectionsSerialPortBaudrate", Kind::Int, Unit::None, "baud rate of the corrections serial port, code 0 to 4"};
inline constexpr Key OstDgnssInsCorrectionsSerialPort485{L"OstDgnssInsCorrectionsSerialPort485", Kind::Bool, Unit::None, "run the corrections serial port as RS-485"};
inline constexpr Key OstDgnssInsCorrectionsInputFormat{L"OstDgnssInsCorrectionsInputFormat", Kind::Int, Unit::None, "format of the corrections that come in, a code of the unit"};

inline constexpr Key OstDgnssInsNtripServer{L"OstDgnssInsNtripServer", Kind::String, Unit::None, "name or address of the NTRIP caster"};
inline constexpr Key OstDgnssInsNtripUsername{L"OstDgnssInsNtripUsername", Kind::String, Unit::None, "user at the NTRIP caster"};
inline constexpr Key OstDgnssInsNtripPassword{L"OstDgnssInsNtripPassword", Kind::String, Unit::None, "password at the NTRIP caster"};
inline constexpr Key OstDgnssInsNtripMountPoint{L"OstDgnssInsNtripMountPoint", Kind::String, Unit::None, "mount point at the NTRIP caster"};
inline constexpr Key OstDgnssInsNtripVersion{L"OstDgnssInsNtripVersion", Kind::Int, Unit::None, "version of the NTRIP protocol, from 0"};
inline constexpr Key OstDgnssInsNtripCga{L"OstDgnssInsNtripCga", Kind::Int, Unit::None, "how often the position goes to the NTRIP caster, code 0 to 5"};
inline constexpr Key OstDgnssInsNtripPort{L"OstDgnssInsNtripPort", Kind::Int, Unit::None, "port of the NTRIP caster"};
inline constexpr Key OstDgnssInsNtripDisabled{L"OstDgnssInsNtripDisabled", Kind::Bool, Unit::None, "take no corrections from the NTRIP caster"};

inline constexpr Key OstDgnssInsPpsFlags{L"OstDgnssInsPpsFlags", Kind::Int, Unit::None, "flags of the pulse per second, a code of the unit"};
inline constexpr Key OstDgnssInsPpsIntervalMs{L"OstDgnssInsPpsIntervalMs", Kind::Int, Unit::Millisecond, "interval of the time pulses"};
inline constexpr Key OstDgnssInsPpsDelayNs{L"OstDgnssInsPpsDelayNs", Kind::Int, Unit::Nanosecond, "delay of the time pulses"};

inline constexpr Key OstDgnssInsSetAutoCalibratinStatus{L"OstDgnssInsSetAutoCalibratinStatus", Kind::Int, Unit::None, "automatic calibration of the inertial unit, a code of the unit"};

} // namespace keys

namespace records {

// All of these go by the sonar processor, which passes them on to the unit.

inline constexpr Field PositioningXmlLength{.offset = 8, .wire = Wire::U32, .unit = Unit::Byte, .name = "length of the text"};
inline constexpr RecordTable PositioningXml{20000, "positioning unit, configuration text", 12, {
    {.offset = 0, .wire = Wire::F64, .name = "reserved"},
    PositioningXmlLength,
}, {.carrier = Carrier::PassThrough, .tail = Tail::Utf8, .tailName = "text", .tailKey = &keys::OstDgnssInsIntegratorXml}};

inline constexpr RecordTable PositioningNtrip{20001, "positioning unit, NTRIP client", 232, {
    {.key = &keys::OstDgnssInsNtripServer,     .offset =   0, .wire = Wire::Text, .extent = 64},
    {.key = &keys::OstDgnssInsNtripUsername,   .offset =  64, .wire = Wire::Text, .extent = 32},
    {.key = &keys::OstDgnssInsNtripPassword,   .offset =  96, .wire = Wire::Text, .convert = Convert::Computed, .extent = 64},
    {.key = &keys::OstDgnssInsNtripMountPoint, .offset = 160, .wire = Wire::Text, .extent = 64},
    {&keys::OstDgnssInsNtripVersion, 224, Wire::U8, Convert::PlusOne},
    {&keys::OstDgnssInsNtripCga,     225, Wire::U8, Convert::Computed},
    {.offset = 226, .wire = Wire::BitOfU16, .extent = 0, .name = "always set", .constant = 1},
    {.key = &keys::OstDgnssInsNtripDisabled, .offset = 226, .wire = Wire::BitOfU16, .extent = 1},
    {&keys::OstDgnssInsNtripPort,    228, Wire::U32},
}, {.carrier = Carrier::PassThrough}};

inline constexpr RecordTable PositioningCorrections{20004, "positioning unit, corrections input", 16, {
    {&keys::OstDgnssInsCorrectionsInputFormat, 6, Wire::U8},
}, {.carrier = Carrier::PassThrough}};

inline constexpr RecordTable PositioningPulsePerSecond{20013, "positioning unit, pulse per second", 8, {
    {&keys::OstDgnssInsPpsIntervalMs, 0, Wire::U16},
    {&keys::OstDgnssInsPpsFlags,      2, Wire::U16},
    {&keys::OstDgnssInsPpsDelayNs,    4, Wire::U32},
}, {.carrier = Carrier::PassThrough}};

// One record for each of three ports, whose keys differ.
inline constexpr Field PositioningPort{.offset = 0, .wire = Wire::U8, .name = "port"};
inline constexpr Field PositioningPortRs485{.offset = 2, .wire = Wire::U16, .name = "RS-485"};
inline constexpr Field PositioningPortBaudRate{.offset = 4, .wire = Wire::U32, .unit = Unit::BitPerSecond, .name = "baud rate"};
inline constexpr RecordTable PositioningSerialPort{20015, "positioning unit, serial port", 8, {
    PositioningPort,
    PositioningPortRs485,
    PositioningPortBaudRate,
}, {.carrier = Carrier::PassThrough}};

inline constexpr RecordTable InertialAutoCalibration{20017, "inertial unit, automatic calibration", 4, {
    {&keys::OstDgnssInsSetAutoCalibratinStatus, 0, Wire::I32},
}, {.carrier = Carrier::PassThrough}};

inline constexpr RecordTable PositioningGeometry{20021, "positioning unit, geometry", 72, {
    {&keys::OstDgnssInsPrimaryToSecondaryAntennaSettingsX,   0, Wire::F32},
    {&keys::OstDgnssInsPrimaryToSecondaryAntennaSettingsY,   4, Wire::F32},
    {&keys::OstDgnssInsPrimaryToSecondaryAntennaSettingsZ,   8, Wire::F32},
    {&keys::OstDgnssInsImuToPrimaryAntennaSettingsX,        12, Wire::F32},
    {&keys::OstDgnssInsImuToPrimaryAntennaSettingsY,        16, Wire::F32},
    {&keys::OstDgnssInsImuToPrimaryAntennaSettingsZ,        20, Wire::F32},
    {&keys::OstDgnssInsMountingAccuracySettingsX,           24, Wire::F32},
    {&keys::OstDgnssInsMountingAccuracySettingsY,           28, Wire::F32},
    {&keys::OstDgnssInsMountingAccuracySettingsZ,           32, Wire::F32},
    {&keys::OstDgnssInsImuToCoGSettingsX,                   36, Wire::F32},
    {&keys::OstDgnssInsImuToCoGSettingsY,                   40, Wire::F32},
    {&keys::OstDgnssInsImuToCoGSettingsZ,                   44, Wire::F32},
    {&keys::OstDgnssInsPrimaryLeaverArmSettingsX,           48, Wire::F32},
    {&keys::OstDgnssInsPrimaryLeaverArmSettingsY,           52, Wire::F32},
    {&keys::OstDgnssInsPrimaryLeaverArmSettingsZ,           56, Wire::F32},
    {&keys::OstDgnssInsImuMountingAngleSettingsX,           60, Wire::F32},
    {&keys::OstDgnssInsImuMountingAngleSettingsY,           64, Wire::F32},
    {&keys::OstDgnssInsImuMountingAngleSettingsZ,           68, Wire::F32},
}, {.carrier = Carrier::PassThrough}};

inline constexpr auto PositioningRecords = std::to_array<RecordLayout>({
    PositioningXml, PositioningNtrip, PositioningCorrections, PositioningPulsePerSecond, PositioningSerialPort,
    InertialAutoCalibration, PositioningGeometry,
});

} // namespace records

/// Every key of this file, for look-up by text.
inline constexpr auto PositioningKeys = std::to_array<Key const*>({
    &keys::OstDgnssInsPrimaryToSecondaryAntennaSettingsX, &keys::OstDgnssInsPrimaryToSecondaryAntennaSettingsY,
    &keys::OstDgnssInsPrimaryToSecondaryAntennaSettingsZ, &keys::OstDgnssInsImuToPrimaryAntennaSettingsX,
    &keys::OstDgnssInsImuToPrimaryAntennaSettingsY, &keys::OstDgnssInsImuToPrimaryAntennaSettingsZ,
    &keys::OstDgnssInsMountingAccuracySettingsX, &keys::OstDgnssInsMountingAccuracySettingsY,
    &keys::OstDgnssInsMountingAccuracySettingsZ, &keys::OstDgnssInsImuToCoGSettingsX,
    &keys::OstDgnssInsImuToCoGSettingsY, &keys::OstDgnssInsImuToCoGSettingsZ,
    &keys::OstDgnssInsPrimaryLeaverArmSettingsX, &keys::OstDgnssInsPrimaryLeaverArmSettingsY,
    &keys::OstDgnssInsPrimaryLeaverArmSettingsZ, &keys::OstDgnssInsImuMountingAngleSettingsX,
    &keys::OstDgnssInsImuMountingAngleSettingsY, &keys::OstDgnssInsImuMountingAngleSettingsZ,
    &keys::OstDgnssInsIntegratorXml, &keys::OstDgnssInsPrimarySerialPortBaudrate,
    &keys::OstDgnssInsPrimarySerialPort485, &keys::OstDgnssInsSecondarySerialPortBaudrate,
    &keys::OstDgnssInsSecondarySerialPort485, &keys::OstDgnssInsCorrectionsSerialPortBaudrate,
    &keys::OstDgnssInsCorrectionsSerialPort485, &keys::OstDgnssInsCorrectionsInputFormat,
    &keys::OstDgnssInsNtripServer, &keys::OstDgnssInsNtripUsername, &keys::OstDgnssInsNtripPassword,
    &keys::OstDgnssInsNtripMountPoint, &keys::OstDgnssInsNtripVersion, &keys::OstDgnssInsNtripCga,
    &keys::OstDgnssInsNtripPort, &keys::OstDgnssInsNtripDisabled, &keys::OstDgnssInsPpsFlags,
    &keys::OstDgnssInsPpsIntervalMs, &keys::OstDgnssInsPpsDelayNs, &keys::OstDgnssInsSetAutoCalibratinStatus,
});

} // namespace qx5::protocol
