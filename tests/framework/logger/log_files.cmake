# The log files: names, directory and links, rotation, compression, retention, the end of logging.
add_test_program(
  framework_log_files_tests HOOKS GUARDED
  SOURCES log_compression_test.cpp
          log_directory_test.cpp
          log_file_name_test.cpp
          log_retention_test.cpp
          log_run.cpp
          logger_closed_file_test.cpp
          logger_first_file_test.cpp
          logger_links_test.cpp
          logger_retention_test.cpp
          logger_rotation_test.cpp
          logger_shutdown_test.cpp
          ../../support/gzip_reader.cpp
          ../../support/link_volume.cpp
          ../../support/zlib_hooks.cpp
  LIBRARIES framework_logger ZLIB::ZLIB)

# zlib is linked statically, so its calls are replaced by the linker; see zlib_hooks.h.
if(NOT MSVC)
  target_link_options(framework_log_files_tests PRIVATE -Wl,--wrap=gzopen -Wl,--wrap=gzwrite
                      -Wl,--wrap=gzclose)
endif()
