// Messages to the operator: told to the observer, logged, and kept.
#pragma once

#include <vordalhostdllR/CVordalMessage.h>

#include <deque>
#include <mutex>
#include <vector>

namespace vordal {

struct Message;

/// Keeps the last thousand messages. Any thread.
class MessageService final : public CVordalMessage
{
public:
    MessageService();
    MessageService(MessageService const&) = delete;
    MessageService& operator=(MessageService const&) = delete;
    ~MessageService() override;

    void ShowMessage(CString const& text, CString const& detail, unsigned flags) override;
    std::vector<Message> All() const;

private:
    mutable std::mutex m_mutex; ///< guards what follows
    std::deque<Message> m_messages;
};

} // namespace vordal
