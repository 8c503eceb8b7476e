// Who asks a device for something, as each thread says it.
#include "reference_host/common/request_origin.h"

#include <utility>

namespace vordal {
namespace {

thread_local RequestOrigin currentOrigin = RequestOrigin::Program;
thread_local std::string const* currentPerson = nullptr; // of a scope; none: nobody in particular

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
    case RequestOrigin::Ashore:
        return "ashore";
    case RequestOrigin::OtherHost:
        return "another host";
    }
    return "";
}

RequestOrigin CurrentOrigin()
{
    return currentOrigin;
}

std::string const& CurrentPerson()
{
    static std::string const nobody;
    return currentPerson != nullptr ? *currentPerson : nobody;
}

void SetThreadOrigin(RequestOrigin origin)
{
    currentOrigin = origin;
}

OriginScope::OriginScope(RequestOrigin origin)
    : m_outer(std::exchange(currentOrigin, origin)), m_outerPerson(currentPerson)
{
}

OriginScope::OriginScope(RequestOrigin origin, std::string person)
    : m_outer(std::exchange(currentOrigin, origin)), m_person(std::move(person)),
      m_outerPerson(std::exchange(currentPerson, &m_person))
{
}

OriginScope::~OriginScope()
{
    currentOrigin = m_outer;
    currentPerson = m_outerPerson;
}

} // namespace vordal
