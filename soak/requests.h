// Requests as an operator may make them: every key of every command in turn, with sensible and with senseless values.
#pragma once

#include "random.h"

#include <VordalAttributesR/CAttributeMap.h>
#include <commands/catalogue.h>

#include <string>
#include <vector>

namespace qx5::soak {

/// One request and what is promised of it.
struct MadeRequest
{
    CAttributeMap request;
    std::string text; ///< for people: handler and keys
    /// Keys of which an echo must come, unless the request is told to be dropped or to have failed. Empty: no promise.
    std::vector<protocol::Key const*> echoed;
};

class RequestMaker
{
public:
    /// The order of the keys is drawn from `random`, which must outlive this.
    explicit RequestMaker(Random& random);

    /// The next key's with what its command needs beside it, all of the right kind and plausible.
    MadeRequest Sensible();
    /// The next key's with values of any kind and size.
    MadeRequest Senseless();
    /// How many requests it takes until every key was asked for by every command.
    std::size_t Uses() const { return m_uses.size(); }

private:
    struct Use
    {
        ChainEntry const* entry;
        Operand const* operand;
    };
    Use const& Next(std::size_t& at);

    Random& m_random;
    std::vector<Use> m_uses;
    std::size_t m_sensible = 0;
    std::size_t m_senseless = 0;
};

} // namespace qx5::soak
