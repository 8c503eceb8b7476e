// A line as it is told, and the options that it makes.
#include "fleet/fleet_line.h"

#include "broker/certificate_name.h"
#include "broker/line_diagnosis.h"
#include "fleet/fleet.h"
#include "sparkplug/topic.h"

#include <cstdlib>

namespace qx5::fleet {

namespace {

/// What the system calls who runs this.
std::string UserName()
{
    for (char const* const name : {"USER", "LOGNAME"}) {
        if (char const* const value = std::getenv(name); value != nullptr && *value != '\0') {
            return value;
        }
    }
    return "somebody";
}

} // namespace

std::optional<FleetOptions> OptionsOf(FleetLine const& line, LineProblem& problem)
{
    using Part = LineProblem::Part;
    FleetOptions options;
    std::string error;
    auto const address = broker::ParseBrokerUrl(line.broker, error);
    if (!address) {
        problem = {Part::Broker, error};
        return std::nullopt;
    }
    options.line.address = *address;
    options.line.files = {line.authority, line.certificate, line.key};
    options.group = line.group;
    if (address->isSecure) {
        if (line.certificate.empty()) {
            problem = {Part::Certificate,
                       "a broker by TLS goes by the certificate of whoever comes; tell it, and its key"};
            return std::nullopt;
        }
        error = broker::WhatIsWrongWith(options.line.files);
        if (error.empty()) {
            options.person = broker::CommonNameOf(options.line.files, error);
        }
        if (!error.empty()) {
            problem = {Part::Files, error};
            return std::nullopt;
        }
    } else {
        options.person = line.person.empty() ? UserName() : line.person;
    }
    error = sparkplug::WhyNoName("group", options.group);
    if (error.empty()) {
        error = sparkplug::WhyNoName("person", options.person);
    }
    if (!error.empty()) {
        problem = {Part::Name, error};
        return std::nullopt;
    }
    return options;
}

} // namespace qx5::fleet
