// Who asks a device for something, as each thread says it.
#include "reference_host/common/request_origin.h"

#include <utility>

namespace vordal {
namespace {

thread_local RequestOrigin currentOrigin = RequestOrigin::Program;

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
    case RequestOrigin::Shell:
        return "shell";
    case RequestOrigin::OtherHost:
        return "another host";
    }
    return "";
}

RequestOrigin CurrentOrigin()
{
    return currentOrigin;
}

void SetThreadOrigin(RequestOrigin origin)
{
    currentOrigin = origin;
}

OriginScope::OriginScope(RequestOrigin origin) : m_outer(std::exchange(currentOrigin, origin)) {}

OriginScope::~OriginScope()
{
    currentOrigin = m_outer;
}

} // namespace vordal
