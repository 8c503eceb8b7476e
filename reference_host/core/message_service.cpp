// Messages to the operator: told to the observer, logged, and kept.
#include "reference_host/core/message_service.h"

#include "reference_host/common/host_observer.h"
#include "reference_host/common/log.h"
#include "reference_host/core/host_state.h"

#include <tvcoreR/Utf8.h>
#include <vordalhostdllR/CVordalBaseApp.h>

#include <string>

namespace vordal {
namespace {

constexpr std::size_t keptMessages = 1000;

LogLevel LevelOf(unsigned flags)
{
    if ((flags & CVordalMessage::Error) != 0) {
        return LogLevel::Error;
    }
    return (flags & CVordalMessage::Warning) != 0 ? LogLevel::Warning : LogLevel::Info;
}

} // namespace

MessageService::MessageService() = default;
MessageService::~MessageService() = default;

void MessageService::ShowMessage(CString const& text, CString const& detail, unsigned flags)
{
    auto* const host = Host::CurrentOrNull();
    auto* const observer = CurrentObserver();
    if (observer != nullptr) {
        observer->OnMessage(text);
    } else {
        Log(LevelOf(flags), tvcore::ToUtf8(text) + (detail.IsEmpty() ? "" : " (" + tvcore::ToUtf8(detail) + ")"));
    }
    std::lock_guard const lock(m_mutex);
    m_messages.push_back({host != nullptr ? host->Now() : 0.0, text, detail, flags});
    if (m_messages.size() > keptMessages) {
        m_messages.pop_front();
    }
}

std::vector<Message> MessageService::All() const
{
    std::lock_guard const lock(m_mutex);
    return {m_messages.begin(), m_messages.end()};
}

} // namespace vordal

CVordalMessage::~CVordalMessage() = default;

CVordalMessage& CVordalBaseApp::GetVordalMessage()
{
    // What speaks without a host is logged.
    static vordal::MessageService none;
    auto* const host = vordal::CurrentState();
    return host != nullptr ? host->messages : none;
}
