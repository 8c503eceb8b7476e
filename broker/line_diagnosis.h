// Why there is no connection to a broker, in words: asked when an attempt has failed, on a line of its own.
#pragma once

#include "broker/broker_address.h"

#include <chrono>
#include <string>

namespace qx5::broker {

/// What is wrong with our own files; empty when nothing is.
std::string WhatIsWrongWith(CertificateFiles const& files);

/// Connects, shakes hands, and says in one line what goes wrong first: our own files, the name, the port, the
/// certificates of either side. When all of that goes well it is no broker that answers, or it closes the line. Takes
/// no longer than the limit. Any thread.
std::string Diagnose(BrokerAddress const& address, CertificateFiles const& files, std::chrono::milliseconds limit);

} // namespace qx5::broker
