-- A dissector of the x5 record protocol for Wireshark. Written by `./dev docs` from the record tables.
--
--     wireshark -X lua_script:docs/x5_records.lua
--
-- Streams on TCP port 7000 are taken for it; others by "Decode As" or the preference. Filters: x5.record, x5.command,
-- x5.device, x5.enumerator, x5.name, x5.field.

-- Every record: who carries it, its id, the size of its fixed part in bytes, its fields, what follows them.
local records = {
    { carrier = "command", id = 90001, name = "record request", size = 4, tail = "none", tailName = "",
        itemSize = 0, fields = {
            { at = 0, width = 4, wire = "u32", name = "record id" },
        }, items = {
        } },
    { carrier = "command", id = 90002, name = "pass-through command", size = 16, tail = "bytes", tailName = "payload",
        itemSize = 0, fields = {
            { at = 0, width = 4, wire = "u32", name = "target device" },
            { at = 4, width = 2, wire = "u16", name = "target enumerator" },
            { at = 6, width = 2, wire = "u16", name = "reserved" },
            { at = 8, width = 4, wire = "u32", name = "command id" },
            { at = 12, width = 4, wire = "u32", name = "size" },
        }, items = {
        } },
    { carrier = "data", id = 90010, name = "attribute tree", size = 4, tail = "bytes", tailName = "nodes",
        itemSize = 0, fields = {
            { at = 0, width = 4, wire = "u32", name = "format", constant = 1 },
        }, items = {
        } },
    { carrier = "command", id = 90011, name = "playback operation", size = 20, tail = "none", tailName = "",
        itemSize = 0, fields = {
            { at = 0, width = 4, wire = "u32", name = "operation" },
            { at = 4, width = 8, wire = "f64", name = "command time", unit = "s" },
            { at = 12, width = 8, wire = "f64", name = "value" },
        }, items = {
        } },
    { carrier = "command", id = 1000, name = "shut down", size = 0, tail = "none", tailName = "",
        itemSize = 0, fields = {
        }, items = {
        } },
    { carrier = "command", id = 1001, name = "reboot", size = 0, tail = "none", tailName = "",
        itemSize = 0, fields = {
        }, items = {
        } },
    { carrier = "command", id = 1002, name = "calibration control", size = 2, tail = "none", tailName = "",
        itemSize = 0, fields = {
            { at = 0, width = 2, wire = "u16", name = "x5CalibCommand" },
        }, items = {
        } },
    { carrier = "command", id = 1003, name = "range", size = 4, tail = "none", tailName = "",
        itemSize = 0, fields = {
            { at = 0, width = 4, wire = "f32", name = "x5Range", unit = "m" },
        }, items = {
        } },
    { carrier = "command", id = 1004, name = "maximum ping rate", size = 4, tail = "none", tailName = "",
        itemSize = 0, fields = {
            { at = 0, width = 4, wire = "f32", name = "x5MaxPingRate", unit = "pings/s" },
        }, items = {
        } },
    { carrier = "command", id = 1005, name = "power", size = 4, tail = "none", tailName = "",
        itemSize = 0, fields = {
            { at = 0, width = 4, wire = "f32", name = "x5Power", unit = "dB" },
        }, items = {
        } },
    { carrier = "command", id = 1006, name = "pulse length", size = 4, tail = "none", tailName = "",
        itemSize = 0, fields = {
            { at = 0, width = 4, wire = "f32", name = "x5PulseLength", unit = "s" },
        }, items = {
        } },
    { carrier = "command", id = 1008, name = "gain", size = 4, tail = "none", tailName = "",
        itemSize = 0, fields = {
            { at = 0, width = 4, wire = "f32", name = "x5Gain", unit = "dB" },
        }, items = {
        } },
    { carrier = "command", id = 1011, name = "active projector", size = 4, tail = "none", tailName = "",
        itemSize = 0, fields = {
            { at = 0, width = 4, wire = "i32", name = "DeviceEnum" },
        }, items = {
        } },
    { carrier = "command", id = 1021, name = "beam steering", size = 8, tail = "none", tailName = "",
        itemSize = 0, fields = {
            { at = 0, width = 4, wire = "f32", name = "x5BeamSteer[0]", unit = "rad", factor = 180 / math.pi, keyUnit = "deg" },
            { at = 4, width = 4, wire = "f32", name = "x5BeamSteer[1]", unit = "rad", factor = 180 / math.pi, keyUnit = "deg" },
        }, items = {
        } },
    { carrier = "command", id = 1033, name = "motion compensation", size = 12, tail = "none", tailName = "",
        itemSize = 0, fields = {
            { at = 0, width = 1, wire = "u8", name = "x5MotionCompensationRoll" },
            { at = 1, width = 1, wire = "u8", name = "x5MotionCompensationPitch" },
        }, items = {
        } },
    { carrier = "command", id = 1035, name = "coverage sector", size = 8, tail = "none", tailName = "",
        itemSize = 0, fields = {
            { at = 0, width = 4, wire = "f32", name = "x5CoverageAngle", unit = "rad", factor = 180 / math.pi, keyUnit = "deg" },
            { at = 4, width = 4, wire = "f32", name = "x5RxSteeringAngle", unit = "rad", factor = 180 / math.pi, keyUnit = "deg" },
        }, items = {
        } },
    { carrier = "command", id = 1100, name = "pings on", size = 0, tail = "none", tailName = "",
        itemSize = 0, fields = {
        }, items = {
        } },
    { carrier = "command", id = 1101, name = "pings off", size = 0, tail = "none", tailName = "",
        itemSize = 0, fields = {
        }, items = {
        } },
    { carrier = "command", id = 1102, name = "load factory settings", size = 0, tail = "none", tailName = "",
        itemSize = 0, fields = {
        }, items = {
        } },
    { carrier = "command", id = 7610, name = "manual sound velocity", size = 10, tail = "none", tailName = "",
        itemSize = 0, fields = {
            { at = 0, width = 2, wire = "bit", name = "x5SoundVelocityOverride", bit = 0, bits = 1 },
            { at = 0, width = 2, wire = "bit", name = "no new sound velocity", bit = 1, bits = 1 },
            { at = 0, width = 2, wire = "bit", name = "new filter", bit = 2, bits = 1 },
            { at = 2, width = 4, wire = "f32", name = "x5SoundVelocity", unit = "m/s" },
            { at = 6, width = 1, wire = "u8", name = "x5SoundVelocityFilter" },
        }, items = {
        } },
    { carrier = "data", id = 7611, name = "absorption", size = 4, tail = "none", tailName = "",
        itemSize = 0, fields = {
            { at = 0, width = 4, wire = "f32", name = "x5Absorption", unit = "dB/km" },
        }, items = {
        } },
    { carrier = "data", id = 7612, name = "spreading loss", size = 4, tail = "none", tailName = "",
        itemSize = 0, fields = {
            { at = 0, width = 4, wire = "f32", name = "x5SpreadingLoss", unit = "dB" },
        }, items = {
        } },
    { carrier = "command", id = 7614, name = "manual temperature", size = 10, tail = "none", tailName = "",
        itemSize = 0, fields = {
            { at = 0, width = 2, wire = "bit", name = "x5TemperatureOverride", bit = 0, bits = 1 },
            { at = 0, width = 2, wire = "bit", name = "no new temperature", bit = 1, bits = 1 },
            { at = 2, width = 4, wire = "f32", name = "x5Temperature", unit = "degC" },
        }, items = {
        } },
    { carrier = "command", id = 10003, name = "maximum ping rate of a single-beam system", size = 4, tail = "none", tailName = "",
        itemSize = 0, fields = {
            { at = 0, width = 4, wire = "f32", name = "x5MaxPingRate", unit = "pings/s" },
        }, items = {
        } },
    { carrier = "command", id = 1500, name = "uncouple heads", size = 4, tail = "none", tailName = "",
        itemSize = 0, fields = {
            { at = 0, width = 4, wire = "u32", name = "coupled" },
        }, items = {
        } },
    { carrier = "command", id = 1500, name = "couple heads", size = 56, tail = "none", tailName = "",
        itemSize = 0, fields = {
            { at = 0, width = 4, wire = "u32", name = "coupled", constant = 1 },
            { at = 4, width = 4, wire = "u32", name = "x5DualHeadSlaveIp" },
            { at = 12, width = 4, wire = "u32", name = "x5FullRateDualHead" },
        }, items = {
        } },
    { carrier = "command", id = 1501, name = "default list of forwarded records", size = 4, tail = "u32", tailName = "record ids",
        itemSize = 0, fields = {
            { at = 0, width = 4, wire = "u32", name = "number of records" },
        }, items = {
        } },
    { carrier = "command", id = 1502, name = "full-rate coupling", size = 4, tail = "none", tailName = "",
        itemSize = 0, fields = {
            { at = 0, width = 4, wire = "u32", name = "x5FullRateDualHead" },
        }, items = {
        } },
    { carrier = "command", id = 1504, name = "list of forwarded records", size = 4, tail = "u32", tailName = "x5SlavedRecords",
        itemSize = 0, fields = {
            { at = 0, width = 4, wire = "u32", name = "number of records" },
        }, items = {
        } },
    { carrier = "command", id = 1014, name = "system mode", size = 4, tail = "none", tailName = "",
        itemSize = 0, fields = {
            { at = 0, width = 2, wire = "u16", name = "x5SystemMode" },
        }, items = {
        } },
    { carrier = "command", id = 1022, name = "projector beam widths", size = 8, tail = "none", tailName = "",
        itemSize = 0, fields = {
            { at = 0, width = 4, wire = "f32", name = "x5BeamWidthX", unit = "rad", factor = 180 / math.pi, keyUnit = "deg" },
            { at = 4, width = 4, wire = "f32", name = "x5BeamWidthZ", unit = "rad", factor = 180 / math.pi, keyUnit = "deg" },
        }, items = {
        } },
    { carrier = "command", id = 1038, name = "flex mode", size = 12, tail = "none", tailName = "",
        itemSize = 0, fields = {
            { at = 0, width = 4, wire = "f32", name = "x5FlexSectorCoverage", unit = "rad", factor = 180 / math.pi, keyUnit = "deg" },
            { at = 4, width = 4, wire = "f32", name = "x5FlexSectorSteering", unit = "rad", factor = 180 / math.pi, keyUnit = "deg" },
            { at = 8, width = 4, wire = "f32", name = "x5FlexOutsideSpacing" },
        }, items = {
        } },
    { carrier = "command", id = 1039, name = "beam mode", size = 2, tail = "none", tailName = "",
        itemSize = 0, fields = {
            { at = 0, width = 2, wire = "u16", name = "x5BeamModeSelection" },
        }, items = {
        } },
    { carrier = "command", id = 1043, name = "number of beams", size = 2, tail = "none", tailName = "",
        itemSize = 0, fields = {
            { at = 0, width = 2, wire = "u16", name = "x5CustomBeams", remark = "worked out by the handler" },
        }, items = {
        } },
    { carrier = "command", id = 1044, name = "constant spacing", size = 8, tail = "none", tailName = "",
        itemSize = 0, fields = {
            { at = 0, width = 4, wire = "f32", name = "x5ConstantSpacing", unit = "m", remark = "worked out by the handler" },
            { at = 4, width = 4, wire = "bit", name = "x5ConstantSpacingReduceCoverage", bit = 0, bits = 1 },
        }, items = {
        } },
    { carrier = "command", id = 1009, name = "gates in force", size = 4, tail = "none", tailName = "",
        itemSize = 0, fields = {
            { at = 0, width = 4, wire = "bit", name = "x5RangeFilterEnabled", bit = 8, bits = 1 },
            { at = 0, width = 4, wire = "bit", name = "x5DepthFilterEnabled", bit = 9, bits = 1 },
            { at = 0, width = 4, wire = "bit", name = "x5AdaptiveGateEnabled", bit = 10, bits = 1 },
            { at = 0, width = 4, wire = "bit", name = "x5AGDepthFilterEnabled", bit = 11, bits = 1 },
            { at = 0, width = 4, wire = "bit", name = "x5AGDepthFilterFixed", bit = 12, bits = 1 },
            { at = 0, width = 4, wire = "bit", name = "x5DepthFilterFollow", bit = 13, bits = 1 },
        }, items = {
        } },
    { carrier = "command", id = 1010, name = "absolute gates", size = 20, tail = "none", tailName = "",
        itemSize = 0, fields = {
            { at = 0, width = 4, wire = "f32", name = "x5MinRangeGate", unit = "m" },
            { at = 4, width = 4, wire = "f32", name = "x5MaxRangeGate", unit = "m" },
            { at = 8, width = 4, wire = "f32", name = "x5MinDepthGate", unit = "m" },
            { at = 12, width = 4, wire = "f32", name = "x5MaxDepthGate", unit = "m" },
            { at = 16, width = 4, wire = "f32", name = "x5DepthGateTilt", unit = "rad", factor = -180 / math.pi, keyUnit = "deg" },
        }, items = {
        } },
    { carrier = "command", id = 1016, name = "adaptive gate", size = 12, tail = "none", tailName = "",
        itemSize = 0, fields = {
            { at = 0, width = 4, wire = "i32", name = "x5AGWindowSize", unit = "%", remark = "cut toward zero" },
            { at = 4, width = 4, wire = "f32", name = "x5AGSearchMin", unit = "m" },
            { at = 8, width = 4, wire = "f32", name = "x5AGSearchMax", unit = "m" },
        }, items = {
        } },
    { carrier = "command", id = 1042, name = "detection gating along a pipe route", size = 48, tail = "items", tailName = "x5LorqPipeRoutePoint",
        itemSize = 40, fields = {
            { at = 0, width = 4, wire = "u32", name = "number of points" },
            { at = 4, width = 4, wire = "u32", name = "size of a point", unit = "bytes", constant = 40 },
        }, items = {
            { at = 0, width = 4, wire = "u32", name = "x5LorqPipeRoutePipeNumber" },
            { at = 4, width = 4, wire = "f32", name = "x5LorqDetDiameter" },
            { at = 8, width = 4, wire = "f32", name = "x5LorqDetBeamX" },
            { at = 12, width = 4, wire = "f32", name = "x5LorqDetBeamY" },
            { at = 16, width = 4, wire = "f32", name = "x5LorqDetBeamZ" },
            { at = 20, width = 4, wire = "f32", name = "x5LorqDetBeamAngle", unit = "rad", factor = 180 / math.pi, keyUnit = "deg" },
            { at = 24, width = 4, wire = "f32", name = "x5SoundVelocity", unit = "m/s" },
            { at = 28, width = 4, wire = "f32", name = "sample number of the detection" },
            { at = 32, width = 4, wire = "f32", name = "x5LorqDetSampleRate", unit = "Hz" },
            { at = 36, width = 4, wire = "i32", name = "x5LorqDetPingNumber" },
        } },
    { carrier = "command", id = 1124, name = "vertical detection mode", size = 1, tail = "none", tailName = "",
        itemSize = 0, fields = {
            { at = 0, width = 1, wire = "u8", name = "VerticalDetectionModeEnabled" },
        }, items = {
        } },
    { carrier = "command", id = 10016, name = "gates for bar checks", size = 12, tail = "none", tailName = "",
        itemSize = 0, fields = {
            { at = 0, width = 4, wire = "f32", name = "BarCheckMinGate", unit = "m" },
            { at = 4, width = 4, wire = "f32", name = "BarCheckMaxGate", unit = "m" },
            { at = 8, width = 4, wire = "i32", name = "BarCheckGateMode" },
        }, items = {
        } },
    { carrier = "command", id = 1007, name = "pulse type", size = 4, tail = "none", tailName = "",
        itemSize = 0, fields = {
            { at = 0, width = 4, wire = "i32", name = "x5PulseType" },
        }, items = {
        } },
    { carrier = "command", id = 1017, name = "gain mode", size = 8, tail = "none", tailName = "",
        itemSize = 0, fields = {
            { at = 0, width = 4, wire = "i32", name = "x5GainMode" },
            { at = 4, width = 4, wire = "i32", name = "x5GainStageSelection" },
        }, items = {
        } },
    { carrier = "command", id = 1019, name = "vernier parameters", size = 34, tail = "none", tailName = "",
        itemSize = 0, fields = {
            { at = 0, width = 2, wire = "u16", name = "leading constant", constant = 25 },
            { at = 2, width = 4, wire = "i32", name = "x5VernierBfMode" },
            { at = 11, width = 4, wire = "i32", name = "x5VernierSmoothFilterType" },
            { at = 15, width = 2, wire = "u16", name = "x5VernierSmoothFilterLength" },
        }, items = {
        } },
    { carrier = "command", id = 1026, name = "centre frequency", size = 4, tail = "none", tailName = "",
        itemSize = 0, fields = {
            { at = 0, width = 4, wire = "f32", name = "x5CenterFrequency", unit = "Hz" },
        }, items = {
        } },
    { carrier = "command", id = 1027, name = "frequency sweep", size = 8, tail = "none", tailName = "",
        itemSize = 0, fields = {
            { at = 0, width = 4, wire = "f32", name = "start frequency", unit = "Hz" },
            { at = 4, width = 4, wire = "f32", name = "stop frequency", unit = "Hz" },
        }, items = {
        } },
    { carrier = "command", id = 1040, name = "sample rate", size = 4, tail = "none", tailName = "",
        itemSize = 0, fields = {
            { at = 0, width = 4, wire = "i32", name = "x5SampleRateSelection", unit = "Hz", remark = "worked out by the handler" },
        }, items = {
        } },
    { carrier = "command", id = 1111, name = "number of pings in the water", size = 10, tail = "none", tailName = "",
        itemSize = 0, fields = {
            { at = 0, width = 2, wire = "u16", name = "x5MultiPingCount" },
        }, items = {
        } },
    { carrier = "command", id = 1122, name = "ping sequence", size = 4, tail = "none", tailName = "",
        itemSize = 0, fields = {
            { at = 0, width = 4, wire = "i32", name = "PingSequenceId" },
        }, items = {
        } },
    { carrier = "command", id = 1123, name = "multi-frequency ping sequence", size = 12, tail = "none", tailName = "",
        itemSize = 0, fields = {
            { at = 0, width = 4, wire = "f32", name = "PingSequenceFrequencyStart", unit = "Hz", factor = 1 / 1000, keyUnit = "kHz" },
            { at = 4, width = 4, wire = "f32", name = "PingSequenceFrequencyEnd", unit = "Hz", factor = 1 / 1000, keyUnit = "kHz" },
            { at = 8, width = 4, wire = "f32", name = "PingSequenceFrequencyStep", unit = "Hz", factor = 1 / 1000, keyUnit = "kHz" },
        }, items = {
        } },
    { carrier = "command", id = 14001, name = "source level mode", size = 4, tail = "none", tailName = "",
        itemSize = 0, fields = {
            { at = 0, width = 4, wire = "i32", name = "x5SourceLevelMode" },
        }, items = {
        } },
    { carrier = "command", id = 14002, name = "pulse characteristics", size = 20, tail = "none", tailName = "",
        itemSize = 0, fields = {
            { at = 0, width = 4, wire = "i32", name = "PulseCharacteristicsMode" },
            { at = 4, width = 4, wire = "i32", name = "PulseControl" },
            { at = 8, width = 4, wire = "i32", name = "PulseExtension" },
            { at = 12, width = 4, wire = "i32", name = "SurveyDepthMin", unit = "m" },
            { at = 16, width = 4, wire = "i32", name = "SurveyDepthMax", unit = "m" },
        }, items = {
        } },
    { carrier = "command", id = 1045, name = "multi-detection", size = 12, tail = "none", tailName = "",
        itemSize = 0, fields = {
            { at = 0, width = 2, wire = "u16", name = "x5MultiDetectEnabled" },
            { at = 2, width = 2, wire = "u16", name = "x5MultiDetectObjectSize" },
            { at = 4, width = 2, wire = "u16", name = "x5MultiDetectSensitivity", factor = 1 / 20, keyUnit = "" },
            { at = 6, width = 2, wire = "u16", name = "x5MultiDetectMaxDetections" },
        }, items = {
        } },
    { carrier = "command", id = 1118, name = "snippet control", size = 12, tail = "none", tailName = "",
        itemSize = 0, fields = {
            { at = 0, width = 4, wire = "u32", name = "x5AutoSnippetWindow" },
            { at = 4, width = 4, wire = "i32", name = "x5SnippetWindowSize" },
        }, items = {
        } },
    { carrier = "command", id = 1140, name = "automatic configuration", size = 64, tail = "none", tailName = "",
        itemSize = 0, fields = {
            { at = 0, width = 64, wire = "text", name = "AutoConfigActiveName" },
        }, items = {
        } },
    { carrier = "command", id = 1402, name = "tracker control", size = 12, tail = "none", tailName = "",
        itemSize = 0, fields = {
            { at = 0, width = 4, wire = "bit", name = "x5TrackerRangeEnabled", bit = 0, bits = 1 },
            { at = 0, width = 4, wire = "bit", name = "x5TrackerPowerGainEnabled", bit = 1, bits = 1 },
            { at = 0, width = 4, wire = "bit", name = "x5TrackerPulseLengthEnabled", bit = 2, bits = 1 },
            { at = 0, width = 4, wire = "bit", name = "x5TrackerCoverageAngleEnabled", bit = 3, bits = 1 },
            { at = 0, width = 4, wire = "bit", name = "x5TrackerFixedSwathEnabled", bit = 4, bits = 1 },
            { at = 0, width = 4, wire = "bit", name = "x5TrackerLimitCoverage", bit = 5, bits = 1 },
            { at = 4, width = 4, wire = "f32", name = "x5TrackerFixedSwathWidth", unit = "m" },
            { at = 8, width = 4, wire = "f32", name = "x5TrackerMaxCoverageAngle", unit = "rad", factor = 180 / math.pi, keyUnit = "deg" },
        }, items = {
        } },
    { carrier = "command", id = 1750, name = "forward detection", size = 4, tail = "none", tailName = "",
        itemSize = 0, fields = {
            { at = 0, width = 4, wire = "f32", name = "ForwardDetectSensitivity", factor = 5, keyUnit = "" },
        }, items = {
        } },
    { carrier = "command", id = 14003, name = "search for the depth", size = 0, tail = "none", tailName = "",
        itemSize = 0, fields = {
        }, items = {
        } },
    { carrier = "command", id = 14004, name = "system depth", size = 8, tail = "none", tailName = "",
        itemSize = 0, fields = {
            { at = 0, width = 4, wire = "i32", name = "SystemDepthSource" },
            { at = 4, width = 4, wire = "f32", name = "SystemDepthManual", unit = "m" },
        }, items = {
        } },
    { carrier = "data", id = 10025, name = "echo marker", size = 140, tail = "none", tailName = "",
        itemSize = 0, fields = {
            { at = 0, width = 4, wire = "i32", name = "EchoMarkerClient" },
            { at = 4, width = 4, wire = "i32", name = "EchoMarkerNumber" },
            { at = 8, width = 4, wire = "i32", name = "EchoMarkerPingNumber" },
            { at = 12, width = 10, wire = "time", name = "EchoMarkerTime", unit = "s" },
            { at = 24, width = 8, wire = "f64", name = "EchoMarkerLatitude" },
            { at = 32, width = 8, wire = "f64", name = "EchoMarkerLongitude" },
            { at = 40, width = 8, wire = "f64", name = "EchoMarkerAltitude", unit = "m" },
            { at = 48, width = 4, wire = "bit", name = "annotation holds", bit = 0, bits = 1 },
            { at = 48, width = 4, wire = "bit", name = "depth holds", bit = 1, bits = 1 },
            { at = 48, width = 4, wire = "bit", name = "latitude holds", bit = 2, bits = 1 },
            { at = 48, width = 4, wire = "bit", name = "longitude holds", bit = 3, bits = 1 },
            { at = 48, width = 4, wire = "bit", name = "altitude holds", bit = 4, bits = 1 },
            { at = 48, width = 4, wire = "bit", name = "heave holds", bit = 5, bits = 1 },
            { at = 48, width = 4, wire = "bit", name = "time holds", bit = 12, bits = 1 },
            { at = 48, width = 4, wire = "bit", name = "ping number holds", bit = 13, bits = 1 },
            { at = 52, width = 4, wire = "f32", name = "EchoMarkerDepth", unit = "m" },
            { at = 56, width = 4, wire = "f32", name = "EchoMarkerHeave", unit = "m" },
            { at = 60, width = 80, wire = "text", name = "EchoMarkerAnnotation" },
        }, items = {
        } },
    { carrier = "command", id = 1114, name = "trigger input", size = 0, tail = "none", tailName = "",
        itemSize = 0, fields = {
        }, items = {
        } },
    { carrier = "command", id = 1115, name = "trigger output", size = 20, tail = "none", tailName = "",
        itemSize = 0, fields = {
            { at = 0, width = 4, wire = "bit", name = "x5TriggerOutput", bit = 0, bits = 1 },
            { at = 0, width = 4, wire = "bit", name = "x5TriggerOutputRxDuration", bit = 1, bits = 1 },
            { at = 4, width = 8, wire = "f64", name = "x5TriggerOutputPulse", unit = "s", factor = 1000, keyUnit = "ms" },
            { at = 12, width = 8, wire = "f64", name = "x5TriggerOutputDelay", unit = "s", factor = 1000, keyUnit = "ms" },
        }, items = {
        } },
    { carrier = "command", id = 1116, name = "edges of the timing inputs", size = 4, tail = "none", tailName = "",
        itemSize = 0, fields = {
            { at = 0, width = 4, wire = "bit", name = "x5PpsEdge", bit = 0, bits = 1, remark = "set when the value is 0" },
            { at = 0, width = 4, wire = "bit", name = "x5TriggerInputEdge", bit = 1, bits = 1, remark = "set when the value is 0" },
        }, items = {
        } },
    { carrier = "command", id = 1117, name = "advanced trigger output", size = 28, tail = "none", tailName = "",
        itemSize = 0, fields = {
            { at = 0, width = 4, wire = "i32", name = "x5TriggerIndex" },
            { at = 4, width = 4, wire = "i32", name = "x5TriggerMode" },
            { at = 8, width = 4, wire = "i32", name = "x5TriggerPolarity" },
            { at = 12, width = 8, wire = "f64", name = "x5TriggerOutputPulse", unit = "s", factor = 1000, keyUnit = "ms" },
            { at = 20, width = 8, wire = "f64", name = "x5TriggerOutputDelay", unit = "s", factor = 1000, keyUnit = "ms" },
        }, items = {
        } },
    { carrier = "command", id = 1046, name = "power saving", size = 4, tail = "none", tailName = "",
        itemSize = 0, fields = {
            { at = 0, width = 1, wire = "u8", name = "x5PowerSaveMode" },
            { at = 2, width = 2, wire = "u16", name = "x5PowerSaveBlankPercent", unit = "%" },
        }, items = {
        } },
    { carrier = "command", id = 1048, name = "duty cycle limitation", size = 2, tail = "none", tailName = "",
        itemSize = 0, fields = {
            { at = 0, width = 2, wire = "u16", name = "x5DutyCycleLimitation" },
        }, items = {
        } },
    { carrier = "command", id = 1603, name = "ping stacking", size = 2, tail = "none", tailName = "",
        itemSize = 0, fields = {
            { at = 0, width = 1, wire = "u8", name = "x5StackingEnabled" },
            { at = 1, width = 1, wire = "u8", name = "x5StackingValue" },
        }, items = {
        } },
    { carrier = "command", id = 7011, name = "image data setup", size = 8, tail = "none", tailName = "",
        itemSize = 0, fields = {
            { at = 0, width = 4, wire = "i32", name = "MaxImageHeight" },
            { at = 4, width = 4, wire = "i32", name = "BytesPerPixel", unit = "bytes" },
        }, items = {
        } },
    { carrier = "command", id = 7013, name = "A-scan beams", size = 12, tail = "none", tailName = "",
        itemSize = 0, fields = {
            { at = 0, width = 4, wire = "u32", name = "AScanBeamSubscribe" },
            { at = 4, width = 4, wire = "i32", name = "AScanBeamStart" },
            { at = 8, width = 4, wire = "i32", name = "AScanBeamEnd" },
        }, items = {
        } },
    { carrier = "passed", id = 7013, name = "A-scan beams", size = 12, tail = "none", tailName = "",
        itemSize = 0, fields = {
            { at = 0, width = 4, wire = "u32", name = "AScanBeamSubscribe" },
            { at = 4, width = 4, wire = "i32", name = "AScanBeamStart" },
            { at = 8, width = 4, wire = "i32", name = "AScanBeamEnd" },
        }, items = {
        } },
    { carrier = "command", id = 7042, name = "options of record 7042", size = 4, tail = "none", tailName = "",
        itemSize = 0, fields = {
            { at = 0, width = 4, wire = "bit", name = "x57042UseBD", bit = 0, bits = 1 },
            { at = 0, width = 4, wire = "bit", name = "x57042MagOnly", bit = 1, bits = 1 },
            { at = 0, width = 4, wire = "bit", name = "x57042Compress", bit = 2, bits = 1 },
            { at = 0, width = 4, wire = "bits", name = "x57042DownsampleDivisor", bit = 4, bits = 4 },
            { at = 0, width = 4, wire = "bits", name = "x57042DownsampleType", bit = 8, bits = 24 },
        }, items = {
        } },
    { carrier = "command", id = 14005, name = "sound velocity probe", size = 4, tail = "none", tailName = "",
        itemSize = 0, fields = {
            { at = 0, width = 4, wire = "u32", name = "x5SoundVelocityProbeEnabled" },
        }, items = {
        } },
    { carrier = "command", id = 14006, name = "ASD recording", size = 4, tail = "none", tailName = "",
        itemSize = 0, fields = {
            { at = 0, width = 4, wire = "u32", name = "ASDRecordingEnabled" },
        }, items = {
        } },
    { carrier = "command", id = 14007, name = "stave recording", size = 8, tail = "none", tailName = "",
        itemSize = 0, fields = {
            { at = 0, width = 4, wire = "u32", name = "StaveRecordingEnabled" },
            { at = 4, width = 4, wire = "i32", name = "StaveRecordingProcessingStage" },
        }, items = {
        } },
    { carrier = "command", id = 1037, name = "motion sensor", size = 31, tail = "none", tailName = "",
        itemSize = 0, fields = {
            { at = 0, width = 1, wire = "u8", name = "x5MotionSensorFormat" },
            { at = 1, width = 1, wire = "u8", name = "x5MotionSensorBaudrate" },
            { at = 2, width = 1, wire = "u8", name = "x5MotionSensorParity" },
            { at = 3, width = 1, wire = "u8", name = "x5MotionSensorDataBits" },
            { at = 4, width = 1, wire = "u8", name = "x5MotionSensorStopBits" },
            { at = 5, width = 1, wire = "u8", name = "x5MotionSensorOrientation" },
            { at = 7, width = 4, wire = "f32", name = "x5MotionSensorLatency" },
        }, items = {
        } },
    { carrier = "command", id = 1057, name = "heading sensor", size = 8, tail = "none", tailName = "",
        itemSize = 0, fields = {
            { at = 0, width = 1, wire = "u8", name = "x5HeadingSensorFormat" },
            { at = 1, width = 1, wire = "u8", name = "x5HeadingSensorBaudrate" },
            { at = 2, width = 1, wire = "u8", name = "x5HeadingSensorParity" },
            { at = 3, width = 1, wire = "u8", name = "x5HeadingSensorDataBits" },
            { at = 4, width = 1, wire = "u8", name = "x5HeadingSensorStopBits" },
        }, items = {
        } },
    { carrier = "command", id = 1602, name = "sensor selection", size = 2, tail = "none", tailName = "",
        itemSize = 0, fields = {
            { at = 0, width = 1, wire = "u8", name = "x5UseBuildInPOSMV" },
            { at = 1, width = 1, wire = "u8", name = "x5UseAttachedSVP" },
        }, items = {
        } },
    { carrier = "command", id = 1604, name = "sensors on the serial inputs", size = 20, tail = "none", tailName = "",
        itemSize = 0, fields = {
            { at = 0, width = 1, wire = "u8", name = "x5ZdaBaudrate" },
            { at = 1, width = 1, wire = "u8", name = "x5ZdaParity" },
            { at = 2, width = 1, wire = "u8", name = "x5ZdaDatabits" },
            { at = 3, width = 1, wire = "u8", name = "x5ZdaStopBits" },
            { at = 4, width = 1, wire = "u8", name = "x5GgaBaudrate" },
            { at = 5, width = 1, wire = "u8", name = "x5GgaParity" },
            { at = 6, width = 1, wire = "u8", name = "x5GgaDatabits" },
            { at = 7, width = 1, wire = "u8", name = "x5GgaStopBits" },
            { at = 8, width = 1, wire = "u8", name = "x5SvpBaudrate" },
            { at = 9, width = 1, wire = "u8", name = "x5SvpParity" },
            { at = 10, width = 1, wire = "u8", name = "x5SvpDatabits" },
            { at = 11, width = 1, wire = "u8", name = "x5SvpStopBits" },
            { at = 12, width = 1, wire = "u8", name = "x5HprBaudrate" },
            { at = 13, width = 1, wire = "u8", name = "x5HprParity" },
            { at = 14, width = 1, wire = "u8", name = "x5HprDatabits" },
            { at = 15, width = 1, wire = "u8", name = "x5HprStopBits" },
            { at = 16, width = 1, wire = "u8", name = "x5HdtBaudrate" },
            { at = 17, width = 1, wire = "u8", name = "x5HdtParity" },
            { at = 18, width = 1, wire = "u8", name = "x5HdtDatabits" },
            { at = 19, width = 1, wire = "u8", name = "x5HdtStopBits" },
        }, items = {
        } },
    { carrier = "command", id = 1605, name = "addresses of the remote I/O modules", size = 768, tail = "none", tailName = "",
        itemSize = 0, fields = {
            { at = 0, width = 256, wire = "text", name = "x5QMIOAddress1" },
            { at = 256, width = 256, wire = "text", name = "x5QMIOAddress2" },
            { at = 512, width = 256, wire = "text", name = "x5QMIOAddress3" },
        }, items = {
        } },
    { carrier = "command", id = 1607, name = "sonar mounting", size = 4, tail = "none", tailName = "",
        itemSize = 0, fields = {
            { at = 0, width = 4, wire = "f32", name = "ATTR_ROLLCOR", unit = "rad", factor = -180 / math.pi, keyUnit = "deg" },
        }, items = {
        } },
    { carrier = "command", id = 1608, name = "deck mode", size = 4, tail = "none", tailName = "",
        itemSize = 0, fields = {
            { at = 0, width = 4, wire = "u32", name = "x5DeckMode" },
        }, items = {
        } },
    { carrier = "command", id = 1610, name = "power of the built-in motion unit", size = 0, tail = "none", tailName = "",
        itemSize = 0, fields = {
        }, items = {
        } },
    { carrier = "command", id = 10020, name = "serial port configuration", size = 84, tail = "none", tailName = "",
        itemSize = 0, fields = {
            { at = 0, width = 4, wire = "i32", name = "SerialPortIndex" },
            { at = 4, width = 2, wire = "bit", name = "SerialPortEnabled", bit = 0, bits = 1, remark = "set when the value is exactly 1" },
            { at = 4, width = 2, wire = "bit", name = "SerialPortConfigured", bit = 1, bits = 1, remark = "set when the value is exactly 1" },
            { at = 4, width = 2, wire = "bit", name = "SerialPortAutoConfigure", bit = 2, bits = 1, remark = "set when the value is exactly 1" },
            { at = 8, width = 8, wire = "bit", name = "OutputChan1", bit = 56, bits = 1 },
            { at = 8, width = 8, wire = "bit", name = "OutputChan2", bit = 57, bits = 1 },
            { at = 16, width = 4, wire = "i32", name = "PhyIndex" },
            { at = 20, width = 4, wire = "i32", name = "BaudrateIndex" },
            { at = 24, width = 4, wire = "i32", name = "DatabitsIndex" },
            { at = 28, width = 4, wire = "i32", name = "StopBitsIndex" },
            { at = 32, width = 4, wire = "i32", name = "ParityIndex" },
            { at = 36, width = 4, wire = "i32", name = "SerialDataFormatIndex" },
        }, items = {
        } },
    { carrier = "command", id = 10021, name = "serial or UDP port status", size = 8, tail = "none", tailName = "",
        itemSize = 0, fields = {
            { at = 0, width = 4, wire = "i32", name = "port index" },
            { at = 4, width = 4, wire = "i32", name = "command" },
        }, items = {
        } },
    { carrier = "command", id = 10022, name = "time source", size = 8, tail = "none", tailName = "",
        itemSize = 0, fields = {
            { at = 0, width = 4, wire = "i32", name = "TimeSourceID" },
            { at = 4, width = 4, wire = "i32", name = "TimeSourceCommand" },
        }, items = {
        } },
    { carrier = "command", id = 10023, name = "time source on the network", size = 40, tail = "none", tailName = "",
        itemSize = 0, fields = {
            { at = 0, width = 4, wire = "i32", name = "TimeSourceID" },
            { at = 4, width = 32, wire = "text", name = "TimeSourceName" },
            { at = 36, width = 4, wire = "u32", name = "TimeSourceIPV4", remark = "worked out by the handler" },
        }, items = {
        } },
    { carrier = "command", id = 10024, name = "UDP port configuration", size = 20, tail = "none", tailName = "",
        itemSize = 0, fields = {
            { at = 0, width = 4, wire = "i32", name = "UdpPortIndex" },
            { at = 4, width = 4, wire = "u32", name = "UdpAddress", remark = "worked out by the handler" },
            { at = 8, width = 2, wire = "u16", name = "UdpPort", remark = "worked out by the handler" },
            { at = 10, width = 2, wire = "bit", name = "UdpPortEnabled", bit = 0, bits = 1, remark = "set when the value is exactly 1" },
            { at = 10, width = 2, wire = "bit", name = "UdpPortConfigured", bit = 1, bits = 1, remark = "set when the value is exactly 1" },
            { at = 12, width = 2, wire = "u16", name = "UdpDataFormatIndex" },
            { at = 16, width = 4, wire = "bit", name = "OutputChan1", bit = 0, bits = 1 },
            { at = 16, width = 4, wire = "bit", name = "OutputChan2", bit = 1, bits = 1 },
        }, items = {
        } },
    { carrier = "data", id = 1020, name = "sonar installation identifiers", size = 164, tail = "none", tailName = "",
        itemSize = 0, fields = {
            { at = 0, width = 4, wire = "u32", name = "x5MBesXYZSonarId" },
            { at = 4, width = 4, wire = "u32", name = "x5MBesXYZTXUnitID" },
            { at = 8, width = 4, wire = "u32", name = "x5MBesXYZRXUnitID" },
            { at = 12, width = 4, wire = "u32", name = "x5MBesXYZNumber" },
            { at = 16, width = 4, wire = "u32", name = "x5MBesXYZFixedParams" },
            { at = 20, width = 4, wire = "f32", name = "x5MBesXYZLength", unit = "m" },
            { at = 24, width = 4, wire = "f32", name = "x5MBesXYZWidth", unit = "m" },
            { at = 28, width = 4, wire = "f32", name = "x5MBesXYZHeight", unit = "m" },
            { at = 32, width = 4, wire = "f32", name = "x5MBesXYZRadius", unit = "m" },
            { at = 36, width = 4, wire = "f32", name = "x5BracketX", unit = "m" },
            { at = 40, width = 4, wire = "f32", name = "x5MBesXYZOffsetY", unit = "m" },
            { at = 44, width = 4, wire = "f32", name = "x5BracketZ", unit = "m" },
            { at = 48, width = 4, wire = "f32", name = "x5MBesXYZOffsetRoll", unit = "rad", factor = 180 / math.pi, keyUnit = "deg" },
            { at = 52, width = 4, wire = "f32", name = "x5MBesXYZOffsetPitch", unit = "rad", factor = 180 / math.pi, keyUnit = "deg" },
            { at = 56, width = 4, wire = "f32", name = "x5MBesXYZOffsetYaw", unit = "rad", factor = 180 / math.pi, keyUnit = "deg" },
            { at = 60, width = 4, wire = "f32", name = "x5MBesXYZLength", unit = "m" },
            { at = 64, width = 4, wire = "f32", name = "x5MBesXYZWidth", unit = "m" },
            { at = 68, width = 4, wire = "f32", name = "x5MBesXYZHeight", unit = "m" },
            { at = 72, width = 4, wire = "f32", name = "x5MBesXYZRadius", unit = "m" },
            { at = 76, width = 4, wire = "f32", name = "x5MBesXYZOffsetX", unit = "m" },
            { at = 80, width = 4, wire = "f32", name = "x5BracketY", unit = "m", factor = -1, keyUnit = "m" },
            { at = 84, width = 4, wire = "f32", name = "x5MBesXYZOffsetZ", unit = "m" },
            { at = 88, width = 4, wire = "f32", name = "ATTR_ROLLCOR", unit = "rad", factor = 180 / math.pi, keyUnit = "deg" },
            { at = 92, width = 4, wire = "f32", name = "ATTR_PITCHCOR", unit = "rad", factor = -180 / math.pi, keyUnit = "deg" },
            { at = 96, width = 4, wire = "f32", name = "x5MBesXYZOffsetYaw", unit = "rad", factor = 180 / math.pi, keyUnit = "deg" },
            { at = 100, width = 4, wire = "f32", name = "x5MBesXYZFrequency" },
            { at = 104, width = 4, wire = "f32", name = "ATTR_DEVICEOFFSET[0]", unit = "m" },
            { at = 108, width = 4, wire = "f32", name = "ATTR_DEVICEOFFSET[1]", unit = "m" },
            { at = 112, width = 4, wire = "f32", name = "ATTR_DEVICEOFFSET[2]", unit = "m" },
            { at = 116, width = 4, wire = "u32", name = "ATTR_CABLELENGTH" },
        }, items = {
        } },
    { carrier = "command", id = 1047, name = "start-up configuration", size = 20, tail = "none", tailName = "",
        itemSize = 0, fields = {
            { at = 0, width = 1, wire = "u8", name = "x5StartupNormalization" },
            { at = 1, width = 1, wire = "u8", name = "x5RestorePingrate" },
            { at = 2, width = 1, wire = "u8", name = "x5RestorePower" },
            { at = 3, width = 1, wire = "u8", name = "x5SVInterlock" },
            { at = 4, width = 1, wire = "u8", name = "x5IgnorePpsErrors" },
            { at = 5, width = 1, wire = "u8", name = "x5RestoreRecording" },
            { at = 6, width = 1, wire = "u8", name = "x5RestoreTracker" },
            { at = 7, width = 1, wire = "u8", name = "PowerModeSelection" },
        }, items = {
        } },
    { carrier = "passed", id = 20000, name = "positioning unit, configuration text", size = 12, tail = "text", tailName = "OstDgnssInsIntegratorXml",
        itemSize = 0, fields = {
            { at = 0, width = 8, wire = "f64", name = "reserved" },
            { at = 8, width = 4, wire = "u32", name = "length of the text", unit = "bytes" },
        }, items = {
        } },
    { carrier = "passed", id = 20001, name = "positioning unit, NTRIP client", size = 232, tail = "none", tailName = "",
        itemSize = 0, fields = {
            { at = 0, width = 64, wire = "text", name = "OstDgnssInsNtripServer" },
            { at = 64, width = 32, wire = "text", name = "OstDgnssInsNtripUsername" },
            { at = 96, width = 64, wire = "text", name = "OstDgnssInsNtripPassword", remark = "worked out by the handler" },
            { at = 160, width = 64, wire = "text", name = "OstDgnssInsNtripMountPoint" },
            { at = 224, width = 1, wire = "u8", name = "OstDgnssInsNtripVersion", remark = "+ 1" },
            { at = 225, width = 1, wire = "u8", name = "OstDgnssInsNtripCga", remark = "worked out by the handler" },
            { at = 226, width = 2, wire = "bit", name = "always set", bit = 0, bits = 1, constant = 1 },
            { at = 226, width = 2, wire = "bit", name = "OstDgnssInsNtripDisabled", bit = 1, bits = 1 },
            { at = 228, width = 4, wire = "u32", name = "OstDgnssInsNtripPort" },
        }, items = {
        } },
    { carrier = "passed", id = 20004, name = "positioning unit, corrections input", size = 16, tail = "none", tailName = "",
        itemSize = 0, fields = {
            { at = 6, width = 1, wire = "u8", name = "OstDgnssInsCorrectionsInputFormat" },
        }, items = {
        } },
    { carrier = "passed", id = 20013, name = "positioning unit, pulse per second", size = 8, tail = "none", tailName = "",
        itemSize = 0, fields = {
            { at = 0, width = 2, wire = "u16", name = "OstDgnssInsPpsIntervalMs", unit = "ms" },
            { at = 2, width = 2, wire = "u16", name = "OstDgnssInsPpsFlags" },
            { at = 4, width = 4, wire = "u32", name = "OstDgnssInsPpsDelayNs", unit = "ns" },
        }, items = {
        } },
    { carrier = "passed", id = 20015, name = "positioning unit, serial port", size = 8, tail = "none", tailName = "",
        itemSize = 0, fields = {
            { at = 0, width = 1, wire = "u8", name = "port" },
            { at = 2, width = 2, wire = "u16", name = "RS-485" },
            { at = 4, width = 4, wire = "u32", name = "baud rate", unit = "bit/s" },
        }, items = {
        } },
    { carrier = "passed", id = 20017, name = "inertial unit, automatic calibration", size = 4, tail = "none", tailName = "",
        itemSize = 0, fields = {
            { at = 0, width = 4, wire = "i32", name = "OstDgnssInsSetAutoCalibratinStatus" },
        }, items = {
        } },
    { carrier = "passed", id = 20021, name = "positioning unit, geometry", size = 72, tail = "none", tailName = "",
        itemSize = 0, fields = {
            { at = 0, width = 4, wire = "f32", name = "OstDgnssInsPrimaryToSecondaryAntennaSettingsX" },
            { at = 4, width = 4, wire = "f32", name = "OstDgnssInsPrimaryToSecondaryAntennaSettingsY" },
            { at = 8, width = 4, wire = "f32", name = "OstDgnssInsPrimaryToSecondaryAntennaSettingsZ" },
            { at = 12, width = 4, wire = "f32", name = "OstDgnssInsImuToPrimaryAntennaSettingsX" },
            { at = 16, width = 4, wire = "f32", name = "OstDgnssInsImuToPrimaryAntennaSettingsY" },
            { at = 20, width = 4, wire = "f32", name = "OstDgnssInsImuToPrimaryAntennaSettingsZ" },
            { at = 24, width = 4, wire = "f32", name = "OstDgnssInsMountingAccuracySettingsX" },
            { at = 28, width = 4, wire = "f32", name = "OstDgnssInsMountingAccuracySettingsY" },
            { at = 32, width = 4, wire = "f32", name = "OstDgnssInsMountingAccuracySettingsZ" },
            { at = 36, width = 4, wire = "f32", name = "OstDgnssInsImuToCoGSettingsX" },
            { at = 40, width = 4, wire = "f32", name = "OstDgnssInsImuToCoGSettingsY" },
            { at = 44, width = 4, wire = "f32", name = "OstDgnssInsImuToCoGSettingsZ" },
            { at = 48, width = 4, wire = "f32", name = "OstDgnssInsPrimaryLeaverArmSettingsX" },
            { at = 52, width = 4, wire = "f32", name = "OstDgnssInsPrimaryLeaverArmSettingsY" },
            { at = 56, width = 4, wire = "f32", name = "OstDgnssInsPrimaryLeaverArmSettingsZ" },
            { at = 60, width = 4, wire = "f32", name = "OstDgnssInsImuMountingAngleSettingsX" },
            { at = 64, width = 4, wire = "f32", name = "OstDgnssInsImuMountingAngleSettingsY" },
            { at = 68, width = 4, wire = "f32", name = "OstDgnssInsImuMountingAngleSettingsZ" },
        }, items = {
        } },
    { carrier = "command", id = 1058, name = "default settings", size = 0, tail = "none", tailName = "",
        itemSize = 0, fields = {
        }, items = {
        } },
    { carrier = "data", id = 3002, name = "file for the sonar", size = 180, tail = "bytes", tailName = "contents",
        itemSize = 0, fields = {
            { at = 0, width = 128, wire = "text", name = "file name" },
            { at = 128, width = 16, wire = "text", name = "file type" },
            { at = 144, width = 4, wire = "u32", name = "size of the contents", unit = "bytes" },
        }, items = {
        } },
    { carrier = "command", id = 3006, name = "single-beam settings", size = 164, tail = "text", tailName = "SbesSettingsXml",
        itemSize = 0, fields = {
            { at = 0, width = 128, wire = "text", name = "SbesSettingsXmlChecksum" },
            { at = 128, width = 4, wire = "u32", name = "size of the XML without its terminator", unit = "bytes" },
        }, items = {
        } },
    { carrier = "command", id = 10001, name = "draft of a transducer", size = 8, tail = "none", tailName = "",
        itemSize = 0, fields = {
            { at = 0, width = 4, wire = "f32", name = "SbesTransducerDraft", unit = "m" },
            { at = 4, width = 4, wire = "f32", name = "SbesTransducerIndex" },
        }, items = {
        } },
    { carrier = "command", id = 10004, name = "channel selection", size = 8, tail = "none", tailName = "",
        itemSize = 0, fields = {
            { at = 0, width = 4, wire = "u32", name = "SbChannelSelect" },
            { at = 4, width = 4, wire = "u32", name = "select", constant = 1 },
        }, items = {
        } },
    { carrier = "command", id = 10005, name = "transducer selection", size = 4, tail = "none", tailName = "",
        itemSize = 0, fields = {
            { at = 0, width = 4, wire = "i32", name = "SbTransducerIndex" },
        }, items = {
        } },
    { carrier = "command", id = 10007, name = "operation mode of a single-beam system", size = 8, tail = "none", tailName = "",
        itemSize = 0, fields = {
            { at = 0, width = 4, wire = "u32", name = "SbesSystemState" },
            { at = 4, width = 4, wire = "u32", name = "SbesOperationMode" },
        }, items = {
        } },
    { carrier = "command", id = 10008, name = "tracker tweak mode", size = 4, tail = "items", tailName = "",
        itemSize = 8, fields = {
            { at = 0, width = 4, wire = "u32", name = "number of settings", constant = 7 },
        }, items = {
            { at = 0, width = 4, wire = "u32", name = "setting" },
            { at = 4, width = 4, wire = "u32", name = "SbesTrackerTweakMode", remark = "worked out by the handler" },
        } },
    { carrier = "command", id = 10014, name = "gain tweak", size = 8, tail = "none", tailName = "",
        itemSize = 0, fields = {
            { at = 0, width = 4, wire = "u32", name = "selector", constant = 2 },
            { at = 4, width = 4, wire = "f32", name = "x5GainTweak" },
        }, items = {
        } },
    { carrier = "command", id = 10014, name = "power tweak", size = 8, tail = "none", tailName = "",
        itemSize = 0, fields = {
            { at = 0, width = 4, wire = "u32", name = "selector", constant = 6 },
            { at = 4, width = 4, wire = "f32", name = "x5PowerTweak" },
        }, items = {
        } },
    { carrier = "command", id = 10014, name = "pulse length tweak", size = 8, tail = "none", tailName = "",
        itemSize = 0, fields = {
            { at = 0, width = 4, wire = "u32", name = "selector", constant = 5 },
            { at = 4, width = 4, wire = "f32", name = "x5PulseLengthTweak" },
        }, items = {
        } },
    { carrier = "command", id = 10014, name = "range tweak", size = 8, tail = "none", tailName = "",
        itemSize = 0, fields = {
            { at = 0, width = 4, wire = "u32", name = "selector", constant = 1 },
            { at = 4, width = 4, wire = "f32", name = "x5RangeTweak" },
        }, items = {
        } },
    { carrier = "command", id = 1107, name = "single ping", size = 0, tail = "none", tailName = "",
        itemSize = 0, fields = {
        }, items = {
        } },
    { carrier = "command", id = 1200, name = "start recording", size = 260, tail = "none", tailName = "",
        itemSize = 0, fields = {
            { at = 4, width = 256, wire = "text", name = "file name, empty: the sonar chooses" },
        }, items = {
        } },
    { carrier = "command", id = 1201, name = "stop recording", size = 0, tail = "none", tailName = "",
        itemSize = 0, fields = {
        }, items = {
        } },
    { carrier = "command", id = 1207, name = "recording directory", size = 256, tail = "none", tailName = "",
        itemSize = 0, fields = {
            { at = 0, width = 256, wire = "text", name = "x5DirectoryName" },
        }, items = {
        } },
    { carrier = "command", id = 1208, name = "recording file name parts", size = 512, tail = "none", tailName = "",
        itemSize = 0, fields = {
            { at = 0, width = 256, wire = "text", name = "x5StorageFileNamePrefix" },
            { at = 256, width = 256, wire = "text", name = "x5StorageFileNamePostfix" },
        }, items = {
        } },
    { carrier = "command", id = 1209, name = "recorder filter list", size = 6, tail = "i32", tailName = "x5RDRFilterList",
        itemSize = 0, fields = {
            { at = 0, width = 4, wire = "u32", name = "constant", constant = 65536 },
            { at = 4, width = 2, wire = "u16", name = "number of entries" },
        }, items = {
        } },
    { carrier = "command", id = 1211, name = "recorder file handling", size = 2, tail = "none", tailName = "",
        itemSize = 0, fields = {
            { at = 0, width = 1, wire = "u8", name = "x5StorageSingleFile" },
            { at = 1, width = 1, wire = "u8", name = "x5StorageHistory" },
        }, items = {
        } },
    { carrier = "command", id = 1600, name = "custom storage", size = 774, tail = "none", tailName = "",
        itemSize = 0, fields = {
            { at = 0, width = 256, wire = "text", name = "x5StorageDirectory" },
            { at = 256, width = 256, wire = "text", name = "x5StorageHeader" },
            { at = 512, width = 256, wire = "text", name = "x5StorageTrailer" },
            { at = 768, width = 1, wire = "u8", name = "x5StoragePrependHeader" },
            { at = 769, width = 1, wire = "u8", name = "x5StorageAppendTrailer" },
            { at = 770, width = 4, wire = "u32", name = "x5StorageEnabled" },
        }, items = {
        } },
    { carrier = "command", id = 1601, name = "custom playback", size = 518, tail = "none", tailName = "",
        itemSize = 0, fields = {
            { at = 0, width = 256, wire = "text", name = "Kv3PlaybackDirectory" },
            { at = 256, width = 256, wire = "text", name = "Kv3PlaybackFile" },
            { at = 512, width = 4, wire = "u32", name = "Kv3PlaybackMode" },
            { at = 516, width = 1, wire = "u8", name = "Kv3PlaybackEnabled" },
            { at = 517, width = 1, wire = "u8", name = "Kv3PlaybackKeepTimestamps" },
        }, items = {
        } },
    { carrier = "data", id = 11051, name = "hoist raise or lower", size = 2, tail = "none", tailName = "",
        itemSize = 0, fields = {
            { at = 0, width = 2, wire = "u16", name = "CmdRaiseLower" },
        }, items = {
        } },
    { carrier = "data", id = 11052, name = "pan-and-tilt position", size = 12, tail = "none", tailName = "",
        itemSize = 0, fields = {
            { at = 0, width = 4, wire = "f32", name = "CmdRoll", unit = "rad", factor = 180 / math.pi, keyUnit = "deg" },
            { at = 4, width = 4, wire = "f32", name = "CmdRotate", unit = "rad", factor = 180 / math.pi, keyUnit = "deg" },
            { at = 8, width = 4, wire = "f32", name = "CmdTilt", unit = "rad", factor = -180 / math.pi, keyUnit = "deg" },
        }, items = {
        } },
    { carrier = "data", id = 18000, name = "ray tracer set-up", size = 28, tail = "none", tailName = "",
        itemSize = 0, fields = {
            { at = 0, width = 4, wire = "u32", name = "RaytracerMode" },
            { at = 4, width = 8, wire = "f64", name = "RaytracerManualDepth", unit = "m" },
            { at = 12, width = 8, wire = "f64", name = "RaytracerManualRange", unit = "m", remark = "worked out by the handler" },
            { at = 20, width = 8, wire = "f64", name = "RaytracerManualTilt", unit = "deg" },
        }, items = {
        } },
    { carrier = "data", id = 3001, name = "sonar contact", size = 522, tail = "none", tailName = "",
        itemSize = 0, fields = {
            { at = 0, width = 4, wire = "u32", name = "target id" },
            { at = 4, width = 4, wire = "u32", name = "ping number" },
            { at = 8, width = 10, wire = "time", name = "contact time" },
            { at = 18, width = 128, wire = "text", name = "operator" },
            { at = 146, width = 4, wire = "u32", name = "contact state (0 new, 1 updated, 2 deleted)" },
            { at = 150, width = 4, wire = "f32", name = "range" },
            { at = 154, width = 4, wire = "f32", name = "bearing", unit = "rad" },
            { at = 158, width = 4, wire = "u32", name = "information flags" },
            { at = 162, width = 8, wire = "f64", name = "latitude", unit = "rad", remark = "degrees to radians" },
            { at = 170, width = 8, wire = "f64", name = "longitude", unit = "rad", remark = "degrees to radians" },
            { at = 178, width = 4, wire = "f32", name = "azimuth", unit = "rad" },
            { at = 182, width = 4, wire = "f32", name = "contact length" },
            { at = 186, width = 4, wire = "f32", name = "contact width" },
            { at = 190, width = 128, wire = "text", name = "classification" },
            { at = 318, width = 128, wire = "text", name = "description" },
            { at = 446, width = 64, wire = "text", name = "target GUID" },
            { at = 510, width = 4, wire = "f32", name = "extension value" },
            { at = 514, width = 4, wire = "f32", name = "extension angle", unit = "rad" },
            { at = 518, width = 4, wire = "f32", name = "extension measure" },
        }, items = {
        } },
    { carrier = "passed", id = 1620, name = "algorithm of the detection unit", size = 4, tail = "none", tailName = "",
        itemSize = 0, fields = {
            { at = 0, width = 4, wire = "i32", name = "CadOnnxIndex" },
        }, items = {
        } },
    { carrier = "passed", id = 1700, name = "image enhancement of the detection unit", size = 1, tail = "none", tailName = "",
        itemSize = 0, fields = {
            { at = 0, width = 1, wire = "u8", name = "CadImageEnhancement" },
        }, items = {
        } },
    { carrier = "passed", id = 1750, name = "sensitivity of the detection unit", size = 4, tail = "none", tailName = "",
        itemSize = 0, fields = {
            { at = 0, width = 4, wire = "f32", name = "CadDetectorSensitivity" },
        }, items = {
        } },
    { carrier = "passed", id = 3004, name = "target list request", size = 64, tail = "none", tailName = "",
        itemSize = 0, fields = {
            { at = 0, width = 64, wire = "text", name = "RequesterAppId" },
        }, items = {
        } },
    { carrier = "data", id = 3004, name = "target list", size = 72, tail = "items", tailName = "contacts",
        itemSize = 132, fields = {
            { at = 0, width = 64, wire = "text", name = "application" },
            { at = 64, width = 4, wire = "u32", name = "size of an item", unit = "bytes", constant = 132 },
            { at = 68, width = 4, wire = "u32", name = "number of items" },
        }, items = {
            { at = 0, width = 64, wire = "text", name = "target GUID" },
            { at = 64, width = 4, wire = "u32", name = "detail number A" },
            { at = 68, width = 4, wire = "u32", name = "detail flag" },
            { at = 72, width = 4, wire = "u32", name = "detail number B" },
            { at = 76, width = 4, wire = "u32", name = "detail number C" },
            { at = 80, width = 4, wire = "f32", name = "range" },
            { at = 84, width = 4, wire = "f32", name = "bearing", unit = "deg" },
            { at = 88, width = 4, wire = "f32", name = "extension measure valid (0 or 1)" },
            { at = 92, width = 4, wire = "f32", name = "extension measure" },
            { at = 96, width = 8, wire = "f64", name = "latitude", unit = "deg" },
            { at = 104, width = 8, wire = "f64", name = "longitude", unit = "deg" },
            { at = 112, width = 4, wire = "f32", name = "contact length" },
            { at = 116, width = 4, wire = "f32", name = "contact width" },
            { at = 120, width = 4, wire = "f32", name = "contact height" },
            { at = 124, width = 4, wire = "f32", name = "detail value" },
            { at = 128, width = 4, wire = "u32", name = "target id" },
        } },
    { carrier = "data", id = 7034, name = "A-scan status", size = 39, tail = "u16", tailName = "beams",
        itemSize = 0, fields = {
            { at = 0, width = 1, wire = "u8", name = "A-scan monitor on" },
            { at = 1, width = 4, wire = "u32", name = "AScanPingNumber" },
            { at = 5, width = 2, wire = "u16", name = "number of beams" },
        }, items = {
        } },
    { carrier = "passed", id = 7036, name = "beam and sample setting of the detection unit", size = 20, tail = "none", tailName = "",
        itemSize = 0, fields = {
            { at = 0, width = 4, wire = "u32", name = "form", constant = 1 },
            { at = 8, width = 4, wire = "u32", name = "CADStreamIndex" },
            { at = 12, width = 4, wire = "u32", name = "x5NumberOfBeams" },
            { at = 16, width = 4, wire = "u32", name = "x5NumberOfPixels" },
        }, items = {
        } },
    { carrier = "data", id = 7051, name = "system event", size = 14, tail = "text", tailName = "X5SystemEventMessage",
        itemSize = 0, fields = {
            { at = 8, width = 2, wire = "u16", name = "X5SystemEventType" },
            { at = 10, width = 2, wire = "u16", name = "length of the text with its terminator", unit = "bytes" },
        }, items = {
        } },
    { carrier = "data", id = 12000, name = "user role", size = 68, tail = "none", tailName = "",
        itemSize = 0, fields = {
            { at = 0, width = 2, wire = "u16", name = "UserRoleType" },
            { at = 2, width = 64, wire = "text", name = "RequesterAppId" },
            { at = 66, width = 2, wire = "u16", name = "UserRole" },
        }, items = {
        } },
    { carrier = "command", id = 90020, name = "echo request", size = 4, tail = "none", tailName = "",
        itemSize = 0, fields = {
            { at = 0, width = 4, wire = "bit", name = "detections", bit = 0, bits = 1 },
            { at = 0, width = 4, wire = "bit", name = "water column", bit = 1, bits = 1 },
        }, items = {
        } },
    { carrier = "data", id = 90021, name = "detections", size = 92, tail = "arrays", tailName = "",
        itemSize = 0, fields = {
            { at = 0, width = 4, wire = "i32", name = "ping number" },
            { at = 4, width = 8, wire = "f64", name = "time", unit = "s" },
            { at = 12, width = 8, wire = "f64", name = "sound velocity", unit = "m/s" },
            { at = 20, width = 8, wire = "f64", name = "east", unit = "m" },
            { at = 28, width = 8, wire = "f64", name = "north", unit = "m" },
            { at = 36, width = 8, wire = "f64", name = "depth", unit = "m" },
            { at = 44, width = 8, wire = "f64", name = "heading", unit = "deg" },
            { at = 52, width = 8, wire = "f64", name = "roll", unit = "deg" },
            { at = 60, width = 8, wire = "f64", name = "pitch", unit = "deg" },
            { at = 68, width = 8, wire = "f64", name = "heave", unit = "m" },
            { at = 76, width = 8, wire = "f64", name = "steering", unit = "deg" },
            { at = 84, width = 4, wire = "u32", name = "beams" },
            { at = 88, width = 4, wire = "u32", name = "detections" },
        }, items = {
        }, arrays = {
            { wire = "u16", width = 2, name = "beam", unit = "", count = "detections" },
            { wire = "f32", width = 4, name = "angle", unit = "deg", count = "detections" },
            { wire = "f32", width = 4, name = "travel time", unit = "s", count = "detections" },
            { wire = "f32", width = 4, name = "level", unit = "dB", count = "detections" },
            { wire = "f32", width = 4, name = "quality", unit = "", count = "detections" },
        } },
    { carrier = "data", id = 90022, name = "water column", size = 116, tail = "arrays", tailName = "",
        itemSize = 0, fields = {
            { at = 0, width = 4, wire = "i32", name = "ping number" },
            { at = 4, width = 8, wire = "f64", name = "time", unit = "s" },
            { at = 12, width = 8, wire = "f64", name = "sound velocity", unit = "m/s" },
            { at = 20, width = 8, wire = "f64", name = "east", unit = "m" },
            { at = 28, width = 8, wire = "f64", name = "north", unit = "m" },
            { at = 36, width = 8, wire = "f64", name = "depth", unit = "m" },
            { at = 44, width = 8, wire = "f64", name = "heading", unit = "deg" },
            { at = 52, width = 8, wire = "f64", name = "roll", unit = "deg" },
            { at = 60, width = 8, wire = "f64", name = "pitch", unit = "deg" },
            { at = 68, width = 8, wire = "f64", name = "heave", unit = "m" },
            { at = 76, width = 8, wire = "f64", name = "steering", unit = "deg" },
            { at = 84, width = 4, wire = "u32", name = "beams" },
            { at = 88, width = 4, wire = "u32", name = "samples" },
            { at = 92, width = 8, wire = "f64", name = "interval", unit = "s" },
            { at = 100, width = 8, wire = "f64", name = "floor", unit = "dB" },
            { at = 108, width = 8, wire = "f64", name = "step", unit = "dB" },
        }, items = {
        }, arrays = {
            { wire = "f32", width = 4, name = "beam angle", unit = "deg", count = "beams" },
            { wire = "f32", width = 4, name = "gain", unit = "dB", count = "samples" },
            { wire = "f32", width = 4, name = "noise", unit = "dB", count = "samples" },
            { wire = "u8", width = 1, name = "level", unit = "", count = "samples", rows = "beams" },
        } },
}

