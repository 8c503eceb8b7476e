// Any number of different keys with one hash, as somebody who wants a look-up to be slow would send them.
#pragma once

#include <array>
#include <cstddef>
#include <string>

namespace qx5::simulator {

/// Of each pair either text leads from the state of the hash (64-bit FNV-1a over code points) behind all pairs before
/// it to the same state; found by searching. So the pairs appended to one another, one text of each, are 2^17 different texts
/// with one hash.
inline constexpr std::array<std::array<wchar_t const*, 2>, 17> CollidingTexts{{
    {L"\u03c3\ub0b6!", L"\u03cc\ubaa0\U0008e9bc"},
    {L"\u0557\u5a76!", L"\u0556\u5970\U000365fa"},
    {L"\u06f9\u2bd2!", L"\u06f8\u2bac\U0003e75a"},
    {L"\u04b4\u2a76!", L"\u04b6\u1146\U00067af3"},
    {L"\u077a\u49cd\U000d0000", L"\u077b\u49a9\U00102379"},
    {L"\u00d5\u328d!", L"\u00d4\u3169\U000527d8"},
    {L"\u0160\u8018!", L"\u0161\u8d52\U00071f0a"},
    {L"\u00e1\uc362!", L"\u00e0\uc01c\U000523fa"},
    {L"\u061e\u700b\U00010000", L"\u0625\u830b\U0010b0cf"},
    {L"\u065d\u4564!", L"\u0650\u5556\U0008d6aa"},
    {L"\u04b6\u31c0!", L"\u04b7\u31be\U0006ef76"},
    {L"\u07d3\ua9b9!", L"\u07d2\ua9b5\U0006e748"},
    {L"\u064e\u837f!", L"\u064f\u807f\U0002fd48"},
    {L"\u0508\u0a15!", L"\u050a\u04c1\U00064993"},
    {L"\u03c6\u3333!", L"\u03c7\u3033\U0003e308"},
    {L"\u0418\u8227!", L"\u0419\u81c7\U00056d78"},
    {L"\u01ed\u63e2!", L"\u01ee\u63f8\U0002e3f8"},
}};
inline constexpr std::size_t CollidingKeyCount = std::size_t{1} << CollidingTexts.size();

/// The key of that number, below CollidingKeyCount. All are of one length and have one hash.
inline std::wstring CollidingKey(std::size_t number)
{
    std::wstring text;
    for (std::size_t pair = 0; pair < CollidingTexts.size(); ++pair) {
        text += CollidingTexts[pair][(number >> pair) & 1U];
    }
    return text;
}

} // namespace qx5::simulator
