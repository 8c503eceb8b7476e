// What a broker calls us: the name that our certificate has.
#pragma once

#include "broker/broker_address.h"

#include <string>

namespace qx5::broker {

/// The common name of the certificate, in UTF-8. Empty, and one line in `error`, when there is none to be read.
std::string CommonNameOf(CertificateFiles const& files, std::string& error);

} // namespace qx5::broker