local x5 = Proto("x5", "x5 sonar records")
local f = {
    size = ProtoField.uint32("x5.size", "Size", base.DEC),
    time = ProtoField.string("x5.time", "Time, UTC"),
    record = ProtoField.uint32("x5.record", "Record", base.DEC),
    device = ProtoField.uint32("x5.device", "Device", base.DEC),
    enumerator = ProtoField.uint16("x5.enumerator", "Enumerator", base.DEC),
    command = ProtoField.uint32("x5.command", "Command", base.DEC),
    ticket = ProtoField.uint32("x5.ticket", "Ticket", base.DEC),
    name = ProtoField.string("x5.name", "Name"),
    field = ProtoField.string("x5.field", "Field"),
    payload = ProtoField.bytes("x5.payload", "Payload"),
}
x5.fields = { f.size, f.time, f.record, f.device, f.enumerator, f.command, f.ticket, f.name, f.field, f.payload }
x5.prefs.port = Pref.uint("TCP port", 7000, "The port that the sonar listens on")

local headerSize, trailerSize, commandSize = 64, 4, 24
local greatestSize = 134217728 -- a frame that claims more is damaged
local remoteControl, passedOn = 7500, 90002

local function textOf(range)
    local text = range:string(ENC_UTF_8)
    local stop = text:find("\0", 1, true)
    return stop and text:sub(1, stop - 1) or text
