// A ping of the simulated sonar: what one processor takes for it, and how that grows with beams and samples.
#include "stage.h"

#include <ctime>
#include <memory>
#include <string>

#include <simulator/acoustics/sounder.h>

namespace bench {

namespace {

using namespace qx5::acoustics;

/// Time of this thread alone: what else runs does not count.
double ThreadNanoseconds()
{
    timespec now{};
    clock_gettime(CLOCK_THREAD_CPUTIME_ID, &now);
    return static_cast<double>(now.tv_sec) * 1e9 + static_cast<double>(now.tv_nsec);
}

/// A ship under way over a wreck: no two pings are alike.
struct Survey
{
    Survey(int beams, int samples) : sounder(*Scene::OfName("wreck", 30.0, 1), Ship({}, 1), {}, 1)
    {
        settings.power = 215.0;
        settings.range = 80.0;
        settings.beams = beams;
        settings.samples = samples;
    }
    void Ping()
    {
        ++number;
        sounder.Hear(settings, number * 0.02, number, echoes);
    }

    Sounder sounder;
    PingSettings settings;
    PingEchoes echoes;
    int number = 0;
};

Case CaseOf(int beams, int samples)
{
    auto const survey = std::make_shared<Survey>(beams, samples);
    survey->Ping();
    std::string const size = std::to_string(beams) + "x" + std::to_string(samples);
    return {"ping-" + size, "a ping of " + size + " heard and detected, time of its thread alone", 20,
            [survey](std::size_t samplesWanted, std::vector<double>& nanoseconds) {
                for (std::size_t i = 0; i < samplesWanted; ++i) {
                    double const begin = ThreadNanoseconds();
                    survey->Ping();
                    nanoseconds.push_back(ThreadNanoseconds() - begin);
                }
            }};
}

} // namespace

std::vector<Case> SounderCases()
{
    std::vector<Case> cases;
    cases.push_back(CaseOf(512, 1000));
    cases.push_back(CaseOf(256, 1000));
    cases.push_back(CaseOf(512, 500));
    return cases;
}

} // namespace bench
