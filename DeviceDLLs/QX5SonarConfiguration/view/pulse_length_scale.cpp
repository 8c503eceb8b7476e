// The pulse length as its slider shows it.
#include "pulse_length_scale.h"

#include "page_controls.h"
#include "value_text.h"

#include <cmath>

namespace qx5 {

using protocol::TruncateToInt32;

namespace {

/// Power of ten as an integer, 0 below 1; saturates.
int PowerOfTen(double exponent)
{
    return TruncateToInt32(std::pow(10.0, exponent));
}

} // namespace

void PulseLengthScale::Set(float seconds, double least, double greatest)
{
    m_seconds = seconds;
    m_logLeast = std::log10(least);
    m_logGreatest = std::log10(greatest);
    m_microseconds = FloorToInt(seconds * 1e6 + 0.5);
}

void PulseLengthScale::Move(ScrollKind kind, int position, double least, double greatest)
{
    int length = After(kind, position, least, greatest);
    if (kind != ScrollKind::EndOfScrolling) {
        // Down to two digits.
        if (int const unit = PowerOfTen(std::floor(std::log10(static_cast<double>(length))) - 1.0); unit > 0) {
            length = length / unit * unit;
        }
        if (length / 1e6 > greatest) {
            length = TruncateToInt32(greatest * 1e6);
        } else if (length / 1e6 < least) {
            length = TruncateToInt32(least * 1e6);
        }
    }
    m_microseconds = length;
    m_seconds = static_cast<float>(length) / 1e6F;
}

int PulseLengthScale::Position() const
{
    double const value = m_seconds;
    return TruncateToInt32(Steps * (std::log10(value) - m_logLeast) / (m_logGreatest - m_logLeast));
}

double PulseLengthScale::MicrosecondsAt(int position) const
{
    double const part = static_cast<double>(position) / Steps;
    double const length = std::pow(10.0, part * (m_logGreatest - m_logLeast) + m_logLeast) * 1e6;
    return std::isfinite(length) ? length : 0.0;
}

QString PulseLengthScale::Text() const
{
    return m_microseconds >= 1000 ? FixedText(m_microseconds / 1000.0, 2) + QStringLiteral(" ms")
                                  : QString::number(m_microseconds) + QStringLiteral(" \u00B5s");
}

int PulseLengthScale::After(ScrollKind kind, int position, double least, double greatest) const
{
    int const now = m_microseconds;
    // A tenth of the decade that the length lies in.
    long long const step = PowerOfTen(std::floor(std::log10(static_cast<double>(now)))) / 10;
    auto const moved = [now](long long by) { return TruncateToInt32(static_cast<double>(now + by)); };
    switch (kind) {
    case ScrollKind::LineLeft:
        return moved(-step);
    case ScrollKind::LineRight:
        return moved(step);
    case ScrollKind::PageLeft:
        return moved(-5 * step);
    case ScrollKind::PageRight:
        return moved(5 * step);
    case ScrollKind::ThumbMoving: {
        float const part = static_cast<float>(position) / static_cast<float>(Steps);
        return TruncateToInt32(std::pow(10.0, part * (m_logGreatest - m_logLeast) + m_logLeast) * 1e6);
    }
    case ScrollKind::ToLeftEnd:
        return TruncateToInt32(least * 1e6);
    case ScrollKind::ToRightEnd:
        return TruncateToInt32(greatest * 1e6);
    case ScrollKind::ThumbReleased:
    case ScrollKind::EndOfScrolling:
        break;
    }
    return now;
}

} // namespace qx5
