// Passes a value on its way to the sonar so that it does not stand there in the clear.
#pragma once

#include <VordalBaseR/Export.h>

#include <string>

/// The way of such a value into a text that can be sent.
class VORDAL_API StringObfuscator
{
public:
    /// The base64 text of the bytes (standard alphabet, padded, no line breaks). It hides from a glance, not from an
    /// attacker. Any thread.
    static std::string Obfuscate(std::string const& bytes);
};
