// How a project is shared, as notes in its file.
#include "vessel/share_setup.h"

#include "reference_host/common/path_text.h"
#include "sparkplug/topic.h"

#include <protocol/utf8.h>

#include <array>
#include <charconv>
#include <utility>

#include <fmt/format.h>

namespace qx5::vessel {

namespace {

// Names of notes.
constexpr std::string_view prefix = "share ";
constexpr std::string_view brokerNote = "broker";
constexpr std::string_view authorityNote = "ca";
constexpr std::string_view certificateNote = "cert";
constexpr std::string_view keyNote = "key";
constexpr std::string_view groupNote = "group";
constexpr std::string_view vesselNote = "vessel";
constexpr std::string_view primaryHostNote = "primary host";
constexpr std::string_view silenceNote = "silence";
constexpr std::string_view megabytesNote = "outbox megabytes";
constexpr std::string_view daysNote = "outbox days";
// Each is a list: the note's name ends with what is meant.
constexpr std::string_view roleNotes = "role ";
constexpr std::string_view allowNotes = "allow ";
constexpr std::string_view historyNotes = "history ";

constexpr std::array<std::string_view, 2> silenceTexts{"refuse", "grant"};

CString NoteName(std::string_view name)
{
    return CString(protocol::DecodeUtf8(std::string(prefix) + std::string(name)));
}

std::string Utf8(CString const& text)
{
    return protocol::EncodeUtf8(text.View());
}

template <typename Number>
bool ReadNumber(std::string const& text, Number& number)
{
    Number read{};
    auto const [end, problem] = std::from_chars(text.data(), text.data() + text.size(), read);
    bool const isGood = problem == std::errc() && end == text.data() + text.size() && read > 0;
    number = isGood ? read : number;
    return isGood;
}

/// False when that is nothing of this.
bool TakeNote(ShareSetup& setup, std::string_view name, std::string const& value)
{
    if (name == brokerNote) {
        setup.broker = value;
    } else if (name == authorityNote) {
        setup.files.authority = vordal::PathOf(CString(protocol::DecodeUtf8(value)));
    } else if (name == certificateNote) {
        setup.files.certificate = vordal::PathOf(CString(protocol::DecodeUtf8(value)));
    } else if (name == keyNote) {
        setup.files.key = vordal::PathOf(CString(protocol::DecodeUtf8(value)));
    } else if (name == groupNote) {
        setup.group = value;
    } else if (name == vesselNote) {
        setup.vessel = value;
    } else if (name == primaryHostNote) {
        setup.primaryHost = value;
    } else if (name == silenceNote) {
        auto const silence = SilenceOf(value);
        setup.silence = silence.value_or(setup.silence);
        return silence.has_value();
    } else if (name == megabytesNote) {
        return ReadNumber(value, setup.outboxMegabytes);
    } else if (name == daysNote) {
        return ReadNumber(value, setup.outboxDays);
    } else if (name.starts_with(roleNotes)) {
        std::string const person(name.substr(roleNotes.size()));
        bool const isKnown = AddRole(setup.permissions, person + "=" + value);
        // Of a role that only a newer program knows, the least is sure.
        setup.permissions.roles.try_emplace(person, authority::Role::Watch);
        return isKnown;
    } else if (name.starts_with(allowNotes)) {
        return setup.permissions.Allow(name.substr(allowNotes.size()));
    } else if (name.starts_with(historyNotes)) {
        setup.history.emplace_back(name.substr(historyNotes.size()));
    } else {
        return false;
    }
    return true;
}

bool IsOfShare(CString const& name)
{
    return Utf8(name).starts_with(prefix);
}

/// Whether this program writes a note of that name, behind the prefix.
bool IsKnown(std::string const& name)
{
    ShareSetup ignored;
    return TakeNote(ignored, name, "1") || TakeNote(ignored, name, "refuse") || TakeNote(ignored, name, "watch");
}

} // namespace

bool ShareSetup::operator==(ShareSetup const& other) const
{
    return broker == other.broker && files.authority == other.files.authority &&
           files.certificate == other.files.certificate && files.key == other.files.key && group == other.group &&
           vessel == other.vessel && primaryHost == other.primaryHost && permissions == other.permissions &&
           silence == other.silence && history == other.history && outboxMegabytes == other.outboxMegabytes &&
           outboxDays == other.outboxDays;
}

ShareSetup ShareSetupIn(vordal::StoredProject const& project, std::vector<std::string>& problems)
{
    ShareSetup setup;
    for (auto const& [name, value] : project.notes) {
        if (IsOfShare(name) && !TakeNote(setup, Utf8(name).substr(prefix.size()), Utf8(value))) {
            problems.push_back(fmt::format("the project says \"{}\" of how it is shared, \"{}\", which this program "
                                           "does not know",
                                           Utf8(value), Utf8(name).substr(prefix.size())));
        }
    }
    return setup;
}

void PutShareSetup(vordal::StoredProject& project, ShareSetup const& setup)
{
    std::erase_if(project.notes, [](auto const& note) {
        return IsOfShare(note.first) && IsKnown(Utf8(note.first).substr(prefix.size()));
    });
    auto const put = [&project](std::string const& name, std::string const& value) {
        if (!value.empty()) {
            project.notes[NoteName(name)] = CString(protocol::DecodeUtf8(value));
        }
    };
    put(std::string(brokerNote), setup.broker);
    put(std::string(authorityNote), vordal::Utf8Of(setup.files.authority));
    put(std::string(certificateNote), vordal::Utf8Of(setup.files.certificate));
    put(std::string(keyNote), vordal::Utf8Of(setup.files.key));
    put(std::string(groupNote), setup.group);
    put(std::string(vesselNote), setup.vessel);
    put(std::string(primaryHostNote), setup.primaryHost);
    put(std::string(silenceNote), std::string(ToText(setup.silence)));
    put(std::string(megabytesNote), fmt::format("{}", setup.outboxMegabytes));
    put(std::string(daysNote), fmt::format("{}", setup.outboxDays));
    for (auto const& [person, role] : setup.permissions.roles) {
        put(std::string(roleNotes) + person, std::string(authority::ToText(role)));
    }
    for (std::size_t i = 0; i < operation::LockedActionCount; ++i) {
        auto const action = static_cast<operation::LockedAction>(i);
        put(std::string(allowNotes) + std::string(operation::ToText(action)),
            setup.permissions.Allows(action) ? "yes" : "");
    }
    for (std::string const& name : setup.history) {
        put(std::string(historyNotes) + name, "yes");
    }
}

std::string_view ToText(authority::Silence silence)
{
    return silenceTexts[static_cast<std::size_t>(silence)];
}

std::optional<authority::Silence> SilenceOf(std::string_view text)
{
    for (std::size_t i = 0; i < silenceTexts.size(); ++i) {
        if (silenceTexts[i] == text) {
            return static_cast<authority::Silence>(i);
        }
    }
    return std::nullopt;
}

bool AddRole(authority::Permissions& permissions, std::string_view text)
{
    auto const equals = text.rfind('=');
    auto const role =
        equals == std::string_view::npos || equals == 0 ? std::nullopt : authority::RoleOf(text.substr(equals + 1));
    if (!role) {
        return false;
    }
    permissions.roles.insert_or_assign(std::string(text.substr(0, equals)), *role);
    return true;
}

std::optional<VesselOptions> OptionsOf(ShareSetup const& setup, std::string& error)
{
    VesselOptions options;
    auto const address = broker::ParseBrokerUrl(setup.broker, error);
    if (!address) {
        return std::nullopt;
    }
    for (auto const& [what, name] : {std::pair("group", &setup.group), std::pair("vessel", &setup.vessel)}) {
        if (auto why = sparkplug::WhyNoName(what, *name); !why.empty()) {
            error = std::move(why);
            return std::nullopt;
        }
    }
    if (!setup.primaryHost.empty()) {
        if (auto why = sparkplug::WhyNoName("primary host", setup.primaryHost); !why.empty()) {
            error = std::move(why);
            return std::nullopt;
        }
    }
    if (address->isSecure && (setup.files.certificate.empty() != setup.files.key.empty())) {
        error = "a certificate and its key are told together";
        return std::nullopt;
    }
    options.address = *address;
    options.files = setup.files;
    options.group = setup.group;
    options.vessel = setup.vessel;
    options.primaryHost = setup.primaryHost;
    options.permissions = setup.permissions;
    options.leases.silence = setup.silence;
    options.history = setup.history;
    options.outbox.greatestBytes = setup.outboxMegabytes << 20U;
    options.outbox.greatestDays = setup.outboxDays;
    return options;
}

} // namespace qx5::vessel
