// Standard streams and the command line, on Windows.
#include "cli/platform/standard_streams.h"

#include <protocol/utf8.h>

#include <windows.h>
// After it.
#include <shellapi.h>

#include <fcntl.h>
#include <io.h>

#include <cstdio>
#include <cstdlib>

namespace qx5::cli {

namespace {

/// Of the console, which outlives the program.
UINT pageBefore = 0;

void PutPageBack()
{
    SetConsoleOutputCP(pageBefore);
}

} // namespace

void PrepareStandardStreams()
{
    // Lines end as they do in files: the same bytes on every platform, and records are no text.
    for (std::FILE* const stream : {stdin, stdout, stderr}) {
        _setmode(_fileno(stream), _O_BINARY);
    }
    pageBefore = GetConsoleOutputCP();
    if (pageBefore != 0 && SetConsoleOutputCP(CP_UTF8) != 0) {
        std::atexit(PutPageBack);
    }
    // The system's words for what went wrong are English as all others are, and so in one encoding.
    SetProcessPreferredUILanguages(MUI_LANGUAGE_NAME, L"en-US\0", nullptr);
}

ProgramArguments::ProgramArguments(int count, char** words)
{
    // The words of main have lost what the system's own code page has not.
    int wideCount = 0;
    wchar_t** const wide = CommandLineToArgvW(GetCommandLineW(), &wideCount);
    for (int i = 0; wide != nullptr && i < wideCount; ++i) {
        m_texts.push_back(protocol::EncodeUtf8(wide[i]));
    }
    if (wide == nullptr) {
        m_texts.assign(words, words + count);
    }
    LocalFree(wide);
    for (std::string& text : m_texts) {
        m_words.push_back(text.data());
    }
    m_words.push_back(nullptr);
}

} // namespace qx5::cli
