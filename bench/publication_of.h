// A message of Sparkplug as what a connection publishes.
#pragma once

#include "broker/connection.h"
#include "sparkplug/message.h"

namespace bench {

inline qx5::broker::Publication PublicationOf(qx5::sparkplug::Message const& message)
{
    return {message.topic, message.payload, message.qos, message.isRetained};
}

} // namespace bench
