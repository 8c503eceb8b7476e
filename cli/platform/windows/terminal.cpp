// Whether a person sits at the other end of a standard stream, lines, and single keys of the keyboard, on Windows.
#include "cli/platform/terminal.h"

#include <protocol/utf8.h>

#include <windows.h>

#include <cstdint>
#include <cstdlib>
#include <mutex>
#include <thread>
#include <utility>

namespace qx5::cli {

namespace {

HANDLE StandardInput()
{
    return GetStdHandle(STD_INPUT_HANDLE);
}

bool IsConsole(HANDLE handle)
{
    DWORD mode = 0;
    return GetConsoleMode(handle, &mode) != 0;
}

HANDLE HandleOf(int number)
{
    return reinterpret_cast<HANDLE>(static_cast<std::intptr_t>(number));
}

/// What came in so far. A thread reads, as a pipe cannot be waited for together with anything else; it is left behind
/// when the program ends.
struct Input
{
    std::mutex mutex; ///< guards what follows
    std::string bytes;
    bool isOver = false;
    HANDLE const changed = CreateEventW(nullptr, FALSE, FALSE, nullptr);
};

/// UTF-8 of what was typed, or the bytes of a pipe or file; empty at the end.
std::string ReadSome()
{
    DWORD count = 0;
    if (IsConsole(StandardInput())) {
        constexpr wchar_t endOfInput = 0x1A; // Ctrl+Z
        wchar_t text[2048];
        if (ReadConsoleW(StandardInput(), text, 2048, &count, nullptr) == 0 || count == 0 || text[0] == endOfInput) {
            return {};
        }
        return protocol::EncodeUtf8({text, count});
    }
    char bytes[4096];
    return ReadFile(StandardInput(), bytes, sizeof bytes, &count, nullptr) != 0 ? std::string(bytes, count)
                                                                                : std::string();
}

Input& SharedInput()
{
    static auto* const input = [] {
        auto* const made = new Input;
        std::thread([made] {
            for (;;) {
                auto some = ReadSome();
                bool const isOver = some.empty();
                {
                    std::lock_guard const lock(made->mutex);
                    made->bytes += some;
                    made->isOver = isOver;
                }
                SetEvent(made->changed);
                if (isOver) {
                    return;
                }
            }
        }).detach();
        return made;
    }();
    return *input;
}

/// Of the console that keys are read from; 0 while it is as it was.
DWORD modeBefore = 0;

void PutModeBack()
{
    if (DWORD const mode = std::exchange(modeBefore, 0)) {
        SetConsoleMode(StandardInput(), mode);
    }
}

} // namespace

bool IsTerminal(Stream stream)
{
    return IsConsole(stream == Stream::Input ? StandardInput() : GetStdHandle(STD_OUTPUT_HANDLE));
}

std::optional<std::string> InputLines::Read()
{
    auto& input = SharedInput();
    for (;;) {
        {
            std::lock_guard const lock(input.mutex);
            m_ahead += std::exchange(input.bytes, {});
            auto const at = m_ahead.find('\n');
            if (at != std::string::npos || (input.isOver && !m_ahead.empty())) {
                // The last line need not have an end.
                std::string line = m_ahead.substr(0, at);
                m_ahead.erase(0, at == std::string::npos ? at : at + 1);
                if (line.ends_with('\r')) {
                    line.pop_back();
                }
                return line;
            }
            if (input.isOver) {
                return std::nullopt;
            }
        }
        HANDLE const handles[]{input.changed, HandleOf(m_end)};
        if (WaitForMultipleObjects(m_end >= 0 ? 2 : 1, handles, FALSE, INFINITE) != WAIT_OBJECT_0) {
            return std::nullopt;
        }
    }
}

Keyboard::Keyboard(int end) : m_end(end)
{
    DWORD mode = 0;
    if (GetConsoleMode(StandardInput(), &mode) == 0) {
        return;
    }
    static bool const atExit = std::atexit(PutModeBack) == 0;
    static_cast<void>(atExit);
    modeBefore = mode;
    SetConsoleMode(StandardInput(), ENABLE_PROCESSED_INPUT);
}

Keyboard::~Keyboard()
{
    PutModeBack();
}

std::optional<int> Keyboard::Read()
{
    HANDLE const handles[]{StandardInput(), HandleOf(m_end)};
    for (;;) {
        if (WaitForMultipleObjects(m_end >= 0 ? 2 : 1, handles, FALSE, INFINITE) != WAIT_OBJECT_0) {
            return std::nullopt;
        }
        INPUT_RECORD record{};
        DWORD count = 0;
        if (ReadConsoleInputW(StandardInput(), &record, 1, &count) == 0) {
            return std::nullopt;
        }
        if (record.EventType != KEY_EVENT || record.Event.KeyEvent.bKeyDown == FALSE) {
            continue;
        }
        auto const& key = record.Event.KeyEvent;
        if (auto const character = key.uChar.UnicodeChar; character != 0) {
            return character < 0x100 ? static_cast<int>(character) : KeyOther;
        }
        switch (key.wVirtualKeyCode) {
        case VK_SHIFT:
        case VK_CONTROL:
        case VK_MENU:
        case VK_CAPITAL:
        case VK_NUMLOCK:
        case VK_SCROLL:
            continue; // no keys by themselves
        case VK_UP:
            return KeyUp;
        case VK_DOWN:
            return KeyDown;
        default:
            return KeyOther;
        }
    }
}

} // namespace qx5::cli
