# The one place for compiler flags: every target links zeph_flags.
include(CheckLinkerFlag)

add_library(zeph_flags INTERFACE)
target_compile_options(zeph_flags INTERFACE
    -Wall -Wextra -Wshadow -Werror
    -ffunction-sections -fdata-sections
    $<$<COMPILE_LANGUAGE:CXX>:-fno-exceptions -fno-rtti -fno-threadsafe-statics>)
target_include_directories(zeph_flags INTERFACE
    ${PROJECT_SOURCE_DIR}/src ${PROJECT_SOURCE_DIR}/include)

if(ZEPH_SANITIZE)
    target_compile_options(zeph_flags INTERFACE
        -fsanitize=${ZEPH_SANITIZE} -fno-sanitize-recover=all -fno-omit-frame-pointer)
    target_link_options(zeph_flags INTERFACE -fsanitize=${ZEPH_SANITIZE})
endif()

# The fuzzer steers by the paths that an input takes through all of our code.
if(ZEPH_FUZZ)
    target_compile_options(zeph_flags INTERFACE -fsanitize=fuzzer-no-link)
endif()

# Start-up is most of what a CGI request costs: the C++ library is linked in, so that the
# loader has only the C library to find, and symbols are bound at once: most of them are
# used, and one by one they cost more. Relocations are packed, and code and constants share
# a segment: less to read and to map.
# The sanitizers bring a runtime of their own and need the shared library.
add_library(zeph_program_flags INTERFACE)
target_link_options(zeph_program_flags INTERFACE -Wl,--gc-sections)
if(NOT ZEPH_SANITIZE)
    target_link_options(zeph_program_flags INTERFACE
        -static-libstdc++ -static-libgcc -Wl,--as-needed -Wl,-O1 -Wl,--hash-style=gnu -Wl,-z,now
        -Wl,-z,noseparate-code)
    # From version 2.36 of the C library on.
    check_linker_flag(CXX -Wl,-z,pack-relative-relocs ZEPH_LINKER_PACKS)
    if(ZEPH_LINKER_PACKS)
        target_link_options(zeph_program_flags INTERFACE -Wl,-z,pack-relative-relocs)
    endif()
endif()

# zeph_folder(NAME SOURCE...): the object library of one folder of src/.
function(zeph_folder name)
    add_library(zeph_${name} OBJECT ${ARGN})
    target_link_libraries(zeph_${name} PRIVATE zeph_flags)
    # Programs alone are made of it, and these reach their own variables directly.
    set_target_properties(zeph_${name} PROPERTIES POSITION_INDEPENDENT_CODE OFF)
    target_compile_options(zeph_${name} PRIVATE -fPIE)
endfunction()
