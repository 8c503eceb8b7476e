// A value, or the one line that says why there is none.
#pragma once

#include <optional>
#include <string>
#include <utility>

namespace qx5::acoustics {

/// Why there is no value: one line that names the quantity, what it was and what it may be.
struct Failure
{
    std::string line;
};

/// What is computed from given values: the value, or a Failure. A value type.
template <typename Value>
class Result
{
public:
    // A function returns either as it is.
    Result(Value value) : m_value(std::move(value)) {}
    Result(Failure failure) : m_failure(std::move(failure)) {}

    explicit operator bool() const { return m_value.has_value(); }
    /// Only where there is a value.
    Value const& operator*() const { return *m_value; }
    Value const* operator->() const { return &*m_value; }
    /// Empty where there is a value.
    Failure const& WhyNot() const { return m_failure; }

private:
    std::optional<Value> m_value;
    Failure m_failure;
};

} // namespace qx5::acoustics
