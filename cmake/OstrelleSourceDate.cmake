# For CPack: the time of the commit becomes the time of everything in a package, unless the caller has set
# SOURCE_DATE_EPOCH. Without a commit (an unpacked archive) the times are those of the build.
if(NOT DEFINED ENV{SOURCE_DATE_EPOCH})
    find_program(OSTRELLE_GIT git)
    if(OSTRELLE_GIT)
        # Git refuses a clone of another user, unless told.
        execute_process(
            COMMAND ${OSTRELLE_GIT} -c safe.directory=* -C ${CMAKE_CURRENT_LIST_DIR} log -1 --format=%ct
            RESULT_VARIABLE result
            OUTPUT_VARIABLE epoch
            ERROR_QUIET
            OUTPUT_STRIP_TRAILING_WHITESPACE)
        if(result EQUAL 0 AND epoch MATCHES "^[0-9]+$")
            set(ENV{SOURCE_DATE_EPOCH} ${epoch})
        endif()
    endif()
endif()
# A zip has local times.
set(ENV{TZ} UTC)
