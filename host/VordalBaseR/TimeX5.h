// The 10-byte time stamp of the sonar record protocol, as the host makes it.
#pragma once

#include <VordalBaseR/Export.h>

/// Ten bytes, little-endian, UTC: u16 year, u16 day of the year (1 to 366), f32 seconds within the minute, u8 hour,
/// u8 minute. Copied into records byte by byte.
struct TIME_X5
{
    /// As they stand in a record.
    unsigned char bytes[10];
};

/// The time stamp of host time `seconds` (see CExTime). A time that is not finite or lies outside the years 1 to
/// 9999 gives ten zero bytes. Any thread.
VORDAL_API TIME_X5 TimeTox5(double seconds);
