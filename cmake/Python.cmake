# Debian's own interpreter and what modules for it are built with, whatever other one the search path names first.
#
# qx5_has_python tells whether the package is built: it is asked for, and its parts are there.
option(QX5_PYTHON "Build the package qx5 for Python, where pybind11-dev and python3-dev are installed" ON)
set(qx5_has_python OFF)
# A process that an interpreter has begun has not what sanitizers bring along.
if(QX5_PYTHON AND NOT QX5_SANITIZE AND EXISTS /usr/bin/python3)
  set(Python_EXECUTABLE /usr/bin/python3)
  find_package(Python 3.11 COMPONENTS Interpreter Development.Module QUIET)
  find_package(pybind11 2.10 QUIET)
  if(Python_FOUND AND pybind11_FOUND)
    set(qx5_has_python ON)
  else()
    message(STATUS "The package qx5 for Python is left out: install pybind11-dev and python3-dev to have it")
  endif()
endif()
