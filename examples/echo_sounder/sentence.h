// Sentences as the sounder speaks them: `$SDDBT,,f,12.3,M,,F*hh`, a line each, with a checksum.
#pragma once

#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace sounder {

/// `$BODY*hh` and the end of the line.
std::string MakeSentence(std::string_view body);

/// The fields of a line, the talker's first ("SDDBT"); nothing when it is no sentence or its checksum is wrong.
std::optional<std::vector<std::string>> ParseSentence(std::string_view line);

/// A number with a point, whatever the locale; nothing when the field is empty or something else.
std::optional<double> NumberOf(std::string_view field);
std::string TextOf(double number);

} // namespace sounder
