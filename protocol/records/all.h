// All record tables, for those who need every family.
#pragma once

#include <protocol/records/acquisition.h>
#include <protocol/records/basic.h>
#include <protocol/records/beam_geometry.h>
#include <protocol/records/contacts.h>
#include <protocol/records/data_recording.h>
#include <protocol/records/dual_head.h>
#include <protocol/records/gates.h>
#include <protocol/records/installation.h>
#include <protocol/records/motion_heading.h>
#include <protocol/records/pan_tilt_hoist.h>
#include <protocol/records/port_sensors.h>
#include <protocol/records/positioning.h>
#include <protocol/records/processor_ports.h>
#include <protocol/records/pulse_frequency_gain.h>
#include <protocol/records/recorder_settings.h>
#include <protocol/records/single_beam.h>
#include <protocol/records/single_ping.h>
#include <protocol/records/storage_playback.h>
#include <protocol/records/target_exchange.h>
#include <protocol/records/tracker_detection.h>
#include <protocol/records/triggers_timing.h>
