// Taking samples of all cases in turn, round after round.
#include "measure.h"

#include <algorithm>

namespace bench {

std::vector<Figures> Measure(std::vector<Case> const& cases, std::size_t rounds)
{
    std::vector<std::vector<double>> samples(cases.size());
    for (std::size_t round = 0; round <= rounds; ++round) {
        for (std::size_t i = 0; i < cases.size(); ++i) {
            if (round == 1) {
                samples[i].clear(); // the first round only warms up
            }
            cases[i].run(cases[i].samplesPerRound, samples[i]);
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
