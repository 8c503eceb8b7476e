// Fuzzes requests as people type them: a line adds one node to a request, or says in one line why not and adds nothing.
#include "cli/key_values.h"

#include "reference_host/attributes/tree_merge.h"

#include <protocol/catalogue.h>
#include <protocol/utf8.h>

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
        // To look for a key of nearly that text takes a hundred times as long as all else: for some of the inputs.
        auto const name = line.substr(0, line.find('='));
        bool const known =
            name.find(':') != std::string_view::npos ||
            qx5::protocol::FindKey(qx5::protocol::DecodeUtf8(name.substr(name.rfind('/') + 1))) != nullptr;
        if (!known && (size % 32 != 0 || lines > 0)) {
            continue;
        }
        CAttributeMap const before(request);
        std::string error;
        bool const added = qx5::cli::AddKeyValue(request, line, error);
        if (added ? !error.empty() : error.empty() || error.find('\n') != std::string::npos) {
            std::abort();
        }
        if (added == vordal::TreesEqual(before, request)) {
            std::abort();
        }
    }
    return 0;
}