end

local function timeOf(range)
    return string.format("%d, day %d, %02d:%02d:%06.3f", range(0, 2):le_uint(), range(2, 2):le_uint(),
        range(8, 1):le_uint(), range(9, 1):le_uint(), range(4, 4):le_float())
end

local function numberText(value)
    return string.format("%.9g", value)
end

-- The field's number, or nil, and its text. Words are little-endian, so a bit lies in byte bit / 8 whatever its word.
local function valueOf(range, field)
    local wire = field.wire
    if wire == "f32" or wire == "f64" then
        local value = range:le_float()
        return value, numberText(value)
    elseif wire == "text" then
        return nil, '"' .. textOf(range) .. '"'
    elseif wire == "time" then
        return nil, timeOf(range)
    elseif wire == "i32" then
        local value = range:le_int()
        return value, tostring(value)
    elseif field.bit then
        local value = 0
        for i = field.bits - 1, 0, -1 do
            local bit = field.bit + i
            local byte = range(math.floor(bit / 8), 1):uint()
            value = value * 2 + math.floor(byte / 2 ^ (bit % 8)) % 2
        end
        return value, string.format("%d", value)
    end
    local value = range:le_uint()
    return value, tostring(value)
end

local function withUnit(text, unit)
    return (unit and unit ~= "") and (text .. " " .. unit) or text
