// What has left for the sonar within one request, so that a request which memory ran out in can be begun again.
#pragma once

#include <array>
#include <cstddef>
#include <cstdint>

namespace vordal {

/// A send by what tells it from the others of its request.
struct SendMark
{
    enum class Kind : std::uint8_t
    {
        None,
        RemoteControl,
        RecordRequest,
        Data,
        Raw,
    };
    Kind kind = Kind::None;
    std::uint32_t record = 0;
    std::uint64_t size = 0;
    int deviceId = 0;
    int enumerator = 0;

    bool operator==(SendMark const&) const = default;
};

/// Made on the stack of the thread that carries a request out, for as long as that takes; a request within a request
/// has its own. A handler sends first and echoes afterwards: one that fails between the two has lost its echo. The
/// request is then carried out once more, in which what has left does not leave again. Takes no memory.
class RequestSends
{
public:
    RequestSends();
    RequestSends(RequestSends const&) = delete;
    RequestSends& operator=(RequestSends const&) = delete;
    ~RequestSends();

    /// From here on what has left counts as sent. False when more has left than is remembered.
    bool BeginAgain();

    /// Calls `send`, unless it has left already: then it gives true as it did then.
    template <typename Send>
    static bool Once(SendMark const& mark, Send send)
    {
        auto* const sends = Current();
        if (sends == nullptr) {
            return send();
        }
        if (sends->m_again && sends->HasLeft(mark)) {
            return true;
        }
        bool const sent = send();
        if (sent) {
            sends->Note(mark);
        }
        return sent;
    }

private:
    static constexpr std::size_t Remembered = 32;

    static RequestSends* Current();
    bool HasLeft(SendMark const& mark);
    void Note(SendMark const& mark)
    {
        if (m_count < Remembered) {
            m_marks[m_count] = mark;
        }
        ++m_count;
    }

    RequestSends* m_outer;
    std::size_t m_count = 0;
    bool m_again = false;
    /// Unset beyond `m_count`.
    union {
        std::array<SendMark, Remembered> m_marks;
    };
};

} // namespace vordal
