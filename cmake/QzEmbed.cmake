# qz_embed_files(TARGET NAMESPACE HEADER FILE...): compiles the bytes of files into a target.
#
# Each file becomes a `const std::string_view` in the namespace, named for the file: monitor.html is kMonitorHtml.
# HEADER declares them. An edit of a file compiles that file's bytes again.
#
# This file is also the script that writes such a source at build time:
#   cmake -D FILE=... -D OUTPUT=... -D SYMBOL=... -D NAMESPACE=... -D HEADER=... -P QzEmbed.cmake

if(CMAKE_SCRIPT_MODE_FILE)
    file(READ ${FILE} bytes HEX)
    if(bytes STREQUAL "")
        message(FATAL_ERROR "${FILE} is empty")
    endif()
    cmake_path(GET FILE FILENAME name)
    # 24 bytes a line.
    string(REGEX REPLACE "([0-9a-f][0-9a-f])" "'\\\\x\\1'," bytes "${bytes}")
    string(REPEAT "'[^']*'," 24 line)
    string(REGEX REPLACE "(${line})" "\\1\n    " bytes "${bytes}")
    file(WRITE ${OUTPUT} "// The bytes of ${name}, written by the build.

#include \"${HEADER}\"

namespace ${NAMESPACE}
{

static const char bytes[] = {
    ${bytes}
};
const std::string_view ${SYMBOL}(bytes, sizeof bytes);

}  // namespace ${NAMESPACE}
")
    return()
endif()

set(QZ_EMBED_SCRIPT ${CMAKE_CURRENT_LIST_FILE})

function(qz_embed_files target namespace header)
    foreach(file IN LISTS ARGN)
        cmake_path(GET file FILENAME name)
        string(REGEX MATCHALL "[A-Za-z0-9]+" words ${name})
        set(symbol k)
        foreach(word IN LISTS words)
            string(SUBSTRING ${word} 0 1 first)
            string(SUBSTRING ${word} 1 -1 rest)
            string(TOUPPER ${first} first)
            string(APPEND symbol ${first}${rest})
        endforeach()
        set(output ${CMAKE_CURRENT_BINARY_DIR}/${target}_embedded/${name}.cpp)
        add_custom_command(OUTPUT ${output}
            COMMAND ${CMAKE_COMMAND} -D FILE=${file} -D OUTPUT=${output} -D SYMBOL=${symbol}
                -D NAMESPACE=${namespace} -D HEADER=${header} -P ${QZ_EMBED_SCRIPT}
            DEPENDS ${file} ${QZ_EMBED_SCRIPT}
            COMMENT "Embedding ${name}" VERBATIM)
        target_sources(${target} PRIVATE ${output})
    endforeach()
endfunction()
