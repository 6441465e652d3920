# The simulated controller, which this program starts by itself, is the device tool's.
file(GLOB sources CONFIGURE_DEPENDS
    ${PROJECT_SOURCE_DIR}/apps/qzdevice/controller.cpp ${PROJECT_SOURCE_DIR}/apps/qzdevice/line_*.cpp)
qz_keep_platform_sources(sources)
target_sources(qzmon PRIVATE ${sources})

set(web ${CMAKE_CURRENT_LIST_DIR}/web)
qz_embed_files(qzmon qzmon web_files.h ${web}/monitor.html ${web}/monitor.css ${web}/monitor.js)
target_include_directories(qzmon PRIVATE ${CMAKE_CURRENT_LIST_DIR})

if(WIN32)
    target_link_libraries(qzmon PRIVATE advapi32 psapi)
endif()
