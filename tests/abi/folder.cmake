# Linked with the shared library, as a host is.
qz_test_program(abi SHARED)
