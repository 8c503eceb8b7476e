// Taking samples of all cases in turn, round after round.
#include "measure.h"

#include "one_processor.h"

#include <algorithm>
#include <optional>

namespace bench {

void Run(Case const& one, std::size_t samples, std::vector<double>& nanoseconds)
{
    std::optional<OnOneProcessor> placement;
    if (one.onOneProcessor) {
        placement.emplace();
    }
    one.run(samples, nanoseconds);
}

std::vector<Figures> Measure(std::vector<Case> const& cases, std::size_t rounds)
{
    std::vector<std::vector<double>> samples(cases.size());
    for (std::size_t round = 0; round <= rounds; ++round) {
        for (std::size_t i = 0; i < cases.size(); ++i) {
            if (round == 1) {
                samples[i].clear(); // the first round only warms up
            }
            Run(cases[i], cases[i].samplesPerRound, samples[i]);
        }
    }
    std::vector<Figures> figures;
    for (std::vector<double>& taken : samples) {
        std::sort(taken.begin(), taken.end());
        figures.push_back(
            {taken[taken.size() / 2], taken[std::min(taken.size() - 1, taken.size() * 99 / 100)], taken.size()});
    }
    return figures;
}

} // namespace bench
