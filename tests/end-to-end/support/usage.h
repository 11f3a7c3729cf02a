#ifndef TESTS_END_TO_END_SUPPORT_USAGE_H
#define TESTS_END_TO_END_SUPPORT_USAGE_H

#include <string>

namespace test {

/// The bytes of the usage on a standard output that is a file or pipe.
inline const std::string UsageOutput =
    "Start options:\r\n"
    " -run               to run as application \r\n"
    " -dump <processIdStr> <threadIdStr> <exceptionInformationStr> to to create dump of specified "
    "process\r\n"
    " -zevrunzip         to upzip zevr archive into {rootpath}\r\n"
    "Optional parameters:\r\n"
    " -sleep <seconds>   time to sleep before starting Keldane (can be used for connecting to "
    "process for debugging purposes) \r\n"
    " -test              run probe-plain.exe to trigger OAS callback (for debugging purposes) \r\n"
    " -log-console       enable log to console instead of file \r\n";

}  // namespace test

#endif  // TESTS_END_TO_END_SUPPORT_USAGE_H
