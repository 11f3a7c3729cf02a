// The intended bad outcomes of the product, and their reasons.

#include <sstream>
#include <string_view>

#include "tests/faults/outcomes.h"

namespace faults {
namespace {

constexpr When Once = When::Once;
constexpr When Lasting = When::Lasting;
constexpr When Racing = When::Racing;

constexpr const char* Services = "start stop";
constexpr const char* Beginnings = "start console dump usage rotation retention";
constexpr const char* Recorders = "start console rotation retention";
constexpr const char* Endings = "stop console dump usage rotation";
constexpr const char* RecordEndings = "stop console rotation";

constexpr const char* NoSecondTry =
    "nothing tries again to open the first file: this run has no log";
constexpr const char* OneRecord = "a record whose write fails is lost, and nothing else";
constexpr const char* NoDumpFolder =
    "the dump's folder is one above the logs, and nothing but the logger makes it";
constexpr const char* GivenUp =
    "a log whose compressed file can't be opened is given up, so that plain files don't pile up";
constexpr const char* CloseNotLookedAt =
    "the result of gzclose isn't looked at: the last block may be missing";
constexpr const char* LogicStillRuns =
    "the service is reported as stopped while its logic still runs; the process may end meanwhile";
constexpr const char* ThreadStillRuns =
    "nobody knows that the thread still holds the service; the process may end meanwhile";
constexpr const char* ObjectGone =
    "the thread can begin when the object is gone already; nobody looks for that, as only a "
    "refused wait can lead there, and the crash ends the process at whatever it does";
constexpr const char* ErrorReported = "every step that keeps the logic's result away is the result";

constexpr const char* Modes = "start console dump usage unpack";
constexpr const char* ModesWithFilter = "start stop console dump usage";
constexpr const char* NoFilterYet =
    "the exception filter isn't installed yet: the process ends with the exception's code alone";
constexpr const char* NobodyHandles =
    "no mode handles an exception: the process ends with its code and a dump";

constexpr AllowedOutcome Table[] = {
    {"start", "StartServiceCtrlDispatcherW", "no service", Once,
     "there is nobody to tell; the process ends with 0"},
    {"start", "RegisterServiceCtrlHandlerW", "no report", Once,
     "without the handle no status can be sent; the manager gives up on the service"},
    {"start", "SetServiceStatus (running)", "never running", Once,
     "a report that fails is logged and not repeated"},
    {"stop", "SetServiceStatus (stopped)", "no final report", Once,
     "a report that fails is logged and not repeated"},
    {Services, "CreateThread", "stopped with an error", Once, ErrorReported},
    {Services, "WaitForSingleObject (logic)", "stopped with an error", Once, ErrorReported},
    {Services, "WaitForSingleObject (logic)", "controller not freed", Racing, LogicStillRuns},
    {Services, "WaitForSingleObject (logic)", "one record lost", Racing, LogicStillRuns},
    {Services, "WaitForSingleObject (logic)", "records lost", Racing, LogicStillRuns},
    {Services, "WaitForSingleObject (logic)", "exit code 0xC0000005", Racing, ObjectGone},
    {Services, "WaitForSingleObject (logic)", "no end record", Racing, ObjectGone},
    {Services, "WaitForSingleObject (logic)", "damaged log", Racing, ObjectGone},
    {"stop", "WaitForSingleObject (reporter)", "controller not freed", Racing, ThreadStillRuns},
    {"stop", "WaitForSingleObject (reporter)", "exit code 0xC0000005", Racing, ObjectGone},
    {"stop", "WaitForSingleObject (reporter)", "no end record", Racing, ObjectGone},
    {"stop", "WaitForSingleObject (reporter)", "damaged log", Racing, ObjectGone},
    {"stop", "WaitForSingleObject (action)", "controller not freed", Racing, ThreadStillRuns},
    {"stop", "WaitForSingleObject (action)", "exit code 0xC0000005", Racing, ObjectGone},
    {"stop", "WaitForSingleObject (action)", "no end record", Racing, ObjectGone},
    {"stop", "WaitForSingleObject (action)", "damaged log", Racing, ObjectGone},
    {Services, "GetExitCodeThread", "stopped with an error", Once, ErrorReported},

    {"console", "SetConsoleCtrlHandler", "exit code 0xC000013A", Once,
     "the result isn't tested; Ctrl+C then ends the process as the platform does"},
    {"console", "SetConsoleCtrlHandler", "no end record", Once, "the process is ended"},
    {"console", "SetConsoleCtrlHandler", "controller not freed", Once, "the process is ended"},
    {"console", "SetEvent", "second Ctrl+C", Once,
     "the result isn't tested; the run waits for the next Ctrl+C"},
    {"console", "SetEvent", "exit code 0xC000013A", Lasting, "the run waits until it is ended"},
    {"console", "SetEvent", "no end record", Lasting, "the process is ended"},
    {"console", "SetEvent", "controller not freed", Lasting, "the process is ended"},

    {"crash dump", "MiniDumpWriteDump", "no dump", Once, "the file stays behind empty"},
    {"dump", "ExpandEnvironmentStringsW (log)", "no dump", Once, NoDumpFolder},
    {"dump", "ExpandEnvironmentStringsW (dump)", "dump beside the program", Once,
     "a dump without a place of its own goes there"},
    {"dump", "CreateDirectoryW (above)", "no dump", Once, NoDumpFolder},
    {"dump", "OpenProcess", "no dump", Once, "the process can't be reached"},
    {"dump", "OpenThread", "no dump", Once, "the thread can't be reached"},
    {"crash dump", "GetModuleFileNameW (dump)", "no dump", Once,
     "the path of the process is asked for before the dump, and a failure ends the work"},
    {"crash dump", "CreateFileW (dump)", "no dump", Once, "there is no other place for it"},

    {"start console", "ExpandEnvironmentStringsW (log)", "records lost", Once,
     "an empty folder keeps the logger from opening a file under a wrong name"},
    {"start console dump usage", "ExpandEnvironmentStringsW (log)", "no end record", Once,
     "there is no log"},
    {Recorders, "CreateDirectoryW", "records lost", Once, NoSecondTry},
    {Beginnings, "CreateDirectoryW", "no end record", Once, NoSecondTry},
    {Recorders, "CreateFileW (first log)", "records lost", Once, NoSecondTry},
    {Beginnings, "CreateFileW (first log)", "no end record", Once, NoSecondTry},
    {Recorders, "WriteFile (first mark)", "records lost", Once, NoSecondTry},
    {Beginnings, "WriteFile (first mark)", "no end record", Once, NoSecondTry},
    {"start stop console rotation retention", "WriteFile (record)", "one record lost", Once,
     OneRecord},
    {"stop console dump usage rotation retention", "WriteFile (record)", "no end record", Once,
     OneRecord},
    {"start stop console rotation retention", "WriteFile (record)", "records lost", Lasting,
     OneRecord},

    {RecordEndings, "gzopen", "records lost", Once, GivenUp},
    {Endings, "gzopen", "no end record", Once, GivenUp},
    {RecordEndings, "gzclose", "records lost", Once, CloseNotLookedAt},
    {Endings, "gzclose", "no end record", Once, CloseNotLookedAt},
    {Endings, "gzclose", "damaged log", Once, CloseNotLookedAt},

    {"retention", "FindFirstFileW", "files left", Lasting, "what isn't found isn't deleted"},
    {"retention", "FindNextFileW", "files left", Lasting, "what isn't found isn't deleted"},
    {"retention", "DeleteFileW", "files left", Lasting,
     "a file that can't be deleted stays for the next run"},

    {Modes, "operator new", "ended before the filter", Once, NoFilterYet},
    {ModesWithFilter, "operator new", "ended with a dump", Once, NobodyHandles},
    {"dump", "malloc", "ended with a dump", Lasting, NobodyHandles},
    {Modes, "run-time calloc", "ended before the filter", Once, NoFilterYet},
    {Modes, "run-time malloc", "ended before the filter", Once, NoFilterYet},
    {"rotation stop console", "malloc", "records lost", Once, GivenUp},
    {"rotation stop console usage unpack dump", "malloc", "no end record", Once, GivenUp},
    {"rotation retention", "operator new", "no end record", Lasting,
     "nothing is written to a file for whose header there is no memory"},
    {"retention", "operator new", "files left", Lasting,
     "without memory there is no list of files"},
};

bool Names(const char* scenarios, const std::string& scenario) {
    std::istringstream words(scenarios);
    std::string word;
    while (words >> word) {
        if (word == scenario) {
            return true;
        }
    }
    return false;
}

bool IsAllocation(const AllowedOutcome& entry) {
    const std::string_view call = entry.call;
    return call == "operator new" || call == "malloc" || call.starts_with("run-time ");
}

/// An entry without a use in parentheses covers all uses.
bool IsFor(const AllowedOutcome& entry, const std::string& call) {
    return call == entry.call || call.starts_with(std::string(entry.call) + " (");
}

}  // namespace

std::vector<const AllowedOutcome*> AllowedIn(const std::string& scenario, const FaultPlan& plan) {
    std::vector<const AllowedOutcome*> entries;
    for (const AllowedOutcome& entry : Table) {
        if (Names(entry.scenarios, scenario) && (plan.lasting || entry.when != Lasting) &&
            IsAllocation(entry) == (plan.kind == FaultKind::Allocation)) {
            entries.push_back(&entry);
        }
    }
    return entries;
}

const AllowedOutcome* FindAllowed(const std::string& scenario, const FaultPlan& plan,
                                  const std::string& call, const std::string& outcome) {
    for (const AllowedOutcome* entry : AllowedIn(scenario, plan)) {
        if (IsFor(*entry, call) && outcome == entry->outcome) {
            return entry;
        }
    }
    return nullptr;
}

}  // namespace faults
