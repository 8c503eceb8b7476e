// Cases to measure and how their samples are taken: all cases in turn, round after round, so that ratios are fair.
#pragma once

#include <chrono>
#include <cstddef>
#include <functional>
#include <string>
#include <vector>

namespace bench {

/// One thing to measure.
struct Case
{
    std::string name; ///< short, unique
    std::string work; ///< what one repetition does
    std::size_t samplesPerRound = 1;
    /// Takes so many samples and appends each as nanoseconds for one repetition.
    std::function<void(std::size_t samples, std::vector<double>& nanoseconds)> run;
    bool onOneProcessor = false; ///< all threads of the process, see OnOneProcessor
};

/// Takes samples of a case, where its threads belong.
void Run(Case const& one, std::size_t samples, std::vector<double>& nanoseconds);

struct Figures
{
    double median = 0.0;
    double p99 = 0.0;
    std::size_t samples = 0;
};

/// Times `samples` runs of `repetitions` calls each.
template <typename Operation>
void Time(std::size_t samples, std::size_t repetitions, std::vector<double>& nanoseconds, Operation const& operation)
{
    using Clock = std::chrono::steady_clock;
    for (std::size_t i = 0; i < samples; ++i) {
        auto const begin = Clock::now();
        for (std::size_t j = 0; j < repetitions; ++j) {
            operation();
        }
        std::chrono::duration<double, std::nano> const took = Clock::now() - begin;
        nanoseconds.push_back(took.count() / static_cast<double>(repetitions));
    }
}

/// Keeps the compiler from leaving out what computes `value`.
template <typename T>
void Keep(T const& value)
{
    asm volatile("" : : "r,m"(value) : "memory");
}

/// Figures for each case, in the same order; `rounds` times all cases in turn after one round that does not count.
std::vector<Figures> Measure(std::vector<Case> const& cases, std::size_t rounds);

} // namespace bench
