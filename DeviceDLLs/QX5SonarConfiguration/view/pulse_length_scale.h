// The pulse length as its slider shows it.
#pragma once

#include "ScrollSlider.h"

#include <QString>

namespace qx5 {

/// A pulse length on a logarithmic scale, in microseconds as an operator moves it. A plain value without a widget;
/// limits are in seconds.
class PulseLengthScale
{
public:
    /// Positions run from 0 to this.
    static constexpr int Steps = 30000;

    /// s; -1.0 while none was told.
    float Seconds() const { return m_seconds; }
    bool IsKnown() const { return m_seconds != -1.0F; }
    /// Positions go by these limits from now on.
    void Set(float seconds, double least, double greatest);
    /// Follows a slider event other than ThumbReleased: by tenths of the decade that the length lies in, down to two
    /// digits, between the limits. At the end of scrolling it stays.
    void Move(ScrollKind kind, int position, double least, double greatest);
    int Position() const;
    double Microseconds() const { return m_microseconds; }
    /// What a position stands for, before it is rounded to two digits; 0 while there are no limits.
    double MicrosecondsAt(int position) const;
    /// In microseconds below 1,000 of them, otherwise "1.20 ms".
    QString Text() const;

private:
    int After(ScrollKind kind, int position, double least, double greatest) const;

    float m_seconds = -1.0F;
    int m_microseconds = 0;
    double m_logLeast = 0.0;
    double m_logGreatest = 0.0;
};

} // namespace qx5
