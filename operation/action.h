// One thing that somebody asked of a sonar, and what came of it.
#pragma once

#include "reference_host/common/request_origin.h"

#include <VordalAttributesR/CAttributeMap.h>
#include <VordalBaseR/CDataId.h>

#include <cstdint>
#include <string>

namespace qx5::operation {

enum class Result : unsigned char
{
    Pending,    ///< the sonar has not answered yet, and may
    Agrees,     ///< the sonar has what was asked for
    Differs,    ///< it has something else: it clipped the value, or somebody else set it
    Unanswered, ///< it has told nothing of it
    NotSent,    ///< nobody could hear it: no connection, or no room in its queue
    Dropped,    ///< the plug-in dropped it whole, since a key that completes it was found nowhere
    Refused,    ///< locked, or not the asker's to ask
    Failed,     ///< an exception broke it off
    Replaced,   ///< a later request for the same took its place before the sonar told anything of it
};

/// The trees hold one another's values at the same places; copies share them. What somebody else has changed is an
/// action of RequestOrigin::OtherHost: `before` is what was asked for here and agreed, `asked` and `got` what it is
/// now.
struct Action
{
    std::uint64_t number = 0; ///< in the order in which they were asked for, from 1
    double time = 0.0;        ///< host time in seconds
    vordal::RequestOrigin who = vordal::RequestOrigin::Program;
    std::string person; ///< on whose behalf, by name; empty: nobody in particular
    CDataId sonar;
    CAttributeMap asked;  ///< the request as it was given
    CAttributeMap before; ///< what the device's tree held of what was asked for
    CAttributeMap got;    ///< what the sonar then has of it, as far as it has told
    Result result = Result::Pending;
    std::string reason; ///< in one line, where there is one
};

} // namespace qx5::operation
