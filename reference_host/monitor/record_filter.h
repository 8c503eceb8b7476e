// Which records a line of words lets through.
#pragma once

#include "monitored_record.h"

#include <functional>
#include <string>
#include <string_view>
#include <vector>

namespace vordal {

/// Words with blanks between them: all of them have to be there, whatever the case, and none of those that a '-' stands
/// before. A value type.
class RecordFilter
{
public:
    enum class Way
    {
        Both,
        Out,
        In
    };

    RecordFilter() = default;
    /// `text` is UTF-8.
    explicit RecordFilter(std::string_view text, Way way = Way::Both);

    /// Looks for the words in sonar, name, fields and any line of the record in full; a word of digits alone that is
    /// the record's number means that, too.
    bool Passes(MonitoredRecord const& record) const;
    /// The same of what is no record and so has no number and no way: it passes where both ways do. `rest` is asked for
    /// when the heading alone does not tell.
    bool Passes(std::string_view heading, std::function<std::string()> const& rest) const;

    bool operator==(RecordFilter const&) const = default;

private:
    bool HasWords(std::string_view number, std::string_view heading, std::function<std::string()> const& rest) const;

    // In lower case.
    std::vector<std::wstring> m_words;
    std::vector<std::wstring> m_unwanted;
    Way m_way = Way::Both;
};

} // namespace vordal
