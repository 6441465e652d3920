# Language, warnings, sanitizers and output folders, shared by every target of the tree.

set(CMAKE_CXX_STANDARD 20)
set(CMAKE_CXX_STANDARD_REQUIRED ON)
set(CMAKE_CXX_EXTENSIONS OFF)
set(CMAKE_CXX_VISIBILITY_PRESET hidden)
set(CMAKE_VISIBILITY_INLINES_HIDDEN ON)
set(CMAKE_EXPORT_COMPILE_COMMANDS ON)

# Programs and the library stand beside each other, so that a DLL is found without a search path.
set(CMAKE_RUNTIME_OUTPUT_DIRECTORY ${CMAKE_BINARY_DIR}/bin)
set(CMAKE_LIBRARY_OUTPUT_DIRECTORY ${CMAKE_BINARY_DIR}/lib)
set(CMAKE_ARCHIVE_OUTPUT_DIRECTORY ${CMAKE_BINARY_DIR}/lib)

if(QZLIB_CCACHE AND NOT CMAKE_CXX_COMPILER_LAUNCHER)
    find_program(QZLIB_CCACHE_PROGRAM ccache)
    if(QZLIB_CCACHE_PROGRAM)
        set(CMAKE_CXX_COMPILER_LAUNCHER ${QZLIB_CCACHE_PROGRAM})
    endif()
endif()

# qzlib_flags: how our own sources are compiled and our own programs linked. qzlib_link_flags: the linking half.
add_library(qzlib_link_flags INTERFACE)
add_library(qzlib_flags INTERFACE)
target_link_libraries(qzlib_flags INTERFACE qzlib_link_flags)

# Files and tables hold doubles: a product must not be fused with a sum on one machine and not on another.
target_compile_options(qzlib_flags INTERFACE -Wall -Wextra -Wpedantic -Wshadow -ffp-contract=off)
if(QZLIB_WERROR)
    target_compile_options(qzlib_flags INTERFACE -Werror)
endif()

if(QZLIB_SANITIZE)
    target_compile_options(qzlib_flags INTERFACE -fsanitize=${QZLIB_SANITIZE} -fno-sanitize-recover=all
                                                 -fno-omit-frame-pointer)
    target_link_options(qzlib_link_flags INTERFACE -fsanitize=${QZLIB_SANITIZE})
    target_compile_definitions(qzlib_flags INTERFACE _GLIBCXX_ASSERTIONS)
elseif(NOT WIN32)
    # A symbol that nobody defines is an error here and not at a host's first call.
    target_link_options(qzlib_link_flags INTERFACE $<$<STREQUAL:$<TARGET_PROPERTY:TYPE>,SHARED_LIBRARY>:-Wl,-z,defs>)
endif()
if(WIN32)
    # The compiler's runtime goes inside: a program or DLL of ours asks for system DLLs only.
    target_link_options(qzlib_link_flags INTERFACE -static)
endif()

# qz_keep_platform_sources(VARIABLE): takes those sources out of a list whose names end in another platform's name.
function(qz_keep_platform_sources variable)
    if(WIN32)
        list(FILTER ${variable} EXCLUDE REGEX "_posix\\.cpp$")
    else()
        list(FILTER ${variable} EXCLUDE REGEX "_windows\\.cpp$")
    endif()
    set(${variable} ${${variable}} PARENT_SCOPE)
endfunction()
