-- A dissector of the x5 record protocol for Wireshark. Written by `./dev docs` from the record tables.
--
--     wireshark -X lua_script:docs/x5_records.lua
--     tshark -r capture.pcapng -X lua_script:docs/x5_records.lua -Y 'x5.range > 40' -T fields -e x5.range
--     tshark -q -r capture.pcapng -X lua_script:docs/x5_records.lua -X lua_script1:records
--
-- Streams on TCP port 7000 are taken for it, those on other ports as soon as one begins with a record, or by "Decode As"
-- or the preference. Each key's value is a field: x5.range, x5.depth_gate_tilt, in the operator's unit; what records
-- carry beside keys has the record's name before its own: x5.detections.ping_number. `tshark -G fields` lists them all.
-- With the argument "records" it prints at the end how many records of each number went which way.

local arguments = { ... }

local function wholeText(value)
    return string.format("%.0f", value)
end

-- Statistics, by "-X lua_script1:records".

local function countRecords()
    local fieldOf = {}
    for _, name in ipairs({ "number", "name", "size", "to_sonar", "skipped" }) do
        fieldOf[name] = Field.new("x5." .. name)
    end
    local listener = Listener.new("frame", "x5")
    local rows, skipped = {}, 0

    function listener.reset()
        rows, skipped = {}, 0
    end

    function listener.packet(info)
        local numbers, names = { fieldOf.number() }, { fieldOf.name() }
        local sizes, ways = { fieldOf.size() }, { fieldOf.to_sonar() }
        for i, number in ipairs(numbers) do
            local way = ways[i].value and "to the sonar" or "from the sonar"
            local key = way .. string.format("%010.0f", number.value)
            local row = rows[key]
            if not row then
                row = { key = key, way = way, number = number.value, name = names[i].value, count = 0, bytes = 0,
                    first = info.rel_ts }
                rows[key] = row
            end
            row.count = row.count + 1
            row.bytes = row.bytes + sizes[i].value
            row.last = info.rel_ts
        end
        for _, part in ipairs({ fieldOf.skipped() }) do
            skipped = skipped + part.len
        end
    end

    function listener.draw()
        local sorted = {}
        for _, row in pairs(rows) do
            sorted[#sorted + 1] = row
        end
        table.sort(sorted, function(a, b)
            return a.key > b.key
        end)
        local form = "%-14s  %6s  %-40s  %8s  %12s  %12s  %12s"
        print(string.format(form, "way", "number", "record", "records", "bytes", "first, s", "last, s"))
        for _, row in ipairs(sorted) do
            print(string.format(form, row.way, wholeText(row.number), row.name, wholeText(row.count),
                wholeText(row.bytes), string.format("%.6f", row.first), string.format("%.6f", row.last)))
        end
        print("bytes that belong to no record: " .. wholeText(skipped))
    end
end

local function countWhereAsked()
    for _, argument in ipairs(arguments) do
        if argument == "records" then
            countRecords()
        end
    end
end

-- Wireshark loads an installation's copy by itself, and a protocol is there once.
if Dissector.get("x5") then
    countWhereAsked()
    return
end

-- Every field: the name that it is filtered by, what it holds, what it is called, its unit, what it means; `key` where it
-- is a key's value.
local definitions = {
    { name = "version", kind = "uint32", title = "Protocol version" },
    { name = "size", kind = "uint32", title = "Size", unit = "bytes", meaning = "of the whole frame" },
    { name = "time", kind = "absolute_time", title = "Time", meaning = "of the frame's own time stamp, UTC" },
    { name = "record_version", kind = "uint32", title = "Record version" },
    { name = "record", kind = "uint32", title = "Record", meaning = "7500 for every remote-control record" },
    { name = "device", kind = "uint32", title = "Device" },
    { name = "enumerator", kind = "uint32", title = "Enumerator" },
    { name = "command", kind = "uint32", title = "Command", meaning = "of a remote-control record, or passed on in one" },
    { name = "ticket", kind = "uint32", title = "Ticket" },
    { name = "tracking_number", kind = "bytes", title = "Tracking number" },
    { name = "number", kind = "uint32", title = "Number", meaning = "the command's of a remote-control record, else the record's" },
    { name = "name", kind = "string", title = "Name", meaning = "of the record of that number" },
    { name = "to_sonar", kind = "bool", title = "To the sonar", meaning = "false for what the sonar sent" },
    { name = "payload", kind = "bytes", title = "Payload", meaning = "that no table tells" },
    { name = "passed_on", kind = "string", title = "Passed on", meaning = "the name of a command for another unit" },
    { name = "item", kind = "uint32", title = "Item", meaning = "of what repeats in a record, from 0" },
    { name = "note", kind = "string", title = "Note", meaning = "what stands in place of many numbers, or of no time" },
    { name = "attribute.path", kind = "string", title = "Attribute", meaning = "keys with / between them" },
    { name = "attribute.kind", kind = "string", title = "Kind", meaning = "of an attribute's value; none for a branch alone" },
    { name = "attribute.value", kind = "string", title = "Value", meaning = "of an attribute as text" },
    { name = "begins", kind = "uint32", title = "Begins", unit = "bytes", meaning = "a record that ends in a later segment, or never" },
    { name = "skipped", kind = "bytes", title = "Bytes that belong to no record" },
    { name = "asd_recording_enabled", kind = "bool", title = "ASDRecordingEnabled", meaning = "record the ASD data", key = true },
    { name = "a_scan_beam_end", kind = "int32", title = "AScanBeamEnd", meaning = "last beam of the A-scan", key = true },
    { name = "a_scan_beam_start", kind = "int32", title = "AScanBeamStart", meaning = "first beam of the A-scan", key = true },
    { name = "a_scan_beam_subscribe", kind = "bool", title = "AScanBeamSubscribe", meaning = "deliver the A-scan stream", key = true },
    { name = "a_scan_ping_number", kind = "int32", title = "AScanPingNumber", meaning = "ping that the A-scan monitor shows", key = true },
    { name = "attr_cablelength", kind = "int32", title = "ATTR_CABLELENGTH", meaning = "length of the sonar's cable", key = true },
    { name = "attr_deviceoffset", kind = "double", title = "ATTR_DEVICEOFFSET", unit = "m", meaning = "where the sonar sits on the vessel, three axes", key = true },
    { name = "attr_pitchcor", kind = "double", title = "ATTR_PITCHCOR", unit = "deg", meaning = "pitch correction of the sonar's mounting", key = true },
    { name = "attr_rollcor", kind = "double", title = "ATTR_ROLLCOR", unit = "deg", meaning = "roll correction of the sonar's mounting", key = true },
    { name = "auto_config_active_name", kind = "string", title = "AutoConfigActiveName", meaning = "name of the automatic configuration to use", key = true },
    { name = "auto_config_manual_done", kind = "bool", title = "AutoConfigManualDone", meaning = "an automatic configuration was chosen by hand", key = true },
    { name = "bar_check_gate_mode", kind = "int32", title = "BarCheckGateMode", meaning = "mode of the gate for bar checks", key = true },
    { name = "bar_check_max_gate", kind = "double", title = "BarCheckMaxGate", unit = "m", meaning = "far limit of the gate for bar checks", key = true },
    { name = "bar_check_min_gate", kind = "double", title = "BarCheckMinGate", unit = "m", meaning = "near limit of the gate for bar checks", key = true },
    { name = "baudrate_index", kind = "int32", title = "BaudrateIndex", meaning = "baud rate of a serial port, a code of the sonar", key = true },
    { name = "bytes_per_pixel", kind = "int32", title = "BytesPerPixel", unit = "bytes", meaning = "size of a pixel of the image record", key = true },
    { name = "cad_stream_index", kind = "int32", title = "CADStreamIndex", meaning = "stream that the detection unit works on", key = true },
    { name = "cad_detector_sensitivity", kind = "double", title = "CadDetectorSensitivity", meaning = "sensitivity of the detection unit", key = true },
    { name = "cad_image_enhancement", kind = "int32", title = "CadImageEnhancement", meaning = "image enhancement of the detection unit, a code of the unit", key = true },
    { name = "cad_onnx_index", kind = "int32", title = "CadOnnxIndex", meaning = "algorithm of the detection unit, an index of the unit", key = true },
    { name = "cmd_raise_lower", kind = "int32", title = "CmdRaiseLower", meaning = "where the hoist is to bring the head, a code of the hoist", key = true },
    { name = "cmd_roll", kind = "double", title = "CmdRoll", unit = "deg", meaning = "roll that the pan-and-tilt unit is to take", key = true },
    { name = "cmd_rotate", kind = "double", title = "CmdRotate", unit = "deg", meaning = "pan that the pan-and-tilt unit is to take", key = true },
    { name = "cmd_tilt", kind = "double", title = "CmdTilt", unit = "deg", meaning = "tilt that the pan-and-tilt unit is to take", key = true },
    { name = "databits_index", kind = "int32", title = "DatabitsIndex", meaning = "data bits of a serial port, a code of the sonar", key = true },
    { name = "device_enum", kind = "int32", title = "DeviceEnum", meaning = "number of the active projector", key = true },
    { name = "device_id", kind = "int32", title = "DeviceId", meaning = "device number of the sonar, 0 when unknown", key = true },
    { name = "echo_marker", kind = "none", title = "EchoMarker", meaning = "a marker for the sonar's record stream", key = true },
    { name = "echo_marker_altitude", kind = "double", title = "EchoMarkerAltitude", unit = "m", meaning = "altitude of the marker", key = true },
    { name = "echo_marker_annotation", kind = "string", title = "EchoMarkerAnnotation", meaning = "text of the marker", key = true },
    { name = "echo_marker_client", kind = "int32", title = "EchoMarkerClient", meaning = "who sets the marker", key = true },
    { name = "echo_marker_depth", kind = "double", title = "EchoMarkerDepth", unit = "m", meaning = "depth at the marker", key = true },
    { name = "echo_marker_heave", kind = "double", title = "EchoMarkerHeave", unit = "m", meaning = "heave at the marker", key = true },
    { name = "echo_marker_latitude", kind = "double", title = "EchoMarkerLatitude", meaning = "latitude of the marker, handed on in the unit that it comes in", key = true },
    { name = "echo_marker_longitude", kind = "double", title = "EchoMarkerLongitude", meaning = "longitude of the marker, handed on in the unit that it comes in", key = true },
    { name = "echo_marker_number", kind = "int32", title = "EchoMarkerNumber", meaning = "number of the marker", key = true },
    { name = "echo_marker_ping_number", kind = "int32", title = "EchoMarkerPingNumber", meaning = "ping that the marker belongs to", key = true },
    { name = "echo_marker_time", kind = "absolute_time", title = "EchoMarkerTime", meaning = "time of the marker", key = true },
    { name = "forward_detect_sensitivity", kind = "int32", title = "ForwardDetectSensitivity", meaning = "sensitivity of the forward-looking detection, in fifths", key = true },
    { name = "gui_max_angle", kind = "double", title = "GUIMaxAngle", unit = "deg", meaning = "upper limit of the swath's angles", key = true },
    { name = "gui_min_angle", kind = "double", title = "GUIMinAngle", unit = "deg", meaning = "lower limit of the swath's angles", key = true },
    { name = "kv3_playback_directory", kind = "string", title = "Kv3PlaybackDirectory", meaning = "directory that is played back from", key = true },
    { name = "kv3_playback_enabled", kind = "bool", title = "Kv3PlaybackEnabled", meaning = "the custom playback is on", key = true },
    { name = "kv3_playback_file", kind = "string", title = "Kv3PlaybackFile", meaning = "file that is played back", key = true },
    { name = "kv3_playback_keep_timestamps", kind = "bool", title = "Kv3PlaybackKeepTimestamps", meaning = "keep the recorded times in what is played back", key = true },
    { name = "kv3_playback_mode", kind = "int32", title = "Kv3PlaybackMode", meaning = "how the file is played back, a code of the sonar", key = true },
    { name = "max_image_height", kind = "int32", title = "MaxImageHeight", meaning = "greatest height of the image record, in pixels", key = true },
    { name = "mounted_on_pan_and_tilt", kind = "int32", title = "MountedOnPanAndTilt", meaning = "not 0 when the head hangs on a pan-and-tilt unit", key = true },
    { name = "ost_dgnss_ins_corrections_input_format", kind = "int32", title = "OstDgnssInsCorrectionsInputFormat", meaning = "format of the corrections that come in, a code of the unit", key = true },
    { name = "ost_dgnss_ins_corrections_serial_port485", kind = "bool", title = "OstDgnssInsCorrectionsSerialPort485", meaning = "run the corrections serial port as RS-485", key = true },
    { name = "ost_dgnss_ins_corrections_serial_port_baudrate", kind = "int32", title = "OstDgnssInsCorrectionsSerialPortBaudrate", meaning = "baud rate of the corrections serial port, code 0 to 4", key = true },
    { name = "ost_dgnss_ins_imu_mounting_angle_settings_x", kind = "double", title = "OstDgnssInsImuMountingAngleSettingsX", meaning = "mounting angle of the inertial unit, X axis", key = true },
    { name = "ost_dgnss_ins_imu_mounting_angle_settings_y", kind = "double", title = "OstDgnssInsImuMountingAngleSettingsY", meaning = "mounting angle of the inertial unit, Y axis", key = true },
    { name = "ost_dgnss_ins_imu_mounting_angle_settings_z", kind = "double", title = "OstDgnssInsImuMountingAngleSettingsZ", meaning = "mounting angle of the inertial unit, Z axis", key = true },
    { name = "ost_dgnss_ins_imu_to_co_g_settings_x", kind = "double", title = "OstDgnssInsImuToCoGSettingsX", meaning = "from the inertial unit to the centre of gravity, X axis", key = true },
    { name = "ost_dgnss_ins_imu_to_co_g_settings_y", kind = "double", title = "OstDgnssInsImuToCoGSettingsY", meaning = "from the inertial unit to the centre of gravity, Y axis", key = true },
    { name = "ost_dgnss_ins_imu_to_co_g_settings_z", kind = "double", title = "OstDgnssInsImuToCoGSettingsZ", meaning = "from the inertial unit to the centre of gravity, Z axis", key = true },
    { name = "ost_dgnss_ins_imu_to_primary_antenna_settings_x", kind = "double", title = "OstDgnssInsImuToPrimaryAntennaSettingsX", meaning = "from the inertial unit to the primary antenna, X axis", key = true },
    { name = "ost_dgnss_ins_imu_to_primary_antenna_settings_y", kind = "double", title = "OstDgnssInsImuToPrimaryAntennaSettingsY", meaning = "from the inertial unit to the primary antenna, Y axis", key = true },
    { name = "ost_dgnss_ins_imu_to_primary_antenna_settings_z", kind = "double", title = "OstDgnssInsImuToPrimaryAntennaSettingsZ", meaning = "from the inertial unit to the primary antenna, Z axis", key = true },
    { name = "ost_dgnss_ins_integrator_xml", kind = "string", title = "OstDgnssInsIntegratorXml", meaning = "the unit's configuration as XML", key = true },
    { name = "ost_dgnss_ins_mounting_accuracy_settings_x", kind = "double", title = "OstDgnssInsMountingAccuracySettingsX", meaning = "accuracy of the mounting, X axis", key = true },
    { name = "ost_dgnss_ins_mounting_accuracy_settings_y", kind = "double", title = "OstDgnssInsMountingAccuracySettingsY", meaning = "accuracy of the mounting, Y axis", key = true },
    { name = "ost_dgnss_ins_mounting_accuracy_settings_z", kind = "double", title = "OstDgnssInsMountingAccuracySettingsZ", meaning = "accuracy of the mounting, Z axis", key = true },
    { name = "ost_dgnss_ins_ntrip_cga", kind = "int32", title = "OstDgnssInsNtripCga", meaning = "how often the position goes to the NTRIP caster, code 0 to 5", key = true },
    { name = "ost_dgnss_ins_ntrip_disabled", kind = "bool", title = "OstDgnssInsNtripDisabled", meaning = "take no corrections from the NTRIP caster", key = true },
    { name = "ost_dgnss_ins_ntrip_mount_point", kind = "string", title = "OstDgnssInsNtripMountPoint", meaning = "mount point at the NTRIP caster", key = true },
    { name = "ost_dgnss_ins_ntrip_password", kind = "string", title = "OstDgnssInsNtripPassword", meaning = "password at the NTRIP caster", key = true },
    { name = "ost_dgnss_ins_ntrip_port", kind = "int32", title = "OstDgnssInsNtripPort", meaning = "port of the NTRIP caster", key = true },
    { name = "ost_dgnss_ins_ntrip_server", kind = "string", title = "OstDgnssInsNtripServer", meaning = "name or address of the NTRIP caster", key = true },
    { name = "ost_dgnss_ins_ntrip_username", kind = "string", title = "OstDgnssInsNtripUsername", meaning = "user at the NTRIP caster", key = true },
    { name = "ost_dgnss_ins_ntrip_version", kind = "int32", title = "OstDgnssInsNtripVersion", meaning = "version of the NTRIP protocol, from 0", key = true },
    { name = "ost_dgnss_ins_pps_delay_ns", kind = "int32", title = "OstDgnssInsPpsDelayNs", unit = "ns", meaning = "delay of the time pulses", key = true },
    { name = "ost_dgnss_ins_pps_flags", kind = "int32", title = "OstDgnssInsPpsFlags", meaning = "flags of the pulse per second, a code of the unit", key = true },
    { name = "ost_dgnss_ins_pps_interval_ms", kind = "int32", title = "OstDgnssInsPpsIntervalMs", unit = "ms", meaning = "interval of the time pulses", key = true },
    { name = "ost_dgnss_ins_primary_leaver_arm_settings_x", kind = "double", title = "OstDgnssInsPrimaryLeaverArmSettingsX", meaning = "lever arm of the primary point, X axis", key = true },
    { name = "ost_dgnss_ins_primary_leaver_arm_settings_y", kind = "double", title = "OstDgnssInsPrimaryLeaverArmSettingsY", meaning = "lever arm of the primary point, Y axis", key = true },
    { name = "ost_dgnss_ins_primary_leaver_arm_settings_z", kind = "double", title = "OstDgnssInsPrimaryLeaverArmSettingsZ", meaning = "lever arm of the primary point, Z axis", key = true },
    { name = "ost_dgnss_ins_primary_serial_port485", kind = "bool", title = "OstDgnssInsPrimarySerialPort485", meaning = "run the primary serial port as RS-485", key = true },
    { name = "ost_dgnss_ins_primary_serial_port_baudrate", kind = "int32", title = "OstDgnssInsPrimarySerialPortBaudrate", meaning = "baud rate of the primary serial port, code 0 to 4", key = true },
    { name = "ost_dgnss_ins_primary_to_secondary_antenna_settings_x", kind = "double", title = "OstDgnssInsPrimaryToSecondaryAntennaSettingsX", meaning = "from the primary to the secondary antenna, X axis", key = true },
    { name = "ost_dgnss_ins_primary_to_secondary_antenna_settings_y", kind = "double", title = "OstDgnssInsPrimaryToSecondaryAntennaSettingsY", meaning = "from the primary to the secondary antenna, Y axis", key = true },
    { name = "ost_dgnss_ins_primary_to_secondary_antenna_settings_z", kind = "double", title = "OstDgnssInsPrimaryToSecondaryAntennaSettingsZ", meaning = "from the primary to the secondary antenna, Z axis", key = true },
    { name = "ost_dgnss_ins_secondary_serial_port485", kind = "bool", title = "OstDgnssInsSecondarySerialPort485", meaning = "run the secondary serial port as RS-485", key = true },
    { name = "ost_dgnss_ins_secondary_serial_port_baudrate", kind = "int32", title = "OstDgnssInsSecondarySerialPortBaudrate", meaning = "baud rate of the secondary serial port, code 0 to 4", key = true },
    { name = "ost_dgnss_ins_set_auto_calibratin_status", kind = "int32", title = "OstDgnssInsSetAutoCalibratinStatus", meaning = "automatic calibration of the inertial unit, a code of the unit", key = true },
    { name = "output_chan1", kind = "bool", title = "OutputChan1", meaning = "first output channel of a serial or UDP port", key = true },
    { name = "output_chan2", kind = "bool", title = "OutputChan2", meaning = "second output channel of a serial or UDP port", key = true },
    { name = "parity_index", kind = "int32", title = "ParityIndex", meaning = "parity of a serial port, a code of the sonar", key = true },
    { name = "phy_index", kind = "int32", title = "PhyIndex", meaning = "physical layer of a serial port, a code of the sonar", key = true },
    { name = "ping_only_during_scan", kind = "bool", title = "PingOnlyDuringScan", meaning = "ping only while the pan-and-tilt unit scans", key = true },
    { name = "ping_sequence_frequency_end", kind = "double", title = "PingSequenceFrequencyEnd", unit = "kHz", meaning = "last frequency of a multi-frequency ping sequence", key = true },
    { name = "ping_sequence_frequency_start", kind = "double", title = "PingSequenceFrequencyStart", unit = "kHz", meaning = "first frequency of a multi-frequency ping sequence", key = true },
    { name = "ping_sequence_frequency_step", kind = "double", title = "PingSequenceFrequencyStep", unit = "kHz", meaning = "step between the frequencies of a ping sequence", key = true },
    { name = "ping_sequence_id", kind = "int32", title = "PingSequenceId", meaning = "ping sequence to run, -1 for none", key = true },
    { name = "power_mode_selection", kind = "int32", title = "PowerModeSelection", meaning = "power mode at start-up", key = true },
    { name = "pulse_characteristics_mode", kind = "int32", title = "PulseCharacteristicsMode", meaning = "how the sonar chooses its pulse", key = true },
    { name = "pulse_control", kind = "int32", title = "PulseControl", meaning = "control of the pulse, a code of the sonar", key = true },
    { name = "pulse_extension", kind = "int32", title = "PulseExtension", meaning = "extension of the pulse, a code of the sonar", key = true },
    { name = "raytracer_manual_depth", kind = "double", title = "RaytracerManualDepth", unit = "m", meaning = "depth for the ray tracer", key = true },
    { name = "raytracer_manual_range", kind = "double", title = "RaytracerManualRange", meaning = "range for the ray tracer, in the project's unit of distance", key = true },
    { name = "raytracer_manual_tilt", kind = "double", title = "RaytracerManualTilt", unit = "deg", meaning = "tilt for the ray tracer", key = true },
    { name = "raytracer_mode", kind = "int32", title = "RaytracerMode", meaning = "what the ray tracer goes by, a code of the sonar processor", key = true },
    { name = "request", kind = "none", title = "Request", meaning = "the branch of a tree that holds a request", key = true },
    { name = "request_target_list", kind = "none", title = "RequestTargetList", meaning = "ask the other side for its list of contacts", key = true },
    { name = "requester_app_id", kind = "string", title = "RequesterAppId", meaning = "the application that asks or whose user it is", key = true },
    { name = "sb_channel_select", kind = "uint32", title = "SbChannelSelect", meaning = "channel to work with", key = true },
    { name = "sb_transducer_index", kind = "int32", title = "SbTransducerIndex", meaning = "number of the transducer to work with", key = true },
    { name = "sbes_get_settings_xml", kind = "none", title = "SbesGetSettingsXml", meaning = "ask the system for its settings", key = true },
    { name = "sbes_operation_mode", kind = "int32", title = "SbesOperationMode", meaning = "mode of operation, a code of the sonar", key = true },
    { name = "sbes_settings_xml", kind = "string", title = "SbesSettingsXml", meaning = "settings of the system, XML", key = true },
    { name = "sbes_settings_xml_checksum", kind = "string", title = "SbesSettingsXmlChecksum", meaning = "checksum of the settings, a text", key = true },
    { name = "sbes_system_state", kind = "int32", title = "SbesSystemState", meaning = "state that the system is to take, a code of the sonar", key = true },
    { name = "sbes_tracker_tweak_mode", kind = "int32", title = "SbesTrackerTweakMode", meaning = "tweaks of the tracker: 1000 sets all, 1001 some, other values none", key = true },
    { name = "sbes_transducer_draft", kind = "double", title = "SbesTransducerDraft", unit = "m", meaning = "draft of a transducer", key = true },
    { name = "sbes_transducer_index", kind = "double", title = "SbesTransducerIndex", meaning = "number of the transducer whose draft is set", key = true },
    { name = "sbes_transducer_update_xml", kind = "string", title = "SbesTransducerUpdateXml", meaning = "description of the transducers, XML", key = true },
    { name = "search_depth", kind = "none", title = "SearchDepth", meaning = "search for the bottom anew", key = true },
    { name = "send_a_scan_status", kind = "none", title = "SendAScanStatus", meaning = "tell the state of the A-scan monitor", key = true },
    { name = "send_target_list", kind = "none", title = "SendTargetList", meaning = "send this side's list of contacts", key = true },
    { name = "serial_data_format_index", kind = "int32", title = "SerialDataFormatIndex", meaning = "data format of a serial port, a code of the sonar", key = true },
    { name = "serial_port_auto_configure", kind = "int32", title = "SerialPortAutoConfigure", meaning = "1 has the serial port find its settings by itself, other values do not", key = true },
    { name = "serial_port_command", kind = "int32", title = "SerialPortCommand", meaning = "command for a serial port, a code of the sonar", key = true },
    { name = "serial_port_configured", kind = "int32", title = "SerialPortConfigured", meaning = "1 marks the serial port as configured, other values do not", key = true },
    { name = "serial_port_enabled", kind = "int32", title = "SerialPortEnabled", meaning = "1 enables the serial port, other values do not", key = true },
    { name = "serial_port_index", kind = "int32", title = "SerialPortIndex", meaning = "the serial port that is meant", key = true },
    { name = "serial_ports_config_request", kind = "bool", title = "SerialPortsConfigRequest", meaning = "true asks how the serial ports are configured", key = true },
    { name = "serial_ports_status_request", kind = "bool", title = "SerialPortsStatusRequest", meaning = "true asks for the status of the serial ports", key = true },
    { name = "stave_recording_enabled", kind = "bool", title = "StaveRecordingEnabled", meaning = "record stave data", key = true },
    { name = "stave_recording_processing_stage", kind = "int32", title = "StaveRecordingProcessingStage", meaning = "stage of processing at which stave data are recorded, a code of the sonar", key = true },
    { name = "stop_bits_index", kind = "int32", title = "StopBitsIndex", meaning = "stop bits of a serial port, a code of the sonar", key = true },
    { name = "survey_depth_max", kind = "int32", title = "SurveyDepthMax", unit = "m", meaning = "greatest depth of the survey area", key = true },
    { name = "survey_depth_min", kind = "int32", title = "SurveyDepthMin", unit = "m", meaning = "least depth of the survey area", key = true },
    { name = "sync_data_recording", kind = "bool", title = "SyncDataRecording", meaning = "the sonar's recording follows the host's logger", key = true },
    { name = "system_depth_manual", kind = "double", title = "SystemDepthManual", unit = "m", meaning = "the depth to work with, entered by hand", key = true },
    { name = "system_depth_source", kind = "int32", title = "SystemDepthSource", meaning = "where the sonar takes the depth from that it works with", key = true },
    { name = "time_source_command", kind = "int32", title = "TimeSourceCommand", meaning = "command for a time source, a code of the sonar", key = true },
    { name = "time_source_id", kind = "int32", title = "TimeSourceID", meaning = "the time source that is meant", key = true },
    { name = "time_source_ipv4", kind = "string", title = "TimeSourceIPV4", meaning = "address of a time source as one number, decimal, octal (0...) or hexadecimal (0x...); empty for none", key = true },
    { name = "time_source_name", kind = "string", title = "TimeSourceName", meaning = "name of a time source on the network", key = true },
    { name = "udp_address", kind = "string", title = "UdpAddress", meaning = "address of a UDP port as one number, decimal, octal (0...) or hexadecimal (0x...)", key = true },
    { name = "udp_data_format_index", kind = "int32", title = "UdpDataFormatIndex", meaning = "data format of a UDP port, a code of the sonar", key = true },
    { name = "udp_port", kind = "string", title = "UdpPort", meaning = "port number of a UDP port, decimal, octal (0...) or hexadecimal (0x...)", key = true },
    { name = "udp_port_command", kind = "int32", title = "UdpPortCommand", meaning = "command for a UDP port, a code of the sonar", key = true },
    { name = "udp_port_configured", kind = "int32", title = "UdpPortConfigured", meaning = "1 marks the UDP port as configured, other values do not", key = true },
    { name = "udp_port_enabled", kind = "int32", title = "UdpPortEnabled", meaning = "1 enables the UDP port, other values do not", key = true },
    { name = "udp_port_index", kind = "int32", title = "UdpPortIndex", meaning = "the UDP port that is meant", key = true },
    { name = "udp_ports_config_request", kind = "bool", title = "UdpPortsConfigRequest", meaning = "true asks how the UDP ports are configured", key = true },
    { name = "udp_ports_status_request", kind = "bool", title = "UdpPortsStatusRequest", meaning = "true asks for the status of the UDP ports", key = true },
    { name = "user_role", kind = "int32", title = "UserRole", meaning = "role of the user, a code of the host", key = true },
    { name = "user_role_type", kind = "int32", title = "UserRoleType", meaning = "kind of role, a code of the host", key = true },
    { name = "vertical_detection_mode_enabled", kind = "bool", title = "VerticalDetectionModeEnabled", meaning = "detect vertical structures", key = true },
    { name = "system_event_message", kind = "string", title = "X5SystemEventMessage", meaning = "text of the system event", key = true },
    { name = "system_event_time", kind = "double", title = "X5SystemEventTime", unit = "s", meaning = "time of the system event; must be there, goes nowhere", key = true },
    { name = "system_event_type", kind = "int32", title = "X5SystemEventType", meaning = "kind of system event, a code of the host", key = true },
    { name = "7042_compress", kind = "bool", title = "x57042Compress", meaning = "record 7042 is compressed", key = true },
    { name = "7042_downsample_divisor", kind = "int32", title = "x57042DownsampleDivisor", meaning = "divisor of that downsampling, at least 2 where there is any", key = true },
    { name = "7042_downsample_type", kind = "int32", title = "x57042DownsampleType", meaning = "how record 7042 is downsampled, a code of the sonar, 0 for not at all", key = true },
    { name = "7042_mag_only", kind = "bool", title = "x57042MagOnly", meaning = "record 7042 carries magnitudes only", key = true },
    { name = "7042_use_bd", kind = "bool", title = "x57042UseBD", meaning = "record 7042 makes use of the bottom detection", key = true },
    { name = "ag_depth_filter_enabled", kind = "bool", title = "x5AGDepthFilterEnabled", meaning = "the depth limits of the adaptive gate act", key = true },
    { name = "ag_depth_filter_fixed", kind = "bool", title = "x5AGDepthFilterFixed", meaning = "the depth limits of the adaptive gate are fixed", key = true },
    { name = "ag_search_max", kind = "double", title = "x5AGSearchMax", unit = "m", meaning = "greatest depth at which the adaptive gate searches", key = true },
    { name = "ag_search_min", kind = "double", title = "x5AGSearchMin", unit = "m", meaning = "least depth at which the adaptive gate searches", key = true },
    { name = "ag_window_size", kind = "double", title = "x5AGWindowSize", unit = "%", meaning = "width of the adaptive gate, 5 to 100", key = true },
    { name = "absorption", kind = "double", title = "x5Absorption", unit = "dB/km", meaning = "absorption of sound in the water", key = true },
    { name = "adaptive_gate_enabled", kind = "bool", title = "x5AdaptiveGateEnabled", meaning = "the adaptive gate acts", key = true },
    { name = "auto_snippet_window", kind = "bool", title = "x5AutoSnippetWindow", meaning = "the sonar chooses the length of the snippets", key = true },
    { name = "beam_mode_selection", kind = "int32", title = "x5BeamModeSelection", meaning = "index of the beam mode among those that the sonar offers", key = true },
    { name = "beam_spacing_mode", kind = "int32", title = "x5BeamSpacingMode", meaning = "how the sonar spaces its beams, 3 for constant spacing", key = true },
    { name = "beam_steer", kind = "double", title = "x5BeamSteer", unit = "deg", meaning = "steering of the transmitted beam, two angles", key = true },
    { name = "beam_width_x", kind = "double", title = "x5BeamWidthX", unit = "deg", meaning = "width of the projector's beam, first axis", key = true },
    { name = "beam_width_z", kind = "double", title = "x5BeamWidthZ", unit = "deg", meaning = "width of the projector's beam, second axis", key = true },
    { name = "bracket", kind = "none", title = "x5Bracket", meaning = "the bracket that one sonar head is mounted in", key = true },
    { name = "bracket_selected", kind = "int32", title = "x5BracketSelected", meaning = "which of the head's array tables holds for the bracket, from 0", key = true },
    { name = "bracket_x", kind = "double", title = "x5BracketX", unit = "m", meaning = "where the bracket sits, X axis", key = true },
    { name = "bracket_y", kind = "double", title = "x5BracketY", unit = "m", meaning = "where the bracket sits, Y axis", key = true },
    { name = "bracket_z", kind = "double", title = "x5BracketZ", unit = "m", meaning = "where the bracket sits, Z axis", key = true },
    { name = "calib_command", kind = "int32", title = "x5CalibCommand", meaning = "calibration command, a code of the sonar", key = true },
    { name = "center_frequency", kind = "double", title = "x5CenterFrequency", unit = "Hz", meaning = "centre frequency of the pulse", key = true },
    { name = "constant_spacing", kind = "double", title = "x5ConstantSpacing", unit = "m", meaning = "wanted spacing of the beams on the bottom", key = true },
    { name = "constant_spacing_enabled", kind = "bool", title = "x5ConstantSpacingEnabled", meaning = "space the beams evenly on the bottom", key = true },
    { name = "constant_spacing_reduce_coverage", kind = "bool", title = "x5ConstantSpacingReduceCoverage", meaning = "constant spacing may narrow the coverage", key = true },
    { name = "coverage_angle", kind = "double", title = "x5CoverageAngle", unit = "deg", meaning = "opening angle of the swath", key = true },
    { name = "custom_beams", kind = "double", title = "x5CustomBeams", meaning = "wanted number of beams, 0 for the usual", key = true },
    { name = "custom_beams_enabled", kind = "bool", title = "x5CustomBeamsEnabled", meaning = "form a number of beams of one's own", key = true },
    { name = "data_recording", kind = "int32", title = "x5DataRecording", meaning = "0 stops the recording, other values start it", key = true },
    { name = "deck_mode", kind = "bool", title = "x5DeckMode", meaning = "deck mode, for a sonar out of the water", key = true },
    { name = "default_settings", kind = "none", title = "x5DefaultSettings", meaning = "go back to the default settings", key = true },
    { name = "depth_filter_enabled", kind = "bool", title = "x5DepthFilterEnabled", meaning = "the depth gate acts", key = true },
    { name = "depth_filter_follow", kind = "bool", title = "x5DepthFilterFollow", meaning = "the depth gate follows the bottom", key = true },
    { name = "depth_gate_tilt", kind = "double", title = "x5DepthGateTilt", unit = "deg", meaning = "tilt of the depth gate", key = true },
    { name = "directory_name", kind = "string", title = "x5DirectoryName", meaning = "directory that the recorder writes to", key = true },
    { name = "dual_head_mode", kind = "int32", title = "x5DualHeadMode", meaning = "coupling of two heads, 0 for a single head", key = true },
    { name = "dual_head_slave_ip", kind = "int32", title = "x5DualHeadSlaveIp", meaning = "IPv4 address of the slave head's processor, as a number", key = true },
    { name = "duty_cycle_limitation", kind = "int32", title = "x5DutyCycleLimitation", meaning = "limitation of the transmitter's duty cycle, a code of the sonar", key = true },
    { name = "fm_sweep", kind = "double", title = "x5FMSweep", unit = "kHz", meaning = "width of the frequency sweep around the centre frequency", key = true },
    { name = "fm_sweep_negative", kind = "bool", title = "x5FMSweepNegative", meaning = "sweep from above the centre frequency down", key = true },
    { name = "flex_outside_spacing", kind = "double", title = "x5FlexOutsideSpacing", meaning = "spacing of the beams outside the flex sector", key = true },
    { name = "flex_sector_coverage", kind = "double", title = "x5FlexSectorCoverage", unit = "deg", meaning = "opening angle of the flex sector", key = true },
    { name = "flex_sector_steering", kind = "double", title = "x5FlexSectorSteering", unit = "deg", meaning = "angle that the flex sector's middle is steered to", key = true },
    { name = "full_rate_dual_head", kind = "bool", title = "x5FullRateDualHead", meaning = "both heads ping at the full rate", key = true },
    { name = "gain", kind = "double", title = "x5Gain", unit = "dB", meaning = "receiver gain", key = true },
    { name = "gain_alt", kind = "double", title = "x5GainAlt", unit = "dB", meaning = "receiver gain parked for the other gain mode", key = true },
    { name = "gain_mode", kind = "int32", title = "x5GainMode", meaning = "time-varied or fixed gain", key = true },
    { name = "gain_stage_selection", kind = "int32", title = "x5GainStageSelection", meaning = "stage of the gain", key = true },
    { name = "gain_tweak", kind = "double", title = "x5GainTweak", meaning = "trim of the gain", key = true },
    { name = "gga_baudrate", kind = "int32", title = "x5GgaBaudrate", meaning = "baud rate of the GGA input (position), a code of the sonar", key = true },
    { name = "gga_databits", kind = "int32", title = "x5GgaDatabits", meaning = "data bits of the GGA input (position), a code of the sonar", key = true },
    { name = "gga_parity", kind = "int32", title = "x5GgaParity", meaning = "parity of the GGA input (position), a code of the sonar", key = true },
    { name = "gga_stop_bits", kind = "int32", title = "x5GgaStopBits", meaning = "stop bits of the GGA input (position), a code of the sonar", key = true },
    { name = "hdt_baudrate", kind = "int32", title = "x5HdtBaudrate", meaning = "baud rate of the HDT input (heading), a code of the sonar", key = true },
    { name = "hdt_databits", kind = "int32", title = "x5HdtDatabits", meaning = "data bits of the HDT input (heading), a code of the sonar", key = true },
    { name = "hdt_parity", kind = "int32", title = "x5HdtParity", meaning = "parity of the HDT input (heading), a code of the sonar", key = true },
    { name = "hdt_stop_bits", kind = "int32", title = "x5HdtStopBits", meaning = "stop bits of the HDT input (heading), a code of the sonar", key = true },
    { name = "heading_sensor_baudrate", kind = "int32", title = "x5HeadingSensorBaudrate", meaning = "baud rate of the heading sensor, a code of the sonar", key = true },
    { name = "heading_sensor_data_bits", kind = "int32", title = "x5HeadingSensorDataBits", meaning = "data bits of the heading sensor, a code of the sonar", key = true },
    { name = "heading_sensor_format", kind = "int32", title = "x5HeadingSensorFormat", meaning = "data format of the heading sensor, a code of the sonar", key = true },
    { name = "heading_sensor_parity", kind = "int32", title = "x5HeadingSensorParity", meaning = "parity of the heading sensor, a code of the sonar", key = true },
    { name = "heading_sensor_stop_bits", kind = "int32", title = "x5HeadingSensorStopBits", meaning = "stop bits of the heading sensor, a code of the sonar", key = true },
    { name = "hpr_baudrate", kind = "int32", title = "x5HprBaudrate", meaning = "baud rate of the HPR input (heave, pitch and roll), a code of the sonar", key = true },
    { name = "hpr_databits", kind = "int32", title = "x5HprDatabits", meaning = "data bits of the HPR input (heave, pitch and roll), a code of the sonar", key = true },
    { name = "hpr_parity", kind = "int32", title = "x5HprParity", meaning = "parity of the HPR input (heave, pitch and roll), a code of the sonar", key = true },
    { name = "hpr_stop_bits", kind = "int32", title = "x5HprStopBits", meaning = "stop bits of the HPR input (heave, pitch and roll), a code of the sonar", key = true },
    { name = "iq_rate", kind = "int32", title = "x5IQRate", unit = "Hz", meaning = "rate of the complex samples", key = true },
    { name = "ignore_pps_errors", kind = "bool", title = "x5IgnorePpsErrors", meaning = "go on when the pulse per second fails", key = true },
    { name = "load_factory_parameters", kind = "none", title = "x5LoadFactoryParameters", meaning = "go back to the factory settings", key = true },
    { name = "lorq_det_beam_angle", kind = "double", title = "x5LorqDetBeamAngle", unit = "deg", meaning = "angle of the detection's beam", key = true },
    { name = "lorq_det_beam_twtt", kind = "double", title = "x5LorqDetBeamTwtt", unit = "s", meaning = "two-way travel time of the detection", key = true },
    { name = "lorq_det_beam_x", kind = "double", title = "x5LorqDetBeamX", meaning = "X of the detection's beam", key = true },
    { name = "lorq_det_beam_y", kind = "double", title = "x5LorqDetBeamY", meaning = "Y of the detection's beam", key = true },
    { name = "lorq_det_beam_z", kind = "double", title = "x5LorqDetBeamZ", meaning = "Z of the detection's beam", key = true },
    { name = "lorq_det_diameter", kind = "double", title = "x5LorqDetDiameter", meaning = "diameter of the pipe", key = true },
    { name = "lorq_det_ping_number", kind = "int32", title = "x5LorqDetPingNumber", meaning = "number of the detection's ping", key = true },
    { name = "lorq_det_sample_rate", kind = "double", title = "x5LorqDetSampleRate", unit = "Hz", meaning = "sample rate of the detection's ping", key = true },
    { name = "lorq_gating", kind = "none", title = "x5LorqGating", meaning = "points along a pipe route that gate the detection", key = true },
    { name = "lorq_pipe_route_pipe_number", kind = "uint32", title = "x5LorqPipeRoutePipeNumber", meaning = "number of the pipe", key = true },
    { name = "lorq_pipe_route_point", kind = "none", title = "x5LorqPipeRoutePoint", meaning = "one point of a pipe route", key = true },
    { name = "m_bes_xyz", kind = "none", title = "x5MBesXYZ", meaning = "one array of the head: exactly two stand in a table, 0 and 1", key = true },
    { name = "m_bes_xyz_fixed_params", kind = "int32", title = "x5MBesXYZFixedParams", meaning = "which parameters of the head are fixed, a code of the sonar", key = true },
    { name = "m_bes_xyz_frequency", kind = "double", title = "x5MBesXYZFrequency", meaning = "frequency that the array table holds for", key = true },
    { name = "m_bes_xyz_height", kind = "double", title = "x5MBesXYZHeight", unit = "m", meaning = "height of the array", key = true },
    { name = "m_bes_xyz_info", kind = "none", title = "x5MBesXYZInfo", meaning = "an array table, one for each choice of bracket", key = true },
    { name = "m_bes_xyz_length", kind = "double", title = "x5MBesXYZLength", unit = "m", meaning = "length of the array", key = true },
    { name = "m_bes_xyz_list", kind = "none", title = "x5MBesXYZList", meaning = "the array tables of one sonar head", key = true },
    { name = "m_bes_xyz_number", kind = "int32", title = "x5MBesXYZNumber", meaning = "number of the head", key = true },
    { name = "m_bes_xyz_offset_pitch", kind = "double", title = "x5MBesXYZOffsetPitch", unit = "deg", meaning = "how the array is turned, pitch", key = true },
    { name = "m_bes_xyz_offset_roll", kind = "double", title = "x5MBesXYZOffsetRoll", unit = "deg", meaning = "how the array is turned, roll", key = true },
    { name = "m_bes_xyz_offset_x", kind = "double", title = "x5MBesXYZOffsetX", unit = "m", meaning = "where the array sits, X axis", key = true },
    { name = "m_bes_xyz_offset_y", kind = "double", title = "x5MBesXYZOffsetY", unit = "m", meaning = "where the array sits, Y axis", key = true },
    { name = "m_bes_xyz_offset_yaw", kind = "double", title = "x5MBesXYZOffsetYaw", unit = "deg", meaning = "how the array is turned, yaw", key = true },
    { name = "m_bes_xyz_offset_z", kind = "double", title = "x5MBesXYZOffsetZ", unit = "m", meaning = "where the array sits, Z axis", key = true },
    { name = "m_bes_xyzrx_unit_id", kind = "int32", title = "x5MBesXYZRXUnitID", meaning = "identity of the receive unit", key = true },
    { name = "m_bes_xyz_radius", kind = "double", title = "x5MBesXYZRadius", unit = "m", meaning = "radius of the array", key = true },
    { name = "m_bes_xyz_sonar_id", kind = "int32", title = "x5MBesXYZSonarId", meaning = "identity of the sonar", key = true },
    { name = "m_bes_xyztx_unit_id", kind = "int32", title = "x5MBesXYZTXUnitID", meaning = "identity of the transmit unit", key = true },
    { name = "m_bes_xyz_width", kind = "double", title = "x5MBesXYZWidth", unit = "m", meaning = "width of the array", key = true },
    { name = "max_beams", kind = "double", title = "x5MaxBeams", meaning = "most beams that the sonar forms", key = true },
    { name = "max_depth_gate", kind = "double", title = "x5MaxDepthGate", unit = "m", meaning = "greatest depth at which the bottom is looked for", key = true },
    { name = "max_ping_rate", kind = "double", title = "x5MaxPingRate", unit = "pings/s", meaning = "upper limit of the ping rate", key = true },
    { name = "max_range_gate", kind = "double", title = "x5MaxRangeGate", unit = "m", meaning = "farthest range at which the bottom is looked for", key = true },
    { name = "min_beams", kind = "double", title = "x5MinBeams", meaning = "fewest beams that the sonar forms", key = true },
    { name = "min_depth_gate", kind = "double", title = "x5MinDepthGate", unit = "m", meaning = "least depth at which the bottom is looked for", key = true },
    { name = "min_range_gate", kind = "double", title = "x5MinRangeGate", unit = "m", meaning = "nearest range at which the bottom is looked for", key = true },
    { name = "motion_compensation_pitch", kind = "bool", title = "x5MotionCompensationPitch", meaning = "compensate the vessel's pitch", key = true },
    { name = "motion_compensation_roll", kind = "bool", title = "x5MotionCompensationRoll", meaning = "compensate the vessel's roll", key = true },
    { name = "motion_sensor_baudrate", kind = "int32", title = "x5MotionSensorBaudrate", meaning = "baud rate of the motion sensor, a code of the sonar", key = true },
    { name = "motion_sensor_data_bits", kind = "int32", title = "x5MotionSensorDataBits", meaning = "data bits of the motion sensor, a code of the sonar", key = true },
    { name = "motion_sensor_format", kind = "int32", title = "x5MotionSensorFormat", meaning = "data format of the motion sensor, a code of the sonar", key = true },
    { name = "motion_sensor_latency", kind = "double", title = "x5MotionSensorLatency", meaning = "latency of the motion sensor, as the sonar counts it", key = true },
    { name = "motion_sensor_orientation", kind = "int32", title = "x5MotionSensorOrientation", meaning = "which way the motion sensor is mounted, a code of the sonar", key = true },
    { name = "motion_sensor_parity", kind = "int32", title = "x5MotionSensorParity", meaning = "parity of the motion sensor, a code of the sonar", key = true },
    { name = "motion_sensor_stop_bits", kind = "int32", title = "x5MotionSensorStopBits", meaning = "stop bits of the motion sensor, a code of the sonar", key = true },
    { name = "multi_detect_enabled", kind = "bool", title = "x5MultiDetectEnabled", meaning = "more than one detection a beam", key = true },
    { name = "multi_detect_max_detections", kind = "int32", title = "x5MultiDetectMaxDetections", meaning = "greatest number of additional detections", key = true },
    { name = "multi_detect_object_size", kind = "int32", title = "x5MultiDetectObjectSize", meaning = "size of the objects that multi-detection looks for", key = true },
    { name = "multi_detect_sensitivity", kind = "int32", title = "x5MultiDetectSensitivity", meaning = "how readily multi-detection takes an echo for an object", key = true },
    { name = "multi_ping_count", kind = "int32", title = "x5MultiPingCount", meaning = "number of pings in the water at the same time", key = true },
    { name = "number_of_beams", kind = "int32", title = "x5NumberOfBeams", meaning = "number of beams that the detection unit works on", key = true },
    { name = "number_of_pixels", kind = "int32", title = "x5NumberOfPixels", meaning = "number of samples of each beam that the detection unit works on", key = true },
    { name = "overlap", kind = "double", title = "x5Overlap", unit = "deg", meaning = "angle by which the swaths of two heads may overlap", key = true },
    { name = "ping_on_off_state", kind = "int32", title = "x5PingOnOffState", meaning = "0 stops the pings, other values start them", key = true },
    { name = "ping_settings_list", kind = "none", title = "x5PingSettingsList", meaning = "ping settings of one projector", key = true },
    { name = "playback_command_time", kind = "double", title = "x5PlaybackCommandTime", unit = "s", meaning = "time of a playback command", key = true },
    { name = "playback_loop", kind = "double", title = "x5PlaybackLoop", meaning = "play the recorded file again and again", key = true },
    { name = "playback_position", kind = "double", title = "x5PlaybackPosition", meaning = "position in the recorded file", key = true },
    { name = "playback_speed", kind = "double", title = "x5PlaybackSpeed", meaning = "speed of the playback", key = true },
    { name = "playback_step_back", kind = "none", title = "x5PlaybackStepBack", meaning = "step back in the recorded file", key = true },
    { name = "playback_step_forward", kind = "none", title = "x5PlaybackStepForward", meaning = "step forward in the recorded file", key = true },
    { name = "power", kind = "double", title = "x5Power", unit = "dB", meaning = "transmit power", key = true },
    { name = "power_built_in_hpr", kind = "none", title = "x5PowerBuiltInHPR", meaning = "switch the power of the built-in motion unit", key = true },
    { name = "power_save_blank_percent", kind = "int32", title = "x5PowerSaveBlankPercent", unit = "%", meaning = "share that power saving blanks", key = true },
    { name = "power_save_mode", kind = "int32", title = "x5PowerSaveMode", meaning = "power saving mode, a code of the sonar", key = true },
    { name = "power_tweak", kind = "double", title = "x5PowerTweak", meaning = "trim of the transmit power", key = true },
    { name = "pps_edge", kind = "int32", title = "x5PpsEdge", meaning = "edge of the pulse-per-second input that counts", key = true },
    { name = "pulse_length", kind = "double", title = "x5PulseLength", unit = "s", meaning = "length of the transmitted pulse", key = true },
    { name = "pulse_length_tweak", kind = "double", title = "x5PulseLengthTweak", meaning = "trim of the pulse length", key = true },
    { name = "pulse_type", kind = "int32", title = "x5PulseType", meaning = "form of the transmitted pulse", key = true },
    { name = "qmio_address1", kind = "string", title = "x5QMIOAddress1", meaning = "address of the first remote I/O module", key = true },
    { name = "qmio_address2", kind = "string", title = "x5QMIOAddress2", meaning = "address of the second remote I/O module", key = true },
    { name = "qmio_address3", kind = "string", title = "x5QMIOAddress3", meaning = "address of the third remote I/O module", key = true },
    { name = "rdr_filter_list", kind = "int64", title = "x5RDRFilterList", meaning = "records that the recorder keeps, the sonar's own numbers", key = true },
    { name = "range", kind = "double", title = "x5Range", unit = "m", meaning = "range that the sonar listens to", key = true },
    { name = "range_filter_enabled", kind = "bool", title = "x5RangeFilterEnabled", meaning = "the range gate acts", key = true },
    { name = "range_tweak", kind = "double", title = "x5RangeTweak", meaning = "trim of the range", key = true },
    { name = "reboot", kind = "none", title = "x5Reboot", meaning = "restart the sonar processor", key = true },
    { name = "reset_coverage", kind = "bool", title = "x5ResetCoverage", meaning = "go back to the standard coverage; the value does not count", key = true },
    { name = "restore_pingrate", kind = "bool", title = "x5RestorePingrate", meaning = "take up the last ping rate at start-up", key = true },
    { name = "restore_power", kind = "bool", title = "x5RestorePower", meaning = "take up the last transmit power at start-up", key = true },
    { name = "restore_recording", kind = "bool", title = "x5RestoreRecording", meaning = "take up the recording at start-up", key = true },
    { name = "restore_tracker", kind = "bool", title = "x5RestoreTracker", meaning = "take up the tracker at start-up", key = true },
    { name = "rx_number", kind = "int32", title = "x5RxNumber", meaning = "number of the head's receiver", key = true },
    { name = "rx_steering_angle", kind = "double", title = "x5RxSteeringAngle", unit = "deg", meaning = "angle that the swath's middle is steered to", key = true },
    { name = "ssr7503_cmd", kind = "none", title = "x5SSR7503CMD", meaning = "ask the sonar for its settings", key = true },
    { name = "sv_interlock", kind = "bool", title = "x5SVInterlock", meaning = "transmit only with a valid sound velocity", key = true },
    { name = "sample_rate_selection", kind = "int32", title = "x5SampleRateSelection", meaning = "index of the sample rate among those that the sonar offers", key = true },
    { name = "sample_rate_set", kind = "none", title = "x5SampleRateSet", meaning = "a sample rate that the sonar offers", key = true },
    { name = "shutdown", kind = "none", title = "x5Shutdown", meaning = "shut the sonar processor down", key = true },
    { name = "slaved_records", kind = "int64", title = "x5SlavedRecords", meaning = "ids of the records that the master head forwards to the slave", key = true },
    { name = "snippet_window_size", kind = "int32", title = "x5SnippetWindowSize", meaning = "length of the snippets around the bottom detection", key = true },
    { name = "sonar_settings", kind = "none", title = "x5SonarSettings", meaning = "settings that one head reports", key = true },
    { name = "sound_velocity", kind = "double", title = "x5SoundVelocity", unit = "m/s", meaning = "sound velocity at the sonar head", key = true },
    { name = "sound_velocity_filter", kind = "int32", title = "x5SoundVelocityFilter", meaning = "filter on the sound velocity of the probe", key = true },
    { name = "sound_velocity_override", kind = "bool", title = "x5SoundVelocityOverride", meaning = "use the entered sound velocity in place of the probe's", key = true },
    { name = "sound_velocity_probe_enabled", kind = "bool", title = "x5SoundVelocityProbeEnabled", meaning = "use the sound velocity probe", key = true },
    { name = "source_level_mode", kind = "int32", title = "x5SourceLevelMode", meaning = "how the source level is chosen", key = true },
    { name = "spreading_loss", kind = "double", title = "x5SpreadingLoss", unit = "dB", meaning = "spreading loss that the gain makes up for", key = true },
    { name = "stacking_enabled", kind = "bool", title = "x5StackingEnabled", meaning = "stack pings", key = true },
    { name = "stacking_value", kind = "int32", title = "x5StackingValue", meaning = "number of pings in a stack", key = true },
    { name = "startup_normalization", kind = "bool", title = "x5StartupNormalization", meaning = "normalise the receiver at start-up", key = true },
    { name = "std_coverage", kind = "double", title = "x5StdCoverage", unit = "deg", meaning = "standard opening angle of the swath", key = true },
    { name = "storage_append_trailer", kind = "bool", title = "x5StorageAppendTrailer", meaning = "write the trailer after the data", key = true },
    { name = "storage_directory", kind = "string", title = "x5StorageDirectory", meaning = "directory of the custom storage", key = true },
    { name = "storage_enabled", kind = "bool", title = "x5StorageEnabled", meaning = "the custom storage is on", key = true },
    { name = "storage_file_name_postfix", kind = "string", title = "x5StorageFileNamePostfix", meaning = "what a recorded file's name ends with", key = true },
    { name = "storage_file_name_prefix", kind = "string", title = "x5StorageFileNamePrefix", meaning = "what a recorded file's name begins with", key = true },
    { name = "storage_header", kind = "string", title = "x5StorageHeader", meaning = "header of the custom storage's files", key = true },
    { name = "storage_history", kind = "bool", title = "x5StorageHistory", meaning = "record the history as well", key = true },
    { name = "storage_prepend_header", kind = "bool", title = "x5StoragePrependHeader", meaning = "write the header before the data", key = true },
    { name = "storage_single_file", kind = "bool", title = "x5StorageSingleFile", meaning = "record into a single file", key = true },
    { name = "storage_trailer", kind = "string", title = "x5StorageTrailer", meaning = "trailer of the custom storage's files", key = true },
    { name = "svp_baudrate", kind = "int32", title = "x5SvpBaudrate", meaning = "baud rate of the SVP input (sound velocity probe), a code of the sonar", key = true },
    { name = "svp_databits", kind = "int32", title = "x5SvpDatabits", meaning = "data bits of the SVP input (sound velocity probe), a code of the sonar", key = true },
    { name = "svp_parity", kind = "int32", title = "x5SvpParity", meaning = "parity of the SVP input (sound velocity probe), a code of the sonar", key = true },
    { name = "svp_stop_bits", kind = "int32", title = "x5SvpStopBits", meaning = "stop bits of the SVP input (sound velocity probe), a code of the sonar", key = true },
    { name = "system_idh", kind = "bool", title = "x5SystemIDH", meaning = "the system is of the kind that couples no slave head", key = true },
    { name = "system_mode", kind = "int32", title = "x5SystemMode", meaning = "operating mode of the sonar, 1 for the tracker", key = true },
    { name = "temperature", kind = "double", title = "x5Temperature", unit = "degC", meaning = "water temperature", key = true },
    { name = "temperature_override", kind = "bool", title = "x5TemperatureOverride", meaning = "use the entered temperature in place of the measured one", key = true },
    { name = "tracker_coverage_angle_enabled", kind = "bool", title = "x5TrackerCoverageAngleEnabled", meaning = "the tracker sets the opening angle of the swath", key = true },
    { name = "tracker_fixed_swath_enabled", kind = "bool", title = "x5TrackerFixedSwathEnabled", meaning = "the tracker keeps the swath's width on the bottom", key = true },
    { name = "tracker_fixed_swath_width", kind = "double", title = "x5TrackerFixedSwathWidth", unit = "m", meaning = "width of the swath on the bottom that the tracker keeps", key = true },
    { name = "tracker_limit_coverage", kind = "bool", title = "x5TrackerLimitCoverage", meaning = "the tracker opens the swath no further than the greatest angle", key = true },
    { name = "tracker_max_coverage_angle", kind = "double", title = "x5TrackerMaxCoverageAngle", unit = "deg", meaning = "greatest opening angle of the swath under the tracker", key = true },
    { name = "tracker_power_gain_enabled", kind = "bool", title = "x5TrackerPowerGainEnabled", meaning = "the tracker sets power and gain", key = true },
    { name = "tracker_pulse_length_enabled", kind = "bool", title = "x5TrackerPulseLengthEnabled", meaning = "the tracker sets the pulse length", key = true },
    { name = "tracker_range_enabled", kind = "bool", title = "x5TrackerRangeEnabled", meaning = "the tracker sets the range", key = true },
    { name = "trigger_channel", kind = "int32", title = "x5TriggerChannel", meaning = "channel of the trigger output, kept with the device and not sent", key = true },
    { name = "trigger_index", kind = "int32", title = "x5TriggerIndex", meaning = "which trigger output", key = true },
    { name = "trigger_input", kind = "bool", title = "x5TriggerInput", meaning = "ping on the trigger input", key = true },
    { name = "trigger_input_edge", kind = "int32", title = "x5TriggerInputEdge", meaning = "edge of the trigger input that counts", key = true },
    { name = "trigger_mode", kind = "int32", title = "x5TriggerMode", meaning = "mode of the trigger output", key = true },
    { name = "trigger_output", kind = "bool", title = "x5TriggerOutput", meaning = "give a trigger pulse with every ping", key = true },
    { name = "trigger_output_delay", kind = "double", title = "x5TriggerOutputDelay", unit = "ms", meaning = "delay of the trigger pulse", key = true },
    { name = "trigger_output_pulse", kind = "double", title = "x5TriggerOutputPulse", unit = "ms", meaning = "width of the trigger pulse", key = true },
    { name = "trigger_output_rx_duration", kind = "bool", title = "x5TriggerOutputRxDuration", meaning = "the trigger pulse lasts as long as the sonar receives", key = true },
    { name = "trigger_polarity", kind = "int32", title = "x5TriggerPolarity", meaning = "polarity of the trigger pulse", key = true },
    { name = "tx_name", kind = "string", title = "x5TxName", meaning = "name of the head's transmitter", key = true },
    { name = "use_attached_svp", kind = "bool", title = "x5UseAttachedSVP", meaning = "use the attached sound velocity probe", key = true },
    { name = "use_build_in_posmv", kind = "bool", title = "x5UseBuildInPOSMV", meaning = "use the built-in motion unit", key = true },
    { name = "vernier_bf_mode", kind = "int32", title = "x5VernierBfMode", meaning = "mode of the vernier beamformer", key = true },
    { name = "vernier_smooth_filter_length", kind = "int32", title = "x5VernierSmoothFilterLength", meaning = "length of the vernier's smoothing filter", key = true },
    { name = "vernier_smooth_filter_type", kind = "int32", title = "x5VernierSmoothFilterType", meaning = "kind of the vernier's smoothing filter", key = true },
    { name = "zda_baudrate", kind = "int32", title = "x5ZdaBaudrate", meaning = "baud rate of the ZDA input (date and time), a code of the sonar", key = true },
    { name = "zda_databits", kind = "int32", title = "x5ZdaDatabits", meaning = "data bits of the ZDA input (date and time), a code of the sonar", key = true },
    { name = "zda_parity", kind = "int32", title = "x5ZdaParity", meaning = "parity of the ZDA input (date and time), a code of the sonar", key = true },
    { name = "zda_stop_bits", kind = "int32", title = "x5ZdaStopBits", meaning = "stop bits of the ZDA input (date and time), a code of the sonar", key = true },
    { name = "record_request.record_id", kind = "uint32", title = "record id" },
    { name = "pass_through_command.target_device", kind = "uint32", title = "target device" },
    { name = "pass_through_command.target_enumerator", kind = "uint32", title = "target enumerator" },
    { name = "pass_through_command.reserved", kind = "uint32", title = "reserved" },
    { name = "pass_through_command.command_id", kind = "uint32", title = "command id" },
    { name = "pass_through_command.size", kind = "uint32", title = "size" },
    { name = "pass_through_command.payload", kind = "bytes", title = "payload" },
    { name = "attribute_tree.format", kind = "uint32", title = "format" },
    { name = "attribute_tree.nodes", kind = "bytes", title = "nodes" },
    { name = "playback_operation.operation", kind = "uint32", title = "operation" },
    { name = "playback_operation.command_time", kind = "double", title = "command time", unit = "s" },
    { name = "playback_operation.value", kind = "double", title = "value" },
    { name = "manual_sound_velocity.no_new_sound_velocity", kind = "bool", title = "no new sound velocity" },
    { name = "manual_sound_velocity.new_filter", kind = "bool", title = "new filter" },
    { name = "manual_temperature.no_new_temperature", kind = "bool", title = "no new temperature" },
    { name = "uncouple_heads.coupled", kind = "uint32", title = "coupled" },
    { name = "couple_heads.coupled", kind = "uint32", title = "coupled" },
    { name = "default_list_of_forwarded_records.number_of_records", kind = "uint32", title = "number of records" },
    { name = "default_list_of_forwarded_records.record_ids", kind = "int64", title = "record ids" },
    { name = "list_of_forwarded_records.number_of_records", kind = "uint32", title = "number of records" },
    { name = "custom_beams.wire", kind = "uint32", title = "x5CustomBeams on the wire", meaning = "wanted number of beams, 0 for the usual" },
    { name = "constant_spacing.wire", kind = "double", title = "x5ConstantSpacing on the wire", unit = "m", meaning = "wanted spacing of the beams on the bottom" },
    { name = "detection_gating_along_a_pipe_route.number_of_points", kind = "uint32", title = "number of points" },
    { name = "detection_gating_along_a_pipe_route.size_of_a_point", kind = "uint32", title = "size of a point", unit = "bytes" },
    { name = "detection_gating_along_a_pipe_route.sample_number_of_the_detection", kind = "double", title = "sample number of the detection" },
    { name = "vernier_parameters.leading_constant", kind = "uint32", title = "leading constant" },
    { name = "frequency_sweep.start_frequency", kind = "double", title = "start frequency", unit = "Hz" },
    { name = "frequency_sweep.stop_frequency", kind = "double", title = "stop frequency", unit = "Hz" },
    { name = "sample_rate_selection.wire", kind = "int32", title = "x5SampleRateSelection on the wire", unit = "Hz", meaning = "index of the sample rate among those that the sonar offers" },
    { name = "echo_marker.annotation_holds", kind = "bool", title = "annotation holds" },
    { name = "echo_marker.depth_holds", kind = "bool", title = "depth holds" },
    { name = "echo_marker.latitude_holds", kind = "bool", title = "latitude holds" },
    { name = "echo_marker.longitude_holds", kind = "bool", title = "longitude holds" },
    { name = "echo_marker.altitude_holds", kind = "bool", title = "altitude holds" },
    { name = "echo_marker.heave_holds", kind = "bool", title = "heave holds" },
    { name = "echo_marker.time_holds", kind = "bool", title = "time holds" },
    { name = "echo_marker.ping_number_holds", kind = "bool", title = "ping number holds" },
    { name = "serial_or_udp_port_status.port_index", kind = "int32", title = "port index" },
    { name = "serial_or_udp_port_status.command", kind = "int32", title = "command" },
    { name = "time_source_ipv4.wire", kind = "uint32", title = "TimeSourceIPV4 on the wire", meaning = "address of a time source as one number, decimal, octal (0...) or hexadecimal (0x...); empty for none" },
    { name = "udp_address.wire", kind = "uint32", title = "UdpAddress on the wire", meaning = "address of a UDP port as one number, decimal, octal (0...) or hexadecimal (0x...)" },
    { name = "udp_port.wire", kind = "uint32", title = "UdpPort on the wire", meaning = "port number of a UDP port, decimal, octal (0...) or hexadecimal (0x...)" },
    { name = "positioning_unit_configuration_text.reserved", kind = "double", title = "reserved" },
    { name = "positioning_unit_configuration_text.length_of_the_text", kind = "uint32", title = "length of the text", unit = "bytes" },
    { name = "ost_dgnss_ins_ntrip_password.wire", kind = "string", title = "OstDgnssInsNtripPassword on the wire", meaning = "password at the NTRIP caster" },
    { name = "ost_dgnss_ins_ntrip_cga.wire", kind = "uint32", title = "OstDgnssInsNtripCga on the wire", meaning = "how often the position goes to the NTRIP caster, code 0 to 5" },
    { name = "positioning_unit_ntrip_client.always_set", kind = "bool", title = "always set" },
    { name = "positioning_unit_serial_port.port", kind = "uint32", title = "port" },
    { name = "positioning_unit_serial_port.rs_485", kind = "uint32", title = "RS-485" },
    { name = "positioning_unit_serial_port.baud_rate", kind = "uint32", title = "baud rate", unit = "bit/s" },
    { name = "file_for_the_sonar.file_name", kind = "string", title = "file name" },
    { name = "file_for_the_sonar.file_type", kind = "string", title = "file type" },
    { name = "file_for_the_sonar.size_of_the_contents", kind = "uint32", title = "size of the contents", unit = "bytes" },
    { name = "file_for_the_sonar.contents", kind = "bytes", title = "contents" },
    { name = "single_beam_settings.size_of_the_xml_without_its_terminator", kind = "uint32", title = "size of the XML without its terminator", unit = "bytes" },
    { name = "channel_selection.select", kind = "uint32", title = "select" },
    { name = "tracker_tweak_mode.number_of_settings", kind = "uint32", title = "number of settings" },
    { name = "tracker_tweak_mode.setting", kind = "uint32", title = "setting" },
    { name = "sbes_tracker_tweak_mode.wire", kind = "uint32", title = "SbesTrackerTweakMode on the wire", meaning = "tweaks of the tracker: 1000 sets all, 1001 some, other values none" },
    { name = "gain_tweak.selector", kind = "uint32", title = "selector" },
    { name = "power_tweak.selector", kind = "uint32", title = "selector" },
    { name = "pulse_length_tweak.selector", kind = "uint32", title = "selector" },
    { name = "range_tweak.selector", kind = "uint32", title = "selector" },
    { name = "start_recording.file_name_empty_the_sonar_chooses", kind = "string", title = "file name, empty: the sonar chooses" },
    { name = "recorder_filter_list.constant", kind = "uint32", title = "constant" },
    { name = "recorder_filter_list.number_of_entries", kind = "uint32", title = "number of entries" },
    { name = "raytracer_manual_range.wire", kind = "double", title = "RaytracerManualRange on the wire", unit = "m", meaning = "range for the ray tracer, in the project's unit of distance" },
    { name = "sonar_contact.target_id", kind = "uint32", title = "target id" },
    { name = "sonar_contact.ping_number", kind = "uint32", title = "ping number" },
    { name = "sonar_contact.contact_time", kind = "absolute_time", title = "contact time" },
    { name = "sonar_contact.operator", kind = "string", title = "operator" },
    { name = "sonar_contact.contact_state", kind = "uint32", title = "contact state (0 new, 1 updated, 2 deleted)" },
    { name = "sonar_contact.range", kind = "double", title = "range" },
    { name = "sonar_contact.bearing", kind = "double", title = "bearing", unit = "rad" },
    { name = "sonar_contact.information_flags", kind = "uint32", title = "information flags" },
    { name = "sonar_contact.latitude", kind = "double", title = "latitude", unit = "rad" },
    { name = "sonar_contact.longitude", kind = "double", title = "longitude", unit = "rad" },
    { name = "sonar_contact.azimuth", kind = "double", title = "azimuth", unit = "rad" },
    { name = "sonar_contact.contact_length", kind = "double", title = "contact length" },
    { name = "sonar_contact.contact_width", kind = "double", title = "contact width" },
    { name = "sonar_contact.classification", kind = "string", title = "classification" },
    { name = "sonar_contact.description", kind = "string", title = "description" },
    { name = "sonar_contact.target_guid", kind = "string", title = "target GUID" },
    { name = "sonar_contact.extension_value", kind = "double", title = "extension value" },
    { name = "sonar_contact.extension_angle", kind = "double", title = "extension angle", unit = "rad" },
    { name = "sonar_contact.extension_measure", kind = "double", title = "extension measure" },
    { name = "target_list.application", kind = "string", title = "application" },
    { name = "target_list.size_of_an_item", kind = "uint32", title = "size of an item", unit = "bytes" },
    { name = "target_list.number_of_items", kind = "uint32", title = "number of items" },
    { name = "target_list.target_guid", kind = "string", title = "target GUID" },
    { name = "target_list.detail_number_a", kind = "uint32", title = "detail number A" },
    { name = "target_list.detail_flag", kind = "uint32", title = "detail flag" },
    { name = "target_list.detail_number_b", kind = "uint32", title = "detail number B" },
    { name = "target_list.detail_number_c", kind = "uint32", title = "detail number C" },
    { name = "target_list.range", kind = "double", title = "range" },
    { name = "target_list.bearing", kind = "double", title = "bearing", unit = "deg" },
    { name = "target_list.extension_measure_valid", kind = "double", title = "extension measure valid (0 or 1)" },
    { name = "target_list.extension_measure", kind = "double", title = "extension measure" },
    { name = "target_list.latitude", kind = "double", title = "latitude", unit = "deg" },
    { name = "target_list.longitude", kind = "double", title = "longitude", unit = "deg" },
    { name = "target_list.contact_length", kind = "double", title = "contact length" },
    { name = "target_list.contact_width", kind = "double", title = "contact width" },
    { name = "target_list.contact_height", kind = "double", title = "contact height" },
    { name = "target_list.detail_value", kind = "double", title = "detail value" },
    { name = "target_list.target_id", kind = "uint32", title = "target id" },
    { name = "a_scan_status.a_scan_monitor_on", kind = "uint32", title = "A-scan monitor on" },
    { name = "a_scan_status.number_of_beams", kind = "uint32", title = "number of beams" },
    { name = "a_scan_status.beams", kind = "uint32", title = "beams" },
    { name = "beam_and_sample_setting_of_the_detection_unit.form", kind = "uint32", title = "form" },
    { name = "system_event.length_of_the_text_with_its_terminator", kind = "uint32", title = "length of the text with its terminator", unit = "bytes" },
    { name = "echo_request.detections", kind = "bool", title = "detections" },
    { name = "echo_request.water_column", kind = "bool", title = "water column" },
    { name = "detections.ping_number", kind = "int32", title = "ping number" },
    { name = "detections.time", kind = "double", title = "time", unit = "s" },
    { name = "detections.sound_velocity", kind = "double", title = "sound velocity", unit = "m/s" },
    { name = "detections.east", kind = "double", title = "east", unit = "m" },
    { name = "detections.north", kind = "double", title = "north", unit = "m" },
    { name = "detections.depth", kind = "double", title = "depth", unit = "m" },
    { name = "detections.heading", kind = "double", title = "heading", unit = "deg" },
    { name = "detections.roll", kind = "double", title = "roll", unit = "deg" },
    { name = "detections.pitch", kind = "double", title = "pitch", unit = "deg" },
    { name = "detections.heave", kind = "double", title = "heave", unit = "m" },
    { name = "detections.steering", kind = "double", title = "steering", unit = "deg" },
    { name = "detections.beams", kind = "uint32", title = "beams" },
    { name = "detections.detections", kind = "uint32", title = "detections" },
    { name = "detections.beam", kind = "uint32", title = "beam" },
    { name = "detections.angle", kind = "double", title = "angle", unit = "deg" },
    { name = "detections.travel_time", kind = "double", title = "travel time", unit = "s" },
    { name = "detections.level", kind = "double", title = "level", unit = "dB" },
    { name = "detections.quality", kind = "double", title = "quality" },
    { name = "water_column.ping_number", kind = "int32", title = "ping number" },
    { name = "water_column.time", kind = "double", title = "time", unit = "s" },
    { name = "water_column.sound_velocity", kind = "double", title = "sound velocity", unit = "m/s" },
    { name = "water_column.east", kind = "double", title = "east", unit = "m" },
    { name = "water_column.north", kind = "double", title = "north", unit = "m" },
    { name = "water_column.depth", kind = "double", title = "depth", unit = "m" },
    { name = "water_column.heading", kind = "double", title = "heading", unit = "deg" },
    { name = "water_column.roll", kind = "double", title = "roll", unit = "deg" },
    { name = "water_column.pitch", kind = "double", title = "pitch", unit = "deg" },
    { name = "water_column.heave", kind = "double", title = "heave", unit = "m" },
    { name = "water_column.steering", kind = "double", title = "steering", unit = "deg" },
    { name = "water_column.beams", kind = "uint32", title = "beams" },
    { name = "water_column.samples", kind = "uint32", title = "samples" },
    { name = "water_column.interval", kind = "double", title = "interval", unit = "s" },
    { name = "water_column.floor", kind = "double", title = "floor", unit = "dB" },
    { name = "water_column.step", kind = "double", title = "step", unit = "dB" },
    { name = "water_column.beam_angle", kind = "double", title = "beam angle", unit = "deg" },
    { name = "water_column.gain", kind = "double", title = "gain", unit = "dB" },
    { name = "water_column.noise", kind = "double", title = "noise", unit = "dB" },
    { name = "water_column.level", kind = "bytes", title = "level" },
}

-- Every record: who carries it, its id, the size of its fixed part in bytes, its fields, what follows them.
local records = {
    { carrier = "command", id = 90001, name = "record request", size = 4, tail = "none", tailName = "",
        itemSize = 0, fields = {
            { at = 0, width = 4, wire = "u32", name = "record id", field = "record_request.record_id" },
        }, items = {
        } },
    { carrier = "command", id = 90002, name = "pass-through command", size = 16, tail = "bytes", tailName = "payload",
        itemSize = 0, tailField = "pass_through_command.payload", fields = {
            { at = 0, width = 4, wire = "u32", name = "target device", field = "pass_through_command.target_device" },
            { at = 4, width = 2, wire = "u16", name = "target enumerator", field = "pass_through_command.target_enumerator" },
            { at = 6, width = 2, wire = "u16", name = "reserved", field = "pass_through_command.reserved" },
            { at = 8, width = 4, wire = "u32", name = "command id", field = "pass_through_command.command_id" },
            { at = 12, width = 4, wire = "u32", name = "size", field = "pass_through_command.size" },
        }, items = {
        } },
    { carrier = "data", id = 90010, name = "attribute tree", size = 4, tail = "bytes", tailName = "nodes",
        itemSize = 0, tailField = "attribute_tree.nodes", fields = {
            { at = 0, width = 4, wire = "u32", name = "format", field = "attribute_tree.format", constant = 1 },
        }, items = {
        } },
    { carrier = "command", id = 90011, name = "playback operation", size = 20, tail = "none", tailName = "",
        itemSize = 0, fields = {
            { at = 0, width = 4, wire = "u32", name = "operation", field = "playback_operation.operation" },
            { at = 4, width = 8, wire = "f64", name = "command time", field = "playback_operation.command_time", unit = "s" },
            { at = 12, width = 8, wire = "f64", name = "value", field = "playback_operation.value" },
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
            { at = 0, width = 2, wire = "u16", name = "x5CalibCommand", field = "calib_command" },
        }, items = {
        } },
    { carrier = "command", id = 1003, name = "range", size = 4, tail = "none", tailName = "",
        itemSize = 0, fields = {
            { at = 0, width = 4, wire = "f32", name = "x5Range", field = "range", unit = "m" },
        }, items = {
        } },
    { carrier = "command", id = 1004, name = "maximum ping rate", size = 4, tail = "none", tailName = "",
        itemSize = 0, fields = {
            { at = 0, width = 4, wire = "f32", name = "x5MaxPingRate", field = "max_ping_rate", unit = "pings/s" },
        }, items = {
        } },
    { carrier = "command", id = 1005, name = "power", size = 4, tail = "none", tailName = "",
        itemSize = 0, fields = {
            { at = 0, width = 4, wire = "f32", name = "x5Power", field = "power", unit = "dB" },
        }, items = {
        } },
    { carrier = "command", id = 1006, name = "pulse length", size = 4, tail = "none", tailName = "",
        itemSize = 0, fields = {
            { at = 0, width = 4, wire = "f32", name = "x5PulseLength", field = "pulse_length", unit = "s" },
        }, items = {
        } },
    { carrier = "command", id = 1008, name = "gain", size = 4, tail = "none", tailName = "",
        itemSize = 0, fields = {
            { at = 0, width = 4, wire = "f32", name = "x5Gain", field = "gain", unit = "dB" },
        }, items = {
        } },
    { carrier = "command", id = 1011, name = "active projector", size = 4, tail = "none", tailName = "",
        itemSize = 0, fields = {
            { at = 0, width = 4, wire = "i32", name = "DeviceEnum", field = "device_enum" },
        }, items = {
        } },
    { carrier = "command", id = 1021, name = "beam steering", size = 8, tail = "none", tailName = "",
        itemSize = 0, fields = {
            { at = 0, width = 4, wire = "f32", name = "x5BeamSteer[0]", field = "beam_steer", unit = "rad", convert = "radians", keyUnit = "deg" },
            { at = 4, width = 4, wire = "f32", name = "x5BeamSteer[1]", field = "beam_steer", unit = "rad", convert = "radians", keyUnit = "deg" },
        }, items = {
        } },
    { carrier = "command", id = 1033, name = "motion compensation", size = 12, tail = "none", tailName = "",
        itemSize = 0, fields = {
            { at = 0, width = 1, wire = "u8", name = "x5MotionCompensationRoll", field = "motion_compensation_roll" },
            { at = 1, width = 1, wire = "u8", name = "x5MotionCompensationPitch", field = "motion_compensation_pitch" },
        }, items = {
        } },
    { carrier = "command", id = 1035, name = "coverage sector", size = 8, tail = "none", tailName = "",
        itemSize = 0, fields = {
            { at = 0, width = 4, wire = "f32", name = "x5CoverageAngle", field = "coverage_angle", unit = "rad", convert = "radians", keyUnit = "deg" },
            { at = 4, width = 4, wire = "f32", name = "x5RxSteeringAngle", field = "rx_steering_angle", unit = "rad", convert = "radians", keyUnit = "deg" },
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
            { at = 0, width = 2, wire = "bit", name = "x5SoundVelocityOverride", field = "sound_velocity_override", bit = 0, bits = 1 },
            { at = 0, width = 2, wire = "bit", name = "no new sound velocity", field = "manual_sound_velocity.no_new_sound_velocity", bit = 1, bits = 1 },
            { at = 0, width = 2, wire = "bit", name = "new filter", field = "manual_sound_velocity.new_filter", bit = 2, bits = 1 },
            { at = 2, width = 4, wire = "f32", name = "x5SoundVelocity", field = "sound_velocity", unit = "m/s" },
            { at = 6, width = 1, wire = "u8", name = "x5SoundVelocityFilter", field = "sound_velocity_filter" },
        }, items = {
        } },
    { carrier = "data", id = 7611, name = "absorption", size = 4, tail = "none", tailName = "",
        itemSize = 0, fields = {
            { at = 0, width = 4, wire = "f32", name = "x5Absorption", field = "absorption", unit = "dB/km" },
        }, items = {
        } },
    { carrier = "data", id = 7612, name = "spreading loss", size = 4, tail = "none", tailName = "",
        itemSize = 0, fields = {
            { at = 0, width = 4, wire = "f32", name = "x5SpreadingLoss", field = "spreading_loss", unit = "dB" },
        }, items = {
        } },
    { carrier = "command", id = 7614, name = "manual temperature", size = 10, tail = "none", tailName = "",
        itemSize = 0, fields = {
            { at = 0, width = 2, wire = "bit", name = "x5TemperatureOverride", field = "temperature_override", bit = 0, bits = 1 },
            { at = 0, width = 2, wire = "bit", name = "no new temperature", field = "manual_temperature.no_new_temperature", bit = 1, bits = 1 },
            { at = 2, width = 4, wire = "f32", name = "x5Temperature", field = "temperature", unit = "degC" },
        }, items = {
        } },
    { carrier = "command", id = 10003, name = "maximum ping rate of a single-beam system", size = 4, tail = "none", tailName = "",
        itemSize = 0, fields = {
            { at = 0, width = 4, wire = "f32", name = "x5MaxPingRate", field = "max_ping_rate", unit = "pings/s" },
        }, items = {
        } },
    { carrier = "command", id = 1500, name = "uncouple heads", size = 4, tail = "none", tailName = "",
        itemSize = 0, fields = {
            { at = 0, width = 4, wire = "u32", name = "coupled", field = "uncouple_heads.coupled" },
        }, items = {
        } },
    { carrier = "command", id = 1500, name = "couple heads", size = 56, tail = "none", tailName = "",
        itemSize = 0, fields = {
            { at = 0, width = 4, wire = "u32", name = "coupled", field = "couple_heads.coupled", constant = 1 },
            { at = 4, width = 4, wire = "u32", name = "x5DualHeadSlaveIp", field = "dual_head_slave_ip" },
            { at = 12, width = 4, wire = "u32", name = "x5FullRateDualHead", field = "full_rate_dual_head" },
        }, items = {
        } },
    { carrier = "command", id = 1501, name = "default list of forwarded records", size = 4, tail = "u32", tailName = "record ids",
        itemSize = 0, tailField = "default_list_of_forwarded_records.record_ids", fields = {
            { at = 0, width = 4, wire = "u32", name = "number of records", field = "default_list_of_forwarded_records.number_of_records" },
        }, items = {
        } },
    { carrier = "command", id = 1502, name = "full-rate coupling", size = 4, tail = "none", tailName = "",
        itemSize = 0, fields = {
            { at = 0, width = 4, wire = "u32", name = "x5FullRateDualHead", field = "full_rate_dual_head" },
        }, items = {
        } },
    { carrier = "command", id = 1504, name = "list of forwarded records", size = 4, tail = "u32", tailName = "x5SlavedRecords",
        itemSize = 0, tailField = "slaved_records", fields = {
            { at = 0, width = 4, wire = "u32", name = "number of records", field = "list_of_forwarded_records.number_of_records" },
        }, items = {
        } },
    { carrier = "command", id = 1014, name = "system mode", size = 4, tail = "none", tailName = "",
        itemSize = 0, fields = {
            { at = 0, width = 2, wire = "u16", name = "x5SystemMode", field = "system_mode" },
        }, items = {
        } },
    { carrier = "command", id = 1022, name = "projector beam widths", size = 8, tail = "none", tailName = "",
        itemSize = 0, fields = {
            { at = 0, width = 4, wire = "f32", name = "x5BeamWidthX", field = "beam_width_x", unit = "rad", convert = "radians", keyUnit = "deg" },
            { at = 4, width = 4, wire = "f32", name = "x5BeamWidthZ", field = "beam_width_z", unit = "rad", convert = "radians", keyUnit = "deg" },
        }, items = {
        } },
    { carrier = "command", id = 1038, name = "flex mode", size = 12, tail = "none", tailName = "",
        itemSize = 0, fields = {
            { at = 0, width = 4, wire = "f32", name = "x5FlexSectorCoverage", field = "flex_sector_coverage", unit = "rad", convert = "radians", keyUnit = "deg" },
            { at = 4, width = 4, wire = "f32", name = "x5FlexSectorSteering", field = "flex_sector_steering", unit = "rad", convert = "radians", keyUnit = "deg" },
            { at = 8, width = 4, wire = "f32", name = "x5FlexOutsideSpacing", field = "flex_outside_spacing" },
        }, items = {
        } },
    { carrier = "command", id = 1039, name = "beam mode", size = 2, tail = "none", tailName = "",
        itemSize = 0, fields = {
            { at = 0, width = 2, wire = "u16", name = "x5BeamModeSelection", field = "beam_mode_selection" },
        }, items = {
        } },
    { carrier = "command", id = 1043, name = "number of beams", size = 2, tail = "none", tailName = "",
        itemSize = 0, fields = {
            { at = 0, width = 2, wire = "u16", name = "x5CustomBeams", field = "custom_beams.wire", convert = "computed" },
        }, items = {
        } },
    { carrier = "command", id = 1044, name = "constant spacing", size = 8, tail = "none", tailName = "",
        itemSize = 0, fields = {
            { at = 0, width = 4, wire = "f32", name = "x5ConstantSpacing", field = "constant_spacing.wire", unit = "m", convert = "computed", keyUnit = "m" },
            { at = 4, width = 4, wire = "bit", name = "x5ConstantSpacingReduceCoverage", field = "constant_spacing_reduce_coverage", bit = 0, bits = 1 },
        }, items = {
        } },
    { carrier = "command", id = 1009, name = "gates in force", size = 4, tail = "none", tailName = "",
        itemSize = 0, fields = {
            { at = 0, width = 4, wire = "bit", name = "x5RangeFilterEnabled", field = "range_filter_enabled", bit = 8, bits = 1 },
            { at = 0, width = 4, wire = "bit", name = "x5DepthFilterEnabled", field = "depth_filter_enabled", bit = 9, bits = 1 },
            { at = 0, width = 4, wire = "bit", name = "x5AdaptiveGateEnabled", field = "adaptive_gate_enabled", bit = 10, bits = 1 },
            { at = 0, width = 4, wire = "bit", name = "x5AGDepthFilterEnabled", field = "ag_depth_filter_enabled", bit = 11, bits = 1 },
            { at = 0, width = 4, wire = "bit", name = "x5AGDepthFilterFixed", field = "ag_depth_filter_fixed", bit = 12, bits = 1 },
            { at = 0, width = 4, wire = "bit", name = "x5DepthFilterFollow", field = "depth_filter_follow", bit = 13, bits = 1 },
        }, items = {
        } },
    { carrier = "command", id = 1010, name = "absolute gates", size = 20, tail = "none", tailName = "",
        itemSize = 0, fields = {
            { at = 0, width = 4, wire = "f32", name = "x5MinRangeGate", field = "min_range_gate", unit = "m" },
            { at = 4, width = 4, wire = "f32", name = "x5MaxRangeGate", field = "max_range_gate", unit = "m" },
            { at = 8, width = 4, wire = "f32", name = "x5MinDepthGate", field = "min_depth_gate", unit = "m" },
            { at = 12, width = 4, wire = "f32", name = "x5MaxDepthGate", field = "max_depth_gate", unit = "m" },
            { at = 16, width = 4, wire = "f32", name = "x5DepthGateTilt", field = "depth_gate_tilt", unit = "rad", convert = "negated_radians", keyUnit = "deg" },
        }, items = {
        } },
    { carrier = "command", id = 1016, name = "adaptive gate", size = 12, tail = "none", tailName = "",
        itemSize = 0, fields = {
            { at = 0, width = 4, wire = "i32", name = "x5AGWindowSize", field = "ag_window_size", unit = "%", convert = "truncated", keyUnit = "%" },
            { at = 4, width = 4, wire = "f32", name = "x5AGSearchMin", field = "ag_search_min", unit = "m" },
            { at = 8, width = 4, wire = "f32", name = "x5AGSearchMax", field = "ag_search_max", unit = "m" },
        }, items = {
        } },
    { carrier = "command", id = 1042, name = "detection gating along a pipe route", size = 48, tail = "items", tailName = "x5LorqPipeRoutePoint",
        itemSize = 40, tailField = "lorq_pipe_route_point", fields = {
            { at = 0, width = 4, wire = "u32", name = "number of points", field = "detection_gating_along_a_pipe_route.number_of_points" },
            { at = 4, width = 4, wire = "u32", name = "size of a point", field = "detection_gating_along_a_pipe_route.size_of_a_point", unit = "bytes", constant = 40 },
        }, items = {
            { at = 0, width = 4, wire = "u32", name = "x5LorqPipeRoutePipeNumber", field = "lorq_pipe_route_pipe_number" },
            { at = 4, width = 4, wire = "f32", name = "x5LorqDetDiameter", field = "lorq_det_diameter" },
            { at = 8, width = 4, wire = "f32", name = "x5LorqDetBeamX", field = "lorq_det_beam_x" },
            { at = 12, width = 4, wire = "f32", name = "x5LorqDetBeamY", field = "lorq_det_beam_y" },
            { at = 16, width = 4, wire = "f32", name = "x5LorqDetBeamZ", field = "lorq_det_beam_z" },
            { at = 20, width = 4, wire = "f32", name = "x5LorqDetBeamAngle", field = "lorq_det_beam_angle", unit = "rad", convert = "radians", keyUnit = "deg" },
            { at = 24, width = 4, wire = "f32", name = "x5SoundVelocity", field = "sound_velocity", unit = "m/s" },
            { at = 28, width = 4, wire = "f32", name = "sample number of the detection", field = "detection_gating_along_a_pipe_route.sample_number_of_the_detection" },
            { at = 32, width = 4, wire = "f32", name = "x5LorqDetSampleRate", field = "lorq_det_sample_rate", unit = "Hz" },
            { at = 36, width = 4, wire = "i32", name = "x5LorqDetPingNumber", field = "lorq_det_ping_number" },
        } },
    { carrier = "command", id = 1124, name = "vertical detection mode", size = 1, tail = "none", tailName = "",
        itemSize = 0, fields = {
            { at = 0, width = 1, wire = "u8", name = "VerticalDetectionModeEnabled", field = "vertical_detection_mode_enabled" },
        }, items = {
        } },
    { carrier = "command", id = 10016, name = "gates for bar checks", size = 12, tail = "none", tailName = "",
        itemSize = 0, fields = {
            { at = 0, width = 4, wire = "f32", name = "BarCheckMinGate", field = "bar_check_min_gate", unit = "m" },
            { at = 4, width = 4, wire = "f32", name = "BarCheckMaxGate", field = "bar_check_max_gate", unit = "m" },
            { at = 8, width = 4, wire = "i32", name = "BarCheckGateMode", field = "bar_check_gate_mode" },
        }, items = {
        } },
    { carrier = "command", id = 1007, name = "pulse type", size = 4, tail = "none", tailName = "",
        itemSize = 0, fields = {
            { at = 0, width = 4, wire = "i32", name = "x5PulseType", field = "pulse_type" },
        }, items = {
        } },
    { carrier = "command", id = 1017, name = "gain mode", size = 8, tail = "none", tailName = "",
        itemSize = 0, fields = {
            { at = 0, width = 4, wire = "i32", name = "x5GainMode", field = "gain_mode" },
            { at = 4, width = 4, wire = "i32", name = "x5GainStageSelection", field = "gain_stage_selection" },
        }, items = {
        } },
    { carrier = "command", id = 1019, name = "vernier parameters", size = 34, tail = "none", tailName = "",
        itemSize = 0, fields = {
            { at = 0, width = 2, wire = "u16", name = "leading constant", field = "vernier_parameters.leading_constant", constant = 25 },
            { at = 2, width = 4, wire = "i32", name = "x5VernierBfMode", field = "vernier_bf_mode" },
            { at = 11, width = 4, wire = "i32", name = "x5VernierSmoothFilterType", field = "vernier_smooth_filter_type" },
            { at = 15, width = 2, wire = "u16", name = "x5VernierSmoothFilterLength", field = "vernier_smooth_filter_length" },
        }, items = {
        } },
    { carrier = "command", id = 1026, name = "centre frequency", size = 4, tail = "none", tailName = "",
        itemSize = 0, fields = {
            { at = 0, width = 4, wire = "f32", name = "x5CenterFrequency", field = "center_frequency", unit = "Hz" },
        }, items = {
        } },
    { carrier = "command", id = 1027, name = "frequency sweep", size = 8, tail = "none", tailName = "",
        itemSize = 0, fields = {
            { at = 0, width = 4, wire = "f32", name = "start frequency", field = "frequency_sweep.start_frequency", unit = "Hz" },
            { at = 4, width = 4, wire = "f32", name = "stop frequency", field = "frequency_sweep.stop_frequency", unit = "Hz" },
        }, items = {
        } },
    { carrier = "command", id = 1040, name = "sample rate", size = 4, tail = "none", tailName = "",
        itemSize = 0, fields = {
            { at = 0, width = 4, wire = "i32", name = "x5SampleRateSelection", field = "sample_rate_selection.wire", unit = "Hz", convert = "computed" },
        }, items = {
        } },
    { carrier = "command", id = 1111, name = "number of pings in the water", size = 10, tail = "none", tailName = "",
        itemSize = 0, fields = {
            { at = 0, width = 2, wire = "u16", name = "x5MultiPingCount", field = "multi_ping_count" },
        }, items = {
        } },
    { carrier = "command", id = 1122, name = "ping sequence", size = 4, tail = "none", tailName = "",
        itemSize = 0, fields = {
            { at = 0, width = 4, wire = "i32", name = "PingSequenceId", field = "ping_sequence_id" },
        }, items = {
        } },
    { carrier = "command", id = 1123, name = "multi-frequency ping sequence", size = 12, tail = "none", tailName = "",
        itemSize = 0, fields = {
            { at = 0, width = 4, wire = "f32", name = "PingSequenceFrequencyStart", field = "ping_sequence_frequency_start", unit = "Hz", convert = "times_thousand", keyUnit = "kHz" },
            { at = 4, width = 4, wire = "f32", name = "PingSequenceFrequencyEnd", field = "ping_sequence_frequency_end", unit = "Hz", convert = "times_thousand", keyUnit = "kHz" },
            { at = 8, width = 4, wire = "f32", name = "PingSequenceFrequencyStep", field = "ping_sequence_frequency_step", unit = "Hz", convert = "times_thousand", keyUnit = "kHz" },
        }, items = {
        } },
    { carrier = "command", id = 14001, name = "source level mode", size = 4, tail = "none", tailName = "",
        itemSize = 0, fields = {
            { at = 0, width = 4, wire = "i32", name = "x5SourceLevelMode", field = "source_level_mode" },
        }, items = {
        } },
    { carrier = "command", id = 14002, name = "pulse characteristics", size = 20, tail = "none", tailName = "",
        itemSize = 0, fields = {
            { at = 0, width = 4, wire = "i32", name = "PulseCharacteristicsMode", field = "pulse_characteristics_mode" },
            { at = 4, width = 4, wire = "i32", name = "PulseControl", field = "pulse_control" },
            { at = 8, width = 4, wire = "i32", name = "PulseExtension", field = "pulse_extension" },
            { at = 12, width = 4, wire = "i32", name = "SurveyDepthMin", field = "survey_depth_min", unit = "m" },
            { at = 16, width = 4, wire = "i32", name = "SurveyDepthMax", field = "survey_depth_max", unit = "m" },
        }, items = {
        } },
    { carrier = "command", id = 1045, name = "multi-detection", size = 12, tail = "none", tailName = "",
        itemSize = 0, fields = {
            { at = 0, width = 2, wire = "u16", name = "x5MultiDetectEnabled", field = "multi_detect_enabled" },
            { at = 2, width = 2, wire = "u16", name = "x5MultiDetectObjectSize", field = "multi_detect_object_size" },
            { at = 4, width = 2, wire = "u16", name = "x5MultiDetectSensitivity", field = "multi_detect_sensitivity", convert = "times_twenty" },
            { at = 6, width = 2, wire = "u16", name = "x5MultiDetectMaxDetections", field = "multi_detect_max_detections" },
        }, items = {
        } },
    { carrier = "command", id = 1118, name = "snippet control", size = 12, tail = "none", tailName = "",
        itemSize = 0, fields = {
            { at = 0, width = 4, wire = "u32", name = "x5AutoSnippetWindow", field = "auto_snippet_window" },
            { at = 4, width = 4, wire = "i32", name = "x5SnippetWindowSize", field = "snippet_window_size" },
        }, items = {
        } },
    { carrier = "command", id = 1140, name = "automatic configuration", size = 64, tail = "none", tailName = "",
        itemSize = 0, fields = {
            { at = 0, width = 64, wire = "text", name = "AutoConfigActiveName", field = "auto_config_active_name" },
        }, items = {
        } },
    { carrier = "command", id = 1402, name = "tracker control", size = 12, tail = "none", tailName = "",
        itemSize = 0, fields = {
            { at = 0, width = 4, wire = "bit", name = "x5TrackerRangeEnabled", field = "tracker_range_enabled", bit = 0, bits = 1 },
            { at = 0, width = 4, wire = "bit", name = "x5TrackerPowerGainEnabled", field = "tracker_power_gain_enabled", bit = 1, bits = 1 },
            { at = 0, width = 4, wire = "bit", name = "x5TrackerPulseLengthEnabled", field = "tracker_pulse_length_enabled", bit = 2, bits = 1 },
            { at = 0, width = 4, wire = "bit", name = "x5TrackerCoverageAngleEnabled", field = "tracker_coverage_angle_enabled", bit = 3, bits = 1 },
            { at = 0, width = 4, wire = "bit", name = "x5TrackerFixedSwathEnabled", field = "tracker_fixed_swath_enabled", bit = 4, bits = 1 },
            { at = 0, width = 4, wire = "bit", name = "x5TrackerLimitCoverage", field = "tracker_limit_coverage", bit = 5, bits = 1 },
            { at = 4, width = 4, wire = "f32", name = "x5TrackerFixedSwathWidth", field = "tracker_fixed_swath_width", unit = "m" },
            { at = 8, width = 4, wire = "f32", name = "x5TrackerMaxCoverageAngle", field = "tracker_max_coverage_angle", unit = "rad", convert = "radians", keyUnit = "deg" },
        }, items = {
        } },
    { carrier = "command", id = 1750, name = "forward detection", size = 4, tail = "none", tailName = "",
        itemSize = 0, fields = {
            { at = 0, width = 4, wire = "f32", name = "ForwardDetectSensitivity", field = "forward_detect_sensitivity", convert = "fifth_of_float" },
        }, items = {
        } },
    { carrier = "command", id = 14003, name = "search for the depth", size = 0, tail = "none", tailName = "",
        itemSize = 0, fields = {
        }, items = {
        } },
    { carrier = "command", id = 14004, name = "system depth", size = 8, tail = "none", tailName = "",
        itemSize = 0, fields = {
            { at = 0, width = 4, wire = "i32", name = "SystemDepthSource", field = "system_depth_source" },
            { at = 4, width = 4, wire = "f32", name = "SystemDepthManual", field = "system_depth_manual", unit = "m" },
        }, items = {
        } },
    { carrier = "data", id = 10025, name = "echo marker", size = 140, tail = "none", tailName = "",
        itemSize = 0, fields = {
            { at = 0, width = 4, wire = "i32", name = "EchoMarkerClient", field = "echo_marker_client" },
            { at = 4, width = 4, wire = "i32", name = "EchoMarkerNumber", field = "echo_marker_number" },
            { at = 8, width = 4, wire = "i32", name = "EchoMarkerPingNumber", field = "echo_marker_ping_number" },
            { at = 12, width = 10, wire = "time", name = "EchoMarkerTime", field = "echo_marker_time", unit = "s" },
            { at = 24, width = 8, wire = "f64", name = "EchoMarkerLatitude", field = "echo_marker_latitude" },
            { at = 32, width = 8, wire = "f64", name = "EchoMarkerLongitude", field = "echo_marker_longitude" },
            { at = 40, width = 8, wire = "f64", name = "EchoMarkerAltitude", field = "echo_marker_altitude", unit = "m" },
            { at = 48, width = 4, wire = "bit", name = "annotation holds", field = "echo_marker.annotation_holds", bit = 0, bits = 1 },
            { at = 48, width = 4, wire = "bit", name = "depth holds", field = "echo_marker.depth_holds", bit = 1, bits = 1 },
            { at = 48, width = 4, wire = "bit", name = "latitude holds", field = "echo_marker.latitude_holds", bit = 2, bits = 1 },
            { at = 48, width = 4, wire = "bit", name = "longitude holds", field = "echo_marker.longitude_holds", bit = 3, bits = 1 },
            { at = 48, width = 4, wire = "bit", name = "altitude holds", field = "echo_marker.altitude_holds", bit = 4, bits = 1 },
            { at = 48, width = 4, wire = "bit", name = "heave holds", field = "echo_marker.heave_holds", bit = 5, bits = 1 },
            { at = 48, width = 4, wire = "bit", name = "time holds", field = "echo_marker.time_holds", bit = 12, bits = 1 },
            { at = 48, width = 4, wire = "bit", name = "ping number holds", field = "echo_marker.ping_number_holds", bit = 13, bits = 1 },
            { at = 52, width = 4, wire = "f32", name = "EchoMarkerDepth", field = "echo_marker_depth", unit = "m" },
            { at = 56, width = 4, wire = "f32", name = "EchoMarkerHeave", field = "echo_marker_heave", unit = "m" },
            { at = 60, width = 80, wire = "text", name = "EchoMarkerAnnotation", field = "echo_marker_annotation" },
        }, items = {
        } },
    { carrier = "command", id = 1114, name = "trigger input", size = 0, tail = "none", tailName = "",
        itemSize = 0, fields = {
        }, items = {
        } },
    { carrier = "command", id = 1115, name = "trigger output", size = 20, tail = "none", tailName = "",
        itemSize = 0, fields = {
            { at = 0, width = 4, wire = "bit", name = "x5TriggerOutput", field = "trigger_output", bit = 0, bits = 1 },
            { at = 0, width = 4, wire = "bit", name = "x5TriggerOutputRxDuration", field = "trigger_output_rx_duration", bit = 1, bits = 1 },
            { at = 4, width = 8, wire = "f64", name = "x5TriggerOutputPulse", field = "trigger_output_pulse", unit = "s", convert = "thousandth", keyUnit = "ms" },
            { at = 12, width = 8, wire = "f64", name = "x5TriggerOutputDelay", field = "trigger_output_delay", unit = "s", convert = "thousandth", keyUnit = "ms" },
        }, items = {
        } },
    { carrier = "command", id = 1116, name = "edges of the timing inputs", size = 4, tail = "none", tailName = "",
        itemSize = 0, fields = {
            { at = 0, width = 4, wire = "bit", name = "x5PpsEdge", field = "pps_edge", bit = 0, bits = 1, convert = "set_when_zero" },
            { at = 0, width = 4, wire = "bit", name = "x5TriggerInputEdge", field = "trigger_input_edge", bit = 1, bits = 1, convert = "set_when_zero" },
        }, items = {
        } },
    { carrier = "command", id = 1117, name = "advanced trigger output", size = 28, tail = "none", tailName = "",
        itemSize = 0, fields = {
            { at = 0, width = 4, wire = "i32", name = "x5TriggerIndex", field = "trigger_index" },
            { at = 4, width = 4, wire = "i32", name = "x5TriggerMode", field = "trigger_mode" },
            { at = 8, width = 4, wire = "i32", name = "x5TriggerPolarity", field = "trigger_polarity" },
            { at = 12, width = 8, wire = "f64", name = "x5TriggerOutputPulse", field = "trigger_output_pulse", unit = "s", convert = "thousandth", keyUnit = "ms" },
            { at = 20, width = 8, wire = "f64", name = "x5TriggerOutputDelay", field = "trigger_output_delay", unit = "s", convert = "thousandth", keyUnit = "ms" },
        }, items = {
        } },
    { carrier = "command", id = 1046, name = "power saving", size = 4, tail = "none", tailName = "",
        itemSize = 0, fields = {
            { at = 0, width = 1, wire = "u8", name = "x5PowerSaveMode", field = "power_save_mode" },
            { at = 2, width = 2, wire = "u16", name = "x5PowerSaveBlankPercent", field = "power_save_blank_percent", unit = "%" },
        }, items = {
        } },
    { carrier = "command", id = 1048, name = "duty cycle limitation", size = 2, tail = "none", tailName = "",
        itemSize = 0, fields = {
            { at = 0, width = 2, wire = "u16", name = "x5DutyCycleLimitation", field = "duty_cycle_limitation" },
        }, items = {
        } },
    { carrier = "command", id = 1603, name = "ping stacking", size = 2, tail = "none", tailName = "",
        itemSize = 0, fields = {
            { at = 0, width = 1, wire = "u8", name = "x5StackingEnabled", field = "stacking_enabled" },
            { at = 1, width = 1, wire = "u8", name = "x5StackingValue", field = "stacking_value" },
        }, items = {
        } },
    { carrier = "command", id = 7011, name = "image data setup", size = 8, tail = "none", tailName = "",
        itemSize = 0, fields = {
            { at = 0, width = 4, wire = "i32", name = "MaxImageHeight", field = "max_image_height" },
            { at = 4, width = 4, wire = "i32", name = "BytesPerPixel", field = "bytes_per_pixel", unit = "bytes" },
        }, items = {
        } },
    { carrier = "command", id = 7013, name = "A-scan beams", size = 12, tail = "none", tailName = "",
        itemSize = 0, fields = {
            { at = 0, width = 4, wire = "u32", name = "AScanBeamSubscribe", field = "a_scan_beam_subscribe" },
            { at = 4, width = 4, wire = "i32", name = "AScanBeamStart", field = "a_scan_beam_start" },
            { at = 8, width = 4, wire = "i32", name = "AScanBeamEnd", field = "a_scan_beam_end" },
        }, items = {
        } },
    { carrier = "passed", id = 7013, name = "A-scan beams", size = 12, tail = "none", tailName = "",
        itemSize = 0, fields = {
            { at = 0, width = 4, wire = "u32", name = "AScanBeamSubscribe", field = "a_scan_beam_subscribe" },
            { at = 4, width = 4, wire = "i32", name = "AScanBeamStart", field = "a_scan_beam_start" },
            { at = 8, width = 4, wire = "i32", name = "AScanBeamEnd", field = "a_scan_beam_end" },
        }, items = {
        } },
    { carrier = "command", id = 7042, name = "options of record 7042", size = 4, tail = "none", tailName = "",
        itemSize = 0, fields = {
            { at = 0, width = 4, wire = "bit", name = "x57042UseBD", field = "7042_use_bd", bit = 0, bits = 1 },
            { at = 0, width = 4, wire = "bit", name = "x57042MagOnly", field = "7042_mag_only", bit = 1, bits = 1 },
            { at = 0, width = 4, wire = "bit", name = "x57042Compress", field = "7042_compress", bit = 2, bits = 1 },
            { at = 0, width = 4, wire = "bits", name = "x57042DownsampleDivisor", field = "7042_downsample_divisor", bit = 4, bits = 4 },
            { at = 0, width = 4, wire = "bits", name = "x57042DownsampleType", field = "7042_downsample_type", bit = 8, bits = 24 },
        }, items = {
        } },
    { carrier = "command", id = 14005, name = "sound velocity probe", size = 4, tail = "none", tailName = "",
        itemSize = 0, fields = {
            { at = 0, width = 4, wire = "u32", name = "x5SoundVelocityProbeEnabled", field = "sound_velocity_probe_enabled" },
        }, items = {
        } },
    { carrier = "command", id = 14006, name = "ASD recording", size = 4, tail = "none", tailName = "",
        itemSize = 0, fields = {
            { at = 0, width = 4, wire = "u32", name = "ASDRecordingEnabled", field = "asd_recording_enabled" },
        }, items = {
        } },
    { carrier = "command", id = 14007, name = "stave recording", size = 8, tail = "none", tailName = "",
        itemSize = 0, fields = {
            { at = 0, width = 4, wire = "u32", name = "StaveRecordingEnabled", field = "stave_recording_enabled" },
            { at = 4, width = 4, wire = "i32", name = "StaveRecordingProcessingStage", field = "stave_recording_processing_stage" },
        }, items = {
        } },
    { carrier = "command", id = 1037, name = "motion sensor", size = 31, tail = "none", tailName = "",
        itemSize = 0, fields = {
            { at = 0, width = 1, wire = "u8", name = "x5MotionSensorFormat", field = "motion_sensor_format" },
            { at = 1, width = 1, wire = "u8", name = "x5MotionSensorBaudrate", field = "motion_sensor_baudrate" },
            { at = 2, width = 1, wire = "u8", name = "x5MotionSensorParity", field = "motion_sensor_parity" },
            { at = 3, width = 1, wire = "u8", name = "x5MotionSensorDataBits", field = "motion_sensor_data_bits" },
            { at = 4, width = 1, wire = "u8", name = "x5MotionSensorStopBits", field = "motion_sensor_stop_bits" },
            { at = 5, width = 1, wire = "u8", name = "x5MotionSensorOrientation", field = "motion_sensor_orientation" },
            { at = 7, width = 4, wire = "f32", name = "x5MotionSensorLatency", field = "motion_sensor_latency" },
        }, items = {
        } },
    { carrier = "command", id = 1057, name = "heading sensor", size = 8, tail = "none", tailName = "",
        itemSize = 0, fields = {
            { at = 0, width = 1, wire = "u8", name = "x5HeadingSensorFormat", field = "heading_sensor_format" },
            { at = 1, width = 1, wire = "u8", name = "x5HeadingSensorBaudrate", field = "heading_sensor_baudrate" },
            { at = 2, width = 1, wire = "u8", name = "x5HeadingSensorParity", field = "heading_sensor_parity" },
            { at = 3, width = 1, wire = "u8", name = "x5HeadingSensorDataBits", field = "heading_sensor_data_bits" },
            { at = 4, width = 1, wire = "u8", name = "x5HeadingSensorStopBits", field = "heading_sensor_stop_bits" },
        }, items = {
        } },
    { carrier = "command", id = 1602, name = "sensor selection", size = 2, tail = "none", tailName = "",
        itemSize = 0, fields = {
            { at = 0, width = 1, wire = "u8", name = "x5UseBuildInPOSMV", field = "use_build_in_posmv" },
            { at = 1, width = 1, wire = "u8", name = "x5UseAttachedSVP", field = "use_attached_svp" },
        }, items = {
        } },
    { carrier = "command", id = 1604, name = "sensors on the serial inputs", size = 20, tail = "none", tailName = "",
        itemSize = 0, fields = {
            { at = 0, width = 1, wire = "u8", name = "x5ZdaBaudrate", field = "zda_baudrate" },
            { at = 1, width = 1, wire = "u8", name = "x5ZdaParity", field = "zda_parity" },
            { at = 2, width = 1, wire = "u8", name = "x5ZdaDatabits", field = "zda_databits" },
            { at = 3, width = 1, wire = "u8", name = "x5ZdaStopBits", field = "zda_stop_bits" },
            { at = 4, width = 1, wire = "u8", name = "x5GgaBaudrate", field = "gga_baudrate" },
            { at = 5, width = 1, wire = "u8", name = "x5GgaParity", field = "gga_parity" },
            { at = 6, width = 1, wire = "u8", name = "x5GgaDatabits", field = "gga_databits" },
            { at = 7, width = 1, wire = "u8", name = "x5GgaStopBits", field = "gga_stop_bits" },
            { at = 8, width = 1, wire = "u8", name = "x5SvpBaudrate", field = "svp_baudrate" },
            { at = 9, width = 1, wire = "u8", name = "x5SvpParity", field = "svp_parity" },
            { at = 10, width = 1, wire = "u8", name = "x5SvpDatabits", field = "svp_databits" },
            { at = 11, width = 1, wire = "u8", name = "x5SvpStopBits", field = "svp_stop_bits" },
            { at = 12, width = 1, wire = "u8", name = "x5HprBaudrate", field = "hpr_baudrate" },
            { at = 13, width = 1, wire = "u8", name = "x5HprParity", field = "hpr_parity" },
            { at = 14, width = 1, wire = "u8", name = "x5HprDatabits", field = "hpr_databits" },
            { at = 15, width = 1, wire = "u8", name = "x5HprStopBits", field = "hpr_stop_bits" },
            { at = 16, width = 1, wire = "u8", name = "x5HdtBaudrate", field = "hdt_baudrate" },
            { at = 17, width = 1, wire = "u8", name = "x5HdtParity", field = "hdt_parity" },
            { at = 18, width = 1, wire = "u8", name = "x5HdtDatabits", field = "hdt_databits" },
            { at = 19, width = 1, wire = "u8", name = "x5HdtStopBits", field = "hdt_stop_bits" },
        }, items = {
        } },
    { carrier = "command", id = 1605, name = "addresses of the remote I/O modules", size = 768, tail = "none", tailName = "",
        itemSize = 0, fields = {
            { at = 0, width = 256, wire = "text", name = "x5QMIOAddress1", field = "qmio_address1" },
            { at = 256, width = 256, wire = "text", name = "x5QMIOAddress2", field = "qmio_address2" },
            { at = 512, width = 256, wire = "text", name = "x5QMIOAddress3", field = "qmio_address3" },
        }, items = {
        } },
    { carrier = "command", id = 1607, name = "sonar mounting", size = 4, tail = "none", tailName = "",
        itemSize = 0, fields = {
            { at = 0, width = 4, wire = "f32", name = "ATTR_ROLLCOR", field = "attr_rollcor", unit = "rad", convert = "negated_radians", keyUnit = "deg" },
        }, items = {
        } },
    { carrier = "command", id = 1608, name = "deck mode", size = 4, tail = "none", tailName = "",
        itemSize = 0, fields = {
            { at = 0, width = 4, wire = "u32", name = "x5DeckMode", field = "deck_mode" },
        }, items = {
        } },
    { carrier = "command", id = 1610, name = "power of the built-in motion unit", size = 0, tail = "none", tailName = "",
        itemSize = 0, fields = {
        }, items = {
        } },
    { carrier = "command", id = 10020, name = "serial port configuration", size = 84, tail = "none", tailName = "",
        itemSize = 0, fields = {
            { at = 0, width = 4, wire = "i32", name = "SerialPortIndex", field = "serial_port_index" },
            { at = 4, width = 2, wire = "bit", name = "SerialPortEnabled", field = "serial_port_enabled", bit = 0, bits = 1, convert = "set_when_one" },
            { at = 4, width = 2, wire = "bit", name = "SerialPortConfigured", field = "serial_port_configured", bit = 1, bits = 1, convert = "set_when_one" },
            { at = 4, width = 2, wire = "bit", name = "SerialPortAutoConfigure", field = "serial_port_auto_configure", bit = 2, bits = 1, convert = "set_when_one" },
            { at = 8, width = 8, wire = "bit", name = "OutputChan1", field = "output_chan1", bit = 56, bits = 1 },
            { at = 8, width = 8, wire = "bit", name = "OutputChan2", field = "output_chan2", bit = 57, bits = 1 },
            { at = 16, width = 4, wire = "i32", name = "PhyIndex", field = "phy_index" },
            { at = 20, width = 4, wire = "i32", name = "BaudrateIndex", field = "baudrate_index" },
            { at = 24, width = 4, wire = "i32", name = "DatabitsIndex", field = "databits_index" },
            { at = 28, width = 4, wire = "i32", name = "StopBitsIndex", field = "stop_bits_index" },
            { at = 32, width = 4, wire = "i32", name = "ParityIndex", field = "parity_index" },
            { at = 36, width = 4, wire = "i32", name = "SerialDataFormatIndex", field = "serial_data_format_index" },
        }, items = {
        } },
    { carrier = "command", id = 10021, name = "serial or UDP port status", size = 8, tail = "none", tailName = "",
        itemSize = 0, fields = {
            { at = 0, width = 4, wire = "i32", name = "port index", field = "serial_or_udp_port_status.port_index" },
            { at = 4, width = 4, wire = "i32", name = "command", field = "serial_or_udp_port_status.command" },
        }, items = {
        } },
    { carrier = "command", id = 10022, name = "time source", size = 8, tail = "none", tailName = "",
        itemSize = 0, fields = {
            { at = 0, width = 4, wire = "i32", name = "TimeSourceID", field = "time_source_id" },
            { at = 4, width = 4, wire = "i32", name = "TimeSourceCommand", field = "time_source_command" },
        }, items = {
        } },
    { carrier = "command", id = 10023, name = "time source on the network", size = 40, tail = "none", tailName = "",
        itemSize = 0, fields = {
            { at = 0, width = 4, wire = "i32", name = "TimeSourceID", field = "time_source_id" },
            { at = 4, width = 32, wire = "text", name = "TimeSourceName", field = "time_source_name" },
            { at = 36, width = 4, wire = "u32", name = "TimeSourceIPV4", field = "time_source_ipv4.wire", convert = "computed" },
        }, items = {
        } },
    { carrier = "command", id = 10024, name = "UDP port configuration", size = 20, tail = "none", tailName = "",
        itemSize = 0, fields = {
            { at = 0, width = 4, wire = "i32", name = "UdpPortIndex", field = "udp_port_index" },
            { at = 4, width = 4, wire = "u32", name = "UdpAddress", field = "udp_address.wire", convert = "computed" },
            { at = 8, width = 2, wire = "u16", name = "UdpPort", field = "udp_port.wire", convert = "computed" },
            { at = 10, width = 2, wire = "bit", name = "UdpPortEnabled", field = "udp_port_enabled", bit = 0, bits = 1, convert = "set_when_one" },
            { at = 10, width = 2, wire = "bit", name = "UdpPortConfigured", field = "udp_port_configured", bit = 1, bits = 1, convert = "set_when_one" },
            { at = 12, width = 2, wire = "u16", name = "UdpDataFormatIndex", field = "udp_data_format_index" },
            { at = 16, width = 4, wire = "bit", name = "OutputChan1", field = "output_chan1", bit = 0, bits = 1 },
            { at = 16, width = 4, wire = "bit", name = "OutputChan2", field = "output_chan2", bit = 1, bits = 1 },
        }, items = {
        } },
    { carrier = "data", id = 1020, name = "sonar installation identifiers", size = 164, tail = "none", tailName = "",
        itemSize = 0, fields = {
            { at = 0, width = 4, wire = "u32", name = "x5MBesXYZSonarId", field = "m_bes_xyz_sonar_id" },
            { at = 4, width = 4, wire = "u32", name = "x5MBesXYZTXUnitID", field = "m_bes_xyztx_unit_id" },
            { at = 8, width = 4, wire = "u32", name = "x5MBesXYZRXUnitID", field = "m_bes_xyzrx_unit_id" },
            { at = 12, width = 4, wire = "u32", name = "x5MBesXYZNumber", field = "m_bes_xyz_number" },
            { at = 16, width = 4, wire = "u32", name = "x5MBesXYZFixedParams", field = "m_bes_xyz_fixed_params" },
            { at = 20, width = 4, wire = "f32", name = "x5MBesXYZLength", field = "m_bes_xyz_length", unit = "m" },
            { at = 24, width = 4, wire = "f32", name = "x5MBesXYZWidth", field = "m_bes_xyz_width", unit = "m" },
            { at = 28, width = 4, wire = "f32", name = "x5MBesXYZHeight", field = "m_bes_xyz_height", unit = "m" },
            { at = 32, width = 4, wire = "f32", name = "x5MBesXYZRadius", field = "m_bes_xyz_radius", unit = "m" },
            { at = 36, width = 4, wire = "f32", name = "x5BracketX", field = "bracket_x", unit = "m" },
            { at = 40, width = 4, wire = "f32", name = "x5MBesXYZOffsetY", field = "m_bes_xyz_offset_y", unit = "m" },
            { at = 44, width = 4, wire = "f32", name = "x5BracketZ", field = "bracket_z", unit = "m" },
            { at = 48, width = 4, wire = "f32", name = "x5MBesXYZOffsetRoll", field = "m_bes_xyz_offset_roll", unit = "rad", convert = "radians", keyUnit = "deg" },
            { at = 52, width = 4, wire = "f32", name = "x5MBesXYZOffsetPitch", field = "m_bes_xyz_offset_pitch", unit = "rad", convert = "radians", keyUnit = "deg" },
            { at = 56, width = 4, wire = "f32", name = "x5MBesXYZOffsetYaw", field = "m_bes_xyz_offset_yaw", unit = "rad", convert = "radians", keyUnit = "deg" },
            { at = 60, width = 4, wire = "f32", name = "x5MBesXYZLength", field = "m_bes_xyz_length", unit = "m" },
            { at = 64, width = 4, wire = "f32", name = "x5MBesXYZWidth", field = "m_bes_xyz_width", unit = "m" },
            { at = 68, width = 4, wire = "f32", name = "x5MBesXYZHeight", field = "m_bes_xyz_height", unit = "m" },
            { at = 72, width = 4, wire = "f32", name = "x5MBesXYZRadius", field = "m_bes_xyz_radius", unit = "m" },
            { at = 76, width = 4, wire = "f32", name = "x5MBesXYZOffsetX", field = "m_bes_xyz_offset_x", unit = "m" },
            { at = 80, width = 4, wire = "f32", name = "x5BracketY", field = "bracket_y", unit = "m", convert = "negated", keyUnit = "m" },
            { at = 84, width = 4, wire = "f32", name = "x5MBesXYZOffsetZ", field = "m_bes_xyz_offset_z", unit = "m" },
            { at = 88, width = 4, wire = "f32", name = "ATTR_ROLLCOR", field = "attr_rollcor", unit = "rad", convert = "radians", keyUnit = "deg" },
            { at = 92, width = 4, wire = "f32", name = "ATTR_PITCHCOR", field = "attr_pitchcor", unit = "rad", convert = "negated_radians", keyUnit = "deg" },
            { at = 96, width = 4, wire = "f32", name = "x5MBesXYZOffsetYaw", field = "m_bes_xyz_offset_yaw", unit = "rad", convert = "radians", keyUnit = "deg" },
            { at = 100, width = 4, wire = "f32", name = "x5MBesXYZFrequency", field = "m_bes_xyz_frequency" },
            { at = 104, width = 4, wire = "f32", name = "ATTR_DEVICEOFFSET[0]", field = "attr_deviceoffset", unit = "m" },
            { at = 108, width = 4, wire = "f32", name = "ATTR_DEVICEOFFSET[1]", field = "attr_deviceoffset", unit = "m" },
            { at = 112, width = 4, wire = "f32", name = "ATTR_DEVICEOFFSET[2]", field = "attr_deviceoffset", unit = "m" },
            { at = 116, width = 4, wire = "u32", name = "ATTR_CABLELENGTH", field = "attr_cablelength" },
        }, items = {
        } },
    { carrier = "command", id = 1047, name = "start-up configuration", size = 20, tail = "none", tailName = "",
        itemSize = 0, fields = {
            { at = 0, width = 1, wire = "u8", name = "x5StartupNormalization", field = "startup_normalization" },
            { at = 1, width = 1, wire = "u8", name = "x5RestorePingrate", field = "restore_pingrate" },
            { at = 2, width = 1, wire = "u8", name = "x5RestorePower", field = "restore_power" },
            { at = 3, width = 1, wire = "u8", name = "x5SVInterlock", field = "sv_interlock" },
            { at = 4, width = 1, wire = "u8", name = "x5IgnorePpsErrors", field = "ignore_pps_errors" },
            { at = 5, width = 1, wire = "u8", name = "x5RestoreRecording", field = "restore_recording" },
            { at = 6, width = 1, wire = "u8", name = "x5RestoreTracker", field = "restore_tracker" },
            { at = 7, width = 1, wire = "u8", name = "PowerModeSelection", field = "power_mode_selection" },
        }, items = {
        } },
    { carrier = "passed", id = 20000, name = "positioning unit, configuration text", size = 12, tail = "text", tailName = "OstDgnssInsIntegratorXml",
        itemSize = 0, tailField = "ost_dgnss_ins_integrator_xml", fields = {
            { at = 0, width = 8, wire = "f64", name = "reserved", field = "positioning_unit_configuration_text.reserved" },
            { at = 8, width = 4, wire = "u32", name = "length of the text", field = "positioning_unit_configuration_text.length_of_the_text", unit = "bytes" },
        }, items = {
        } },
    { carrier = "passed", id = 20001, name = "positioning unit, NTRIP client", size = 232, tail = "none", tailName = "",
        itemSize = 0, fields = {
            { at = 0, width = 64, wire = "text", name = "OstDgnssInsNtripServer", field = "ost_dgnss_ins_ntrip_server" },
            { at = 64, width = 32, wire = "text", name = "OstDgnssInsNtripUsername", field = "ost_dgnss_ins_ntrip_username" },
            { at = 96, width = 64, wire = "text", name = "OstDgnssInsNtripPassword", field = "ost_dgnss_ins_ntrip_password.wire", convert = "computed" },
            { at = 160, width = 64, wire = "text", name = "OstDgnssInsNtripMountPoint", field = "ost_dgnss_ins_ntrip_mount_point" },
            { at = 224, width = 1, wire = "u8", name = "OstDgnssInsNtripVersion", field = "ost_dgnss_ins_ntrip_version", convert = "plus_one" },
            { at = 225, width = 1, wire = "u8", name = "OstDgnssInsNtripCga", field = "ost_dgnss_ins_ntrip_cga.wire", convert = "computed" },
            { at = 226, width = 2, wire = "bit", name = "always set", field = "positioning_unit_ntrip_client.always_set", bit = 0, bits = 1, constant = 1 },
            { at = 226, width = 2, wire = "bit", name = "OstDgnssInsNtripDisabled", field = "ost_dgnss_ins_ntrip_disabled", bit = 1, bits = 1 },
            { at = 228, width = 4, wire = "u32", name = "OstDgnssInsNtripPort", field = "ost_dgnss_ins_ntrip_port" },
        }, items = {
        } },
    { carrier = "passed", id = 20004, name = "positioning unit, corrections input", size = 16, tail = "none", tailName = "",
        itemSize = 0, fields = {
            { at = 6, width = 1, wire = "u8", name = "OstDgnssInsCorrectionsInputFormat", field = "ost_dgnss_ins_corrections_input_format" },
        }, items = {
        } },
    { carrier = "passed", id = 20013, name = "positioning unit, pulse per second", size = 8, tail = "none", tailName = "",
        itemSize = 0, fields = {
            { at = 0, width = 2, wire = "u16", name = "OstDgnssInsPpsIntervalMs", field = "ost_dgnss_ins_pps_interval_ms", unit = "ms" },
            { at = 2, width = 2, wire = "u16", name = "OstDgnssInsPpsFlags", field = "ost_dgnss_ins_pps_flags" },
            { at = 4, width = 4, wire = "u32", name = "OstDgnssInsPpsDelayNs", field = "ost_dgnss_ins_pps_delay_ns", unit = "ns" },
        }, items = {
        } },
    { carrier = "passed", id = 20015, name = "positioning unit, serial port", size = 8, tail = "none", tailName = "",
        itemSize = 0, fields = {
            { at = 0, width = 1, wire = "u8", name = "port", field = "positioning_unit_serial_port.port" },
            { at = 2, width = 2, wire = "u16", name = "RS-485", field = "positioning_unit_serial_port.rs_485" },
            { at = 4, width = 4, wire = "u32", name = "baud rate", field = "positioning_unit_serial_port.baud_rate", unit = "bit/s" },
        }, items = {
        } },
    { carrier = "passed", id = 20017, name = "inertial unit, automatic calibration", size = 4, tail = "none", tailName = "",
        itemSize = 0, fields = {
            { at = 0, width = 4, wire = "i32", name = "OstDgnssInsSetAutoCalibratinStatus", field = "ost_dgnss_ins_set_auto_calibratin_status" },
        }, items = {
        } },
    { carrier = "passed", id = 20021, name = "positioning unit, geometry", size = 72, tail = "none", tailName = "",
        itemSize = 0, fields = {
            { at = 0, width = 4, wire = "f32", name = "OstDgnssInsPrimaryToSecondaryAntennaSettingsX", field = "ost_dgnss_ins_primary_to_secondary_antenna_settings_x" },
            { at = 4, width = 4, wire = "f32", name = "OstDgnssInsPrimaryToSecondaryAntennaSettingsY", field = "ost_dgnss_ins_primary_to_secondary_antenna_settings_y" },
            { at = 8, width = 4, wire = "f32", name = "OstDgnssInsPrimaryToSecondaryAntennaSettingsZ", field = "ost_dgnss_ins_primary_to_secondary_antenna_settings_z" },
            { at = 12, width = 4, wire = "f32", name = "OstDgnssInsImuToPrimaryAntennaSettingsX", field = "ost_dgnss_ins_imu_to_primary_antenna_settings_x" },
            { at = 16, width = 4, wire = "f32", name = "OstDgnssInsImuToPrimaryAntennaSettingsY", field = "ost_dgnss_ins_imu_to_primary_antenna_settings_y" },
            { at = 20, width = 4, wire = "f32", name = "OstDgnssInsImuToPrimaryAntennaSettingsZ", field = "ost_dgnss_ins_imu_to_primary_antenna_settings_z" },
            { at = 24, width = 4, wire = "f32", name = "OstDgnssInsMountingAccuracySettingsX", field = "ost_dgnss_ins_mounting_accuracy_settings_x" },
            { at = 28, width = 4, wire = "f32", name = "OstDgnssInsMountingAccuracySettingsY", field = "ost_dgnss_ins_mounting_accuracy_settings_y" },
            { at = 32, width = 4, wire = "f32", name = "OstDgnssInsMountingAccuracySettingsZ", field = "ost_dgnss_ins_mounting_accuracy_settings_z" },
            { at = 36, width = 4, wire = "f32", name = "OstDgnssInsImuToCoGSettingsX", field = "ost_dgnss_ins_imu_to_co_g_settings_x" },
            { at = 40, width = 4, wire = "f32", name = "OstDgnssInsImuToCoGSettingsY", field = "ost_dgnss_ins_imu_to_co_g_settings_y" },
            { at = 44, width = 4, wire = "f32", name = "OstDgnssInsImuToCoGSettingsZ", field = "ost_dgnss_ins_imu_to_co_g_settings_z" },
            { at = 48, width = 4, wire = "f32", name = "OstDgnssInsPrimaryLeaverArmSettingsX", field = "ost_dgnss_ins_primary_leaver_arm_settings_x" },
            { at = 52, width = 4, wire = "f32", name = "OstDgnssInsPrimaryLeaverArmSettingsY", field = "ost_dgnss_ins_primary_leaver_arm_settings_y" },
            { at = 56, width = 4, wire = "f32", name = "OstDgnssInsPrimaryLeaverArmSettingsZ", field = "ost_dgnss_ins_primary_leaver_arm_settings_z" },
            { at = 60, width = 4, wire = "f32", name = "OstDgnssInsImuMountingAngleSettingsX", field = "ost_dgnss_ins_imu_mounting_angle_settings_x" },
            { at = 64, width = 4, wire = "f32", name = "OstDgnssInsImuMountingAngleSettingsY", field = "ost_dgnss_ins_imu_mounting_angle_settings_y" },
            { at = 68, width = 4, wire = "f32", name = "OstDgnssInsImuMountingAngleSettingsZ", field = "ost_dgnss_ins_imu_mounting_angle_settings_z" },
        }, items = {
        } },
    { carrier = "command", id = 1058, name = "default settings", size = 0, tail = "none", tailName = "",
        itemSize = 0, fields = {
        }, items = {
        } },
    { carrier = "data", id = 3002, name = "file for the sonar", size = 180, tail = "bytes", tailName = "contents",
        itemSize = 0, tailField = "file_for_the_sonar.contents", fields = {
            { at = 0, width = 128, wire = "text", name = "file name", field = "file_for_the_sonar.file_name" },
            { at = 128, width = 16, wire = "text", name = "file type", field = "file_for_the_sonar.file_type" },
            { at = 144, width = 4, wire = "u32", name = "size of the contents", field = "file_for_the_sonar.size_of_the_contents", unit = "bytes" },
        }, items = {
        } },
    { carrier = "command", id = 3006, name = "single-beam settings", size = 164, tail = "text", tailName = "SbesSettingsXml",
        itemSize = 0, tailField = "sbes_settings_xml", fields = {
            { at = 0, width = 128, wire = "text", name = "SbesSettingsXmlChecksum", field = "sbes_settings_xml_checksum" },
            { at = 128, width = 4, wire = "u32", name = "size of the XML without its terminator", field = "single_beam_settings.size_of_the_xml_without_its_terminator", unit = "bytes" },
        }, items = {
        } },
    { carrier = "command", id = 10001, name = "draft of a transducer", size = 8, tail = "none", tailName = "",
        itemSize = 0, fields = {
            { at = 0, width = 4, wire = "f32", name = "SbesTransducerDraft", field = "sbes_transducer_draft", unit = "m" },
            { at = 4, width = 4, wire = "f32", name = "SbesTransducerIndex", field = "sbes_transducer_index" },
        }, items = {
        } },
    { carrier = "command", id = 10004, name = "channel selection", size = 8, tail = "none", tailName = "",
        itemSize = 0, fields = {
            { at = 0, width = 4, wire = "u32", name = "SbChannelSelect", field = "sb_channel_select" },
            { at = 4, width = 4, wire = "u32", name = "select", field = "channel_selection.select", constant = 1 },
        }, items = {
        } },
    { carrier = "command", id = 10005, name = "transducer selection", size = 4, tail = "none", tailName = "",
        itemSize = 0, fields = {
            { at = 0, width = 4, wire = "i32", name = "SbTransducerIndex", field = "sb_transducer_index" },
        }, items = {
        } },
    { carrier = "command", id = 10007, name = "operation mode of a single-beam system", size = 8, tail = "none", tailName = "",
        itemSize = 0, fields = {
            { at = 0, width = 4, wire = "u32", name = "SbesSystemState", field = "sbes_system_state" },
            { at = 4, width = 4, wire = "u32", name = "SbesOperationMode", field = "sbes_operation_mode" },
        }, items = {
        } },
    { carrier = "command", id = 10008, name = "tracker tweak mode", size = 4, tail = "items", tailName = "",
        itemSize = 8, fields = {
            { at = 0, width = 4, wire = "u32", name = "number of settings", field = "tracker_tweak_mode.number_of_settings", constant = 7 },
        }, items = {
            { at = 0, width = 4, wire = "u32", name = "setting", field = "tracker_tweak_mode.setting" },
            { at = 4, width = 4, wire = "u32", name = "SbesTrackerTweakMode", field = "sbes_tracker_tweak_mode.wire", convert = "computed" },
        } },
    { carrier = "command", id = 10014, name = "gain tweak", size = 8, tail = "none", tailName = "",
        itemSize = 0, fields = {
            { at = 0, width = 4, wire = "u32", name = "selector", field = "gain_tweak.selector", constant = 2 },
            { at = 4, width = 4, wire = "f32", name = "x5GainTweak", field = "gain_tweak" },
        }, items = {
        } },
    { carrier = "command", id = 10014, name = "power tweak", size = 8, tail = "none", tailName = "",
        itemSize = 0, fields = {
            { at = 0, width = 4, wire = "u32", name = "selector", field = "power_tweak.selector", constant = 6 },
            { at = 4, width = 4, wire = "f32", name = "x5PowerTweak", field = "power_tweak" },
        }, items = {
        } },
    { carrier = "command", id = 10014, name = "pulse length tweak", size = 8, tail = "none", tailName = "",
        itemSize = 0, fields = {
            { at = 0, width = 4, wire = "u32", name = "selector", field = "pulse_length_tweak.selector", constant = 5 },
            { at = 4, width = 4, wire = "f32", name = "x5PulseLengthTweak", field = "pulse_length_tweak" },
        }, items = {
        } },
    { carrier = "command", id = 10014, name = "range tweak", size = 8, tail = "none", tailName = "",
        itemSize = 0, fields = {
            { at = 0, width = 4, wire = "u32", name = "selector", field = "range_tweak.selector", constant = 1 },
            { at = 4, width = 4, wire = "f32", name = "x5RangeTweak", field = "range_tweak" },
        }, items = {
        } },
    { carrier = "command", id = 1107, name = "single ping", size = 0, tail = "none", tailName = "",
        itemSize = 0, fields = {
        }, items = {
        } },
    { carrier = "command", id = 1200, name = "start recording", size = 260, tail = "none", tailName = "",
        itemSize = 0, fields = {
            { at = 4, width = 256, wire = "text", name = "file name, empty: the sonar chooses", field = "start_recording.file_name_empty_the_sonar_chooses" },
        }, items = {
        } },
    { carrier = "command", id = 1201, name = "stop recording", size = 0, tail = "none", tailName = "",
        itemSize = 0, fields = {
        }, items = {
        } },
    { carrier = "command", id = 1207, name = "recording directory", size = 256, tail = "none", tailName = "",
        itemSize = 0, fields = {
            { at = 0, width = 256, wire = "text", name = "x5DirectoryName", field = "directory_name" },
        }, items = {
        } },
    { carrier = "command", id = 1208, name = "recording file name parts", size = 512, tail = "none", tailName = "",
        itemSize = 0, fields = {
            { at = 0, width = 256, wire = "text", name = "x5StorageFileNamePrefix", field = "storage_file_name_prefix" },
            { at = 256, width = 256, wire = "text", name = "x5StorageFileNamePostfix", field = "storage_file_name_postfix" },
        }, items = {
        } },
    { carrier = "command", id = 1209, name = "recorder filter list", size = 6, tail = "i32", tailName = "x5RDRFilterList",
        itemSize = 0, tailField = "rdr_filter_list", fields = {
            { at = 0, width = 4, wire = "u32", name = "constant", field = "recorder_filter_list.constant", constant = 65536 },
            { at = 4, width = 2, wire = "u16", name = "number of entries", field = "recorder_filter_list.number_of_entries" },
        }, items = {
        } },
    { carrier = "command", id = 1211, name = "recorder file handling", size = 2, tail = "none", tailName = "",
        itemSize = 0, fields = {
            { at = 0, width = 1, wire = "u8", name = "x5StorageSingleFile", field = "storage_single_file" },
            { at = 1, width = 1, wire = "u8", name = "x5StorageHistory", field = "storage_history" },
        }, items = {
        } },
    { carrier = "command", id = 1600, name = "custom storage", size = 774, tail = "none", tailName = "",
        itemSize = 0, fields = {
            { at = 0, width = 256, wire = "text", name = "x5StorageDirectory", field = "storage_directory" },
            { at = 256, width = 256, wire = "text", name = "x5StorageHeader", field = "storage_header" },
            { at = 512, width = 256, wire = "text", name = "x5StorageTrailer", field = "storage_trailer" },
            { at = 768, width = 1, wire = "u8", name = "x5StoragePrependHeader", field = "storage_prepend_header" },
            { at = 769, width = 1, wire = "u8", name = "x5StorageAppendTrailer", field = "storage_append_trailer" },
            { at = 770, width = 4, wire = "u32", name = "x5StorageEnabled", field = "storage_enabled" },
        }, items = {
        } },
    { carrier = "command", id = 1601, name = "custom playback", size = 518, tail = "none", tailName = "",
        itemSize = 0, fields = {
            { at = 0, width = 256, wire = "text", name = "Kv3PlaybackDirectory", field = "kv3_playback_directory" },
            { at = 256, width = 256, wire = "text", name = "Kv3PlaybackFile", field = "kv3_playback_file" },
            { at = 512, width = 4, wire = "u32", name = "Kv3PlaybackMode", field = "kv3_playback_mode" },
            { at = 516, width = 1, wire = "u8", name = "Kv3PlaybackEnabled", field = "kv3_playback_enabled" },
            { at = 517, width = 1, wire = "u8", name = "Kv3PlaybackKeepTimestamps", field = "kv3_playback_keep_timestamps" },
        }, items = {
        } },
    { carrier = "data", id = 11051, name = "hoist raise or lower", size = 2, tail = "none", tailName = "",
        itemSize = 0, fields = {
            { at = 0, width = 2, wire = "u16", name = "CmdRaiseLower", field = "cmd_raise_lower" },
        }, items = {
        } },
    { carrier = "data", id = 11052, name = "pan-and-tilt position", size = 12, tail = "none", tailName = "",
        itemSize = 0, fields = {
            { at = 0, width = 4, wire = "f32", name = "CmdRoll", field = "cmd_roll", unit = "rad", convert = "radians", keyUnit = "deg" },
            { at = 4, width = 4, wire = "f32", name = "CmdRotate", field = "cmd_rotate", unit = "rad", convert = "radians", keyUnit = "deg" },
            { at = 8, width = 4, wire = "f32", name = "CmdTilt", field = "cmd_tilt", unit = "rad", convert = "negated_radians", keyUnit = "deg" },
        }, items = {
        } },
    { carrier = "data", id = 18000, name = "ray tracer set-up", size = 28, tail = "none", tailName = "",
        itemSize = 0, fields = {
            { at = 0, width = 4, wire = "u32", name = "RaytracerMode", field = "raytracer_mode" },
            { at = 4, width = 8, wire = "f64", name = "RaytracerManualDepth", field = "raytracer_manual_depth", unit = "m" },
            { at = 12, width = 8, wire = "f64", name = "RaytracerManualRange", field = "raytracer_manual_range.wire", unit = "m", convert = "computed" },
            { at = 20, width = 8, wire = "f64", name = "RaytracerManualTilt", field = "raytracer_manual_tilt", unit = "deg" },
        }, items = {
        } },
    { carrier = "data", id = 3001, name = "sonar contact", size = 522, tail = "none", tailName = "",
        itemSize = 0, fields = {
            { at = 0, width = 4, wire = "u32", name = "target id", field = "sonar_contact.target_id" },
            { at = 4, width = 4, wire = "u32", name = "ping number", field = "sonar_contact.ping_number" },
            { at = 8, width = 10, wire = "time", name = "contact time", field = "sonar_contact.contact_time" },
            { at = 18, width = 128, wire = "text", name = "operator", field = "sonar_contact.operator" },
            { at = 146, width = 4, wire = "u32", name = "contact state (0 new, 1 updated, 2 deleted)", field = "sonar_contact.contact_state" },
            { at = 150, width = 4, wire = "f32", name = "range", field = "sonar_contact.range" },
            { at = 154, width = 4, wire = "f32", name = "bearing", field = "sonar_contact.bearing", unit = "rad" },
            { at = 158, width = 4, wire = "u32", name = "information flags", field = "sonar_contact.information_flags" },
            { at = 162, width = 8, wire = "f64", name = "latitude", field = "sonar_contact.latitude", unit = "rad" },
            { at = 170, width = 8, wire = "f64", name = "longitude", field = "sonar_contact.longitude", unit = "rad" },
            { at = 178, width = 4, wire = "f32", name = "azimuth", field = "sonar_contact.azimuth", unit = "rad" },
            { at = 182, width = 4, wire = "f32", name = "contact length", field = "sonar_contact.contact_length" },
            { at = 186, width = 4, wire = "f32", name = "contact width", field = "sonar_contact.contact_width" },
            { at = 190, width = 128, wire = "text", name = "classification", field = "sonar_contact.classification" },
            { at = 318, width = 128, wire = "text", name = "description", field = "sonar_contact.description" },
            { at = 446, width = 64, wire = "text", name = "target GUID", field = "sonar_contact.target_guid" },
            { at = 510, width = 4, wire = "f32", name = "extension value", field = "sonar_contact.extension_value" },
            { at = 514, width = 4, wire = "f32", name = "extension angle", field = "sonar_contact.extension_angle", unit = "rad" },
            { at = 518, width = 4, wire = "f32", name = "extension measure", field = "sonar_contact.extension_measure" },
        }, items = {
        } },
    { carrier = "passed", id = 1620, name = "algorithm of the detection unit", size = 4, tail = "none", tailName = "",
        itemSize = 0, fields = {
            { at = 0, width = 4, wire = "i32", name = "CadOnnxIndex", field = "cad_onnx_index" },
        }, items = {
        } },
    { carrier = "passed", id = 1700, name = "image enhancement of the detection unit", size = 1, tail = "none", tailName = "",
        itemSize = 0, fields = {
            { at = 0, width = 1, wire = "u8", name = "CadImageEnhancement", field = "cad_image_enhancement" },
        }, items = {
        } },
    { carrier = "passed", id = 1750, name = "sensitivity of the detection unit", size = 4, tail = "none", tailName = "",
        itemSize = 0, fields = {
            { at = 0, width = 4, wire = "f32", name = "CadDetectorSensitivity", field = "cad_detector_sensitivity" },
        }, items = {
        } },
    { carrier = "passed", id = 3004, name = "target list request", size = 64, tail = "none", tailName = "",
        itemSize = 0, fields = {
            { at = 0, width = 64, wire = "text", name = "RequesterAppId", field = "requester_app_id" },
        }, items = {
        } },
    { carrier = "data", id = 3004, name = "target list", size = 72, tail = "items", tailName = "contacts",
        itemSize = 132, fields = {
            { at = 0, width = 64, wire = "text", name = "application", field = "target_list.application" },
            { at = 64, width = 4, wire = "u32", name = "size of an item", field = "target_list.size_of_an_item", unit = "bytes", constant = 132 },
            { at = 68, width = 4, wire = "u32", name = "number of items", field = "target_list.number_of_items" },
        }, items = {
            { at = 0, width = 64, wire = "text", name = "target GUID", field = "target_list.target_guid" },
            { at = 64, width = 4, wire = "u32", name = "detail number A", field = "target_list.detail_number_a" },
            { at = 68, width = 4, wire = "u32", name = "detail flag", field = "target_list.detail_flag" },
            { at = 72, width = 4, wire = "u32", name = "detail number B", field = "target_list.detail_number_b" },
            { at = 76, width = 4, wire = "u32", name = "detail number C", field = "target_list.detail_number_c" },
            { at = 80, width = 4, wire = "f32", name = "range", field = "target_list.range" },
            { at = 84, width = 4, wire = "f32", name = "bearing", field = "target_list.bearing", unit = "deg" },
            { at = 88, width = 4, wire = "f32", name = "extension measure valid (0 or 1)", field = "target_list.extension_measure_valid" },
            { at = 92, width = 4, wire = "f32", name = "extension measure", field = "target_list.extension_measure" },
            { at = 96, width = 8, wire = "f64", name = "latitude", field = "target_list.latitude", unit = "deg" },
            { at = 104, width = 8, wire = "f64", name = "longitude", field = "target_list.longitude", unit = "deg" },
            { at = 112, width = 4, wire = "f32", name = "contact length", field = "target_list.contact_length" },
            { at = 116, width = 4, wire = "f32", name = "contact width", field = "target_list.contact_width" },
            { at = 120, width = 4, wire = "f32", name = "contact height", field = "target_list.contact_height" },
            { at = 124, width = 4, wire = "f32", name = "detail value", field = "target_list.detail_value" },
            { at = 128, width = 4, wire = "u32", name = "target id", field = "target_list.target_id" },
        } },
    { carrier = "data", id = 7034, name = "A-scan status", size = 39, tail = "u16", tailName = "beams",
        itemSize = 0, tailField = "a_scan_status.beams", fields = {
            { at = 0, width = 1, wire = "u8", name = "A-scan monitor on", field = "a_scan_status.a_scan_monitor_on" },
            { at = 1, width = 4, wire = "u32", name = "AScanPingNumber", field = "a_scan_ping_number" },
            { at = 5, width = 2, wire = "u16", name = "number of beams", field = "a_scan_status.number_of_beams" },
        }, items = {
        } },
    { carrier = "passed", id = 7036, name = "beam and sample setting of the detection unit", size = 20, tail = "none", tailName = "",
        itemSize = 0, fields = {
            { at = 0, width = 4, wire = "u32", name = "form", field = "beam_and_sample_setting_of_the_detection_unit.form", constant = 1 },
            { at = 8, width = 4, wire = "u32", name = "CADStreamIndex", field = "cad_stream_index" },
            { at = 12, width = 4, wire = "u32", name = "x5NumberOfBeams", field = "number_of_beams" },
            { at = 16, width = 4, wire = "u32", name = "x5NumberOfPixels", field = "number_of_pixels" },
        }, items = {
        } },
    { carrier = "data", id = 7051, name = "system event", size = 14, tail = "text", tailName = "X5SystemEventMessage",
        itemSize = 0, tailField = "system_event_message", fields = {
            { at = 8, width = 2, wire = "u16", name = "X5SystemEventType", field = "system_event_type" },
            { at = 10, width = 2, wire = "u16", name = "length of the text with its terminator", field = "system_event.length_of_the_text_with_its_terminator", unit = "bytes" },
        }, items = {
        } },
    { carrier = "data", id = 12000, name = "user role", size = 68, tail = "none", tailName = "",
        itemSize = 0, fields = {
            { at = 0, width = 2, wire = "u16", name = "UserRoleType", field = "user_role_type" },
            { at = 2, width = 64, wire = "text", name = "RequesterAppId", field = "requester_app_id" },
            { at = 66, width = 2, wire = "u16", name = "UserRole", field = "user_role" },
        }, items = {
        } },
    { carrier = "command", id = 90020, name = "echo request", size = 4, tail = "none", tailName = "",
        itemSize = 0, fields = {
            { at = 0, width = 4, wire = "bit", name = "detections", field = "echo_request.detections", bit = 0, bits = 1 },
            { at = 0, width = 4, wire = "bit", name = "water column", field = "echo_request.water_column", bit = 1, bits = 1 },
        }, items = {
        } },
    { carrier = "data", id = 90021, name = "detections", size = 92, tail = "arrays", tailName = "",
        itemSize = 0, fields = {
            { at = 0, width = 4, wire = "i32", name = "ping number", field = "detections.ping_number" },
            { at = 4, width = 8, wire = "f64", name = "time", field = "detections.time", unit = "s" },
            { at = 12, width = 8, wire = "f64", name = "sound velocity", field = "detections.sound_velocity", unit = "m/s" },
            { at = 20, width = 8, wire = "f64", name = "east", field = "detections.east", unit = "m" },
            { at = 28, width = 8, wire = "f64", name = "north", field = "detections.north", unit = "m" },
            { at = 36, width = 8, wire = "f64", name = "depth", field = "detections.depth", unit = "m" },
            { at = 44, width = 8, wire = "f64", name = "heading", field = "detections.heading", unit = "deg" },
            { at = 52, width = 8, wire = "f64", name = "roll", field = "detections.roll", unit = "deg" },
            { at = 60, width = 8, wire = "f64", name = "pitch", field = "detections.pitch", unit = "deg" },
            { at = 68, width = 8, wire = "f64", name = "heave", field = "detections.heave", unit = "m" },
            { at = 76, width = 8, wire = "f64", name = "steering", field = "detections.steering", unit = "deg" },
            { at = 84, width = 4, wire = "u32", name = "beams", field = "detections.beams" },
            { at = 88, width = 4, wire = "u32", name = "detections", field = "detections.detections" },
        }, items = {
        }, arrays = {
            { wire = "u16", width = 2, name = "beam", field = "detections.beam", unit = "", count = "detections" },
            { wire = "f32", width = 4, name = "angle", field = "detections.angle", unit = "deg", count = "detections" },
            { wire = "f32", width = 4, name = "travel time", field = "detections.travel_time", unit = "s", count = "detections" },
            { wire = "f32", width = 4, name = "level", field = "detections.level", unit = "dB", count = "detections" },
            { wire = "f32", width = 4, name = "quality", field = "detections.quality", unit = "", count = "detections" },
        } },
    { carrier = "data", id = 90022, name = "water column", size = 116, tail = "arrays", tailName = "",
        itemSize = 0, fields = {
            { at = 0, width = 4, wire = "i32", name = "ping number", field = "water_column.ping_number" },
            { at = 4, width = 8, wire = "f64", name = "time", field = "water_column.time", unit = "s" },
            { at = 12, width = 8, wire = "f64", name = "sound velocity", field = "water_column.sound_velocity", unit = "m/s" },
            { at = 20, width = 8, wire = "f64", name = "east", field = "water_column.east", unit = "m" },
            { at = 28, width = 8, wire = "f64", name = "north", field = "water_column.north", unit = "m" },
            { at = 36, width = 8, wire = "f64", name = "depth", field = "water_column.depth", unit = "m" },
            { at = 44, width = 8, wire = "f64", name = "heading", field = "water_column.heading", unit = "deg" },
            { at = 52, width = 8, wire = "f64", name = "roll", field = "water_column.roll", unit = "deg" },
            { at = 60, width = 8, wire = "f64", name = "pitch", field = "water_column.pitch", unit = "deg" },
            { at = 68, width = 8, wire = "f64", name = "heave", field = "water_column.heave", unit = "m" },
            { at = 76, width = 8, wire = "f64", name = "steering", field = "water_column.steering", unit = "deg" },
            { at = 84, width = 4, wire = "u32", name = "beams", field = "water_column.beams" },
            { at = 88, width = 4, wire = "u32", name = "samples", field = "water_column.samples" },
            { at = 92, width = 8, wire = "f64", name = "interval", field = "water_column.interval", unit = "s" },
            { at = 100, width = 8, wire = "f64", name = "floor", field = "water_column.floor", unit = "dB" },
            { at = 108, width = 8, wire = "f64", name = "step", field = "water_column.step", unit = "dB" },
        }, items = {
        }, arrays = {
            { wire = "f32", width = 4, name = "beam angle", field = "water_column.beam_angle", unit = "deg", count = "beams" },
            { wire = "f32", width = 4, name = "gain", field = "water_column.gain", unit = "dB", count = "samples" },
            { wire = "f32", width = 4, name = "noise", field = "water_column.noise", unit = "dB", count = "samples" },
            { wire = "u8", width = 1, name = "level", field = "water_column.level", unit = "", count = "samples", rows = "beams" },
        } },
}

local x5 = Proto("x5", "x5 sonar records")

local function newField(definition)
    local name, title, unit = "x5." .. definition.name, definition.title, definition.unit
    local meaning = (definition.meaning or title) .. (unit and " [" .. unit .. "]" or "")
    local kind = definition.kind
    if kind == "none" then
        return ProtoField.none(name, title, meaning)
    elseif kind == "bool" then
        return ProtoField.bool(name, title, base.NONE, nil, nil, meaning)
    elseif kind == "string" then
        return ProtoField.string(name, title, base.UNICODE, meaning)
    elseif kind == "bytes" then
        return ProtoField.bytes(name, title, base.NONE, meaning)
    elseif kind == "absolute_time" then
        return ProtoField.absolute_time(name, title, base.UTC, meaning)
    elseif kind == "double" then
        if unit then
            return ProtoField.double(name, title, { " " .. unit }, meaning)
        end
        return ProtoField.double(name, title, meaning)
    elseif unit then
        return ProtoField[kind](name, title, base.UNIT_STRING, { " " .. unit }, nil, meaning)
    end
    return ProtoField[kind](name, title, base.DEC, nil, nil, meaning)
end

local f = {} -- of Wireshark, by name
local kindOf = {} -- what the field of that name holds
local definitionOfKey = {} -- by the key's text
do
    local all = {}
    for i, definition in ipairs(definitions) do
        all[i] = newField(definition)
        f[definition.name] = all[i]
        kindOf[definition.name] = definition.kind
        if definition.key then
            definitionOfKey[definition.title] = definition
        end
    end
    x5.fields = all
end

local damage = {
    skipped = ProtoExpert.new("x5.damage.skipped", "Bytes that belong to no record",
        expert.group.MALFORMED, expert.severity.ERROR),
    frame = ProtoExpert.new("x5.damage.frame", "A record that does not end where it says",
        expert.group.MALFORMED, expert.severity.ERROR),
    size = ProtoExpert.new("x5.damage.size", "A record of another size than its number has",
        expert.group.MALFORMED, expert.severity.WARN),
    content = ProtoExpert.new("x5.damage.content", "Contents that are not whole",
        expert.group.MALFORMED, expert.severity.ERROR),
    time = ProtoExpert.new("x5.damage.time", "A time that is none",
        expert.group.PROTOCOL, expert.severity.WARN),
    cut = ProtoExpert.new("x5.damage.cut", "A record that was not captured whole",
        expert.group.MALFORMED, expert.severity.WARN),
    unknown = ProtoExpert.new("x5.unknown", "A record that no table has",
        expert.group.UNDECODED, expert.severity.NOTE),
}
do
    local all = {}
    for _, kind in pairs(damage) do
        all[#all + 1] = kind
    end
    x5.experts = all
end

x5.prefs.port = Pref.uint("TCP port", 7000, "The port that the sonar listens on")

local headerSize, trailerSize, commandSize = 64, 4, 24
local greatestSize = 134217728 -- a frame that claims more is damaged
local remoteControl, passedOn, attributeTree = 7500, 90002, 90010
local frameStart = "\5\0\60\0\255\255\0\0" -- version, offset of the data, sync word
local deepestTree, mostNodes = 200, 100000
local mostNumbers = 2048 -- of one array that become fields; of more only their number and range are told
local mostListed = 8 -- of one array that stand in its line
local mostAwaited = 65536 -- bytes of a record that are waited for without looking what has come instead

-- The tree's items under their own names.

local function addItem(tree, name, range, value, text)
    local item
    if value == nil then
        item = tree:add(f[name], range)
    else
        item = tree:add(f[name], range, value)
    end
    if text then
        item:set_text(text)
    end
    return item
end

-- A part of bytes that there are; Wireshark has no empty one at their very end.
local function partOf(range, at, size)
    return range(size == 0 and math.min(at, range:len() - 1) or at, size)
end

local function withUnit(text, unit)
    return (unit and unit ~= "") and (text .. " " .. unit) or text
end

-- Numbers.

-- The power of two that the last bit of a float of this size counts.
local function lastBit(magnitude)
    local exponent = math.floor(math.log(magnitude) / math.log(2))
    while 2 ^ exponent > magnitude do
        exponent = exponent - 1
    end
    while 2 ^ (exponent + 1) <= magnitude do
        exponent = exponent + 1
    end
    return 2 ^ (math.max(exponent, -126) - 23)
end

-- To single precision, nearest even.
local function single(value)
    local magnitude = math.abs(value)
    if value ~= value or magnitude == 0 or magnitude == math.huge then
        return value
    end
    local step = lastBit(magnitude)
    local count = magnitude / step
    local whole = math.floor(count)
    local rest = count - whole
    if rest > 0.5 or (rest == 0.5 and whole % 2 == 1) then
        whole = whole + 1
    end
    local rounded = whole * step
    if rounded >= 2 ^ 128 then
        rounded = math.huge
    end
    return value < 0 and -rounded or rounded
end

-- The shortest text that reads back to the same number.
local function doubleText(value)
    if value ~= value then
        return "nan"
    elseif value == math.huge or value == -math.huge then
        return value > 0 and "inf" or "-inf"
    end
    for digits = 15, 16 do
        local text = string.format("%." .. digits .. "g", value)
        if tonumber(text) == value then
            return text
        end
    end
    return string.format("%.17g", value)
end

-- The number that people write for a float: 0.1 and not 0.100000001490116. Its text is then that of doubleText.
local function asWritten(value)
    if value ~= value or value == 0 or value == math.huge or value == -math.huge then
        return value
    end
    for digits = 6, 8 do
        local written = tonumber(string.format("%." .. digits .. "g", value))
        if single(written) == value then
            return written
        end
    end
    return tonumber(string.format("%.9g", value))
end

local function toSigned(value)
    value = value % 4294967296
    return value >= 2147483648 and value - 4294967296 or value
end

local function truncated(value)
    if value ~= value then
        return 0
    end
    value = value < 0 and math.ceil(value) or math.floor(value)
    return math.max(-2147483648, math.min(2147483647, value))
end

-- Moments.

-- Days from 1970-01-01 to the first of January.
local function daysBefore(year)
    local past = year - 1
    return past * 365 + math.floor(past / 4) - math.floor(past / 100) + math.floor(past / 400) - 719162
end

local function momentOf(seconds)
    local whole = math.floor(seconds)
    local nanoseconds = math.floor((seconds - whole) * 1e9 + 0.5)
    if nanoseconds >= 1e9 then
        whole, nanoseconds = whole + 1, 0
    end
    return NSTime.new(whole, nanoseconds)
end

-- Of a time stamp: a moment, or nothing and why; nothing at all for the zero stamp.
local function momentOfStamp(range)
    local year, day = range(0, 2):le_uint(), range(2, 2):le_uint()
    local seconds, hour, minute = range(4, 4):le_float(), range(8, 1):uint(), range(9, 1):uint()
    if year == 0 and day == 0 and seconds == 0 and hour == 0 and minute == 0 then
        return nil
    end
    local isLeap = year % 4 == 0 and (year % 100 ~= 0 or year % 400 == 0)
    local isTime = year >= 1 and year <= 9999 and day >= 1 and day <= (isLeap and 366 or 365) and hour < 24
        and minute < 60 and seconds >= 0 and seconds <= 60
    if not isTime then
        return nil, string.format("year %d, day %d, %02d:%02d:%g", year, day, hour, minute, seconds)
    end
    local whole = ((daysBefore(year) + day - 1) * 24 + hour) * 3600 + minute * 60
    local moment = momentOf(asWritten(seconds))
    return NSTime.new(whole + moment.secs, moment.nsecs)
end

local function addStamp(tree, name, range, title)
    local moment, why = momentOfStamp(range)
    if moment then
        addItem(tree, name, range, moment)
    elseif why then
        tree:add(f.note, range, title):set_text(title .. ": invalid time")
            :add_proto_expert_info(damage.time, title .. " is no time: " .. why)
    else
        tree:add(f.note, range, title):set_text(title .. ": no time")
    end
end

-- Fields.

local function textOf(range)
    if range:len() == 0 then
        return ""
    end
    local text = range:string(ENC_UTF_8)
    local stop = text:find("\0", 1, true)
    return stop and text:sub(1, stop - 1) or text
end

-- From the number on the wire to the key's; whole numbers that this brings out of their range are brought back into it.
local conversions = {
    radians = function(value)
        return single(value * 180 / math.pi)
    end,
    negated_radians = function(value)
        return -single(value * 180 / math.pi)
    end,
    negated = function(value)
        return -value
    end,
    times_thousand = function(value)
        return value / 1000
    end,
    thousandth = function(value)
        return value * 1000
    end,
    times_twenty = function(value)
        return math.floor(value / 20)
    end,
    fifth_of_float = function(value)
        return truncated(value < 0 and math.ceil(value * 5 - 0.5) or math.floor(value * 5 + 0.5))
    end,
    truncated = function(value)
        return value
    end,
    set_when_zero = function(value)
        return value ~= 0 and 0 or 1
    end,
    set_when_one = function(value)
        return value
    end,
    plus_one = function(value)
        return value - 1
    end,
}

-- The number that lies there, and its text; a bit is 0 or 1. Words are little-endian, so a bit lies in byte bit / 8
-- whatever its word.
local function numberOf(range, field)
    local wire = field.wire
    if wire == "f32" then
        local value = range:le_float()
        return value, doubleText(asWritten(value))
    elseif wire == "f64" then
        local value = range:le_float()
        return value, doubleText(value)
    elseif wire == "i32" then
        local value = range:le_int()
        return value, wholeText(value)
    elseif field.bit then
        local value = 0
        for i = field.bits - 1, 0, -1 do
            local bit = field.bit + i
            local byte = range(math.floor(bit / 8), 1):uint()
            value = value * 2 + math.floor(byte / 2 ^ (bit % 8)) % 2
        end
        return value, wire == "bit" and (value ~= 0 and "true" or "false") or wholeText(value)
    end
    local value = range:le_uint()
    return value, wholeText(value)
end

-- Adds a number as what the field of that name holds; gives the item and the number's text.
local function addNumber(tree, name, range, value)
    local kind = kindOf[name]
    if kind == "bool" then
        return addItem(tree, name, range, value ~= 0), value ~= 0 and "true" or "false"
    elseif kind == "double" then
        return addItem(tree, name, range, value), doubleText(value)
    elseif kind == "int64" then
        return addItem(tree, name, range, Int64.new(value)), wholeText(value)
    end
    value = kind == "int32" and toSigned(value) or value % 4294967296
    return addItem(tree, name, range, value), wholeText(value)
end

local function addField(tree, range, field)
    if field.wire == "time" then
        addStamp(tree, field.field, range, field.name)
        return
    elseif field.wire == "text" then
        local text = textOf(range)
        local shown = '"' .. text .. '"'
        addItem(tree, field.field, range, text,
            field.name .. " = " .. (field.convert == "computed" and "(wire " .. shown .. ")" or shown))
        return
    end
    local number, text = numberOf(range, field)
    text = withUnit(text, field.unit)
    if field.convert == "computed" then
        addNumber(tree, field.field, range, number):set_text(field.name .. " = (wire " .. text .. ")")
        return
    end
    local value = field.convert and conversions[field.convert](number) or number
    if field.wire == "f32" and kindOf[field.field] == "double" then
        value = asWritten(single(value))
    end
    local item, valueText = addNumber(tree, field.field, range, value)
    if field.convert then
        item:set_text(field.name .. " = " .. withUnit(valueText, field.keyUnit) .. "  (wire " .. text .. ")")
    else
        item:set_text(field.name .. " = " .. withUnit(valueText, field.unit))
    end
end

local function addFields(tree, range, fields)
    for _, field in ipairs(fields) do
        if field.at + field.width <= range:len() then
            addField(tree, range(field.at, field.width), field)
        end
    end
end

-- Attribute trees.

-- Takes numbers and texts from the front of the bytes; `damage` says what was wrong first, and all that is read then is
-- nothing.
local Reader = {}
Reader.__index = Reader

function Reader.new(range, at)
    return setmetatable({ range = range, at = at, size = range:len() }, Reader)
end

function Reader:fail(what)
    self.damage = self.damage or (what .. " at byte " .. wholeText(self.at))
end

function Reader:take(size)
    if self.damage then
        return nil
    elseif size > self.size - self.at then
        self:fail("the bytes end early")
        return nil
    end
    local part = partOf(self.range, self.at, size)
    self.at = self.at + size
    return part
end

function Reader:u8()
    local part = self:take(1)
    return part and part:uint() or 0
end

function Reader:u32()
    local part = self:take(4)
    return part and part:le_uint() or 0
end

-- How many things of at least `width` bytes follow.
function Reader:count(width)
    local count = self:u32()
    if count * width > self.size - self.at then
        self:fail("a count that the bytes cannot hold")
        return 0
    end
    return count
end

function Reader:text()
    local part = self:take(self:count(1))
    return part and part:len() > 0 and part:string(ENC_UTF_8) or ""
end

local function listText(texts)
    return "[" .. table.concat(texts, ", ") .. "]"
end

local function tupleText(texts)
    return "(" .. table.concat(texts, ", ") .. ")"
end

local function takeDoubles(reader, count)
    local values, texts = {}, {}
    for i = 1, count do
        local part = reader:take(8)
        if not part then
            break
        end
        values[i] = part:le_float()
        texts[i] = doubleText(values[i])
    end
    return values, texts
end

local function takeIntegers(reader, count)
    local values, texts = {}, {}
    for i = 1, count do
        local part = reader:take(4)
        if not part then
            break
        end
        values[i] = part:le_int()
        texts[i] = wholeText(values[i])
    end
    return values, texts
end

-- By the kind's number in a tree: its name, and what reads a value: its numbers or its text, and it as text.
local valueKinds = {
    [0] = { "none", function()
        return {}, ""
    end },
    { "int", function(reader)
        local values, texts = takeIntegers(reader, 1)
        return values, texts[1]
    end },
    { "uint", function(reader)
        local value = reader:u32()
        return { value }, wholeText(value)
    end },
    { "bool", function(reader)
        local value = reader:u8()
        if value > 1 then
            reader:fail("a bool that is neither 0 nor 1")
        end
        return { value }, value ~= 0 and "true" or "false"
    end },
    { "double", function(reader)
        local values, texts = takeDoubles(reader, 1)
        return values, texts[1]
    end },
    { "pair", function(reader)
        local values, texts = takeDoubles(reader, 2)
        return values, tupleText(texts)
    end },
    { "string", function(reader)
        local text = reader:text()
        return text, text
    end },
    { "ints", function(reader)
        local values, texts = takeIntegers(reader, reader:count(4))
        return values, listText(texts)
    end },
    { "doubles", function(reader)
        local values, texts = takeDoubles(reader, reader:count(8))
        return values, listText(texts)
    end },
    { "offset", function(reader)
        local values, texts = takeDoubles(reader, 3)
        return values, tupleText(texts)
    end },
    { "int64", function(reader)
        local part = reader:take(8)
        local value = part and part:le_int64() or Int64.new(0)
        return value, tostring(value)
    end },
}

local isWholeKind = { int32 = true, uint32 = true, int64 = true }

-- Adds a value of the tree under the field of its key, as far as that can hold it.
local function addValueOfKey(tree, definition, range, kind, values)
    local name, holds = definition.name, definition.kind
    if holds == "none" then
        addItem(tree, name, range)
        return
    elseif kind == "string" then
        if holds == "string" then
            addItem(tree, name, range, values, definition.title .. ' = "' .. values .. '"')
        end
        return
    elseif holds == "string" or holds == "bytes" then
        return
    elseif kind == "int64" then
        if holds == "int64" then
            addItem(tree, name, range, values, definition.title .. " = " .. tostring(values))
            return
        end
        values = { values:tonumber() }
    end
    for _, value in ipairs(values) do
        local isWhole = value == math.floor(value)
        local fits = not isWholeKind[holds] or (isWhole and math.abs(value) <= 2 ^ 53
            and (holds ~= "int32" or math.abs(value) <= 2147483647 or value == -2147483648)
            and (holds ~= "uint32" or (value >= 0 and value <= 4294967295)))
        if holds == "absolute_time" then
            if value == value and math.abs(value) < 2 ^ 40 then
                addItem(tree, name, range, momentOf(value))
            end
        elseif fits then
            local item, text = addNumber(tree, name, range, value)
            item:set_text(definition.title .. " = " .. withUnit(text, definition.unit))
        end
    end
end

local function addNodes(tree, reader, path, depth, left)
    local count = reader:count(9) -- an empty key, no value, no children
    if count > 0 and depth > deepestTree then
        reader:fail("the tree is too deep")
    elseif count > left.nodes then
        reader:fail("the tree has too many nodes")
    end
    left.nodes = left.nodes - count
    for _ = 1, count do
        if reader.damage then
            return
        end
        local begin = reader.at
        local key = reader:text()
        local number = reader:u8()
        local kind = valueKinds[number]
        if not kind then
            reader:fail("an unknown kind of value")
            return
        end
        local valueAt = reader.at
        local values, text = kind[2](reader)
        if reader.damage then
            return
        end
        local nodePath = path .. key
        local definition = definitionOfKey[key]
        local node = addItem(tree, "attribute.path", reader.range(begin, reader.at - begin), nodePath)
        local valueRange = partOf(reader.range, valueAt, reader.at - valueAt)
        local shown = kind[1] == "string" and '"' .. text .. '"' or text
        node:set_text(number == 0 and key or key .. " = " .. withUnit(shown, definition and definition.unit))
        addItem(node, "attribute.kind", reader.range(valueAt - 1, 1), kind[1])
        addItem(node, "attribute.value", valueRange, text)
        if definition then
            addValueOfKey(node, definition, valueRange, kind[1], values)
        end
        addNodes(node, reader, nodePath .. "/", depth + 1, left)
    end
end

local function addTree(tree, range)
    local reader = Reader.new(range, 0)
    if reader:u32() ~= 1 then
        reader:fail("an unknown version")
    end
    addNodes(tree, reader, "", 1, { nodes = mostNodes })
    if reader.at ~= reader.size then
        reader:fail("bytes after the tree")
    end
    return reader.damage
end

-- What follows the fixed fields.

-- The whole number that the record tells under that name.
local function countOf(range, record, name)
    for _, field in ipairs(record.fields) do
        if field.name == name then
            return range(field.at, field.width):le_uint()
        end
    end
end

-- The least and the greatest number of an array, as text; nothing of no numbers.
local function rangeText(range, array)
    local least, greatest
    if array.wire == "u8" then
        local bytes = range:raw()
        for i = 1, #bytes, 100 do
            local last = math.min(i + 99, #bytes)
            least = math.min(least or 255, bytes:byte(i, last))
            greatest = math.max(greatest or 0, bytes:byte(i, last))
        end
    else
        for at = 0, range:len() - 1, array.width do
            local value = numberOf(range(at, array.width), array)
            if value == value then
                least = math.min(least or value, value)
                greatest = math.max(greatest or value, value)
            end
        end
    end
    if not least then
        return ""
    end
    local asText = function(value)
        return doubleText(array.wire == "f32" and asWritten(value) or value)
    end
    return " from " .. asText(least) .. " to " .. asText(greatest)
end

-- Each array in one line, its numbers where they are few, else how many there are and from where to where; below it
-- each number as a field. Of many rows the bytes are the field.
local function addArray(tree, range, array, count, rows)
    local size = count * (rows or 1) * array.width
    local line = array.name .. " = "
    local isWanted = tree:referenced(f[array.field])
    if size <= mostListed * array.width then
        local numbers = {}
        for at = 0, size - 1, array.width do
            local _, number = numberOf(range(at, array.width), array)
            numbers[#numbers + 1] = number
        end
        line = line .. listText(numbers)
    else
        line = line .. (rows and (wholeText(rows) .. " x ") or "") .. wholeText(count) .. " numbers"
        if isWanted or tree:referenced(f.note) then
            line = line .. rangeText(range, array)
        end
    end
    line = withUnit(line, array.unit)
    local branch = addItem(tree, "note", range, line, line)
    if not isWanted or size == 0 then
        return
    elseif rows then
        addItem(branch, array.field, range)
    elseif count <= mostNumbers then
        for i = 0, count - 1 do
            local part = range(i * array.width, array.width)
            local value = numberOf(part, array)
            local item, text = addNumber(branch, array.field, part, array.wire == "f32" and asWritten(value) or value)
            item:set_text(string.format("%s[%d] = %s", array.name, i, withUnit(text, array.unit)))
        end
    end
end

-- What is wrong with the arrays; nothing where they are whole.
local function addArrays(tree, range, record)
    local at = record.size
    for _, array in ipairs(record.arrays) do
        local count, rows = countOf(range, record, array.count), array.rows and countOf(range, record, array.rows)
        local size = count * (rows or 1) * array.width
        if size > range:len() - at then
            return "the array " .. array.name .. " is not whole"
        end
        addArray(tree, partOf(range, at, size), array, count, rows)
        at = at + size
    end
    if at ~= range:len() then
        return wholeText(range:len() - at) .. " bytes after the arrays"
    end
end

local function addItems(tree, range, record)
    local name = record.tailField or "item"
    for i = 0, math.floor(range:len() / record.itemSize) - 1 do
        local part = range(i * record.itemSize, record.itemSize)
        local item = kindOf[name] == "none" and addItem(tree, name, part) or addItem(tree, name, part, i)
        item:set_text(string.format("item %d", i))
        addFields(item, part, record.items)
    end
    return range:len() % record.itemSize
end

local function addList(tree, range, record)
    local width = record.tail == "u16" and 2 or 4
    for i = 0, math.floor(range:len() / width) - 1 do
        local part = range(i * width, width)
        local item, text = addNumber(tree, record.tailField, part, numberOf(part, { wire = record.tail }))
        item:set_text(string.format("%s[%d] = %s", record.tailName, i, text))
    end
    return range:len() % width
end

-- What is wrong with what follows the fixed fields; nothing where all is well.
local function addTail(tree, range, record)
    if record.id == attributeTree then
        local wrong = addTree(tree, range)
        return wrong and "no tree: " .. wrong
    elseif record.tail == "arrays" then
        return addArrays(tree, range, record)
    end
    local rest = range:len() > record.size and range(record.size)
    local left = 0
    if not rest then
        return nil
    elseif record.tail == "none" then
        left = rest:len()
        addItem(tree, "payload", rest)
    elseif record.tail == "items" then
        left = addItems(tree, rest, record)
    elseif record.tail == "text" then
        local text = textOf(rest)
        addItem(tree, record.tailField, rest, text, record.tailName .. ' = "' .. text .. '"')
    elseif record.tail == "bytes" then
        addItem(tree, record.tailField, rest)
    else
        left = addList(tree, rest, record)
    end
    return left > 0 and wholeText(left) .. " bytes more than the record has" or nil
end

-- Records.

-- Whether the payload carries the record's constants, which tell forms of one id apart.
local function carriesConstants(range, record)
    for _, field in ipairs(record.fields) do
        if field.constant then
            if field.at + field.width > range:len() then
                return false
            end
            if numberOf(range(field.at, field.width), field) ~= field.constant then
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

local addContents

-- A command within a command, for another unit of the sonar.
local function addPassedOn(tree, info, range)
    local id, size = range(8, 4):le_uint(), range(12, 4):le_uint()
    local payload = range:len() > 16 and range(16) or nil
    local record = findRecord("passed", id, payload and payload:len() or 0, payload)
    local name = record and record.name or "unknown"
    local branch = addItem(tree, "passed_on", range, name, string.format("passed on, %d %s", id, name))
    info.cols.info:append(string.format("%d %s  ", id, name))
    branch:add_le(f.command, range(8, 4))
    if size ~= range:len() - 16 then
        branch:add_proto_expert_info(damage.content,
            string.format("says that it holds %.0f bytes and holds %d", size, range:len() - 16))
    end
    addContents(branch, info, payload, record, false)
end

-- `isCut`: not all of the record was captured.
addContents = function(tree, info, range, record, isCut)
    local size = range and range:len() or 0
    if not record then
        if range then
            addItem(tree, "payload", range)
        end
        tree:add_proto_expert_info(damage.unknown)
        return
    end
    if range then
        addFields(tree, range, record.fields)
    end
    if size < record.size then
        if not isCut then
            tree:add_proto_expert_info(damage.size,
                wholeText(record.size - size) .. " bytes fewer than the record has")
        end
        return
    end
    if not range then
        return
    end
    local wrong = addTail(tree, range, record)
    if wrong and not isCut then
        local kind = (record.id == attributeTree or record.tail == "arrays") and damage.content or damage.size
        tree:add_proto_expert_info(kind, wrong)
    end
    if record.id == passedOn and record.carrier == "command" and size >= 16 then
        addPassedOn(tree, info, range)
    end
end

-- The sonar's end has the port that is told for it, or the one that "Decode As" names, or else the lower one.
local function goesToSonar(info)
    for _, port in ipairs({ x5.prefs.port, info.match_uint }) do
        if (info.dst_port == port) ~= (info.src_port == port) then
            return info.dst_port == port
        end
    end
    return info.dst_port < info.src_port
end

-- `size` is what the frame says; the bytes of one that was not captured whole are fewer. At least its header is there.
local function addFrame(tvb, info, root, size)
    local tree = root:add(x5, tvb(), "x5 record")
    local isCut = tvb:len() < size
    local id = tvb(32, 4):le_uint()
    tree:add_le(f.version, tvb(0, 2))
    tree:add_le(f.size, tvb(8, 4))
    addStamp(tree, "time", tvb(20, 10), "Time")
    tree:add_le(f.record_version, tvb(30, 2))
    tree:add_le(f.record, tvb(32, 4))
    tree:add_le(f.device, tvb(36, 4))
    tree:add_le(f.enumerator, tvb(42, 2))
    local stop = math.min(tvb:len(), size - trailerSize)
    local begin, carrier, number = headerSize, "data", id
    if id == remoteControl and stop - begin >= commandSize then
        carrier, number = "command", tvb(begin, 4):le_uint()
        tree:add_le(f.command, tvb(begin, 4))
        tree:add_le(f.ticket, tvb(begin + 4, 4))
        tree:add(f.tracking_number, tvb(begin + 8, 16))
        begin = begin + commandSize
    end
    local payload = stop > begin and tvb(begin, stop - begin) or nil
    local record = findRecord(carrier, number, payload and payload:len() or 0, payload)
    local name = record and record.name or "unknown"
    addItem(tree, "number", tvb(32, 4), number):set_generated()
    addItem(tree, "name", tvb(32, 4), name):set_generated()
    addItem(tree, "to_sonar", tvb(32, 4), goesToSonar(info)):set_generated()
    tree:append_text(string.format(", %d %s", number, name))
    info.cols.protocol = "x5"
    info.cols.info:append(string.format("%d %s  ", number, name))
    if isCut then
        tree:add_proto_expert_info(damage.cut, string.format("%d of %.0f bytes were captured", tvb:len(), size))
    end
    addContents(tree, info, payload, record, isCut)
end

-- The stream.

local function addSkipped(part, info, root, kind, text)
    local tree = root:add(x5, part, "x5, " .. text)
    addItem(tree, "skipped", part)
    tree:add_proto_expert_info(kind, text)
    info.cols.protocol = "x5"
    info.cols.info:append("[" .. text .. "]  ")
end

-- The size that a frame at `offset` claims; nothing where none begins. Twelve bytes are there.
local function sizeAt(tvb, offset)
    if tvb:raw(offset, 8) ~= frameStart then
        return nil
    end
    local size = tvb(offset + 8, 4):le_uint()
    return size >= headerSize + trailerSize and size <= greatestSize and size or nil
end

-- Where the next frame may begin, from `offset` on; the end where none does. What is too short to tell counts as one.
local function nextStart(tvb, offset)
    local bytes = tvb:raw(offset)
    local at = 1
    while true do
        at = bytes:find(frameStart, at, true)
        if not at then
            break
        end
        local position = offset + at - 1
        if tvb:len() - position < 12 or sizeAt(tvb, position) then
            return position
        end
        at = at + 1
    end
    for length = math.min(#frameStart - 1, #bytes), 1, -1 do
        if bytes:sub(-length) == frameStart:sub(1, length) then
            return tvb:len() - length
        end
    end
    return tvb:len()
end

-- Whether a whole frame lies at `offset`: it ends with its trailing word, behind which nothing comes or another begins.
local function isWholeFrame(tvb, offset)
    local size = tvb:len() - offset >= 12 and sizeAt(tvb, offset)
    local stop = size and offset + size
    if not size or stop > tvb:len() or tvb(stop - trailerSize, trailerSize):uint() ~= 0 then
        return false
    end
    local behind = tvb:raw(stop, math.min(#frameStart, tvb:len() - stop))
    return behind == frameStart:sub(1, #behind)
end

-- Where a whole frame lies within the unfinished one at `offset`; nothing where none does.
local function frameInside(tvb, offset)
    local at = nextStart(tvb, offset + 1)
    while at < tvb:len() do
        if isWholeFrame(tvb, at) then
            return at
        end
        at = nextStart(tvb, at + 1)
    end
end

-- For how many more bytes of an unfinished frame it is worth waiting. What is damaged in its size must not hold back what
-- follows for long: of a long one a part is awaited that grows as it comes, of one whose size is not that of its record
-- the next segment.
local function awaited(tvb, offset, size)
    local have = tvb:len() - offset
    local head = headerSize + commandSize
    if have < head then
        return DESEGMENT_ONE_MORE_SEGMENT
    end
    local isCommand = tvb(offset + 32, 4):le_uint() == remoteControl
    local id = tvb(offset + (isCommand and headerSize or 32), 4):le_uint()
    local payload = size - trailerSize - (isCommand and head or headerSize)
    local record = findRecord(isCommand and "command" or "data", id, payload)
    if record and record.size ~= payload and (record.tail == "none" or record.size > payload) then
        return DESEGMENT_ONE_MORE_SEGMENT
    end
    return math.min(size - have, math.max(have, mostAwaited))
end

-- What stands at `offset`: shows it and gives where it ends; nothing where more has to come first, and how much.
-- `mayWait`: more may come.
local function addNext(tvb, info, root, offset, mayWait)
    local left = tvb:len() - offset
    local size = left >= 12 and sizeAt(tvb, offset)
    if not size then
        local stop = nextStart(tvb, left >= 12 and offset + 1 or offset)
        if stop == offset and mayWait then
            return nil, DESEGMENT_ONE_MORE_SEGMENT
        end
        stop = stop == offset and tvb:len() or stop
        addSkipped(tvb(offset, stop - offset), info, root, damage.skipped,
            wholeText(stop - offset) .. " bytes that belong to no record")
        return stop
    end
    if size > left then
        local inside = frameInside(tvb, offset)
        if inside then
            addSkipped(tvb(offset, inside - offset), info, root, damage.frame,
                string.format("a record of %.0f bytes that another one interrupts after %d", size, inside - offset))
            return inside
        elseif mayWait then
            addItem(root, "begins", tvb(offset), size,
                string.format("x5, a record of %.0f bytes begins, %d of them are here", size, left))
            return nil, awaited(tvb, offset, size)
        elseif left >= headerSize then
            addFrame(tvb(offset):tvb(), info, root, size)
        else
            addSkipped(tvb(offset), info, root, damage.cut, string.format("%d of %.0f bytes of a record", left, size))
        end
        return tvb:len()
    end
    if tvb(offset + size - trailerSize, trailerSize):uint() ~= 0 then
        local stop = nextStart(tvb, offset + 1)
        addSkipped(tvb(offset, stop - offset), info, root, damage.frame,
            string.format("a record of %.0f bytes that does not end there", size))
        return stop
    end
    addFrame(tvb(offset, size):tvb(), info, root, size)
    return offset + size
end

-- `canWait`: TCP puts segments together.
local function addStream(tvb, info, root, canWait)
    local mayWait = canWait and tvb:reported_len() == tvb:len()
    local offset = 0
    while offset < tvb:len() do
        if offset == 0 then
            info.cols.info:clear()
        end
        local stop, more = addNext(tvb, info, root, offset, mayWait)
        if not stop then
            info.desegment_offset = offset
            info.desegment_len = more
            break
        end
        offset = stop
    end
    return tvb:len()
end

function x5.dissector(tvb, info, root)
    return addStream(tvb, info, root, info.can_desegment ~= 0)
end

-- Which streams.

local tcpPorts = DissectorTable.get("tcp.port")
local port = x5.prefs.port
tcpPorts:add(port, x5)
tcpPorts:add_for_decode_as(x5)

function x5.prefs_changed()
    if port ~= x5.prefs.port then
        tcpPorts:remove(port, x5)
        port = x5.prefs.port
        tcpPorts:add(port, x5)
    end
end

x5:register_heuristic("tcp", function(tvb, info, root)
    if tvb:len() < 12 or not sizeAt(tvb, 0) then
        return false
    end
    info.conversation = x5
    addStream(tvb, info, root, true) -- Wireshark's word on waiting does not reach dissectors that guess
    return true
end)

countWhereAsked()
