#include "tests/end-to-end/support/expected_log.h"

#include "version/version.h"

namespace test {

std::wstring T(const std::wstring& text) {
    return L"[T][quillon] " + text;
}

std::wstring W(const std::wstring& text) {
    return L"[W][quillon] " + text;
}

std::wstring E(const std::wstring& text) {
    return L"[E][quillon] " + text;
}

Records Header(DWORD processId, const std::filesystem::path& executable) {
    return {T(L"build: " + std::to_wstring(version::BuildNumber) + L", process: " +
              std::to_wstring(processId) + L", '" + executable.wstring() + L"'"),
            T(L"0000.00.00 00:00:00 UTC"), T(L"0000.00.00 00:00:00 LOCAL"),
            T(L"ExceptionFilter was created")};
}

Records Parameters(const Records& arguments) {
    Records records = {T(L"Start paramers cnt = " + std::to_wstring(arguments.size()) + L" ")};
    for (std::size_t i = 0; i < arguments.size(); ++i) {
        records.push_back(T(L"Parameter " + std::to_wstring(i) + L" = " + arguments[i]));
    }
    return records;
}

Records OrderlyEnd() {
    return {T(L"ExceptionFilter was removed"), T(L"End")};
}

Records Join(std::initializer_list<Records> parts) {
    Records all;
    for (const Records& part : parts) {
        all.insert(all.end(), part.begin(), part.end());
    }
    return all;
}

Records WholeLog(DWORD processId, const std::filesystem::path& executable, const Records& arguments,
                 const Records& body) {
    Records all = {executable.wstring()};
    all.insert(all.end(), arguments.begin(), arguments.end());
    return Join({Header(processId, executable), Parameters(all), body, OrderlyEnd()});
}

std::wstring StatusText(const wchar_t* state, DWORD exitCode, DWORD waitHint, DWORD accepted,
                        DWORD checkpoint) {
    return std::wstring(L"WindowsServiceBase->SetServiceStatus: dwCurrentState = ") + state +
           L", dwWin32ExitCode = " + std::to_wstring(exitCode) + L", dwWaitHint = " +
           std::to_wstring(waitHint) + L", dwControlsAccepted = " + std::to_wstring(accepted) +
           L", dwCheckPoint = " + std::to_wstring(checkpoint) + L" ";
}

}  // namespace test
