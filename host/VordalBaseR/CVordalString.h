// Splitting of a delimited text.
#pragma once

#include <VordalBaseR/CString.h>
#include <VordalBaseR/Export.h>

#include <cstddef>
#include <vector>

/// The parts of a delimited text, in their order. A value, independent of the text that it was made from; many threads
/// may read one. Nothing fails but for want of memory.
class VORDAL_API CVordalString
{
public:
    /// Splits `text` at every `separator`. `skipEmpty` leaves empty parts out; otherwise a text with n separators has
    /// n + 1 parts, an empty text one empty part. `trim` takes spaces and tabs off both ends of each part first.
    CVordalString(CString const& text, wchar_t separator, bool skipEmpty = false, bool trim = false);

    /// Number of parts.
    std::size_t Size() const { return m_parts.size(); }
    /// A part, valid while this object is; the empty text beyond the end.
    CString const& operator[](std::size_t index) const;

private:
    std::vector<CString> m_parts;
};
