qz_test_program(examples PROGRAMS http_files http_status http_get)
