#include "tests/framework/exception/crash_path_calls.h"

#include <algorithm>

namespace test {
namespace {

bool IsDumpFile(const std::wstring& name) {
    const std::wstring end = L".dmp";
    return name.size() >= end.size() &&
           name.compare(name.size() - end.size(), end.size(), end) == 0;
}

const char* NameOf(HANDLE handle) {
    if (handle == FakeDumpFile) {
        return "close dump file";
    }
    if (handle == FakeProcess) {
        return "close process";
    }
    if (handle == FakeThread) {
        return "close thread";
    }
    return handle == INVALID_HANDLE_VALUE ? "close invalid" : nullptr;
}

}  // namespace

CrashPathCalls::CrashPathCalls()
    : createFile_([this](const wchar_t* name, DWORD access, DWORD share,
                         SECURITY_ATTRIBUTES* security, DWORD disposition, DWORD attributes,
                         HANDLE templateFile) {
          if (!IsDumpFile(name)) {
              return CreateFileWHook::Real(name, access, share, security, disposition, attributes,
                                           templateFile);
          }
          return OpenDumpFile(name, access, share, security, disposition, attributes, templateFile);
      }),
      miniDump_([this](HANDLE process, DWORD processId, HANDLE file, MINIDUMP_TYPE type,
                       MINIDUMP_EXCEPTION_INFORMATION* exception, auto* userStreams,
                       auto* callback) {
          return WriteDump(process, processId, file, type, exception, userStreams, callback);
      }),
      closeHandle_([this](HANDLE handle) {
          const char* const name = NameOf(handle);
          if (name == nullptr) {
              return CloseHandleHook::Real(handle);
          }
          calls.emplace_back(name);
          return TRUE;
      }),
      terminateProcess_([this](HANDLE process, UINT exitCode) {
          calls.emplace_back("end process");
          endedProcess = process;
          exitCodes.push_back(exitCode);
          return FALSE;
      }) {}

std::size_t CrashPathCalls::Count(const std::string& call) const {
    return static_cast<std::size_t>(std::count(calls.begin(), calls.end(), call));
}

HANDLE CrashPathCalls::OpenDumpFile(const wchar_t* name, DWORD access, DWORD share,
                                    SECURITY_ATTRIBUTES* security, DWORD disposition,
                                    DWORD attributes, HANDLE templateFile) {
    calls.emplace_back("create dump file");
    path = name;
    createArguments = {access, share, disposition, attributes};
    createPointersNull = security == nullptr && templateFile == nullptr;
    ::SetLastError(createError);
    return dumpFile;
}

BOOL CrashPathCalls::WriteDump(HANDLE process, DWORD processId, HANDLE file, MINIDUMP_TYPE type,
                               MINIDUMP_EXCEPTION_INFORMATION* exception, const void* userStreams,
                               const void* callback) {
    calls.emplace_back("write dump");
    dumpedProcess = process;
    dumpedProcessId = processId;
    dumpedInto = file;
    flags = static_cast<std::uint32_t>(type);
    information = *exception;
    dumpPointersNull = userStreams == nullptr && callback == nullptr;
    ::SetLastError(dumpError);
    return dumpResult;
}

}  // namespace test
