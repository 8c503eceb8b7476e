// Where the host's time comes from: the system, or a clock that stands still.
#pragma once

#include <VordalBaseR/Export.h>

#include <atomic>

namespace vordal {

/// Seconds since 1970-01-01 UTC, with fractions. Any thread.
class VORDAL_API Clock
{
public:
    virtual ~Clock();
    virtual double Now() const = 0;
};

class VORDAL_API SystemClock final : public Clock
{
public:
    double Now() const override;
};

/// Stands still until it is set.
class VORDAL_API FixedClock final : public Clock
{
public:
    explicit FixedClock(double seconds) : m_seconds(seconds) {}

    double Now() const override { return m_seconds.load(std::memory_order_relaxed); }
    void Set(double seconds) { m_seconds.store(seconds, std::memory_order_relaxed); }

private:
    std::atomic<double> m_seconds;
};

} // namespace vordal
