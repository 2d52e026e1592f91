# zul_resources(TARGET NAMESPACE FILES...): compiles files into TARGET, compressed. The program declares
#
#     namespace NAMESPACE { std::span<const zulhttp::Resource> resources(); }
#
# A file is served at its name, index.html at "/".
function(zul_resources target namespace)
    set(source ${CMAKE_CURRENT_BINARY_DIR}/resources.cpp)
    set(files ${ARGN})
    list(TRANSFORM files PREPEND ${CMAKE_CURRENT_SOURCE_DIR}/)
    add_custom_command(OUTPUT ${source}
                       COMMAND ${CMAKE_COMMAND} -D OUTPUT=${source} -D NAMESPACE=${namespace} -D "FILES=${files}"
                               -P ${PROJECT_SOURCE_DIR}/cmake/embed.cmake
                       DEPENDS ${files} ${PROJECT_SOURCE_DIR}/cmake/embed.cmake VERBATIM)
    target_sources(${target} PRIVATE ${source})
endfunction()
