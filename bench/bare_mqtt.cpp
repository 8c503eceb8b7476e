// The client library, used as its own examples do, on lines that hold nothing back.
#include "bare_mqtt.h"

#include "broker/prompt_lines.h"

#include <mqtt/async_client.h>

#include <utility>

namespace bench {

class BareMqtt::Body
{
public:
    Body(qx5::broker::BrokerAddress const& address, qx5::broker::CertificateFiles const& files,
         std::string const& filter, std::function<void(std::string_view)> arrived)
        : m_arrived(std::move(arrived)), m_client((address.isSecure ? "ssl://" : "tcp://") + address.Place(), "",
                                                  mqtt::create_options(MQTTVERSION_5), nullptr)
    {
        m_client.set_message_callback(
            [this](mqtt::const_message_ptr const& message) { m_arrived(message->get_payload_str()); });
        mqtt::ssl_options secure;
        secure.set_trust_store(files.authority.string());
        secure.set_key_store(files.certificate.string());
        secure.set_private_key(files.key.string());
        mqtt::connect_options connect;
        connect.set_mqtt_version(MQTTVERSION_5);
        connect.set_clean_start(true);
        connect.set_max_inflight(65535);
        connect.set_ssl(std::move(secure));
        m_client.connect(std::move(connect))->wait();
        // Or each answer would take 40 ms, and whatever is held against it look good.
        qx5::broker::HoldNothingBack(address.port);
        m_client.subscribe(filter, 1)->wait();
    }

    std::function<void(std::string_view)> const m_arrived;
    mqtt::async_client m_client; // the last: going, it may call the other
};

BareMqtt::BareMqtt(qx5::broker::BrokerAddress const& address, qx5::broker::CertificateFiles const& files,
                   std::string const& filter, std::function<void(std::string_view payload)> arrived)
    : m_body(std::make_unique<Body>(address, files, filter, std::move(arrived)))
{
}

BareMqtt::~BareMqtt() = default;

void BareMqtt::Publish(std::string const& topic, std::string_view payload, int qos)
{
    m_body->m_client.publish(topic, payload.data(), payload.size(), qos, false);
}

} // namespace bench
