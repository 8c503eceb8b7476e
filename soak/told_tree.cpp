// One introduction of a sonar, and the comparison of two trees.
#include "told_tree.h"

#include "cli/sonar_frames.h"
#include "reference_host/attributes/tree_account.h"
#include <commands/catalogue.h>

#include <VordalAttributesR/CVordalType.h>
#include <protocol/catalogue.h>
#include <protocol/utf8.h>

#include <algorithm>
#include <map>
#include <span>

#include <fmt/format.h>

namespace qx5::soak {

namespace {

vordal::LinkOptions OptionsFor(std::uint16_t port)
{
    vordal::LinkOptions options;
    options.host = "127.0.0.1";
    options.port = port;
    return options;
}

std::string ShortText(CVordalType const& value)
{
    constexpr std::size_t greatest = 200;
    auto text = value.ToText();
    if (text.size() > greatest) {
        text.resize(greatest);
        text += "...";
    }
    return text;
}

bool HasKey(std::span<protocol::Field const> fields, protocol::Key const* key)
{
    return std::any_of(fields.begin(), fields.end(), [key](protocol::Field const& field) {
        return field.key != nullptr && field.key == key && field.convert != protocol::Convert::Computed;
    });
}

/// Whether who reads the record finds the key in it: records of several families share a number and a form.
bool IsCarried(Sending const& sending, protocol::Key const* key)
{
    auto const* const record = protocol::FindLayout(sending.record.carrier, sending.record.id, sending.record.size);
    if (record == nullptr) {
        return false;
    }
    bool const isByItself = record->fields.empty() && record->itemFields.empty(); // that it comes says all
    return isByItself || HasKey(record->fields, key) || HasKey(record->itemFields, key) ||
           (record->tailKey != nullptr && record->tailKey == key);
}

} // namespace

Introduction::Introduction(vordal::LinkThread& thread, std::uint16_t port) : m_link(thread, OptionsFor(port), *this)
{
    m_link.Open();
}

Introduction::~Introduction()
{
    m_link.Close();
}

std::optional<CAttributeMap> Introduction::Told() const
{
    std::lock_guard const lock(m_mutex);
    return m_told;
}

void Introduction::OnLinkFrame(protocol::FrameView const& frame, double)
{
    std::lock_guard const lock(m_mutex);
    if (!m_told) {
        m_told = cli::ToldAttributes(frame.bytes);
    }
}

std::set<CString> const& KeysOfHostAlone()
{
    static std::set<CString> const keys = [] {
        std::set<CString> found;
        for (ChainEntry const& entry : Chain()) {
            Command const& command = *entry.command;
            for (Operand const& operand : command.operands) {
                bool const isCarried =
                    operand.options.source != Source::Told &&
                    std::any_of(command.sends.begin(), command.sends.end(),
                                [&](Sending const& sending) { return IsCarried(sending, operand.key); });
                if (command.echoFlags != NoEcho && operand.options.echo != Echo::None && !isCarried) {
                    found.insert(CString(operand.key->text));
                }
            }
        }
        return found;
    }();
    return keys;
}

std::string Difference(CAttributeMap const& told, CAttributeMap const& held, bool mayLack)
{
    // Of values under one key the host keeps the last; branches under one key it keeps apart.
    std::map<CString, int> left;
    for (CAttributeMap const& node : told) {
        ++left[node.GetKey()];
    }
    std::map<CString, int> branches;
    for (CAttributeMap const& node : told) {
        CString const key = node.GetKey();
        bool const isLast = --left[key] == 0;
        bool const isBranch = node.Count() > 0;
        if ((!isBranch && !isLast) || KeysOfHostAlone().contains(key)) {
            continue;
        }
        int const occurrence = isBranch ? branches[key]++ : 0;
        auto const* const other = held.GetAttrMap(AttributeKey(key), occurrence);
        auto const name = fmt::format("{}[{}]", protocol::EncodeUtf8(key.View()), occurrence);
        if (other == nullptr && mayLack) {
            continue;
        }
        if (other == nullptr) {
            return fmt::format("{}: the sonar has {}, the host has no such key", name, ShortText(node.Value()));
        }
        bool const hadNoRoom = mayLack && vordal::BytesOf(node.Value()) > vordal::BytesOf(other->Value());
        if (!node.Value().IsSame(other->Value()) && !hadNoRoom) {
            return fmt::format("{}: the sonar has {}, the host {}", name, ShortText(node.Value()),
                               ShortText(other->Value()));
        }
        if (auto const below = Difference(node, *other, mayLack); !below.empty()) {
            return name + "/" + below;
        }
    }
    return {};
}

} // namespace qx5::soak
