// One text of each kind that the check of the page looks for, and some that it doesn't. Never built
// into anything.

#include "framework/logger/internal_trace.h"
#include "framework/logger/log_line.h"
#include "framework/system/console.h"
#include "framework/system/platform.h"
#include "framework/system/trace.h"

namespace test {
namespace {

constexpr std::uint32_t ErrorLevel = 1;
constexpr std::uint32_t TraceLevel = 4;
constexpr const wchar_t* Folder = L"%ALLUSERSPROFILE%\\Velmora\\";

void Fail(const wchar_t* error) {
    framework::WriteToConsole(error);
}

}  // namespace

void AllKinds(const wchar_t* path, bool soft) {
    constexpr framework::LogSite Site = {L"texts", L"AllKinds"};
    framework::LogError(Site, L"known error %lu in %s \n", ::GetLastError(), path);
    framework::LogError({L"texts", L"AllKinds"}, L"lost error (%lu) of %s\n", ::GetLastError(),
                        path);
    framework::LogWarning(Site, L"lost warning");
    framework::LogLine(soft ? framework::LevelWarning : framework::LevelError, Site,
                       L"lost choice");
    framework::LogTrace(Site, L"an ordinary line, not looked for");
    framework::LogTrace(Site, L"lost trace that tells of something failed");
    framework::InternalTrace(framework::LevelError.Bit,
                             L"lost sentence that goes on "
                             L"in a second piece %lu",
                             ::GetLastError());
    framework::InternalTrace(framework::LevelTrace.Bit, L"not looked for either");
    framework::SystemTrace(ErrorLevel, L"lost answer of \"%s\"", path);
    framework::SystemTrace(TraceLevel, L"nor this");
    framework::ConsolePrint(L"%ws", Folder);
    framework::ConsolePrint(L"lost print [%s]\n", path);
    Fail(L"lost refusal\n");
}

}  // namespace test
