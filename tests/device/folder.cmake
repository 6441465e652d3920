# The device class is tested with the simulated controller of the device tool.
qz_test_program(device SOURCES ${PROJECT_SOURCE_DIR}/apps/qzdevice/controller.cpp INCLUDES ${PROJECT_SOURCE_DIR}/apps)
