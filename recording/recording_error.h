// Why a recording cannot be written or read.
#pragma once

#include <stdexcept>

namespace qx5::recording {

/// One line that names the file and says what is wrong.
class RecordingError : public std::runtime_error
{
public:
    using std::runtime_error::runtime_error;
};

} // namespace qx5::recording
