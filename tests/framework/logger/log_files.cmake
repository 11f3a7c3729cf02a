# The log files: names, directory and links, rotation, compression, retention, shutdown.
add_test_program(
  framework_log_files_tests HOOKS GUARDED
  SOURCES log_compression_test.cpp
          log_directory_test.cpp
          log_file_name_test.cpp
          log_retention_test.cpp
          log_run.cpp
          logger_memory_test.cpp
          refused_memory.cpp
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

# zlib is linked statically, so no import pointer can be replaced. The one source that calls it is
# compiled again with other names, and precedes the library's object. See zlib_hooks.h.
set(zlibCaller ${PROJECT_SOURCE_DIR}/framework/logger/log_compression.cpp)
set_source_files_properties(
  ${zlibCaller} PROPERTIES COMPILE_DEFINITIONS
                           "gzopen=HookedGzOpen;gzwrite=HookedGzWrite;gzclose=HookedGzClose")
target_sources(framework_log_files_tests PRIVATE ${zlibCaller})
