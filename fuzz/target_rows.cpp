// Fuzzes a target file's table: rows of any content are read or refused in one line, and what is read is written and
// read again as the same.
#include "reference_host/targets/target_file.h"
#include "sqlite_rows.h"
#include "tests/support/temporary_folder.h"

#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <iterator>
#include <optional>
#include <string>
#include <vector>

namespace {

using namespace vordal;

constexpr char const* Columns[] = {
    "target_id",
    "target_guid",
    "ping_number",
    "contact_time",
    "detail_number_a",
    "detail_flag",
    "detail_number_b",
    "detail_number_c",
    "detail_value",
    "position_valid",
    "latitude",
    "longitude",
    "range",
    "bearing",
    "bearing_degrees",
    "azimuth",
    "contact_length",
    "contact_width",
    "contact_height",
    "description",
    "classification",
    "extension_value",
    "extension_angle",
    "extension_measure",
    "extension_measure_valid",
    "temporary_geotiff",
    "geotiff",
    "lost",
};

/// A contact like any other: a row of nothing but chance would be refused at its first column.
std::string PlainRow()
{
    std::string names;
    std::string values;
    for (auto const* const column : Columns) {
        names += (names.empty() ? "" : ",") + std::string(column);
        values += values.empty() ? "0" : ",0";
    }
    return "INSERT INTO target(" + names + ") VALUES(" + values + ")";
}

std::optional<std::vector<StoredTarget>> Read(TargetFile& file)
{
    try {
        return file.Read();
    } catch (TargetFileError const& error) {
        std::string const line = error.what();
        if (line.empty() || line.find('\n') != std::string::npos) {
            std::abort();
        }
        return std::nullopt;
    }
}

bool Same(double a, double b)
{
    return a == b || (a != a && b != b);
}

bool Same(StoredTarget const& a, StoredTarget const& b)
{
    return a.target.targetId == b.target.targetId && a.target.targetGuid == b.target.targetGuid &&
           a.target.description == b.target.description && Same(a.target.latitude, b.target.latitude) &&
           Same(a.target.contactLength, b.target.contactLength) &&
           Same(a.target.GetBearingInDeg(), b.target.GetBearingInDeg()) && a.lost == b.lost;
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(std::uint8_t const* data, std::size_t size)
{
    static qx5::test::TemporaryFolder const folder{"qx5-fuzz"};
    static auto const path = folder / "targets.qx5t";
    static TargetFile file(path, TargetFile::Missing::Create, TargetFile::Keeping::Scratch);
    static fuzz::Rows rows(path);
    fuzz::Input input(data, size);
    rows.Run("BEGIN");
    rows.Run("DELETE FROM target");
    static auto const plainRow = PlainRow();
    for (int count = 0; !input.IsEmpty() && count < 32; ++count) {
        auto const choice = input.Byte();
        if (choice % 4U == 0) {
            rows.Run(plainRow);
        } else {
            rows.RunWith(std::string("UPDATE target SET ") + Columns[choice / 4U % std::size(Columns)] +
                             " = ? WHERE position = (SELECT MAX(position) FROM target)",
                         input);
        }
    }
    rows.Run("COMMIT");
    if (auto const targets = Read(file)) {
        file.Replace(*targets);
        auto const again = Read(file);
        if (!again || again->size() != targets->size()) {
            std::abort();
        }
        for (std::size_t i = 0; i < targets->size(); ++i) {
            if (!Same((*targets)[i], (*again)[i])) {
                std::abort();
            }
        }
    }
    return 0;
}
