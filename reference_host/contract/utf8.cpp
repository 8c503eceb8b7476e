// Wide text to UTF-8 for plug-ins.
#include <tvcoreR/Utf8.h>

#include <protocol/utf8.h>

namespace tvcore {

CW2A_UTF8::CW2A_UTF8(CString const& text) : m_bytes(ToUtf8(text)) {}

std::string ToUtf8(CString const& text)
{
    return qx5::protocol::EncodeUtf8(text.View());
}

} // namespace tvcore
