# Builds for Windows with MinGW-w64, against the Qt that scripts/setup-windows has
# built, and runs the test programs under Wine.

set(CMAKE_SYSTEM_NAME Windows)
set(CMAKE_SYSTEM_PROCESSOR x86_64)

# std::thread and std::mutex need the posix threads of MinGW-w64.
set(CMAKE_C_COMPILER x86_64-w64-mingw32-gcc-posix)
set(CMAKE_CXX_COMPILER x86_64-w64-mingw32-g++-posix)
set(CMAKE_RC_COMPILER x86_64-w64-mingw32-windres)

get_filename_component(_ostrelle_scripts "${CMAKE_CURRENT_LIST_DIR}/../scripts" ABSOLUTE)

# CMake reads a toolchain file again for each try_compile; these arrive there.
list(APPEND CMAKE_TRY_COMPILE_PLATFORM_VARIABLES OSTRELLE_WINDOWS_QT QT_HOST_PATH)

foreach(_ostrelle_query OSTRELLE_WINDOWS_QT=--print-prefix QT_HOST_PATH=--print-host)
  string(REGEX MATCH "^([^=]+)=(.+)$" _ostrelle_query "${_ostrelle_query}")
  set(_ostrelle_variable "${CMAKE_MATCH_1}")
  set(_ostrelle_option "${CMAKE_MATCH_2}")
  if(NOT ${_ostrelle_variable} OR NOT IS_DIRECTORY "${${_ostrelle_variable}}")
    execute_process(
      COMMAND "${_ostrelle_scripts}/setup-windows" ${_ostrelle_option}
      RESULT_VARIABLE _ostrelle_result
      OUTPUT_VARIABLE _ostrelle_output
      ERROR_VARIABLE _ostrelle_error
      OUTPUT_STRIP_TRAILING_WHITESPACE)
    if(NOT _ostrelle_result EQUAL 0)
      message(FATAL_ERROR "No Qt for Windows. ${_ostrelle_error}")
    endif()
    set(${_ostrelle_variable} "${_ostrelle_output}")
  endif()
endforeach()

# A build tree of an older recipe must not go on with the Qt that it has found then.
get_cmake_property(_ostrelle_cached CACHE_VARIABLES)
foreach(_ostrelle_variable IN LISTS _ostrelle_cached)
  if(_ostrelle_variable MATCHES "^Qt6.*_DIR$"
     AND NOT "${${_ostrelle_variable}}" MATCHES "-NOTFOUND$"
     AND NOT "${${_ostrelle_variable}}/" MATCHES "^(${OSTRELLE_WINDOWS_QT}|${QT_HOST_PATH})/")
    unset(${_ostrelle_variable} CACHE)
  endif()
endforeach()

# What every program needs beside itself, for the package.
set(OSTRELLE_WINDOWS_RUNTIME)
foreach(_ostrelle_library libgcc_s_seh-1.dll libstdc++-6.dll libwinpthread-1.dll)
  execute_process(
    COMMAND ${CMAKE_CXX_COMPILER} -print-file-name=${_ostrelle_library}
    OUTPUT_VARIABLE _ostrelle_output
    OUTPUT_STRIP_TRAILING_WHITESPACE)
  get_filename_component(_ostrelle_output "${_ostrelle_output}" REALPATH)
  list(APPEND OSTRELLE_WINDOWS_RUNTIME "${_ostrelle_output}")
endforeach()

list(PREPEND CMAKE_PREFIX_PATH "${OSTRELLE_WINDOWS_QT}")
list(APPEND CMAKE_FIND_ROOT_PATH "${OSTRELLE_WINDOWS_QT}" /usr/x86_64-w64-mingw32)
set(CMAKE_FIND_ROOT_PATH_MODE_PROGRAM NEVER)
set(CMAKE_FIND_ROOT_PATH_MODE_LIBRARY ONLY)
set(CMAKE_FIND_ROOT_PATH_MODE_INCLUDE ONLY)
set(CMAKE_FIND_ROOT_PATH_MODE_PACKAGE ONLY)

# The cache is named here, because a test may have another home directory.
execute_process(
  COMMAND "${_ostrelle_scripts}/setup-windows" --print-cache
  OUTPUT_VARIABLE _ostrelle_output
  OUTPUT_STRIP_TRAILING_WHITESPACE)
set(CMAKE_CROSSCOMPILING_EMULATOR "${_ostrelle_scripts}/wine-run;--cache;${_ostrelle_output}")

unset(_ostrelle_scripts)
unset(_ostrelle_cached)
unset(_ostrelle_library)
unset(_ostrelle_query)
unset(_ostrelle_variable)
unset(_ostrelle_option)
unset(_ostrelle_result)
unset(_ostrelle_output)
unset(_ostrelle_error)
