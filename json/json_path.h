// Where in a JSON document a value stands, for messages.
#pragma once

#include <cstddef>
#include <stdexcept>
#include <string>
#include <string_view>

namespace qx5 {

/// A step on the way from the document's root to a value. Paths are made on the stack while a document is walked; each
/// refers to its parent and to its key, which must outlive it. Written as `$[1].steps[0].request[2]`.
class JsonPath
{
public:
    /// The root.
    JsonPath() = default;
    JsonPath(JsonPath const& parent, std::string_view key) : m_parent(&parent), m_key(key) {}
    JsonPath(JsonPath const& parent, std::size_t index) : m_parent(&parent), m_index(index), m_isIndex(true) {}

    std::string ToText() const;
    /// Appends one step, as ToText writes it: a key or an index.
    static void AppendKey(std::string& text, std::string_view key);
    static void AppendIndex(std::string& text, std::size_t index);

private:
    void AppendTo(std::string& text) const;

    JsonPath const* m_parent = nullptr;
    std::string_view m_key;
    std::size_t m_index = 0;
    bool m_isIndex = false;
};

/// A document, or one scenario of it, that cannot be used: where and why, each without line breaks.
class InvalidDocument : public std::runtime_error
{
public:
    InvalidDocument(std::string path, std::string const& reason) : std::runtime_error(reason), m_path(std::move(path))
    {
    }
    InvalidDocument(JsonPath const& path, std::string const& reason) : InvalidDocument(path.ToText(), reason) {}

    std::string const& Path() const { return m_path; }

private:
    std::string m_path;
};

} // namespace qx5
