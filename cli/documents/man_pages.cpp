// Manual pages: what each command takes from its own options, what it is for from the manual.
#include "cli/documents/man_pages.h"

#include <algorithm>
#include <cctype>
#include <stdexcept>

#include <fmt/format.h>

namespace qx5::cli {

namespace {

std::vector<std::string> LinesOf(std::string_view text)
{
    std::vector<std::string> lines;
    while (!text.empty()) {
        auto const end = text.find('\n');
        lines.emplace_back(text.substr(0, end));
        text.remove_prefix(end == std::string_view::npos ? text.size() : end + 1);
    }
    return lines;
}

std::string TrimmedCell(std::string_view text)
{
    auto const first = text.find_first_not_of(" \t");
    auto const last = text.find_last_not_of(" \t");
    return first == std::string_view::npos ? std::string() : std::string(text.substr(first, last - first + 1));
}

/// A character as it is to be read. In what people type a minus is no hyphen.
void AppendCharacter(std::string& roff, char c, bool isTyped)
{
    switch (c) {
    case '\\':
        roff += "\\e";
        break;
    case '-':
        roff += isTyped ? "\\-" : "-";
        break;
    case '\'':
        roff += isTyped ? "\\(aq" : "'";
        break;
    case '`':
        roff += "\\(ga";
        break;
    case '^':
        roff += "\\(ha";
        break;
    case '~':
        roff += "\\(ti";
        break;
    default:
        roff += c;
    }
}

std::string Typed(std::string_view text)
{
    std::string roff;
    for (char const c : text) {
        AppendCharacter(roff, c, true);
    }
    return roff;
}

std::string Bold(std::string_view text)
{
    return "\\fB" + Typed(text) + "\\fR";
}

std::string Italic(std::string_view text)
{
    return "\\fI" + Typed(text) + "\\fR";
}

/// A line that begins with what would be a command to the formatter does not.
std::string Guarded(std::string line)
{
    return line.starts_with('.') || line.starts_with('\'') ? "\\&" + line : line;
}

/// Text within a paragraph: `code`, *words*, [links](to) and ![pictures](of).
std::string Inline(std::string_view text)
{
    std::string roff;
    for (std::size_t at = 0; at < text.size(); ++at) {
        char const c = text[at];
        auto const close = c == '`' || c == '*' ? text.find(c, at + 1) : std::string_view::npos;
        if (c == '`' && close != std::string_view::npos) {
            roff += Bold(text.substr(at + 1, close - at - 1));
            at = close;
        } else if (c == '*' && close != std::string_view::npos && close > at + 1 && text[at + 1] != ' ') {
            roff += "\\fI" + Inline(text.substr(at + 1, close - at - 1)) + "\\fR";
            at = close;
        } else if (c == '[' || (c == '!' && at + 1 < text.size() && text[at + 1] == '[')) {
            auto const middle = text.find("](", at);
            auto const end = middle != std::string_view::npos ? text.find(')', middle) : std::string_view::npos;
            if (end == std::string_view::npos) {
                AppendCharacter(roff, c, false);
                continue;
            }
            if (c == '[') {
                roff += Inline(text.substr(at + 1, middle - at - 1));
            }
            at = end;
        } else {
            AppendCharacter(roff, c, false);
        }
    }
    return roff;
}

/// The cells of a table's row. A | within code stands in a cell.
std::vector<std::string> CellsOf(std::string_view line)
{
    std::vector<std::string> cells;
    std::string cell;
    bool isCode = false;
    for (char const c : line.substr(1)) {
        isCode = isCode != (c == '`');
        if (c == '|' && !isCode) {
            cells.push_back(TrimmedCell(cell));
            cell.clear();
        } else {
            cell += c;
        }
    }
    return cells;
}

bool IsNumbered(std::string_view line)
{
    auto const dot = line.find(". ");
    return dot != 0 && dot != std::string_view::npos &&
           std::all_of(line.begin(), line.begin() + static_cast<std::ptrdiff_t>(dot),
                       [](unsigned char c) { return std::isdigit(c) != 0; });
}

/// Puts Markdown into roff, block by block.
class Page
{
public:
    explicit Page(std::string_view markdown) : m_lines(LinesOf(markdown)) {}

