# Brings each package into the shape that Debian asks for, when all its files are in place.

function(zul_run)
    execute_process(COMMAND ${ARGN} COMMAND_ERROR_IS_FATAL ANY)
endfunction()

# What debuggers need stays in the build directory.
function(zul_strip root)
    set(sections --remove-section=.comment --remove-section=.note)
    file(GLOB programs ${root}/usr/bin/*)
    if(programs)
        zul_run(strip ${sections} ${programs})
    endif()
    file(GLOB_RECURSE archives ${root}/usr/lib/*.a)
    if(archives)
        zul_run(strip --strip-debug --enable-deterministic-archives ${sections} ${archives})
    endif()
endfunction()

# The only place that makes a Debian changelog: of the version, and of the time that SOURCE_DATE_EPOCH gives.
function(zul_add_documents root package)
    set(doc ${root}/usr/share/doc/${package})
    string(TIMESTAMP date "%a, %d %b %Y %H:%M:%S +0000" UTC)
    file(WRITE ${doc}/changelog
         "zulbench (${CPACK_PACKAGE_VERSION}) unstable; urgency=medium\n\n"
         "  * Version ${CPACK_PACKAGE_VERSION}.\n\n"
         " -- ${CPACK_PACKAGE_CONTACT}  ${date}\n")
    zul_run(gzip -9nf ${doc}/changelog)
    file(COPY ${CMAKE_CURRENT_LIST_DIR}/copyright DESTINATION ${doc})
endfunction()

foreach(component IN LISTS CPACK_COMPONENTS_ALL)
    string(TOUPPER ${component} name)
    set(root ${CPACK_TEMPORARY_DIRECTORY}/${component})
    zul_strip(${root})
    zul_add_documents(${root} ${CPACK_DEBIAN_${name}_PACKAGE_NAME})
    zul_run(chmod -R u=rwX,go=rX ${root})
endforeach()
