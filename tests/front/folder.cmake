# The server in strict mode with curl, and behind nginx, from a script that leaves out what is not installed.
if(NOT WIN32 AND NOT CMAKE_CROSSCOMPILING)
    find_package(Python3 COMPONENTS Interpreter)
    if(Python3_FOUND)
        add_executable(qz_front_host front/host.cpp)
        target_link_libraries(qz_front_host PRIVATE qzlib::qzlib qzlib_flags)
        add_custom_target(qz_test_front ALL DEPENDS qz_front_host)
        add_test(NAME qz_test_front
            COMMAND Python3::Interpreter ${CMAKE_CURRENT_SOURCE_DIR}/front/front_test.py $<TARGET_FILE:qz_front_host>
                ${CMAKE_CURRENT_SOURCE_DIR}/net/smuggling.txt ${qz_results}/qz_test_front.xml)
        set_tests_properties(qz_test_front PROPERTIES LABELS gtest TIMEOUT 300)
    endif()
endif()
