// How the time and the memory of a run grow with the size of its scenario file.
#include "curve.h"

#include "bench/measure.h"
#include "bench/program_run.h"
#include "tests/support/temporary_folder.h"

#include <cstddef>
#include <filesystem>
#include <fstream>
#include <memory>
#include <string>
#include <string_view>
#include <vector>

#include <fmt/format.h>

namespace bench {

namespace {

constexpr std::size_t megabyte = 1'000'000;
constexpr std::size_t largest = 100; // megabytes
constexpr double leastSpeed = 30e6;  // bytes a second
constexpr double mostMemory = 10.0;  // bytes for each of the file, beside what the program has anyway
constexpr std::size_t partOfFile = 1 << 16;

/// One of the shapes that a large file has.
struct Shape
{
    std::string_view name;
    std::string_view work;
    std::string_view begin;
    std::string (*item)(std::size_t number);
    std::string_view end;
};

std::string ShortRequest(std::size_t number)
{
    return fmt::format(R"({{"request":[["x5Range","double",{}.5],["x5Power","double",{}]]}})", 10 + number * 7 % 300,
                       180 + number % 40);
}

std::string Attribute(std::size_t number)
{
    return fmt::format(R"(["key{}","double",{}.25])", number % 5000, number);
}

constexpr Shape manyRequests{"requests", "one scenario of many requests of two keys", R"({"name":"long","steps":[)",
                             ShortRequest, "]}"};
constexpr Shape wideTree{"tree", "one step with a tree of many attributes",
                         R"({"name":"wide","steps":[{"attributes":[)", Attribute, "]}]}"};

/// Runs of `qx5 scenario` on a file of one shape, which is written anew when its size changes.
class ScenarioRuns
{
public:
    explicit ScenarioRuns(Shape const& shape) : m_shape(shape) {}

    void Prepare(std::size_t megabytes)
    {
        if (megabytes == m_megabytes) {
            return;
        }
        m_megabytes = megabytes;
        std::ofstream file(m_file, std::ios::binary);
        std::string text(m_shape.begin);
        std::size_t written = 0;
        for (std::size_t number = 0; written + text.size() < megabytes * megabyte; ++number) {
            text += number == 0 ? "" : ",\n";
            text += m_shape.item(number);
            if (text.size() >= partOfFile) {
                written += text.size();
                file << text;
                text.clear();
            }
        }
        file << text << m_shape.end;
    }

    std::size_t Run() const { return RunProgram({QX5_FILE, "scenario", m_file.string()}); }

private:
    qx5::test::TemporaryFolder m_folder;
    std::filesystem::path m_file = m_folder / "file.json";
    Shape const& m_shape;
    std::size_t m_megabytes = largest + 1; // none yet
};

} // namespace

std::vector<Curve> ScenarioCurves()
{
    std::vector<std::size_t> const sizes{3, 10, 30, largest};
    constexpr double bytes{largest * megabyte};
    std::vector<Curve> curves;
    for (Shape const* const shape : {&manyRequests, &wideTree}) {
        auto const runs = std::make_shared<ScenarioRuns>(*shape);
        auto const name = fmt::format("scenario-{}", shape->name);
        auto const work = fmt::format("`qx5 scenario` on a file of N MB: {}", shape->work);
        curves.push_back({.name = name + "-time",
                          .work = work + ", start to exit",
                          .sizes = sizes,
                          .greatestExponent = 1.0,
                          .bounds = {{largest, bytes / leastSpeed * 1e9}},
                          .run = [runs](std::size_t size, std::vector<double>& nanoseconds) {
                              runs->Prepare(size);
                              Time(1, 1, nanoseconds, [&] { runs->Run(); });
                          }});
        curves.push_back({.name = name + "-memory",
                          .work = work + ", the most that it has at once beyond what an empty one takes",
                          .sizes = sizes,
                          .greatestExponent = 1.0,
                          .bounds = {{largest, bytes * mostMemory}},
                          .run =
                              [runs](std::size_t size, std::vector<double>& samples) {
                                  runs->Prepare(0);
                                  auto const anyway = runs->Run();
                                  runs->Prepare(size);
                                  samples.push_back(static_cast<double>(runs->Run() - anyway));
                              },
                          .unit = "bytes"});
    }
    return curves;
}

} // namespace bench
