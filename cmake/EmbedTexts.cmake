# Texts that a program carries: files that one can read as what they are, in a header.

# Writes `header` (relative to the build folder of this one): for each file a constant of its name, a dot as "_", in
# `namespace`.
function(qx5_embed_texts header namespace)
  set(texts "")
  foreach(file IN LISTS ARGN)
    get_filename_component(name "${file}" NAME)
    string(MAKE_C_IDENTIFIER "${name}" constant)
    file(READ "${CMAKE_CURRENT_SOURCE_DIR}/${file}" text)
    string(APPEND texts "inline constexpr std::string_view ${constant} = R\"text(${text})text\";\n\n")
    set_property(DIRECTORY APPEND PROPERTY CMAKE_CONFIGURE_DEPENDS "${CMAKE_CURRENT_SOURCE_DIR}/${file}")
  endforeach()
  file(CONFIGURE OUTPUT "${header}" @ONLY CONTENT
"// Texts of this folder, made when the build was configured.
#pragma once

#include <string_view>

namespace ${namespace} {

@texts@} // namespace ${namespace}
")
endfunction()
