# Writes OUTPUT, a source file that names the commit in SOURCE_DIRECTORY, when it would change.

# A release archive has no repository; there git itself fills in the commit.
file(STRINGS ${CMAKE_CURRENT_LIST_DIR}/archived-commit.txt archived LIMIT_COUNT 1)
string(REGEX MATCH "^[0-9a-f]+$" commit "${archived}")

find_program(GIT git)
if(GIT AND EXISTS ${SOURCE_DIRECTORY}/.git)
    # The tree may belong to another user.
    set(git ${GIT} -c safe.directory=* -C ${SOURCE_DIRECTORY})
    execute_process(COMMAND ${git} rev-parse HEAD OUTPUT_VARIABLE head RESULT_VARIABLE failed
                    OUTPUT_STRIP_TRAILING_WHITESPACE ERROR_QUIET)
    if(NOT failed)
        set(commit ${head})
        execute_process(COMMAND ${git} status --porcelain --untracked-files=no OUTPUT_VARIABLE changes
                        ERROR_QUIET)
        if(changes)
            string(APPEND commit " with changes")
        endif()
    endif()
endif()
if(NOT commit)
    set(commit "unknown")
endif()

file(CONFIGURE OUTPUT ${OUTPUT} CONTENT [[#include "zulversion/zulversion.h"

const char* zulversion::commit() { return "@commit@"; }
]] @ONLY)
