// Which settings of a stored tree describe one physical sonar head.
#pragma once

#include <VordalAttributesR/CAttributeMap.h>

namespace qx5 {

/// True for the same index, and when the settings at both occurrences tell the same receiver number and transmitter
/// name; what one does not tell is 0 or empty. Never throws.
bool IsSameSonarHead(CAttributeMap const& stored, int i, int j);

} // namespace qx5
