# Checks that <qzlib.h>, as it is installed, brings all that the library exports: compiles a mention of each exported class,
# function and variable. The names come from the library itself, so that one which is added later cannot be forgotten.

cmake_minimum_required(VERSION 3.25)

# What hosts do not get: the components of the database engine, and the seam to the platform.
set(inside A_GO ADDRESS BINARY CHARS CONSOLE DATA LINK OBJECTS READ REPAIR ROLLBACK os)

set(work ${WORK_DIR}-interface)
file(REMOVE_RECURSE ${work})

function(run)
    execute_process(COMMAND ${ARGV} RESULT_VARIABLE result OUTPUT_VARIABLE output ERROR_VARIABLE errors)
    if(NOT result EQUAL 0)
        string(JOIN " " command ${ARGV})
        message(FATAL_ERROR "${command}\n${output}${errors}\nexit code ${result}")
    endif()
    set(output "${output}" PARENT_SCOPE)
endfunction()

run(${CMAKE_COMMAND} --install ${BUILD_DIR} --prefix ${work} --component development)

# An import library for Windows has no dynamic symbols, and its own are those of the DLL.
if(LIBRARY MATCHES "\\.a$")
    run(${NM} ${LIBRARY})
else()
    run(${NM} -D --defined-only ${LIBRARY})
endif()

# The outermost name of each symbol: _ZN8QZString6AppendEPKc, _ZTV8QZString, _Z9QZLibInitv.
string(REGEX MATCHALL " _Z(NK?|T[ISV])[0-9]+[A-Za-z_0-9]+" members "${output}")
string(REGEX MATCHALL " (_Z[0-9]+)?QZ[A-Za-z_0-9]+" others "${output}")
set(classes)
foreach(symbol IN LISTS members)
    string(REGEX MATCH "^ _Z[A-Z]+([0-9]+)(.*)" whole "${symbol}")
    string(SUBSTRING "${CMAKE_MATCH_2}" 0 ${CMAKE_MATCH_1} name)
    list(APPEND classes ${name})
endforeach()
list(REMOVE_DUPLICATES classes)
foreach(name IN LISTS inside)
    # The DLL has no symbol of a class without operations, such as A_GO.
    if(NOT name IN_LIST classes AND NOT name STREQUAL "A_GO")
        message(FATAL_ERROR "${name} is not exported any more: take it out of the list in this file")
    endif()
endforeach()
list(REMOVE_ITEM classes ${inside})
set(functions)
foreach(symbol IN LISTS others)
    if(symbol MATCHES "^ _Z([0-9]+)(.*)")
        string(SUBSTRING "${CMAKE_MATCH_2}" 0 ${CMAKE_MATCH_1} name)
    else()
        string(STRIP "${symbol}" name)
    endif()
    list(APPEND functions ${name})
endforeach()
# The version of the symbols stands among them.
list(FILTER functions EXCLUDE REGEX "^QZLIB_")
list(REMOVE_DUPLICATES functions)
list(SORT classes)
list(SORT functions)

# A class must be complete, which a declaration in passing does not make it.
set(source "#include <qzlib.h>\n\n")
foreach(name IN LISTS classes)
    string(APPEND source "static_assert(sizeof(::${name}) > 0);\n")
endforeach()
string(APPEND source "\nnamespace mentioned\n{\n")
foreach(name IN LISTS functions)
    string(APPEND source "using ::${name};\n")
endforeach()
string(APPEND source "}\n")
file(WRITE ${work}/interface.cpp "${source}")
run(${CXX} -std=c++20 -fsyntax-only -I${work}/include/qzlib ${work}/interface.cpp)

list(LENGTH classes class_count)
list(LENGTH functions function_count)
# A guard against a list that stays empty because a tool changed the form of its lines.
if(class_count LESS 150 OR function_count LESS 5)
    message(FATAL_ERROR "only ${class_count} classes and ${function_count} functions and variables were found")
endif()
message(STATUS "<qzlib.h> brings ${class_count} classes, ${function_count} functions and variables")