    std::string Text()
    {
        while (m_at < m_lines.size()) {
            std::string const& line = m_lines[m_at];
            if (TrimmedCell(line).empty() || line.starts_with("<!--")) {
                ++m_at;
            } else if (line.starts_with("#")) {
                m_roff += ".SS " + Inline(TrimmedCell(line.substr(line.find_first_not_of('#')))) + "\n";
                ++m_at;
            } else if (line.starts_with("```")) {
                ++m_at;
                Code([](std::string const& each) { return each.starts_with("```"); }, 0);
                ++m_at;
            } else if (line.starts_with("    ")) {
                Code([](std::string const& each) { return !each.starts_with("    ") && !TrimmedCell(each).empty(); },
                     4);
            } else if (line.starts_with("|")) {
                Table();
            } else if (line.starts_with("- ")) {
                Item(".IP \\(bu 2", 2);
            } else if (IsNumbered(line)) {
                auto const dot = line.find(". ");
                Item(".IP " + line.substr(0, dot + 1) + " 4", dot + 2);
            } else {
                std::string const text = Paragraph(0);
                if (!text.empty()) {
                    m_roff += ".PP\n" + text;
                }
            }
        }
        return std::move(m_roff);
    }

private:
    template <typename Ends>
    void Code(Ends const& ends, std::size_t indent)
    {
        std::string code;
        std::string blank;
        for (; m_at < m_lines.size() && !ends(m_lines[m_at]); ++m_at) {
            std::string const& line = m_lines[m_at];
            if (TrimmedCell(line).empty()) {
                blank += "\n";
            } else {
                code += std::exchange(blank, {}) + Guarded(Typed(line.substr(indent))) + "\n";
            }
        }
        m_roff += ".PP\n.RS 4\n.nf\n" + code + ".fi\n.RE\n";
    }

    void Table()
    {
        auto const headings = CellsOf(m_lines[m_at]);
        for (m_at += 2; m_at < m_lines.size() && m_lines[m_at].starts_with("|"); ++m_at) {
            auto const cells = CellsOf(m_lines[m_at]);
            std::string const first = cells.empty() ? std::string() : Inline(cells.front());
            if (first.empty()) {
                continue; // a row of pictures
            }
            m_roff += ".TP\n" + Guarded(first) + "\n";
            for (std::size_t i = 1; i < cells.size(); ++i) {
                std::string const text = Inline(cells[i]);
                bool const isNamed = cells.size() > 2 && i < headings.size() && !headings[i].empty();
                if (!text.empty()) {
                    m_roff += Guarded((isNamed ? Inline(headings[i]) + ": " : "") + text) + "\n";
                    m_roff += i + 1 < cells.size() ? ".br\n" : "";
                }
            }
        }
    }

    void Item(std::string const& begin, std::size_t indent)
    {
        m_lines[m_at] = m_lines[m_at].substr(indent);
        m_roff += begin + "\n" + Paragraph(indent);
    }

    /// Up to a blank line, or to what begins another block.
    std::string Paragraph(std::size_t indent)
    {
        std::string text;
        for (bool isFirst = true; m_at < m_lines.size(); ++m_at, isFirst = false) {
            std::string const line = TrimmedCell(m_lines[m_at]);
            bool const isAnother =
                line.empty() || line.starts_with("|") || line.starts_with("```") || line.starts_with("#") ||
                (m_lines[m_at].find_first_not_of(' ') < indent + 1 && (line.starts_with("- ") || IsNumbered(line)));
            if (isAnother && !isFirst) {
                break;
            }
            text += (text.empty() ? "" : " ") + line;
        }
        // Of the whole, as what is emphasised may go on in the next line; then in lines of a length to be looked at.
        std::string const whole = TrimmedCell(Inline(text));
        return whole.empty() ? std::string() : Guarded(whole) + "\n";
    }

