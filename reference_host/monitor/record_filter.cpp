// Which records a line of words lets through.
#include "record_filter.h"

#include "reference_host/platform/lower_case.h"

#include <protocol/utf8.h>

#include <algorithm>
#include <optional>

namespace vordal {

namespace {

std::wstring Folded(std::string_view text)
{
    auto wide = qx5::protocol::DecodeUtf8(text);
    platform::MakeLowerCase(wide);
    return wide;
}

} // namespace

RecordFilter::RecordFilter(std::string_view text, Way way) : m_way(way)
{
    for (std::size_t begin = 0; begin < text.size();) {
        auto const end = std::min(text.find(' ', begin), text.size());
        auto const word = text.substr(begin, end - begin);
        begin = end + 1;
        if (word.empty() || word == "-") {
            continue; // a '-' alone is being typed, and leaves nothing out yet
        }
        if (word.front() == '-') {
            m_unwanted.push_back(Folded(word.substr(1)));
        } else {
            m_words.push_back(Folded(word));
        }
    }
}

bool RecordFilter::Passes(MonitoredRecord const& record) const
{
    if (m_way != Way::Both && (m_way == Way::Out) != record.Frame().outgoing) {
        return false;
    }
    return HasWords(std::to_string(record.Number()), record.Frame().link + ' ' + record.Name(),
                    // The line in the list is cut where it gets long.
                    [&] { return record.Summary() + '\n' + record.Text(); });
}

bool RecordFilter::Passes(std::string_view heading, std::function<std::string()> const& rest) const
{
    return m_way == Way::Both && HasWords({}, heading, rest);
}

bool RecordFilter::HasWords(std::string_view number, std::string_view heading,
                            std::function<std::string()> const& rest) const
{
    if (m_words.empty() && m_unwanted.empty()) {
        return true;
    }
    auto const wideNumber = Folded(number);
    auto const wideHeading = Folded(heading);
    std::optional<std::wstring> wideRest;
    auto const has = [&](std::wstring const& word) {
        if (wideNumber == word || wideHeading.find(word) != std::wstring::npos) {
            return true;
        }
        if (!wideRest) {
            wideRest = Folded(rest());
        }
        return wideRest->find(word) != std::wstring::npos;
    };
    return std::all_of(m_words.begin(), m_words.end(), has) && std::none_of(m_unwanted.begin(), m_unwanted.end(), has);
}

} // namespace vordal
