# The program kills a copy of itself, and lets the tool check what is left.
if(NOT WIN32)
    qz_test_program(kill OWN_MAIN PROGRAMS qzdb INCLUDES ${CMAKE_CURRENT_SOURCE_DIR}/kill)
endif()
