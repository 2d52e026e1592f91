# cpack gives the members of a package, which is an archive, the rights that the caller's umask leaves. They are put
# together anew with the same rights everywhere, and without a time.
foreach(package IN LISTS CPACK_PACKAGE_FILES)
    set(parts ${package}.parts)
    file(REMOVE_RECURSE ${parts})
    file(MAKE_DIRECTORY ${parts})
    execute_process(COMMAND ar x ${package} WORKING_DIRECTORY ${parts} COMMAND_ERROR_IS_FATAL ANY)
    execute_process(COMMAND ar t ${package} OUTPUT_VARIABLE members COMMAND_ERROR_IS_FATAL ANY)
    string(REGEX MATCHALL "[^\n]+" members ${members})
    file(REMOVE ${package})
    execute_process(COMMAND ar rcD ${package} ${members} WORKING_DIRECTORY ${parts} COMMAND_ERROR_IS_FATAL ANY)
    file(REMOVE_RECURSE ${parts})
endforeach()
