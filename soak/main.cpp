// The program behind `./dev soak`.
#include "soak.h"

#include "cli/platform/end_signals.h"
#include "tests/support/temporary_folder.h"

#include <poll.h>

#include <cstdio>
#include <cstdlib>
#include <random>

#include <QApplication>
#include <QPixmapCache>

#include <CLI/CLI.hpp>
#include <fmt/format.h>

namespace {

namespace fs = std::filesystem;

bool IsReadable(int descriptor)
{
    pollfd watched{descriptor, POLLIN, 0};
    return poll(&watched, 1, 0) > 0;
}

} // namespace

int main(int argc, char** argv)
{
    qx5::soak::Options options;
    options.seed = std::random_device()();
    CLI::App app{"Lets a host, its window and eight simulated sonars run under all that can go wrong, and checks that "
                 "what they promise holds."};
    app.add_option("MINUTES", options.minutes, "How long; Ctrl-C ends it earlier, in order")
        ->capture_default_str()
        ->check(CLI::PositiveNumber);
    app.add_option("--rounds", options.rounds, "So many rounds in place of the minutes");
    app.add_option("--actions", options.actions, "Actions of a round")->capture_default_str();
    app.add_option("--pace", options.pace, "Actions a second, at most")
        ->capture_default_str()
        ->check(CLI::PositiveNumber);
    app.add_option("--seed", options.seed, "What the dice begin with; printed, so that a run can be repeated");
    app.add_flag("--verbose", options.verbose, "A line for each action");
    CLI11_PARSE(app, argc, argv);

    qputenv("QT_QPA_PLATFORM", "offscreen");
    qInstallMessageHandler([](QtMsgType type, QMessageLogContext const&, QString const& text) {
        if (type == QtCriticalMsg || type == QtFatalMsg) {
            fmt::print(stderr, "soak: the toolkit says: {}\n", text.toStdString());
        }
    });
    QApplication const application(argc, argv);
    // Of each pixmap that was ever in it the toolkit keeps the key for good, a few hundred bytes, and every view and
    // light mode brings new ones: what grows there would hide what grows here.
    QPixmapCache::setCacheLimit(0);
    try {
        qx5::cli::EndSignals const signals;
        qx5::test::TemporaryFolder const folder{"qx5-soak"};
        qx5::soak::Soak soak(options, folder, [&] { return IsReadable(signals.Descriptor()); });
        try {
            soak.Run();
        } catch (std::exception const& broken) {
            soak.PrintEnd(broken.what());
            soak.PrintTable();
            // What is broken need not end in order.
            std::error_code ignored;
            fs::remove_all(folder, ignored);
            std::fflush(nullptr);
            std::_Exit(EXIT_FAILURE);
        }
        soak.PrintTable();
    } catch (std::exception const& failure) {
        fmt::print(stderr, "soak: {}\n", failure.what());
        return EXIT_FAILURE;
    }
    return EXIT_SUCCESS;
}
