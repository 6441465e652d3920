# The tools' own sources but their main, so that hundreds of runs fit in one process; and the programs for a few.
file(GLOB sources CONFIGURE_DEPENDS ${PROJECT_SOURCE_DIR}/apps/common/*.cpp
    ${PROJECT_SOURCE_DIR}/apps/qzdb/*.cpp ${PROJECT_SOURCE_DIR}/apps/qzdevice/*.cpp)
list(FILTER sources EXCLUDE REGEX "/main\\.cpp$")
# Of the monitor what does not serve its page: tests/browser has that.
foreach(part access text json_writer json_reader settings store store_read pictures simulator device)
    list(APPEND sources ${PROJECT_SOURCE_DIR}/apps/qzmon/${part}.cpp)
endforeach()
qz_keep_platform_sources(sources)
qz_test_program(apps SOURCES ${sources} INCLUDES ${PROJECT_SOURCE_DIR}/apps PROGRAMS qzdb qzdevice)
