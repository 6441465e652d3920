# Linked with the shared library, as a host is, and compiled as hosts are: the program shows its own symbols to the library.
qz_test_program(abi SHARED SOURCES abi/neighbour.cpp)
set_target_properties(qz_test_abi PROPERTIES CXX_VISIBILITY_PRESET default)
