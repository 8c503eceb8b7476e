// Who asks a device for something, as each thread says it.
#include "reference_host/common/request_origin.h"

#include <utility>

namespace vordal {
namespace {

thread_local RequestOrigin innermost = RequestOrigin::Program;

} // namespace

std::string_view ToText(RequestOrigin origin)
{
    switch (origin) {
    case RequestOrigin::Program:
        return "program";
    case RequestOrigin::View:
        return "view";
    case RequestOrigin::Terminal:
        return "terminal";
    case RequestOrigin::Preset:
        return "preset";
    case RequestOrigin::Undo:
        return "undo";
    case RequestOrigin::CommandLine:
        return "command line";
    case RequestOrigin::OtherHost:
        return "another host";
    }
    return "";
}

RequestOrigin CurrentOrigin()
{
    return innermost;
}

void SetThreadOrigin(RequestOrigin origin)
{
    innermost = origin;
}

OriginScope::OriginScope(RequestOrigin origin) : m_outer(std::exchange(innermost, origin)) {}

OriginScope::~OriginScope()
{
    innermost = m_outer;
}

} // namespace vordal
