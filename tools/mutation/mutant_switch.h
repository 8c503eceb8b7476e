// The switch that sources written by mutate.py ask at each place where they hold a mutant: is it on, and was it
// reached.
//
// Environment: QX5_MUTANT is the number of the one mutant that is on; without it all code runs as it was written.
// QX5_MUTANTS_REACHED names a file with one byte for each mutant, which becomes 1 when the mutant's place is run
// through; it is mapped, so that it is true even of a process that is killed.
#pragma once

// The mutated text need not please anybody.
#pragma GCC diagnostic ignored "-Wall"
#pragma GCC diagnostic ignored "-Wextra"
#pragma GCC diagnostic ignored "-Wconversion"
#pragma GCC diagnostic ignored "-Wshadow"
#pragma GCC diagnostic ignored "-Wnarrowing"
#pragma GCC diagnostic ignored "-Wparentheses"
#pragma GCC diagnostic ignored "-Wunused-value"
#pragma GCC diagnostic ignored "-Wfloat-conversion"
#pragma GCC diagnostic ignored "-Wsign-compare"
#pragma GCC diagnostic ignored "-Wbool-compare"
#pragma GCC diagnostic ignored "-Wbool-operation"
#pragma GCC diagnostic ignored "-Wint-in-bool-context"
#pragma GCC diagnostic ignored "-Wreturn-type"

#include <cstdlib>
#include <type_traits>

#include <fcntl.h>
#include <sys/mman.h>
#include <sys/stat.h>
#include <unistd.h>

class QX5MutantSwitch
{
public:
    QX5MutantSwitch()
    {
        if (char const* const number = std::getenv("QX5_MUTANT")) {
            m_on = std::strtoul(number, nullptr, 10);
        }
        if (char const* const file = std::getenv("QX5_MUTANTS_REACHED")) {
            MapReached(file);
        }
    }

    bool IsOn(unsigned long mutant) const
    {
        if (mutant < m_count) {
            m_reached[mutant] = 1;
        }
        return mutant == m_on;
    }

private:
    void MapReached(char const* file)
    {
        int const descriptor = open(file, O_RDWR | O_CLOEXEC);
        if (descriptor < 0) {
            return;
        }
        struct stat state = {};
        if (fstat(descriptor, &state) == 0 && state.st_size > 0) {
            auto const size = static_cast<unsigned long>(state.st_size);
            void* const bytes = mmap(nullptr, size, PROT_READ | PROT_WRITE, MAP_SHARED, descriptor, 0);
            if (bytes != MAP_FAILED) {
                m_reached = static_cast<unsigned char volatile*>(bytes);
                m_count = size;
            }
        }
        close(descriptor);
    }

    unsigned long m_on = 0; ///< no mutant has this number
    unsigned long m_count = 0;
    unsigned char volatile* m_reached = nullptr;
};

/// First in each source, so it is there before anything that the source initialises.
inline QX5MutantSwitch const qx5MutantSwitch;

inline bool QX5MutantIsOn(unsigned long mutant)
{
    return qx5MutantSwitch.IsOn(mutant);
}

/// For what may be evaluated when it is compiled: there the code is as it was written.
constexpr bool QX5MutantIsOnAtRunTime(unsigned long mutant)
{
    return !std::is_constant_evaluated() && qx5MutantSwitch.IsOn(mutant);
}
