// The contents of the executable: its texts letter by letter, and the manifest.

#include <gmock/gmock.h>

#include <cstring>

#include "tests/end-to-end/support/host_folder.h"

namespace {

std::filesystem::path ExecutablePath() {
    return test::ProductFolder() / L"tarnwick-service.exe";
}

const std::string& Image() {
    static const std::string bytes = test::ReadBytes(ExecutablePath());
    return bytes;
}

/// The text with its terminating zero, as in the image.
std::string Utf16(const std::wstring& text) {
    return std::string(reinterpret_cast<const char*>(text.c_str()),
                       (text.size() + 1) * sizeof(wchar_t));
}

/// Texts that administrators' tools and habits depend on, odd spellings and blanks included.
const wchar_t* const WideTexts[] = {
    // settings
    L"VelmoraTarnwickService",
    L"SYSTEM\\CurrentControlSet\\Services\\VelmoraTarnwickService",
    L"%ALLUSERSPROFILE%\\Velmora\\Quillon\\Logs\\",
    L"%ALLUSERSPROFILE%\\Velmora\\Quillon\\tarnwick-service.exe.dmp",
    L"quillon",
    L"DumpType",
    L"TraceLevelsMask",
    L"ExpiredPeriodInDays",
    L"MaxLogFilesSize",
    L"DisableLogRetention",
    // command line
    L"run",
    L"test",
    L"log-console",
    L"sleep",
    L"dump",
    L"zevrunzip",
    L"Options should be started from '-' or '/'\n",
    L"amount of seconds to sleep should be specified \n",
    L"parameters for dump should be specified \n",
    L"Start paramers cnt = %i \n",
    L"Parameter %i = %s\n",
    L"!!! DUMP WAS CREATED !!!\n",
    L"Start options:\n",
    L" -run               to run as application \n",
    L" -dump <processIdStr> <threadIdStr> <exceptionInformationStr> to to create dump of specified "
    L"process\n",
    L" -zevrunzip         to upzip zevr archive into {rootpath}\n",
    L"Optional parameters:\n",
    L" -sleep <seconds>   time to sleep before starting Keldane (can be used for connecting to "
    L"process for debugging purposes) \n",
    L" -test              run probe-plain.exe to trigger OAS callback (for debugging purposes) \n",
    L" -log-console       enable log to console instead of file \n",
    // console run
    L"Keldane is working... Press Ctrl+c to stop \n",
    L"Ctrl+c event was recieved \n",
    L"probe-plain.exe",
    L"PathAppendW error\n",
    L"FindResource error: %d\n",
    L"PathRemoveFileSpecW error: fileName was not removed from Path\n",
    L"CreateChildProcess input asguments not correct: FilePath (%s), pi (%p). \n",
    L"CreateProcess (%s) failed with error (%lu).\n",
    L"DeleteFile error: %d\n",
    // service framework
    L"WindowsServiceBase in OnStart \n",
    L"WindowsServiceBase in OnStop \n",
    L"WindowsServiceBase in OnShutdown \n",
    L"WindowsServiceBase in OnPause \n",
    L"WindowsServiceBase in OnContinue \n",
    L"SERVICE_STOPPED",
    L"SERVICE_START_PENDING",
    L"SERVICE_STOP_PENDING",
    L"SERVICE_RUNNING",
    L"SERVICE_CONTINUE_PENDING",
    L"SERVICE_PAUSE_PENDING",
    L"SERVICE_PAUSED",
    L"WindowsServiceBase->SetServiceStatus: dwCurrentState = %s, dwWin32ExitCode = %lu, dwWaitHint "
    L"= %lu, dwControlsAccepted = %lu, dwCheckPoint = %lu failed with error %lu \n",
    L"WindowsServiceBase->SetServiceStatus: dwCurrentState = %s, dwWin32ExitCode = %lu, dwWaitHint "
    L"= %lu, dwControlsAccepted = %lu, dwCheckPoint = %lu \n",
    L"WindowsServiceBase->EnableStopFromSCM: SERVICE_ACCEPT_STOP set",
    L"Start",
    L"Stop",
    L"Shutdown",
    L"WindowsServiceBase->%s: create hServiceActionRoutine failed with error %lu \n",
    L"WindowsServiceBase->%s: WaitForSingleObject hServiceActionRoutine failed with error %lu \n",
    L"WindowsServiceBase->%s: thread hServiceActionRoutine was finished\n",
    L"WindowsServiceBase->%s: entered ServiceActionRoutine\n",
    L"WindowsServiceBase->%s: pending thread creation failed with error %lu\n",
    L"WindowsServiceBase->%s: pending thread was created\n",
    L"WindowsServiceBase->%s: create hLogicExecutionThread failed with error %lu \n",
    L"WindowsServiceBase->%s: thread with main action logic was created\n",
    L"WindowsServiceBase->%s: WaitForSingleObject hLogicExecutionThread failed with error %lu \n",
    L"WindowsServiceBase->%s: thread with main action logic was finished\n",
    L"WindowsServiceBase->%s: GetExitCodeThread failed with error %lu \n",
    L"WindowsServiceBase->%s: pending thread was finished\n",
    L"WindowsServiceBase->%s: WaitForSingleObject hPendingThread failed with error %lu \n",
    L"WindowsServiceBase->%s: finished successfully \n",
    L"WindowsServiceBase->%s: finished with error %lu \n",
    L"ServiceMain RegisterServiceCtrlHandlerW failed with error %lu \n",
    L"WindowsServiceBase->Pause() command recieved \n",
    L"WindowsServiceBase->Continue() command recieved \n",
    // component host
    L"%s in OnStart started\n",
    L"%s in OnStart finished\n",
    L"%s in OnStop started\n",
    L"%s in OnStop finished \n",
    L"CoInitializeEx successed",
    L"CoInitializeEx failed with hResult %lu",
    L"OrrinCreateComponentModelController failed with error %li",
    L"orrin does not initialized",
    L"Orrin->LoadAddons failed with error %li",
    L"Orrin->Activate failed with error %li",
    L"Orrin->Deactivate started due to QUA-847",
    L"Orrin->Deactivate finished with code %li",
    L"Orrin->NotifyOnStop failed with error %li",
    L"Orrin->Deactivate failed with error %li",
    L"OrrinFreeComponentModelController failed with error %li",
    L"OrrinFreeComponentModelController successed",
    L"RegisterInterface for QuillonInteractionInterface failed with error %lu",
    L"RegisterInterface for QuillonExceptionInterface failed with error %lu",
    L"Intterrupt Callback occur\n",
    L"Enable service stop ORRIN request occur",
    L"SetPreExceptionCallback called",
    L"RemovePreExceptionCallback called",
    // crash handling
    L"ExceptionFilter was created",
    L"ExceptionFilter was removed",
    L"VectoredExceptionProcessing occured for heap corruption",
    L"ExceptionFilter (Thread %lu): exception occur \n",
    L"ExceptionFilter (Thread %lu): critical section begin\n",
    L"ExceptionFilter (Thread %lu): PreActionCallback starts\n",
    L"ExceptionFilter (Thread %lu): PreActionCallback finished\n",
    L"ExceptionFilter (Thread %lu): GetModuleFileNameW failed with error\n",
    L"ExceptionFilter (Thread %lu): start dump creation\n",
    L"\"%ls\" -dump %lu %lu %p",
    L"ExceptionFilter (Thread %lu): CreateProcessW for dumperProcess failed with error %lu\n",
    L"ExceptionFilter (Thread %lu): CreateDumpInThisProcess failed",
    L"ExceptionFilter (Thread %lu): dump creation failed",
    L"ExceptionFilter (Thread %lu): successfully finish dump creation",
    L".dmp",
    L"CreateFileW for file %s failed with error %lu\n",
    L"Minidump written to %s\n",
    L"MiniDumpWriteDump failed with error %lu\n",
    L"OpenProcess for processId %lu failed with error %lu\n",
    L"OpenThread for threadId %lu failed with error %lu\n",
    L"GetModuleFileNameW failed with error %lu\n",
    // log
    L"[%04hu%02hu%02hu-%02hu%02hu%02hu-%03hu][%ws][%ws] ",
    L"[%ws(line %u): %ws] ",
    L"build: %u, process: %u, '%s'\n",
    L"%04hu.%02hu.%02hu %02hu:%02hu:%02hu UTC\n",
    L"%04hu.%02hu.%02hu %02hu:%02hu:%02hu LOCAL\n",
    L"End\n",
    L"FrameworkExternalLogCallbackDefault",
    L"%s%s-%04hu%02hu%02hu-%02hu%02hu%02hu-%03hu.LOGID.log",
    L"Creation new file: ",
    L" , error: ",
    L"Can't append byte order mark",
    L"Write operation failed, error: ",
    L"(written bytes) != ",
    L"(bytes to write)",
    L"Deleted mount point for \"",
    L"Deleted symlink for \"",
    L"\", Win32 error = ",
    L"*.log",
    L"*.log.gz",
    L"Failed to acquire the log files",
    L"Continues the file search failed",
    L"Failed to convert to FILETIME",
    L"Error: LogRetention::Execute",
    L"CompressFile: CreateFileW failed for %s",
    L"CompressFile: Failed to open ",
    L"CompressFile: ReadFile failed with error %lu for %s",
    L"CompressFile: gzwrite failed for %s",
    L"CompressFile: CloseHandle failed with error %lu for %s",
    // operations without a caller
    L"WriteEventLogEntry: message forming failed %d \n",
    L"SetDwordValueToRegistry (key=%s, valueName=%s): RegOpenKeyW cannot open key because it does "
    L"it exist. Will create a key",
    L"SetDwordValueToRegistry (key=%s, valueName=%s): RegCreateKeyExW failed with error %lu",
    L"SetDwordValueToRegistry: key %s was created",
    L"SetDwordValueToRegistry(key=%s, valueName=%s): RegOpenKeyW failed with error %lu",
    L"SetDwordValueToRegistry: RegSetValueExW (key=%s, valueName=%s) failed with error %lu",
    L"SetDwordValueToRegistry: set success (key=%s, valueName=%s, value=%lu)",
    L"RemoveValueFromRegistry: success (key=%s, valueName=%s)",
    L"RemoveValueFromRegistry (key=%s, valueName=%s): RegDeleteValueW failed with error %lu",
    L"RemoveValueFromRegistry (key=%s, valueName=%s): RegOpenKeyW cannot open key because it does "
    L"it exist",
    L"CreateRegChangeNotifyThread failed with error %lu",
    L"RegChangeNotify: CreateEventA failed with error %lu",
    L"RegChangeNotify: new iteration started",
    L"RegChangeNotify: break because Stop event occured",
    L"RegChangeNotify: RegOpenKeyExW failed with error %lu",
    L"RegChangeNotify: RegNotifyChangeKeyValue failed with error %lu",
    L"RegChangeNotify: WaitForMultipleObjects failed with error %lu",
    L"RegChangeNotify: StopEvent occur",
    L"RegChangeNotify: WaitForMultipleObjects finished with result %lu",
    L"RegChangeNotify: RegChangeNotificationCallback failed with error %lu",
    L"RegChangeNotify: RegCloseKey failed with error %lu",
    L"RegChangeNotify: CloseHandle failed with error %lu",
    L"RegChangeNotify finished syccesfully",
    L"RegChangeNotify finished with error %lu",
    // the source locations of records
    L"wmain",
    L"RunKeldane",
    L"HandlerRoutine",
    L"WindowsServiceBase::SetServiceStatusUnsafe",
    L"WindowsServiceBase::EnableStopFromSCM",
    L"WindowsServiceBase::ServiceAction",
    L"WindowsServiceBase::ServiceActionRoutine",
    L"WindowsServiceBase::ServiceMain",
    L"WindowsServiceBase::Pause",
    L"WindowsServiceBase::Continue",
    L"KeldaneService::OnStart",
    L"KeldaneService::OnStop",
    L"OrrinLoader::OrrinLoader",
    L"OrrinLoader::~OrrinLoader",
    L"OrrinLoader::Start",
    L"OrrinLoader::Stop",
    L"OrrinLoader::OrrinLoggingCallback",
    L"OrrinLoader::OrrinInterruptCallback",
    L"OrrinLoader::RegisterHostComponent",
    L"OrrinLoader::OrrinEnableServiceStop",
    L"OrrinLoader::OrrinSetPreExceptionCallback",
    L"OrrinLoader::OrrinRemovePreExceptionCallback",
};

const char* const NarrowTexts[] = {
    "Quillon",
    "quillon_interaction",
    "quillon_exception",
    "wb",
    "OrrinCreateComponentModelController",
    "OrrinFreeComponentModelController",
    "OrrinBootstrap",
    "orrin-ctrl.dll",
};

TEST(ExecutableImage, WideTexts_StandLetterByLetter) {
    for (const wchar_t* text : WideTexts) {
        EXPECT_NE(Image().find(Utf16(text)), std::string::npos) << testing::PrintToString(text);
    }
}

TEST(ExecutableImage, NarrowTexts_StandLetterByLetter) {
    for (const char* text : NarrowTexts) {
        EXPECT_NE(Image().find(std::string(text, std::strlen(text) + 1)), std::string::npos)
            << text;
    }
}

// Protects the two tests above against a search that finds everything.
TEST(ExecutableImage, MendedSpellings_AreNotThere) {
    for (const wchar_t* text : {L"Ctrl+c event was received \n", L"Start parameters cnt = %i \n",
                                L"CoInitializeEx succeeded", L"Interrupt Callback occur\n"}) {
        EXPECT_EQ(Image().find(Utf16(text)), std::string::npos) << testing::PrintToString(text);
    }
}

TEST(ExecutableImage, ManifestAsksForNoElevation) {
    EXPECT_NE(Image().find("level=\"asInvoker\""), std::string::npos);
}

}  // namespace
