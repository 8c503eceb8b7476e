// What has left for the sonar within one request, so that a request which memory ran out in can be begun again.
#include "reference_host/common/request_sends.h"

#include <algorithm>
#include <type_traits>

namespace vordal {
namespace {

static_assert(std::is_trivially_destructible_v<SendMark> && std::is_trivially_copyable_v<SendMark>);

thread_local RequestSends* current = nullptr;

} // namespace

RequestSends::RequestSends() : m_outer(current)
{
    current = this;
}

RequestSends::~RequestSends()
{
    current = m_outer;
}

RequestSends* RequestSends::Current()
{
    return current;
}

bool RequestSends::BeginAgain()
{
    m_again = true;
    return m_count <= Remembered;
}

bool RequestSends::HasLeft(SendMark const& mark)
{
    auto const end = m_marks.begin() + static_cast<std::ptrdiff_t>(std::min(m_count, Remembered));
    auto const found = std::find(m_marks.begin(), end, mark);
    if (found == end) {
        return false;
    }
    // Each stands for one send: a second one like it is another.
    *found = {};
    return true;
}

} // namespace vordal
