// The keys of one hash with which the simulated sonar attacks, for tests of the tree itself.
#pragma once

#include <simulator/colliding_keys.h>

namespace vordal::test {

using qx5::simulator::CollidingKey;
using qx5::simulator::CollidingKeyCount;

} // namespace vordal::test
