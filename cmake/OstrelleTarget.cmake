# What every target of this tree has in common: language level, strictness, sanitizers,
# and the choice of the platform folder.

if(WIN32)
    set(OSTRELLE_PLATFORM windows)
    set(OSTRELLE_PLATFORM_SUFFIX win)
elseif(CMAKE_SYSTEM_NAME STREQUAL "Linux")
    set(OSTRELLE_PLATFORM linux)
    set(OSTRELLE_PLATFORM_SUFFIX linux)
else()
    message(FATAL_ERROR "There is no platform folder for ${CMAKE_SYSTEM_NAME}.")
endif()

# Adds the platform's twin of each named source: "library" becomes
# DIRECTORY/linux/library_linux.cpp or DIRECTORY/windows/library_win.cpp.
function(ostrelle_platform_sources target directory)
    foreach(name IN LISTS ARGN)
        target_sources(${target} PRIVATE
            "${directory}/${OSTRELLE_PLATFORM}/${name}_${OSTRELLE_PLATFORM_SUFFIX}.cpp")
    endforeach()
endfunction()

function(ostrelle_configure_target target)
    target_compile_features(${target} PRIVATE cxx_std_20)
    set_target_properties(${target} PROPERTIES
        CXX_EXTENSIONS OFF
        CXX_VISIBILITY_PRESET hidden
        VISIBILITY_INLINES_HIDDEN ON)
    target_compile_options(${target} PRIVATE -Wall -Wextra -Wpedantic -Wconversion -Werror)
    target_compile_definitions(${target} PRIVATE
        QT_NO_CAST_FROM_ASCII
        QT_NO_CAST_TO_ASCII
        QT_NO_CAST_FROM_BYTEARRAY
        QT_NO_URL_CAST_FROM_STRING
        QT_NO_FOREACH
        QT_NO_KEYWORDS
        QT_DEPRECATED_WARNINGS
        $<IF:$<VERSION_GREATER_EQUAL:${Qt6Core_VERSION},6.5>,QT_DISABLE_DEPRECATED_UP_TO,QT_DISABLE_DEPRECATED_BEFORE>=0x060800)
    if(WIN32)
        target_compile_definitions(${target} PRIVATE
            UNICODE _UNICODE NOMINMAX WIN32_LEAN_AND_MEAN _WIN32_WINNT=0x0A00)
        # The same sources give the same bytes.
        target_link_options(${target} PRIVATE -Wl,--no-insert-timestamp)
    else()
        target_link_options(${target} PRIVATE -Wl,--no-undefined)
    endif()
    # A package is the same wherever it was built: file names in it begin at the root of the tree, whether the compiler
    # gets them absolute or relative to the build folder.
    file(RELATIVE_PATH upwards "${PROJECT_BINARY_DIR}" "${PROJECT_SOURCE_DIR}")
    string(REGEX REPLACE "/$" "" upwards "${upwards}")
    target_compile_options(${target} PRIVATE
        "$<$<CONFIG:Release>:-ffile-prefix-map=${PROJECT_SOURCE_DIR}/=>"
        "$<$<CONFIG:Release>:-ffile-prefix-map=${upwards}/=>")
    if(OSTRELLE_SANITIZERS)
        target_compile_options(${target} PRIVATE
            -fsanitize=${OSTRELLE_SANITIZERS} -fno-sanitize-recover=all -fno-omit-frame-pointer)
        target_link_options(${target} PRIVATE -fsanitize=${OSTRELLE_SANITIZERS})
    endif()
endfunction()
