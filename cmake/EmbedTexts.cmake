# Texts that a program carries: files that one can read as what they are, in a header.

# _qx5_write_texts(header namespace constants): a header of constants, in the build folder of this one.
function(_qx5_write_texts header namespace texts)
  file(CONFIGURE OUTPUT "${header}" @ONLY CONTENT
"// Texts of this folder, made when the build was configured.
#pragma once

#include <string_view>

namespace ${namespace} {

@texts@} // namespace ${namespace}
")
endfunction()

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
  _qx5_write_texts("${header}" "${namespace}" "${texts}")
endfunction()

# Writes `header` with the array `manualPages` in `namespace`: of each page that `index` links to in the folder manual/
# beside it, in that order, its file (seen from the index) and its text, without the comments that its tests go by.
function(qx5_embed_manual header namespace index)
  get_filename_component(folder "${index}" DIRECTORY)
  file(READ "${index}" text)
  string(REGEX MATCHALL "\\(manual/[a-z-]+\\.md" links "${text}")
  list(REMOVE_DUPLICATES links)
  set(pages "")
  foreach(link IN LISTS links)
    string(SUBSTRING "${link}" 1 -1 file)
    file(READ "${folder}/${file}" text)
    string(REGEX REPLACE "<!--[^\n]*-->\n" "" text "${text}")
    string(APPEND pages "    {\"${file}\", R\"text(${text})text\"},\n")
    set_property(DIRECTORY APPEND PROPERTY CMAKE_CONFIGURE_DEPENDS "${folder}/${file}")
  endforeach()
  set_property(DIRECTORY APPEND PROPERTY CMAKE_CONFIGURE_DEPENDS "${index}")
  _qx5_write_texts("${header}" "${namespace}"
    "struct ManualPage\n{\n    std::string_view file;\n    std::string_view text;\n};\n
inline constexpr ManualPage manualPages[]{\n${pages}};\n\n")
endfunction()
