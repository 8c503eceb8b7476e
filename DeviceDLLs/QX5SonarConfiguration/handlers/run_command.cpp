// Commands that their tables tell completely: reading, packing, sending, echoing, asking.
#include "../QX5SonarConfigurationControlDevice.h"
#include "command_values.h"
#include "echo_map.h"
#include "reading.h"

#include <HalvaneX5InterfaceR/QX5SocketIoHandler.h>
#include <protocol/record_table.h>
#include <protocol/unpack.h>
#include <protocol/utf8.h>

using ControlDevice = QX5SonarConfigurationControlDevice;

namespace qx5 {

namespace {

/// What the record carries for the key, in the key's own kind.
protocol::Value SentValue(protocol::RecordLayout const& record, protocol::Key const& key,
                          std::span<unsigned char const> payload)
{
    protocol::Field const* field = protocol::FindField(record, key);
    if (field == nullptr) {
        return {};
    }
    protocol::Value sent = protocol::UnpackField(*field, payload).wire;
    if (auto const* bits = std::get_if<std::uint32_t>(&sent)) {
        if (key.kind == protocol::Kind::Int) {
            return static_cast<std::int32_t>(*bits);
        }
        if (key.kind == protocol::Kind::Int64) {
            return std::int64_t{*bits};
        }
    }
    return sent;
}

/// Whether every text finds room in its field of the record, the ending 0 included.
bool TextsFit(Command const& command, CommandValues const& values, protocol::RecordLayout const& record)
{
    for (protocol::Field const& field : record.fields) {
        if (field.wire != protocol::Wire::Text || field.key == nullptr) {
            continue;
        }
        std::size_t const operand = OperandOf(command, *field.key);
        if (operand == command.operands.size()) {
            continue;
        }
        auto const* text = std::get_if<std::wstring>(&values[operand]);
        if (text != nullptr && protocol::Utf8Length(*text) >= field.extent) {
            return false;
        }
    }
    return true;
}

bool Asks(CAttributeMap const& request, Operand const& operand)
{
    return operand.options.source != Source::Stored && operand.options.source != Source::Told &&
           request.Has(operand.attribute, 0);
}

/// Whether the value counts as switched on: true, or not 0.
bool IsSet(protocol::Value const& value)
{
    auto const* const number = std::get_if<std::int32_t>(&value);
    auto const* const flag = std::get_if<bool>(&value);
    return (number != nullptr && *number != 0) || (flag != nullptr && *flag);
}

bool Holds(Condition const& condition, CommandValues const& values)
{
    switch (condition.kind) {
    case Condition::Kind::Set:
        return IsSet(values[0]);
    case Condition::Kind::Clear:
        return !IsSet(values[0]);
    case Condition::Kind::Always:
    case Condition::Kind::Stated:
        break;
    }
    return true;
}

/// The key by which the request asked for the command that lacks that operand.
AttributeKey const& AskingKey(CAttributeMap const& request, Operand const& missing, Command const& command)
{
    if (Asks(request, missing)) {
        return missing.attribute;
    }
    for (Operand const& operand : command.operands) {
        if (operand.options.triggers && Asks(request, operand)) {
            return operand.attribute;
        }
    }
    return missing.attribute;
}

} // namespace

bool IsTriggered(CAttributeMap const& request, Command const& command)
{
    if (command.form == Form::Own) {
        return true;
    }
    if (command.form != Form::Strict && command.form != Form::Lax) {
        return request.Has(command.operands.front().attribute, 0);
    }
    for (Operand const& operand : command.operands) {
        if (operand.options.triggers && Asks(request, operand)) {
            return true;
        }
    }
    return false;
}

std::size_t OperandOf(Command const& command, protocol::Key const& key)
{
    std::size_t at = 0;
    while (at < command.operands.size() && command.operands[at].key != &key) {
        ++at;
    }
    return at;
}

void PackOperands(Command const& command, CommandValues const& values, protocol::RecordLayout const& record,
                  protocol::Payload& payload)
{
    protocol::PackConstants(record, payload.Bytes());
    for (protocol::Field const& field : record.fields) {
        if (field.key == nullptr) {
            continue;
        }
        std::size_t const operand = OperandOf(command, *field.key);
        if (operand < command.operands.size()) {
            protocol::PackField(field, values[operand], payload.Bytes());
        }
    }
}

void TellOperands(Command const& command, CommandValues const& values, protocol::RecordLayout const& record,
                  std::span<unsigned char const> payload, EchoMap& echo)
{
    auto const tell = [&](Operand const& operand) {
        protocol::Value const& value = values[OperandOf(command, *operand.key)];
        switch (operand.options.echo) {
        case Echo::AsRead:
            echo.TellValue(operand.attribute, value);
            break;
        case Echo::AsSent:
            echo.TellValue(operand.attribute, SentValue(record, *operand.key, payload));
            break;
        case Echo::WhenTrue:
            if (bool const* const flag = std::get_if<bool>(&value); flag != nullptr && *flag) {
                echo.TellValue(operand.attribute, value);
            }
            break;
        case Echo::None:
            break;
        }
    };
    if (command.echoes.empty()) {
        for (Operand const& operand : command.operands) {
            tell(operand);
        }
    } else {
        for (Operand const* operand : command.echoes) {
            tell(*operand);
        }
    }
}

} // namespace qx5

