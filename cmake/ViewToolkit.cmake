# The toolkit of the operator's view. Its headers count as system headers, so that our warnings hold for our code alone.
find_package(Qt6 6.4 REQUIRED COMPONENTS Core Gui Widgets)

# Link with this whatever includes the toolkit. Its macros named emit, signals and slots would clash with other headers:
# ours write Q_EMIT, Q_SIGNALS and Q_SLOTS. Targets with Q_OBJECT classes or .ui files set AUTOMOC and AUTOUIC
# themselves (see qx5_use_view_tools); all others stay free of the generators' cost.
add_library(qx5_view_toolkit INTERFACE)
target_link_libraries(qx5_view_toolkit INTERFACE Qt6::Widgets)
target_compile_definitions(qx5_view_toolkit INTERFACE QX5_VIEW QT_NO_KEYWORDS QT_NO_CAST_TO_ASCII)

# qx5_use_view_tools(target): the target has Q_OBJECT classes or .ui files.
function(qx5_use_view_tools target)
  set_target_properties(${target} PROPERTIES AUTOMOC ON AUTOUIC ON)
  # The generator does not understand all of the standard library's headers; what it looks for is not in there.
  set_property(TARGET ${target} APPEND PROPERTY AUTOMOC_MOC_OPTIONS -D_GLIBCXX_CONCEPTS=1)
  # What it writes is not ours to lint; a linter wants one check at least.
  file(WRITE "${CMAKE_CURRENT_BINARY_DIR}/${target}_autogen/.clang-tidy"
    "Checks: '-*,llvm-twine-local'\nInheritParentConfig: false\n")
endfunction()
