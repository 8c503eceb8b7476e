// The host's log, on spdlog.
#include "reference_host/common/log_settings.h"

#include <spdlog/pattern_formatter.h>
#include <spdlog/sinks/rotating_file_sink.h>
#include <spdlog/sinks/stdout_sinks.h>
#include <spdlog/spdlog.h>

#include <memory>
#include <mutex>
#include <stdexcept>
#include <string>
#include <utility>

namespace vordal {
namespace {

std::shared_ptr<spdlog::logger> MakeLogger(spdlog::sink_ptr sink)
{
    auto logger = std::make_shared<spdlog::logger>("vordalhost", std::move(sink));
    // Lines end in the same way on every platform.
    logger->set_formatter(std::make_unique<spdlog::pattern_formatter>(spdlog::pattern_time_type::local, "\n"));
    return logger;
}

struct LogState
{
    std::mutex mutex; ///< keeps the calls of the sink apart
    LogSink sink;
    std::shared_ptr<spdlog::logger> logger = MakeLogger(std::make_shared<spdlog::sinks::stderr_sink_mt>());
};

/// Never destroyed: threads may still log while the process ends.
LogState& State()
{
    static auto* const state = new LogState;
    return *state;
}

spdlog::level::level_enum ToSpdlog(LogLevel level)
{
    switch (level) {
    case LogLevel::Debug:
        return spdlog::level::debug;
    case LogLevel::Info:
        return spdlog::level::info;
    case LogLevel::Warning:
        return spdlog::level::warn;
    case LogLevel::Error:
        break;
    }
    return spdlog::level::err;
}

} // namespace

void Log(LogLevel level, std::string_view line) noexcept
{
    try {
        // Texts from outside may hold anything; a line stays one line.
        std::string text(line);
        for (auto& character : text) {
            if (static_cast<unsigned char>(character) < 0x20 || character == 0x7F) {
                character = ' ';
            }
        }
        auto& state = State();
        std::lock_guard const lock(state.mutex);
        if (state.sink) {
            state.sink(level, text);
        } else {
            state.logger->log(ToSpdlog(level), spdlog::string_view_t(text));
        }
    } catch (...) {
        // A log that cannot be written must not harm what it tells about.
    }
}

void BeginLog(LogSettings const& settings)
{
    spdlog::sink_ptr sink;
    try {
        if (settings.file.empty()) {
            sink = std::make_shared<spdlog::sinks::stderr_sink_mt>();
        } else {
            sink = std::make_shared<spdlog::sinks::rotating_file_sink_mt>(settings.file.native(), settings.fileBytes,
                                                                          settings.filesAside);
        }
    } catch (spdlog::spdlog_ex const& failure) {
        throw std::runtime_error("the log cannot be written: " + std::string(failure.what()));
    }
    auto logger = MakeLogger(std::move(sink));
    logger->set_level(ToSpdlog(settings.least));
    logger->flush_on(spdlog::level::trace);
    auto& state = State();
    std::lock_guard const lock(state.mutex);
    std::swap(state.logger, logger);
}

void SetLogSink(LogSink sink)
{
    auto& state = State();
    std::lock_guard const lock(state.mutex);
    std::swap(state.sink, sink);
}

} // namespace vordal
