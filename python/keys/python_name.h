// What a key is called in Python.
#pragma once

#include <protocol/record_layout.h>

#include <string>

namespace qx5::python {

/// By one rule: without the leading x5 unless a digit follows, words in lower case with _ between them: x5Range is
/// range, x5BeamSteer beam_steer, x5AGSearchMin ag_search_min; what is a word of the language or what qx5.Sonar has
/// otherwise gets a _ at its end.
std::string PythonName(protocol::Key const& key);

} // namespace qx5::python
