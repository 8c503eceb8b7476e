// Between a sonar's attribute tree and the settings that the picture shows: reading, following, asking.
#pragma once

#include "picture/fan_settings.h"

#include <VordalAttributesR/CAttributeMap.h>
#include <VordalBaseR/CString.h>

#include <span>
#include <vector>

namespace picture {

/// Keys whose changes concern the picture.
std::vector<CString> FollowedKeys();

/// What is absent, of another kind or not finite is nothing.
FanSettings ReadSettings(CAttributeMap const& tree);
FanLimits ReadLimits(CAttributeMap const& tree);

/// A tree with one branch "Request" that asks for all of the wishes.
CAttributeMap RequestOf(std::span<Wish const> wishes);

} // namespace picture