end

local function addFields(tree, range, fields)
    for _, field in ipairs(fields) do
        if field.at + field.width <= range:len() then
            local part = range(field.at, field.width)
            local value, text = valueOf(part, field)
            text = withUnit(text, field.unit)
            if field.factor and value then
                text = withUnit(string.format("%.7g", value * field.factor), field.keyUnit) .. "  (wire " .. text .. ")"
            elseif field.remark then
                text = text .. "  (" .. field.remark .. ")"
            end
            tree:add(f.field, part, field.name):set_text(field.name .. " = " .. text)
        end
    end
end

-- The whole number that the record tells under that name.
local function countOf(range, record, name)
    for _, field in ipairs(record.fields) do
        if field.name == name then
            return range(field.at, field.width):le_uint()
        end
    end
end

-- Each array in one line: its numbers where they are few, else how many there are.
local function addArrays(tree, range, record)
    local at = record.size
    for _, array in ipairs(record.arrays) do
        local count, rows = countOf(range, record, array.count), array.rows and countOf(range, record, array.rows)
        local size = count * (rows or 1) * array.width
        if at + size > range:len() then
            tree:add(x5, range, "arrays that are not whole")
            return
        end
        local text = (rows and (rows .. " x ") or "") .. count .. " numbers"
        if size <= 8 * array.width then
            local numbers = {}
            for i = 0, size / array.width - 1 do
                local _, number = valueOf(range(at + i * array.width, array.width), array)
                numbers[#numbers + 1] = number
            end
            text = "[" .. table.concat(numbers, ", ") .. "]"
        end
        text = array.name .. " = " .. withUnit(text, array.unit)
        if size > 0 then
            tree:add(f.field, range(at, size), array.name):set_text(text)
        else
            tree:add(f.field, range, array.name):set_text(text)
        end
        at = at + size
    end
end

local function addTail(tree, range, record)
    local begin = record.size
    if record.tail == "none" or range:len() <= begin then
        return
    end
    local rest = range(begin)
    if record.tail == "items" then
        local count = math.floor(rest:len() / record.itemSize)
        for i = 0, count - 1 do
            local part = rest(i * record.itemSize, record.itemSize)
            addFields(tree:add(x5, part, string.format("item %d", i)), part, record.items)
        end
    elseif record.tail == "text" then
        tree:add(f.field, rest, record.tailName):set_text(record.tailName .. ' = "' .. textOf(rest) .. '"')
    elseif record.tail == "arrays" then
        addArrays(tree, range, record)
    elseif record.tail == "bytes" then
        tree:add(f.payload, rest)
    else
        local width = record.tail == "u16" and 2 or 4
        for i = 0, math.floor(rest:len() / width) - 1 do
            local part = rest(i * width, width)
            local value = record.tail == "i32" and part:le_int() or part:le_uint()
            tree:add(f.field, part, record.tailName):set_text(string.format("%s[%d] = %d", record.tailName, i, value))
        end
    end
end

-- Whether the payload carries the record's constants, which tell forms of one id apart.
local function carriesConstants(range, record)
    for _, field in ipairs(record.fields) do
        if field.constant then
            if field.at + field.width > range:len() then
                return false
            end
            if valueOf(range(field.at, field.width), field) ~= field.constant then
                return false
            end
        end
    end
    return true
end

-- The form whose size is the payload's, else the largest that it holds, else the first.
local function bestOf(carrier, id, size, range, anyConstants)
    local first, largest
    for _, record in ipairs(records) do
        if record.carrier == carrier and record.id == id
            and (anyConstants or not range or carriesConstants(range, record)) then
            first = first or record
            if record.size == size and record.tail == "none" then
                return record
            end
            if record.size <= size and (not largest or record.size > largest.size) then
                largest = record
            end
        end
    end
    return largest or first
end

local function findRecord(carrier, id, size, range)
    local record = bestOf(carrier, id, size, range, false) or bestOf(carrier, id, size, range, true)
    if not record and carrier == "passed" then
        return findRecord("command", id, size, range)
    end
    return record
end

local addPayload

local function addCommand(tree, info, carrier, id, range)
    local record = findRecord(carrier, id, range and range:len() or 0, range)
    local name = record and record.name or "unknown"
    info.cols.info:append(string.format("%d %s  ", id, name))
    tree:append_text(string.format(", %d %s", id, name))
    if range then
        tree:add(f.name, range, name):set_generated()
        addPayload(tree, info, range, record)
        if carrier == "command" and id == passedOn and range:len() >= 16 then
            local inner = range(8, 4):le_uint()
            local branch = tree:add(x5, range, "passed on")
            branch:add_le(f.command, range(8, 4))
            addCommand(branch, info, "passed", inner, range:len() > 16 and range(16) or nil)
        end
    end
end

addPayload = function(tree, _, range, record)
    if not record then
        tree:add(f.payload, range)
        return
    end
    addFields(tree, range, record.fields)
    addTail(tree, range, record)
end

local function dissectFrame(tvb, info, root)
    local size = tvb:len()
    info.cols.protocol = "x5"
    local tree = root:add(x5, tvb(), "x5 record")
    local id = tvb(32, 4):le_uint()
    tree:add_le(f.size, tvb(8, 4))
    tree:add(f.time, tvb(20, 10), timeOf(tvb(20, 10)))
    tree:add_le(f.record, tvb(32, 4))
    tree:add_le(f.device, tvb(36, 4))
    tree:add_le(f.enumerator, tvb(42, 2))
    local dataSize = size - headerSize - trailerSize
    if id == remoteControl and dataSize >= commandSize then
        local command = tvb(headerSize, 4):le_uint()
        tree:add_le(f.command, tvb(headerSize, 4))
        tree:add_le(f.ticket, tvb(headerSize + 4, 4))
        local payload = dataSize > commandSize and tvb(headerSize + commandSize, dataSize - commandSize) or nil
        addCommand(tree, info, "command", command, payload)
    else
        addCommand(tree, info, "data", id, dataSize > 0 and tvb(headerSize, dataSize) or nil)
    end
    return size
end

local function frameSize(tvb, _, offset)
    local isFrame = tvb(offset, 2):le_uint() == 5 and tvb(offset + 2, 2):le_uint() == 60
        and tvb(offset + 4, 4):le_uint() == 0xFFFF
    local size = tvb(offset + 8, 4):le_uint()
    if isFrame and size >= headerSize + trailerSize and size <= greatestSize then
        return size
    end
    return tvb:len() - offset -- no frame: to the end of what is there
end

function x5.dissector(tvb, info, root)
    info.cols.info:clear()
    dissect_tcp_pdus(tvb, root, 12, frameSize, function(part, partInfo, partRoot)
        if part:len() >= headerSize + trailerSize and part(0, 2):le_uint() == 5 and part(4, 4):le_uint() == 0xFFFF then
            return dissectFrame(part, partInfo, partRoot)
        end
        partRoot:add(x5, part(), "bytes that are no x5 record")
        return part:len()
    end)
    return tvb:len()
end

local tcpPorts = DissectorTable.get("tcp.port")
local port = x5.prefs.port
tcpPorts:add(port, x5)

function x5.prefs_changed()
    if port ~= x5.prefs.port then
        tcpPorts:remove(port, x5)
        port = x5.prefs.port
        tcpPorts:add(port, x5)
    end
end
