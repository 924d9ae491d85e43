# For CPack, before it packs: files have the time of the commit, and modes that do not depend on who builds.
execute_process(
    COMMAND chmod -R u=rwX,go=rX .
    WORKING_DIRECTORY ${CPACK_TEMPORARY_DIRECTORY}
    COMMAND_ERROR_IS_FATAL ANY)
if(DEFINED ENV{SOURCE_DATE_EPOCH})
    execute_process(
        COMMAND find . -exec touch --no-dereference --date=@$ENV{SOURCE_DATE_EPOCH} {} +
        WORKING_DIRECTORY ${CPACK_TEMPORARY_DIRECTORY}
        COMMAND_ERROR_IS_FATAL ANY)
endif()
