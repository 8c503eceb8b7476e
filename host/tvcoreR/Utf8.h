// Wide text to UTF-8, for every text that goes on the wire.
#pragma once

#include <VordalBaseR/CString.h>
#include <VordalBaseR/Export.h>

#include <string>

namespace tvcore {

/// UTF-8 of a wide text, held for the time of one expression or scope. What is no character becomes U+FFFD.
class VORDAL_API CW2A_UTF8
{
public:
    /// Of that text, which is copied.
    explicit CW2A_UTF8(CString const& text);

    /// The bytes, ended by a 0; valid while this object is.
    operator char const*() const { return m_bytes.c_str(); }
    /// The same as a string.
    std::string const& Bytes() const { return m_bytes; }

private:
    std::string m_bytes;
};

/// The same as a string.
VORDAL_API std::string ToUtf8(CString const& text);

} // namespace tvcore
