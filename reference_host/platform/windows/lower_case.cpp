// Lower case of any alphabet, on Windows.
#include "reference_host/platform/lower_case.h"

#include <windows.h>

namespace vordal::platform {

void MakeLowerCase(std::wstring& text)
{
    for (wchar_t& character : text) {
        if (character >= L'A' && character <= L'Z') {
            character = static_cast<wchar_t>(character + (L'a' - L'A'));
        } else if (character >= 0x80) {
            // One at a time, as no character may become two.
            wchar_t lower = 0;
            if (LCMapStringEx(LOCALE_NAME_INVARIANT, LCMAP_LOWERCASE, &character, 1, &lower, 1, nullptr, nullptr, 0) ==
                1) {
                character = lower;
            }
        }
    }
}

} // namespace vordal::platform
