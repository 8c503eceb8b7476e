// Lower case of any alphabet, whatever the locale.
#pragma once

#include <VordalBaseR/Export.h>

#include <string>

namespace vordal::platform {

/// Turns each character that has a lower case of one character into that.
VORDAL_API void MakeLowerCase(std::wstring& text);

} // namespace vordal::platform
