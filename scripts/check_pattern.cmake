# cmake -P check_pattern.cmake: ends with an error if $PATTERN is no regular expression of CMake.
string(REGEX MATCH "$ENV{PATTERN}" found "text")