    std::vector<std::string> m_lines;
    std::size_t m_at = 0;
    std::string m_roff;
};

/// A chapter of the manual without its heading, of a page what stands before its first chapter; throws when there is
/// none of that name.
std::string Chapter(std::string_view manual, std::string const& name)
{
    std::string text;
    std::size_t level = 0;
    bool isCode = false;
    for (std::string const& line : LinesOf(manual)) {
        isCode = isCode != line.starts_with("```");
        auto const marks = line.starts_with("#") && !isCode ? line.find_first_not_of('#') : 0;
        if (level != 0 && marks != 0 && (marks <= level || level == 1)) {
            return text;
        }
        if (level != 0) {
            text += line + "\n";
        } else if (marks != 0 && TrimmedCell(line.substr(marks)) == name) {
            level = marks;
        }
    }
    if (level == 0) {
        throw std::runtime_error(
            fmt::format("the manual has no chapter \"{}\", which its table of commands names", name));
    }
    return text;
}

/// What the table of commands, in the page `about` them, says of one.
std::string RowOf(std::string_view about, std::string const& command)
{
    for (std::string const& line : LinesOf(about)) {
        if (line.starts_with("| `" + command + "`") || line.starts_with("| `" + command + " ")) {
            auto const cells = CellsOf(line);
            if (cells.size() == 2 && !cells[1].empty()) {
                return cells[1];
            }
        }
    }
    throw std::runtime_error(fmt::format("the manual's table of commands has no row for `{}`", command));
}

/// The chapters that a text names as "(see [Presets](presets.md))" or "(see [One](#one), [Another](b.md#another))",
/// each once.
std::vector<std::string> ChaptersNamedIn(std::string const& text)
{
    constexpr std::string_view see = "(see [";
    std::vector<std::string> chapters;
    for (auto at = text.find(see); at != std::string::npos; at = text.find(see, at + 1)) {
        auto name = at + see.size();
        for (bool isAnother = true; isAnother;) {
            auto const close = text.find("](", name);
            auto const end = text.find(')', close);
            if (end == std::string::npos) {
                return chapters;
            }
            auto chapter = text.substr(name, close - name);
            if (std::find(chapters.begin(), chapters.end(), chapter) == chapters.end()) {
                chapters.push_back(std::move(chapter));
            }
            isAnother = text.compare(end, 4, "), [") == 0;
            name = end + 4;
        }
    }
    return chapters;
}

std::string NameOf(OptionText const& option)
{
    std::string name;
    for (std::string const& each : option.names) {
        name += (name.empty() ? "" : ", ") + Bold(each);
    }
    return option.value.empty() ? name : name + " " + Italic(option.value);
}

std::string Sentence(OptionText const& option)
{
    std::string text = Guarded(Inline(option.text));
    if (!option.preset.empty()) {
        text += " (default: " + Typed(option.preset) + ")";
    }
    return text + ".\n";
}

std::string Synopsis(CommandText const& command)
{
    std::string text = Bold(command.name);
    if (!command.commands.empty()) {
        return text + " " + Italic("COMMAND") + " ...";
    }
    if (!command.options.empty()) {
        text += " [" + Italic("OPTION") + "]...";
    }
    for (OptionText const& argument : command.arguments) {
        std::string const name = Italic(argument.value) + (argument.isRepeated ? "..." : "");
        text += argument.isRequired ? " " + name : " [" + name + "]";
    }
    return text;
}

std::string Options(CommandText const& command)
{
    std::string text;
    for (OptionText const& argument : command.arguments) {
        text += ".TP\n" + Italic(argument.value) + "\n" + Sentence(argument);
    }
    for (OptionText const& option : command.options) {
        text += ".TP\n" + NameOf(option) + "\n" + Sentence(option);
    }
    return text;
}

/// What the manual's table says of a command, as a sentence.
std::string Purpose(std::string text)
{
    text.front() = static_cast<char>(std::toupper(static_cast<unsigned char>(text.front())));
    return Guarded(Inline(text)) + ".\n";
}

std::string FileOf(std::string name)
{
    std::replace(name.begin(), name.end(), ' ', '-');
    return name;
}

std::string Head(std::string const& name, std::string_view version)
{
    std::string upper = FileOf(name);
    std::transform(upper.begin(), upper.end(), upper.begin(), [](unsigned char c) { return std::toupper(c); });
    return fmt::format(".\\\" Written by `qx5 docs --man` from the command's options and the manual.\n"
                       ".TH {} 1 \"\" \"qx5 {}\" \"qx5 manual\"\n"
                       ".ad l\n",
                       Typed(upper), Typed(version));
}

std::string PageOf(CommandText const& command, std::string_view manual, std::string const& row,
                   std::string_view version, std::string const& exits)
{
    std::string text = Head(command.name, version);
    text += fmt::format(".SH NAME\n{} \\- {}\n", Typed(FileOf(command.name)), Inline(command.text));
    text += ".SH SYNOPSIS\n" + Synopsis(command) + "\n";
    text += ".SH DESCRIPTION\n" + Purpose(row);
    if (!command.arguments.empty() || !command.options.empty()) {
        text += ".SH OPTIONS\n" + Options(command);
    }
    if (!command.commands.empty()) {
        text += ".SH COMMANDS\n";
        for (CommandText const& each : command.commands) {
            text += ".SS " + Synopsis(each) + "\n" + Guarded(Inline(each.text)) + ".\n" + Options(each);
        }
    }
    for (std::string const& chapter : ChaptersNamedIn(row)) {
        std::string upper = chapter;
        std::transform(upper.begin(), upper.end(), upper.begin(), [](unsigned char c) { return std::toupper(c); });
        text += ".SH " + Inline(upper) + "\n" + RoffOf(Chapter(manual, chapter));
    }
    text += ".SH EXIT STATUS\n" + exits;
    return text + ".SH SEE ALSO\n.BR qx5 (1)\n";
}

} // namespace

std::string RoffOf(std::string_view markdown)
{
    return Page(markdown).Text();
}

std::vector<std::pair<std::string, std::string>> ManPages(CommandText const& program, std::string_view manual,
                                                          std::string_view version)
{
    std::string const about = Chapter(manual, "The command");
    std::string const exits = RoffOf(about.substr(0, about.find("| command")));
    std::vector<std::pair<std::string, std::string>> pages;
    std::string text = Head(program.name, version);
    text += fmt::format(".SH NAME\n{} \\- operate x5 sonars\n.SH SYNOPSIS\n{}\n.SH DESCRIPTION\n{}\n",
                        Typed(program.name), Synopsis(program), Guarded(Inline(program.text)));
    text += ".SH COMMANDS\n";
    std::string others;
    for (CommandText const& command : program.commands) {
        std::string const row = RowOf(about, command.name);
        text += ".TP\n" + Bold(command.name) + "\n" + Purpose(row);
        others += fmt::format("{}.BR {} (1)", others.empty() ? "" : ",\n", Typed(FileOf(command.name)));
        pages.emplace_back(FileOf(command.name) + ".1", PageOf(command, manual, row, version, exits));
    }
    text += ".SH OPTIONS\n" + Options(program) + ".SH EXIT STATUS\n" + exits + ".SH SEE ALSO\n" + others + "\n";
    pages.emplace_back(FileOf(program.name) + ".1", std::move(text));
    return pages;
}

} // namespace qx5::cli
