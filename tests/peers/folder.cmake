# The programs of other people, from a script that leaves out what is not installed.
if(TARGET http_files AND NOT WIN32 AND NOT CMAKE_CROSSCOMPILING)
    find_package(Python3 COMPONENTS Interpreter)
    if(Python3_FOUND)
        add_executable(qz_peer_host peers/host.cpp)
        target_link_libraries(qz_peer_host PRIVATE qzlib::qzlib qzlib_flags)
        add_custom_target(qz_test_peers ALL DEPENDS qz_peer_host http_files)
        add_test(NAME qz_test_peers
            COMMAND Python3::Interpreter ${CMAKE_CURRENT_SOURCE_DIR}/peers/peers_test.py $<TARGET_FILE:http_files>
                $<TARGET_FILE:qz_peer_host> ${PROJECT_SOURCE_DIR}/docs/scaling.md ${qz_results}/qz_test_peers.xml)
        set_tests_properties(qz_test_peers PROPERTIES LABELS gtest TIMEOUT 300)
    endif()
endif()
