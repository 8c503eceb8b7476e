// How much may be on its way to a broker, so that what is urgent finds the line free.
#pragma once

#include <cstddef>
#include <cstdint>
#include <deque>

namespace qx5::vessel {

/// Watches how long acknowledgements take. What is beyond the least of them has waited behind other bytes: a line on
/// which little waits may have more on its way, one on which much waits less. One thread; times are seconds of a steady
/// clock.
class LinePace
{
public:
    struct Options
    {
        std::size_t leastBytes = std::size_t{8} << 10;
        std::size_t firstBytes = std::size_t{32} << 10;
        std::size_t greatestBytes = std::size_t{2} << 20;
        double calm = 0.1;        ///< s that bytes may wait on the line; until then there may be more
        double crowded = 0.4;     ///< s; from there on there must be less
        double probeEvery = 0.25; ///< of what may be on its way: then an acknowledgement is to be asked for
        double leastKept = 30.0;  ///< s for which the least time counts; a line may be another one by then
        double far = 0.25;        ///< s that the least of `judged` acknowledgements takes on a line that is far
        int judged = 3;
    };

    LinePace() : LinePace(Options{}) {}
    explicit LinePace(Options options);

    /// A connection stands, and nothing is on its way.
    void Begin();
    /// So many bytes have been handed over.
    void Sent(std::size_t bytes) { m_sent += bytes; }
    /// The publication of that number, handed over last, will be acknowledged, and with it all before.
    void AwaitAcknowledgement(std::uint64_t number, double now);
    /// It was; or it was lost, as all is with a connection.
    void Acknowledged(std::uint64_t number, double now);

    /// Whether more may be sent by somebody who may fill that share of what may be on its way.
    bool HasRoom(double share) const;
    /// Whether so much has left since an acknowledgement was asked for that one must be.
    bool WantsProbe() const;
    /// Whether what is lost on this line costs much to send again; as it was before while that is not known.
    bool IsFar() const { return m_isFar; }
    /// What may be on its way, in bytes.
    std::size_t Window() const { return m_window; }
    std::size_t OnTheWay() const { return static_cast<std::size_t>(m_sent - m_acknowledged); }

private:
    struct Awaited
    {
        std::uint64_t number = 0;
        std::uint64_t sent = 0; ///< all bytes up to it
        double at = 0.0;
        bool isFull = false; ///< as much as may be was on its way
    };

    Options const m_options;
    std::size_t m_window;
    std::uint64_t m_sent = 0;
    std::uint64_t m_acknowledged = 0;
    std::uint64_t m_asked = 0; ///< bytes up to the newest that will be acknowledged
    std::deque<Awaited> m_awaited;
    double m_least = 0.0; ///< s; 0 while unknown
    double m_leastAt = 0.0;
    int m_answers = 0; ///< of this connection
    bool m_isFar = false;
};

} // namespace qx5::vessel
