// The program's salt and the hash of texts and numbers under it.
#include "salted_hash.h"

#include "sip_hash.h"

#include <chrono>
#include <exception>
#include <random>

namespace vordal {

namespace {

std::array<std::uint64_t, 2> DrawSalt()
{
    std::array<std::uint64_t, 2> salt{};
#ifdef VORDAL_SAME_SALT
    // A fuzzer's input must do the same each time.
    return {0x9E3779B97F4A7C15U, 0xD6E8FEB86659FD93U};
#endif
    try {
        std::random_device random;
        for (auto& word : salt) {
            word = (std::uint64_t{random()} << 32) | random();
        }
    } catch (std::exception const&) {
        // A system without random numbers is no reason not to start; the clock is hard enough to foresee.
        salt[0] = static_cast<std::uint64_t>(std::chrono::steady_clock::now().time_since_epoch().count());
        salt[1] = ~salt[0] * 0x9E3779B97F4A7C15U;
    }
    return salt;
}

} // namespace

std::array<std::uint64_t, 2> const& ProgramSalt()
{
    static std::array<std::uint64_t, 2> const salt = DrawSalt();
    return salt;
}

std::uint64_t SaltedHash(std::wstring_view text)
{
    return SipHash<1, 3>(ProgramSalt(),
                         {reinterpret_cast<unsigned char const*>(text.data()), text.size() * sizeof(wchar_t)});
}

std::uint64_t SaltedHash(std::uint32_t number)
{
    return SipHash<1, 3>(ProgramSalt(), {reinterpret_cast<unsigned char const*>(&number), sizeof(number)});
}

} // namespace vordal
