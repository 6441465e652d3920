qz_test_program(gallery PROGRAMS gallery)
