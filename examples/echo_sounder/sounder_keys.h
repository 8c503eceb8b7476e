// What is known of the echo sounder: its names in the host, and the keys of its tree.
#pragma once

#include <VordalAttributesR/AttributeKey.h>

namespace sounder {

inline constexpr wchar_t const* DeviceClass = L"SingleBeamSounder";
inline constexpr wchar_t const* ViewClass = L"SingleBeamSounderView";
inline constexpr wchar_t const* DisplayTemplate = L"SINGLEBEAMSOUNDER";

// What a request may ask for; the instrument's answer bears the same key.
inline constexpr AttributeKey Range{L"SounderRange"};     ///< double, metres: how deep it listens
inline constexpr AttributeKey Draught{L"SounderDraught"}; ///< double, metres: transducer below the water line
inline constexpr AttributeKey Pinging{L"SounderPinging"}; ///< bool: it transmits

// What the instrument tells.
inline constexpr AttributeKey Depth{L"SounderDepth"}; ///< double, metres below the transducer

/// The item of the device's data blocks that holds the depth: double, metres below the transducer.
inline constexpr unsigned short DepthItem = 1;

} // namespace sounder
