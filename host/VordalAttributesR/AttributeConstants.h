// Keys of the host's own attributes; the text of each is the constant's own name.
#pragma once

#include <VordalAttributesR/AttributeKey.h>

inline constexpr AttributeKey ATTR_DATAID{L"ATTR_DATAID"};
inline constexpr AttributeKey ATTR_MBEAMDATAID{L"ATTR_MBEAMDATAID"};
inline constexpr AttributeKey ATTR_PANTILTPOS_DATAID{L"ATTR_PANTILTPOS_DATAID"};
inline constexpr AttributeKey ATTR_DEVICEOFFSET{L"ATTR_DEVICEOFFSET"};
inline constexpr AttributeKey ATTR_ROLLCOR{L"ATTR_ROLLCOR"};
inline constexpr AttributeKey ATTR_PITCHCOR{L"ATTR_PITCHCOR"};
inline constexpr AttributeKey ATTR_CABLELENGTH{L"ATTR_CABLELENGTH"};
