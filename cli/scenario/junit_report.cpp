// The XML of a report.
#include "cli/scenario/junit_report.h"
#include "reference_host/common/path_text.h"

#include <protocol/utf8.h>

#include <algorithm>
#include <array>
#include <cerrno>
#include <charconv>
#include <cstring>
#include <fstream>

namespace qx5::cli {

namespace {

bool IsOfXml(char32_t c)
{
    bool const isControl = c < 0x20 && c != '\t' && c != '\n' && c != '\r';
    return !isControl && c != 0xFFFE && c != 0xFFFF;
}

/// As it stands in an attribute or between tags.
std::string Escaped(std::string_view text)
{
    auto const wide = protocol::DecodeUtf8(text);
    std::string escaped;
    for (std::size_t at = 0; at < wide.size();) {
        auto const c = protocol::NextCodePoint(wide, at);
        switch (c) {
        case '<':
            escaped += "&lt;";
            break;
        case '>':
            escaped += "&gt;";
            break;
        case '&':
            escaped += "&amp;";
            break;
        case '"':
            escaped += "&quot;";
            break;
        case '\n': // as it is, an attribute would have a blank in its place
            escaped += "&#10;";
            break;
        case '\t':
            escaped += "&#9;";
            break;
        case '\r':
            escaped += "&#13;";
            break;
        default:
            protocol::AppendUtf8(escaped, IsOfXml(c) ? c : U'\uFFFD');
        }
    }
    return escaped;
}

/// With a point, whatever the locale.
std::string Seconds(double seconds)
{
    std::array<char, 64> text;
    auto const end = std::to_chars(text.data(), text.data() + text.size(), seconds, std::chars_format::fixed, 6);
    return {text.data(), end.ptr};
}

std::string Attribute(std::string_view name, std::string_view value)
{
    std::string text = " ";
    return ((text += name) += "=\"") += Escaped(value) + "\"";
}

std::string FirstLine(std::string_view text)
{
    return std::string(text.substr(0, text.find('\n')));
}

/// How many, of which so many failed and could not be used, and how long they took.
struct Totals
{
    std::size_t tests = 0;
    std::size_t failures = 0;
    std::size_t errors = 0;
    double seconds = 0.0;

    std::string Attributes() const
    {
        return Attribute("tests", std::to_string(tests)) + Attribute("failures", std::to_string(failures)) +
               Attribute("errors", std::to_string(errors)) + Attribute("time", Seconds(seconds));
    }
};

std::string Reason(std::string_view kind, std::string_view text)
{
    std::string const name(kind);
    return text.empty()
               ? ""
               : "      <" + name + Attribute("message", FirstLine(text)) + ">" + Escaped(text) + "</" + name + ">\n";
}

} // namespace

void JunitReport::BeginFile(std::string_view file)
{
    m_suites.push_back({std::string(file), {}});
}

void JunitReport::AddScenario(std::string_view name, std::chrono::duration<double> took, std::string_view differences)
{
    m_suites.back().cases.push_back({std::string(name), took.count(), std::string(differences), {}});
}

void JunitReport::AddError(std::string_view place, std::string_view reason)
{
    m_suites.back().cases.push_back({std::string(place), 0.0, {}, std::string(reason)});
}

std::string JunitReport::Text() const
{
    Totals all;
    std::string suites;
    for (Suite const& suite : m_suites) {
        Totals totals;
        std::string cases;
        for (Case const& one : suite.cases) {
            ++totals.tests;
            totals.failures += one.failure.empty() ? 0U : 1U;
            totals.errors += one.error.empty() ? 0U : 1U;
            totals.seconds += one.seconds;
            auto const head = "    <testcase" + Attribute("classname", suite.file) + Attribute("name", one.name) +
                              Attribute("time", Seconds(one.seconds));
            auto const reasons = Reason("failure", one.failure) + Reason("error", one.error);
            cases += reasons.empty() ? head + "/>\n" : head + ">\n" + reasons + "    </testcase>\n";
        }
        all.tests += totals.tests;
        all.failures += totals.failures;
        all.errors += totals.errors;
        all.seconds += totals.seconds;
        suites +=
            "  <testsuite" + Attribute("name", suite.file) + totals.Attributes() + ">\n" + cases + "  </testsuite>\n";
    }
    return "<?xml version=\"1.0\" encoding=\"UTF-8\"?>\n<testsuites" + all.Attributes() + ">\n" + suites +
           "</testsuites>\n";
}

bool JunitReport::Write(std::string const& file, std::string& problem) const
{
    errno = 0;
    std::ofstream stream(vordal::PathOf(file), std::ios::binary);
    stream << Text();
    stream.close();
    if (!stream) {
        problem = errno != 0 ? std::strerror(errno) : "writing failed";
    }
    return static_cast<bool>(stream);
}

} // namespace qx5::cli
