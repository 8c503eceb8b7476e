# Debian's own interpreter and what modules for it are built with, whatever other one the search path names first.
# QX5_PYTHON is off where they are not there.
set(qx5_python_default OFF)
if(EXISTS /usr/bin/python3)
  set(Python_EXECUTABLE /usr/bin/python3 CACHE FILEPATH "The interpreter that the package qx5 is for")
  set(Python_FIND_VIRTUALENV STANDARD)
  find_package(Python 3.11 COMPONENTS Interpreter Development.Module QUIET)
  find_package(pybind11 2.10 QUIET)
  if(Python_FOUND AND pybind11_FOUND)
    set(qx5_python_default ON)
  endif()
endif()
# A sanitizer's own code cannot come into a process that an interpreter without it has begun.
if(QX5_SANITIZE)
  set(qx5_python_default OFF)
endif()
option(QX5_PYTHON "Build the package qx5 for Python (pybind11-dev and python3-dev)" ${qx5_python_default})
