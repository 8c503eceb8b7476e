// Bytes that a caller gives away while it calls through interfaces that only lend bytes.
#include "reference_host/common/given_bytes.h"

namespace vordal {
namespace {

thread_local GivenBytes* innermost = nullptr;

} // namespace

GivenBytes::GivenBytes(std::string& bytes) : m_bytes(bytes), m_outer(innermost)
{
    innermost = this;
}

GivenBytes::~GivenBytes()
{
    innermost = m_outer;
}

std::string* GivenBytes::Find(std::string_view bytes)
{
    bool const isGiven =
        innermost != nullptr && innermost->m_bytes.data() == bytes.data() && innermost->m_bytes.size() == bytes.size();
    return isGiven ? &innermost->m_bytes : nullptr;
}

} // namespace vordal
