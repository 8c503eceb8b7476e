// What a sonar heard at one ping, as data blocks that any plug-in follows: its detections and its water column.
//
// A sonar of id (type, 78, device, vessel) has two further streams: the same id with the group SONAR_DETECTIONS_GROUP
// and with SONAR_WATER_COLUMN_GROUP. Subscribe to one (DataSubscription) and the host asks the sonar for that data;
// with the last subscription it stops. A sonar that has none to give leaves the stream empty. Each ping is one block;
// its time is that of transmission. A block is shared: keep a copy of CDataBlock and read its arrays in place.
//
// All items are good (status 0), little-endian, arrays without gaps. Angles of beams are in degrees across track off
// the vertical, positive to starboard, ascending: the ship's roll is in them, whether the sonar makes up for it or not.
// Levels are in dB re 1 uPa at the array, plus the receiver's gain.
#pragma once

enum SonarEchoGroup : unsigned short
{
    SONAR_DETECTIONS_GROUP = 90,
    SONAR_WATER_COLUMN_GROUP = 91,
};

/// Items of both kinds of blocks, then those of either.
enum SonarEchoItem : unsigned short
{
    ECHO_PING_NUMBER = 9001,    ///< 32-bit integer
    ECHO_SOUND_VELOCITY = 9002, ///< double, m/s: what the sonar works with, as set
    /// Doubles: east and north of the scene's or the survey's origin (m), depth of the sonar below the surface (m,
    /// heave included), heading, roll (starboard down), pitch (bow up) in degrees, heave (m, up).
    ECHO_POSE = 9003,
    ECHO_STEERING = 9004,   ///< double, degrees: the fan's tilt along track off the vertical, positive forward
    ECHO_BEAM_COUNT = 9005, ///< 32-bit integer: beams that were formed, with a detection or not

    DETECTION_BEAM = 9010,        ///< unsigned 16-bit, one a detection: its beam, from 0, ascending
    DETECTION_ANGLE = 9011,       ///< float, one a detection
    DETECTION_TRAVEL_TIME = 9012, ///< float, one a detection: seconds there and back
    DETECTION_LEVEL = 9013,       ///< float, one a detection
    DETECTION_QUALITY = 9014,     ///< float, one a detection: 0 (doubtful) to 1

    WATER_BEAM_ANGLE = 9020,      ///< float, one a beam
    WATER_SAMPLE_COUNT = 9021,    ///< 32-bit integer: samples of each beam
    WATER_SAMPLE_INTERVAL = 9022, ///< double, s there and back; sample k is from k + 1/2 intervals after transmission
    WATER_LEVEL_FLOOR = 9023,     ///< double, dB: the level of a byte of 0
    WATER_LEVEL_STEP = 9024,      ///< double, dB from one byte to the next
    WATER_LEVELS = 9025,          ///< bytes, beam after beam, each of WATER_SAMPLE_COUNT samples
    WATER_GAIN = 9026,            ///< float, one a sample: the receiver's gain there in dB
    WATER_NOISE = 9027,           ///< float, one a sample: the mean level of noise there
};