bool ControlDevice::ReadOperands(CAttributeMap const& request, CAttributeMap const& stored, qx5::Command const& command,
                                 qx5::CommandValues& values)
{
    using qx5::Form;
    using qx5::Source;

    bool const completes = command.form == Form::Strict || command.form == Form::Lax;
    if (!qx5::IsTriggered(request, command)) {
        return false;
    }
    for (std::size_t i = 0; i < command.operands.size(); ++i) {
        qx5::Operand const& operand = command.operands[i];
        if (operand.options.source == Source::Told) {
            values[i] = qx5::protocol::ValueOfKind(operand.key->kind, operand.options.fallback);
            continue;
        }
        bool const fromRequest = operand.options.source != Source::Stored;
        bool const fromStored = operand.options.source == Source::Stored ||
                                operand.options.source == Source::Completed ||
                                (operand.options.source == Source::AsForm && completes);
        if ((fromRequest && qx5::ReadKey(request, *operand.key, operand.attribute, values[i])) ||
            (fromStored && qx5::ReadKey(stored, *operand.key, operand.attribute, values[i]))) {
            continue;
        }
        if (command.form != Form::Lax && !operand.options.optional) {
            // What only the request could have given was not asked for.
            if (fromStored) {
                ReportDroppedRequest(qx5::AskingKey(request, operand, command), operand.attribute);
            }
            return false;
        }
        values[i] = qx5::protocol::ValueOfKind(operand.key->kind, operand.options.fallback);
    }
    return true;
}

void ControlDevice::RunIfTriggered(CAttributeMap const& request, qx5::Command const& command)
{
    if (qx5::IsTriggered(request, command)) {
        CarryOut(request, command);
    }
}

void ControlDevice::CarryOut(CAttributeMap const& request, qx5::Command const& command)
{
    qx5::CommandValues values;
    if (command.form != qx5::Form::Presence && !ReadOperands(request, Stored(), command, values)) {
        return;
    }

    if (command.longTexts == qx5::LongTexts::Refused) {
        for (qx5::Sending const& sending : command.sends) {
            if (!qx5::TextsFit(command, values, sending.record)) {
                return;
            }
        }
    }
    qx5::Sending const* sent = nullptr;
    std::optional<qx5::protocol::Payload> payload;
    for (qx5::Sending const& sending : command.sends) {
        if (qx5::Holds(sending.when, values)) {
            sent = &sending;
            qx5::PackOperands(command, values, sending.record, payload.emplace(sending.record.size));
            Send(sending.record, *payload, sending.target);
        }
    }
    if (command.echoFlags != qx5::NoEcho) {
        qx5::EchoMap echo;
        if (sent != nullptr) {
            qx5::TellOperands(command, values, sent->record, *payload, echo);
        } else {
            qx5::TellOperands(command, values, {}, {}, echo);
        }
        Report(echo.Tree(), command.echoFlags);
    }
    for (qx5::FollowUp const& followUp : command.followUps) {
        if (qx5::Holds(followUp.when, values)) {
            SingleRecordRequest(followUp.recordId, followUp.target.deviceId, followUp.target.enumerator);
        }
    }
}

void ControlDevice::Send(qx5::protocol::RecordLayout const& record, std::span<unsigned char const> payload,
                         qx5::Target target)
{
    switch (record.carrier) {
    case qx5::protocol::Carrier::RemoteControl:
        SendRemote(record.id, payload, target);
        break;
    case qx5::protocol::Carrier::Data:
        SendRecord(record.id, payload.data(), static_cast<std::uint32_t>(payload.size()), 0.0, target.deviceId,
                   target.enumerator);
        break;
    case qx5::protocol::Carrier::PassThrough:
        SendThrough(record.id, payload, target);
        break;
    }
}

QX5SocketIoHandler* ControlDevice::SonarPort() const
{
    return dynamic_cast<QX5SocketIoHandler*>(m_port);
}

void ControlDevice::SendRemote(std::uint32_t recordId, std::span<unsigned char const> payload, qx5::Target target)
{
    SendRemoteControlRecord(recordId, payload.empty() ? nullptr : payload.data(), payload.size(), target.deviceId,
                            target.enumerator);
}

void ControlDevice::SendThrough(std::uint32_t recordId, std::span<unsigned char const> payload, qx5::Target target)
{
    if (auto* const connection = SonarPort()) {
        connection->SendRemoteControlCommandWithPassThrough(recordId, payload.empty() ? nullptr : payload.data(),
                                                            payload.size(), static_cast<std::uint32_t>(target.deviceId),
                                                            static_cast<std::uint16_t>(target.enumerator));
    }
}

void ControlDevice::AskFor(std::span<qx5::FollowUp const> followUps)
{
    for (qx5::FollowUp const& followUp : followUps) {
        SingleRecordRequest(followUp.recordId, followUp.target.deviceId, followUp.target.enumerator);
    }
}

void ControlDevice::Report(CAttributeMap const& echo, int flags)
{
    SetAttributeMap(echo, static_cast<unsigned>(flags));
}
