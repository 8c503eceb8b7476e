# What a program is told of its commit: of a checkout, of one with changes, of a folder that is none, in somebody else's,
# of an unpacked archive.
cmake_minimum_required(VERSION 3.25)

file(REMOVE_RECURSE "${FOLDER}")
file(MAKE_DIRECTORY "${FOLDER}/checkout/archive")
file(WRITE "${FOLDER}/checkout/file" "one")
get_filename_component(cmake "${SCRIPT}" DIRECTORY)
file(COPY "${cmake}/commit.txt" DESTINATION "${FOLDER}/checkout/cmake")
file(COPY "${cmake}/../.gitattributes" DESTINATION "${FOLDER}/checkout")
set(as_nobody "${CMAKE_COMMAND}" -E env GIT_CONFIG_GLOBAL=/dev/null GIT_CONFIG_NOSYSTEM=1
  GIT_AUTHOR_NAME=nobody GIT_AUTHOR_EMAIL=n@example.org GIT_COMMITTER_NAME=nobody GIT_COMMITTER_EMAIL=n@example.org)

function(git)
  execute_process(COMMAND ${as_nobody} "${GIT}" -C "${FOLDER}/checkout" ${ARGV} COMMAND_ERROR_IS_FATAL ANY
    OUTPUT_VARIABLE told OUTPUT_STRIP_TRAILING_WHITESPACE ERROR_QUIET)
  set(told "${told}" PARENT_SCOPE)
endfunction()

# expect(SOURCE COMMIT): the text that is written for that folder.
function(expect source commit)
  execute_process(COMMAND "${CMAKE_COMMAND}" "-DSOURCE=${source}" "-DOUTPUT=${FOLDER}/commit.cpp" -DNAMESPACE=some::where
    -P "${SCRIPT}" COMMAND_ERROR_IS_FATAL ANY)
  file(READ "${FOLDER}/commit.cpp" text)
  if(NOT text MATCHES "namespace some::where {.*programCommit = \"${commit}\";")
    message(FATAL_ERROR "of ${source} is told, in place of ${commit}:\n${text}")
  endif()
endfunction()

git(init --quiet)
git(add file cmake .gitattributes)
git(commit --quiet -m one)
git(tag v1)
git(rev-parse HEAD)
string(SUBSTRING "${told}" 0 12 commit)
expect("${FOLDER}/checkout" "${commit}")
# What has not changed is not written again: nothing is compiled for it.
execute_process(COMMAND touch -d 2020-01-01T00:00:00Z "${FOLDER}/commit.cpp" COMMAND_ERROR_IS_FATAL ANY)
expect("${FOLDER}/checkout" "${commit}")
file(TIMESTAMP "${FOLDER}/commit.cpp" written "%Y" UTC)
if(NOT written STREQUAL "2020")
  message(FATAL_ERROR "the file is written anew though the commit is the same")
endif()

# Of what `git archive` packs it is the same, wherever that is unpacked, and a packer may say that there were changes.
git(archive --output "${FOLDER}/packed.tar" HEAD)
file(ARCHIVE_EXTRACT INPUT "${FOLDER}/packed.tar" DESTINATION "${FOLDER}/checkout/unpacked")
expect("${FOLDER}/checkout/unpacked" "${commit}")
file(WRITE "${FOLDER}/checkout/unpacked/cmake/commit.txt" "${commit} with changes\n")
expect("${FOLDER}/checkout/unpacked" "${commit} with changes")
file(WRITE "${FOLDER}/checkout/unpacked/cmake/commit.txt" "\";\n")
expect("${FOLDER}/checkout/unpacked" "unknown")
file(REMOVE_RECURSE "${FOLDER}/checkout/unpacked")

file(WRITE "${FOLDER}/checkout/file" "two")
expect("${FOLDER}/checkout" "${commit} with changes")
# An archive that was unpacked within that checkout is none of its own.
expect("${FOLDER}/checkout/archive" "unknown")
