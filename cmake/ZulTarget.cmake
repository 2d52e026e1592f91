# zul_target(NAME): the compiler settings that every target of this tree shares.
function(zul_target name)
    target_compile_features(${name} PUBLIC cxx_std_20)
    set_target_properties(${name} PROPERTIES CXX_EXTENSIONS OFF)
    target_compile_options(${name} PRIVATE -Wall -Wextra -Wpedantic -Wshadow -Wnon-virtual-dtor
                                           -Woverloaded-virtual)
    if(ZUL_WERROR)
        target_compile_options(${name} PRIVATE -Werror)
    endif()
endfunction()
