// Bytes that a caller gives away while it calls through interfaces that only lend bytes.
#pragma once

#include <VordalBaseR/Export.h>

#include <string>
#include <string_view>

namespace vordal {

/// Made around a call that lends `bytes` as they stand. Whoever is called on this thread finds that they are given away
/// and may take them. The innermost counts.
class VORDAL_API GivenBytes
{
public:
    explicit GivenBytes(std::string& bytes);
    GivenBytes(GivenBytes const&) = delete;
    GivenBytes& operator=(GivenBytes const&) = delete;
    ~GivenBytes();

    /// What owns exactly these bytes and may be emptied; null when they are only lent.
    static std::string* Find(std::string_view bytes);

private:
    std::string& m_bytes;
    GivenBytes* const m_outer;
};

} // namespace vordal
