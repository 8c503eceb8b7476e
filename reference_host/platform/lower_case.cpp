// Lower case of any alphabet, on POSIX systems.
#include "lower_case.h"

#include <clocale>
#include <cwctype>

#include <locale.h>

namespace vordal::platform {

void MakeLowerCase(std::wstring& text)
{
    // Built into the C library. Without it letters of English alone have a lower case.
    static locale_t const unicode = ::newlocale(LC_CTYPE_MASK, "C.UTF-8", nullptr);
    for (wchar_t& character : text) {
        if (character >= L'A' && character <= L'Z') {
            character += L'a' - L'A';
        } else if (character >= 0x80 && unicode != nullptr) {
            character = static_cast<wchar_t>(::towlower_l(static_cast<wint_t>(character), unicode));
        }
    }
}

} // namespace vordal::platform
