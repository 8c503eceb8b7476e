// What Windows says of a problem.
#include "reference_host/platform/windows/system_text.h"

#include <protocol/utf8.h>

#include <windows.h>

namespace vordal::platform {

std::string SystemText(unsigned long problem)
{
    wchar_t text[512];
    DWORD const length =
        FormatMessageW(FORMAT_MESSAGE_FROM_SYSTEM | FORMAT_MESSAGE_IGNORE_INSERTS | FORMAT_MESSAGE_MAX_WIDTH_MASK,
                       nullptr, problem, 0, text, 512, nullptr);
    std::wstring_view words(text, length);
    while (words.ends_with(L' ') || words.ends_with(L'.')) {
        words.remove_suffix(1);
    }
    return words.empty() ? "error " + std::to_string(problem) : qx5::protocol::EncodeUtf8(words);
}

} // namespace vordal::platform
