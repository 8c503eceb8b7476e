// A person ashore at a real broker.
#include "shore.h"

#include <VordalAttributesR/CVordalType.h>
#include <values/vordal_value.h>

#include <functional>
#include <limits>

namespace qx5::test {

using namespace std::chrono_literals;

namespace {

sparkplug::HostHooks HostHooksOf(std::function<bool(sparkplug::Message const&)> publish)
{
    sparkplug::HostHooks hooks;
    hooks.publish = std::move(publish);
    return hooks;
}

} // namespace

Shore::Shore(broker::BrokerAddress const& address, broker::CertificateFiles const& files, std::string person)
    : host({}, HostHooksOf([this](sparkplug::Message const& message) {
               return m_connection->Publish({message.topic, message.payload, message.qos, message.isRetained})
                   .has_value();
           })),
      m_person(std::move(person))
{
    broker::ConnectionOptions options;
    options.address = address;
    options.files = files;
    options.leastPause = 50ms;
    options.greatestPause = 200ms;
    broker::ConnectionHooks hooks;
    hooks.connected = [this] {
        {
            std::lock_guard const lock(m_mutex);
            m_isConnected = true;
        }
        m_told.notify_all();
    };
    hooks.disconnected = [this] {
        {
            std::lock_guard const lock(m_mutex);
            m_isConnected = false;
            host.Disconnected();
        }
        m_told.notify_all();
    };
    hooks.message = [this](std::string_view topic, std::string_view payload) { Take(topic, payload); };
    auto filters = authority::ShoreFiltersOfPerson("north", m_person);
    filters.push_back(sparkplug::GroupFilter("north"));
    m_connection = std::make_unique<broker::Connection>(options, filters, hooks);
    m_connection->Start();
}

Shore::~Shore()
{
    m_connection->End(0ms);
}

bool Shore::WaitForLine()
{
    return Wait([this] { return m_isConnected; });
}

void Shore::Take(std::string_view text, std::string_view payload)
{
    {
        std::lock_guard const lock(m_mutex);
        topics.emplace_back(text);
        messages.emplace_back(text, payload);
        std::string error;
        if (text.starts_with("spBv1.0/")) {
            host.Receive(text, payload);
            if (auto const* const node = host.Find({"north", "Vega", {}})) {
                if (auto const time = authority::VesselTimeIn(node->reserved)) {
                    m_time.Hear(*time);
                }
            }
        } else if (auto const topic = authority::ParseShoreTopic(text, error)) {
            if (topic->subject == authority::ShoreSubject::Result) {
                auto const reply = authority::DecodeReply(payload, error);
                EXPECT_TRUE(reply) << error;
                if (auto const* const request = std::get_if<authority::RequestReply>(&*reply)) {
                    replies.push_back(*request);
                } else if (auto const* const lease = std::get_if<authority::LeaseReply>(&*reply)) {
                    leaseReplies.push_back(*lease);
                } else {
                    looks.push_back(std::get<authority::LookMessage>(*reply));
                }
            } else if (topic->subject == authority::ShoreSubject::Detections) {
                auto const ping = authority::DecodeDetections(payload, error);
                EXPECT_TRUE(ping) << error;
                pings.push_back(*ping);
            } else if (topic->subject == authority::ShoreSubject::History) {
                auto const history = authority::DecodeHistory(payload, error);
                EXPECT_TRUE(history) << error;
                outbox = history->outbox;
                for (outbox::Item const& item : history->items) {
                    if (!item.kind) {
                        continue;
                    }
                    auto const content = authority::DecodeHistoryContent(item.payload, error);
                    EXPECT_TRUE(content) << error;
                    if (kept.emplace(item.number, *content).second) {
                        order.push_back(item.number);
                        kinds[item.number] = *item.kind;
                    }
                }
            }
        }
    }
    m_told.notify_all();
}

authority::RequestStamp Shore::Stamp(double limit)
{
    EXPECT_TRUE(Wait([this] { return m_time.Now().has_value(); }));
    return Look([&] { return m_time.Next(limit).value_or(authority::RequestStamp()); });
}

bool Shore::Say(authority::ShoreSubject subject, std::string const& sonar, std::string const& payload)
{
    return m_connection->Publish({authority::TopicText({subject, "north", "Vega", sonar, m_person}), payload, 1, false})
        .has_value();
}

bool Shore::Ask(std::string const& sonar, authority::RequestStamp const& stamp, CAttributeMap const& request)
{
    std::string error;
    auto const bytes = authority::Encode(authority::RequestMessage{stamp, request}, error);
    EXPECT_TRUE(bytes) << error;
    return Say(authority::ShoreSubject::Request, sonar, *bytes);
}

bool Shore::AskLease(std::string const& sonar, authority::LeaseMessage const& message)
{
    std::string error;
    return Say(authority::ShoreSubject::Lease, sonar, *authority::Encode(message, error));
}

authority::LeaseReply Shore::TakeLease(std::string const& sonar, double seconds)
{
    auto const stamp = Stamp();
    EXPECT_TRUE(AskLease(sonar, {stamp, authority::LeaseVerb::Take, seconds, {}}));
    authority::LeaseReply answer;
    EXPECT_TRUE(Wait([&] {
        for (authority::LeaseReply const& each : leaseReplies) {
            if (each.number == stamp.number && each.sender == stamp.sender) {
                answer = each;
                return true;
            }
        }
        return false;
    }));
    return answer;
}

bool Shore::Acknowledge(std::string const& identity, std::uint64_t upTo)
{
    std::string error;
    return Say(authority::ShoreSubject::Acknowledgement, {},
               *authority::Encode(authority::AcknowledgementMessage{identity, upTo}, error));
}

CAttributeMap RequestOf(std::wstring_view key, double value)
{
    CAttributeMap request;
    AddValue(request, AttributeKey(key), value);
    return request;
}

sparkplug::SeenThing const* Alive(Shore& shore, std::string const& sonar)
{
    auto const* const seen = shore.host.Find({"north", "Vega", sonar});
    return seen != nullptr && seen->state == sparkplug::SeenState::Alive ? seen : nullptr;
}

double ValueOf(Shore& shore, std::string const& sonar, std::wstring_view key)
{
    double value = std::numeric_limits<double>::quiet_NaN();
    if (auto const* const seen = Alive(shore, sonar)) {
        seen->tree.FindValue(AttributeKey(key)).Get(value);
    }
    return value;
}

} // namespace qx5::test
