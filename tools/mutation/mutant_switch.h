// The switch that sources written by mutate.py ask at each place where they hold a mutant: is it on, was it reached,
// and would it have made a difference there.
//
// Environment: QX5_MUTANT is the number of the one mutant that is on; without it all code runs as it was written.
// QX5_MUTANTS_REACHED names a file with two bytes for each mutant, those of the first half before those of the second.
// The first becomes 1 when the mutant's place is run through, the second when the mutant's value is another one there
// than that of what was written, where this is compared. The file is mapped, so that it is true even of a process that
// is killed.
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

#include <cmath>
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

    void TellDifference(unsigned long mutant) const
    {
        if (mutant < m_count) {
            m_reached[m_count + mutant] = 1;
        }
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
                m_count = size / 2;
            }
        }
        close(descriptor);
    }

    unsigned long m_on = 0;    ///< no mutant has this number
    unsigned long m_count = 0; ///< mutants in the file, number 0 included
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

template <class Left, class Right>
constexpr bool QX5MutantDiffers(Left const& left, Right const& right)
{
    if constexpr (std::is_floating_point_v<Left> && std::is_floating_point_v<Right>) {
        return !(left == right) || std::signbit(left) != std::signbit(right);
    } else if constexpr (std::is_scalar_v<Left> && (std::is_scalar_v<Right> || std::is_null_pointer_v<Right>)) {
        return left != right;
    } else {
        return true;
    }
}

template <class Left, class Right>
constexpr void QX5MutantCompare(unsigned long mutant, Left const& left, Right const& right)
{
    if (!std::is_constant_evaluated() && QX5MutantDiffers(left, right)) {
        qx5MutantSwitch.TellDifference(mutant);
    }
}

/// What was written, and beside it the mutant's value. Neither has another effect.
template <class Written, class Mutated>
constexpr Written QX5MutantBeside(unsigned long mutant, Written written, Mutated mutated)
{
    QX5MutantCompare(mutant, written, mutated);
    return written;
}
