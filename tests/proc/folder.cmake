# Tests of start and stop.
qz_test_program_per_file(proc)
