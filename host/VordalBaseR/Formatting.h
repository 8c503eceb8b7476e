// Texts of numbers as the host's displays show them.
#pragma once

#include <VordalBaseR/CString.h>
#include <VordalBaseR/Export.h>

#include <cstdint>

/// A number as displays show it, independent of the locale. `format` says what it measures (see NumberFormat) and
/// `variant` how: 0 and 0 give a plain number with one decimal, such as "12.5". Any thread.
VORDAL_API CString FormatDouble(double value, int format, int variant);

/// A number of bytes: "%d B" below 1024, otherwise one decimal in kB, MB, GB or TB, in steps of 1024, such as "1.5 MB".
/// Negative numbers are written in bytes. Any thread.
VORDAL_API CString FormatByteSize(std::int64_t bytes);
