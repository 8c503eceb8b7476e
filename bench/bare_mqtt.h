// A bare MQTT client, for the bare programs that set the floor: the client library and nothing of ours.
#pragma once

#include "broker/broker_address.h"

#include <functional>
#include <memory>
#include <string>
#include <string_view>

namespace bench {

/// Connected, and subscribed to its filter, when it is made. Throws what the library throws.
class BareMqtt
{
public:
    /// `arrived` is called on the library's own thread.
    BareMqtt(qx5::broker::BrokerAddress const& address, qx5::broker::CertificateFiles const& files,
             std::string const& filter, std::function<void(std::string_view payload)> arrived);
    BareMqtt(BareMqtt const&) = delete;
    BareMqtt& operator=(BareMqtt const&) = delete;
    ~BareMqtt();

    /// Waits for nothing.
    void Publish(std::string const& topic, std::string_view payload, int qos);

private:
    class Body;
    std::unique_ptr<Body> m_body;
};

} // namespace bench
