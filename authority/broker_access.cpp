// The broker's files, as texts.
#include "authority/broker_access.h"

#include "authority/shore_topics.h"
#include "reference_host/common/path_text.h"
#include "sparkplug/topic.h"

#include <algorithm>
#include <iterator>
#include <set>

#include <fmt/format.h>
#include <zlib.h>

namespace qx5::authority {

namespace {

/// What a certificate has room for.
constexpr std::size_t greatestName = 64;
/// More than any birth or piece of history, less than what would hold up everybody else.
constexpr std::size_t greatestMessage = std::size_t{16} << 20;

std::string FaultOfName(std::string_view what, std::string const& name)
{
    if (auto why = sparkplug::WhyNoName(what, name); !why.empty()) {
        return why;
    }
    if (name.size() > greatestName) {
        return fmt::format("the {} \"{}\" has a name of more than {} bytes", what, name, greatestName);
    }
    if (name.front() == ' ' || name.back() == ' ') {
        return fmt::format("the {} \"{}\" has a blank at an end of its name", what, name);
    }
    return {};
}

class Lines
{
public:
    template <typename... Arguments>
    void Add(fmt::format_string<Arguments...> format, Arguments&&... arguments)
    {
        fmt::format_to(std::back_inserter(m_text), format, std::forward<Arguments>(arguments)...);
        m_text += '\n';
    }
    std::string Text() && { return std::move(m_text); }

private:
    std::string m_text;
};

void AddVessel(Lines& lines, std::string const& group, std::string const& vessel)
{
    lines.Add("\n# A vessel: speaks for itself, hears what it is asked.\nuser {}", vessel);
    for (char const* const kind : {"NBIRTH", "NDATA", "NDEATH"}) {
        lines.Add("topic write spBv1.0/{}/{}/{}", group, kind, vessel);
    }
    for (char const* const kind : {"DBIRTH", "DDATA", "DDEATH"}) {
        lines.Add("topic write spBv1.0/{}/{}/{}/+", group, kind, vessel);
    }
    for (ShoreTopic const& topic : {ShoreTopic{ShoreSubject::History, group, vessel, {}, {}},
                                    ShoreTopic{ShoreSubject::Result, group, vessel, "+", "+"},
                                    ShoreTopic{ShoreSubject::Detections, group, vessel, "+", {}}}) {
        lines.Add("topic write {}", TopicText(topic));
    }
    lines.Add("topic read spBv1.0/STATE/+");
    lines.Add("topic read spBv1.0/{}/NCMD/{}", group, vessel);
    lines.Add("topic read spBv1.0/{}/DCMD/{}/+", group, vessel);
    for (std::string const& filter : ShoreFiltersOfVessel(group, vessel)) {
        lines.Add("topic read {}", filter);
    }
}

void AddPerson(Lines& lines, std::string const& group, std::string const& person, Role role)
{
    lines.Add("\n# {}\nuser {}", ToText(role), person);
    lines.Add("topic read spBv1.0/{}/#", group);
    lines.Add("topic read spBv1.0/STATE/+");
    for (std::string const& filter : ShoreFiltersOfPerson(group, person)) {
        lines.Add("topic read {}", filter);
    }
    lines.Add("topic write {}", TopicText({ShoreSubject::Look, group, "+", "+", person}));
    lines.Add("topic write spBv1.0/STATE/{}", person);
    // A vessel takes nothing from there but that it is to tell everything anew.
    lines.Add("topic write spBv1.0/{}/NCMD/+", group);
    if (role == Role::Watch) {
        return;
    }
    lines.Add("topic write {}", TopicText({ShoreSubject::Lease, group, "+", "+", person}));
    lines.Add("topic write {}", TopicText({ShoreSubject::Request, group, "+", "+", person}));
    lines.Add("topic write {}", TopicText({ShoreSubject::Acknowledgement, group, "+", {}, person}));
    if (role == Role::Operate) {
        return;
    }
    // It names nobody.
    lines.Add("topic write spBv1.0/{}/DCMD/+/+", group);
    lines.Add("topic read qx5/{}/#", group);
    lines.Add("topic read $SYS/#");
}

std::string FirstLine(std::string_view text)
{
    auto const sum = crc32_z(0, reinterpret_cast<unsigned char const*>(text.data()), text.size());
    return fmt::format("# Written by qx5 broker-setup ({:08x}). Once something is changed here by hand, it writes this "
                       "file no more.\n",
                       sum);
}

} // namespace

std::string FaultOf(BrokerPlan const& plan)
{
    if (auto fault = FaultOfName("group", plan.group); !fault.empty()) {
        return fault;
    }
    if (plan.group == "STATE") {
        return "a group cannot be called STATE: that is where shores tell that they are there";
    }
    if (plan.vessels.empty()) {
        return "a fleet has one vessel at least: --vessel NAME";
    }
    std::set<std::string> names{std::string(Aboard), std::string(Unnamed)};
    auto const fault = [&names](std::string_view what, std::string const& name) {
        auto line = FaultOfName(what, name);
        if (line.empty() && !names.insert(name).second) {
            line = name == Aboard || name == Unnamed
                       ? fmt::format("no {} can be called \"{}\": that means something else", what, name)
                       : fmt::format("there are two called \"{}\", and certificates tell them apart by name", name);
        }
        return line;
    };
    for (std::string const& vessel : plan.vessels) {
        if (auto line = fault("vessel", vessel); !line.empty()) {
            return line;
        }
    }
    for (auto const& [person, role] : plan.persons) {
        if (auto line = fault("person", person); !line.empty()) {
            return line;
        }
    }
    bool const isPlain =
        std::all_of(plan.address.begin(), plan.address.end(), [](unsigned char c) { return c > 0x20; });
    return isPlain ? std::string() : fmt::format("\"{}\" is no address", plan.address);
}

std::string AccessText(BrokerPlan const& plan)
{
    Lines lines;
    lines.Add("# Who may say (write) and hear (read) what. A name is that of a certificate; who has none here says and "
              "hears nothing.");
    for (std::string const& vessel : plan.vessels) {
        AddVessel(lines, plan.group, vessel);
    }
    for (auto const& [person, role] : plan.persons) {
        AddPerson(lines, plan.group, person, role);
    }
    return std::move(lines).Text();
}

std::string ConfigurationText(BrokerPlan const& plan, std::filesystem::path const& folder)
{
    auto const path = [&folder](char const* name) { return vordal::Utf8Of(folder / name); };
    Lines lines;
    lines.Add("# Who comes has a certificate that ca.crt has signed; its common name says who it is.");
    lines.Add("listener {}{}{}", plan.port, plan.address.empty() ? "" : " ", plan.address);
    lines.Add("cafile {}", path("ca.crt"));
    lines.Add("certfile {}", path("broker.crt"));
    lines.Add("keyfile {}", path("broker.key"));
    lines.Add("# Certificates that hold no longer; take away the first two characters once there are some.");
    lines.Add("# crlfile {}", path("revoked.crl"));
    lines.Add("require_certificate true");
    lines.Add("use_identity_as_username true");
    lines.Add("allow_anonymous false");
    lines.Add("acl_file {}", path("access"));
    lines.Add("message_size_limit {}", greatestMessage);
    lines.Add("# Otherwise each request and each answer is held back for 40 ms.");
    lines.Add("set_tcp_nodelay true");
    return std::move(lines).Text();
}

std::string Sealed(std::string const& text)
{
    return FirstLine(text) + text;
}

bool IsSealed(std::string_view content)
{
    auto const end = content.find('\n');
    return end != std::string_view::npos && content.substr(0, end + 1) == FirstLine(content.substr(end + 1));
}

} // namespace qx5::authority
