# Writes OUTPUT, a C++ source with each of FILES compressed. See ZulResources.cmake.
set(types html "text/html; charset=utf-8" js "text/javascript; charset=utf-8" css "text/css; charset=utf-8"
          svg "image/svg+xml" txt "text/plain; charset=utf-8")
set(arrays "")
set(rows "")
set(number 0)
foreach(file IN LISTS FILES)
    get_filename_component(name ${file} NAME)
    get_filename_component(extension ${file} LAST_EXT)
    string(SUBSTRING ${extension} 1 -1 extension)
    list(FIND types ${extension} at)
    math(EXPR at "${at} + 1")
    list(GET types ${at} type)
    if(name STREQUAL index.html)
        set(name "")
    endif()
    set(compressed ${OUTPUT}.gz)
    # Without a time and a name, so that the same file always gives the same bytes.
    execute_process(COMMAND gzip -9nc ${file} OUTPUT_FILE ${compressed} COMMAND_ERROR_IS_FATAL ANY)
    file(SHA256 ${file} hash)
    string(SUBSTRING ${hash} 0 16 hash)
    file(READ ${compressed} bytes HEX)
    string(REGEX REPLACE "(..)" "0x\\1," bytes "${bytes}")
    string(APPEND arrays "constexpr unsigned char kFile${number}[] = {${bytes}};\n")
    string(APPEND rows "    {\"/${name}\", \"${type}\", \"\\\"${hash}\\\"\", kFile${number}},\n")
    math(EXPR number "${number} + 1")
    file(REMOVE ${compressed})
endforeach()
file(WRITE ${OUTPUT} "#include \"zulhttp/resource.h\"

namespace ${NAMESPACE} {

std::span<const zulhttp::Resource> resources();

namespace {

${arrays}
const zulhttp::Resource kResources[] = {
${rows}};

} // namespace

std::span<const zulhttp::Resource> resources() { return kResources; }

} // namespace ${NAMESPACE}
")
