// Fuzzes requests as people type them: a line adds one node to a request, or says in one line why not and adds nothing.
#include "cli/key_values.h"

#include "reference_host/attributes/tree_merge.h"

#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <string>
#include <string_view>

extern "C" int LLVMFuzzerTestOneInput(std::uint8_t const* data, std::size_t size)
{
    std::string_view rest(reinterpret_cast<char const*>(data), size);
    CAttributeMap request;
    for (int lines = 0; !rest.empty() && lines < 8; ++lines) {
        auto const end = rest.find('\n');
        auto const line = rest.substr(0, end);
        rest.remove_prefix(end == std::string_view::npos ? rest.size() : end + 1);
        CAttributeMap const before(request);
        std::string error;
        bool const added = qx5::cli::AddKeyValue(request, line, error);
        if (added ? !error.empty() : error.empty() || error.find('\n') != std::string::npos)
            std::abort();
        if (added == vordal::TreesEqual(before, request))
            std::abort();
    }
    return 0;
}
