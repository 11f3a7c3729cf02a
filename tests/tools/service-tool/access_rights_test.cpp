#include "tools/service-tool/access_rights.h"

#include <aclapi.h>
#include <gmock/gmock.h>
#include <sddl.h>

#include <functional>
#include <string>
#include <vector>

#include "tests/support/scratch_folder.h"

namespace service_tool {
namespace {

using testing::ElementsAre;

// Wine's file systems don't store everything, so the tests check the calls themselves.
using SetSecurityFunction = decltype(&::SetSecurityInfo);
std::function<DWORD(SECURITY_INFORMATION, PSID, PACL)> onSetSecurity;

DWORD WINAPI EnterSetSecurity(HANDLE, SE_OBJECT_TYPE, SECURITY_INFORMATION parts, PSID owner, PSID,
                              PACL list, PACL) {
    return onSetSecurity ? onSetSecurity(parts, owner, list) : DWORD{ERROR_SUCCESS};
}

}  // namespace
}  // namespace service_tool

// The linker prefers the program's own pointer to the import library's.
extern "C" {
extern service_tool::SetSecurityFunction __imp_SetSecurityInfo;
service_tool::SetSecurityFunction __imp_SetSecurityInfo = service_tool::EnterSetSecurity;
}

namespace service_tool {
namespace {

/// "owner S-1-5-32-544" or "list 2 protected", call by call.
std::vector<std::string> CallsOf(const std::wstring& folder, DWORD& result) {
    std::vector<std::string> calls;
    onSetSecurity = [&calls](SECURITY_INFORMATION parts, PSID owner, PACL list) -> DWORD {
        if (parts == OWNER_SECURITY_INFORMATION) {
            char* text = nullptr;
            ::ConvertSidToStringSidA(owner, &text);
            calls.push_back(std::string("owner ") + text);
            ::LocalFree(text);
        } else {
            calls.push_back(
                "list " + std::to_string(list == nullptr ? -1 : int{list->AceCount}) +
                ((parts & PROTECTED_DACL_SECURITY_INFORMATION) != 0 ? " protected" : "") +
                ((parts & UNPROTECTED_DACL_SECURITY_INFORMATION) != 0 ? " inherited" : ""));
        }
        return ERROR_SUCCESS;
    };
    result = RestrictFolder(folder);
    onSetSecurity = nullptr;
    return calls;
}

TEST(RestrictFolder, TakesTheOwnershipFirstThenTheRights_OfFolderAndContents) {
    const test::ScratchFolder scratch;
    std::filesystem::create_directories(scratch.Path() / L"sub");
    test::WriteFileBytes(scratch.Path() / L"sub" / L"left-by-somebody.txt", "x");
    DWORD result = 1;
    EXPECT_THAT(CallsOf(scratch.Path().wstring(), result),
                ElementsAre("owner S-1-5-32-544", "list 2 protected",    // the folder
                            "owner S-1-5-32-544", "list 0 inherited",    // sub
                            "owner S-1-5-32-544", "list 0 inherited"));  // the file
    EXPECT_EQ(result, DWORD{ERROR_SUCCESS});
}

TEST(RestrictFolder, RefusedOwnership_IsTheErrorAndNoRightsAreChanged) {
    const test::ScratchFolder scratch;
    int calls = 0;
    onSetSecurity = [&calls](SECURITY_INFORMATION, PSID, PACL) -> DWORD {
        ++calls;
        return ERROR_INVALID_OWNER;
    };
    EXPECT_EQ(RestrictFolder(scratch.Path().wstring()), DWORD{ERROR_INVALID_OWNER});
    onSetSecurity = nullptr;
    EXPECT_EQ(calls, 1);
}

TEST(RestrictFolder, NoSuchFolder_IsTheError) {
    EXPECT_EQ(RestrictFolder(L"C:\\no such folder"), DWORD{ERROR_FILE_NOT_FOUND});
}

TEST(IsRestricted, OwnerAndListMustBeExactlyThose) {
    EXPECT_TRUE(IsRestricted(L"O:BAD:PAI(A;OICI;FA;;;SY)(A;OICI;FA;;;BA)"));
    EXPECT_TRUE(IsRestricted(L"O:BAD:P(A;OICI;FA;;;BA)(A;OICI;FA;;;SY)"));
    for (const wchar_t* rights :
         {L"O:BUD:PAI(A;OICI;FA;;;SY)(A;OICI;FA;;;BA)",                  // another owner
          L"O:BAD:AI(A;OICI;FA;;;SY)(A;OICI;FA;;;BA)",                   // inherits
          L"O:BAD:PAI(A;OICI;FA;;;SY)(A;OICI;FA;;;BA)(A;OICI;FR;;;BU)",  // others read
          L"O:BAD:PAI(A;OICI;FA;;;SY)", L"O:BAD:PAI(A;OICI;FR;;;SY)(A;OICI;FA;;;BA)",
          L"O:BAD:PAI(D;OICI;FA;;;SY)(A;OICI;FA;;;BA)", L"O:BAD:NO_ACCESS_CONTROL", L"O:BAD:P",
          L""}) {
        EXPECT_FALSE(IsRestricted(rights)) << testing::PrintToString(std::wstring(rights));
    }
}

TEST(ReadRights, NamesAnOwner) {
    const test::ScratchFolder scratch;
    std::wstring rights;
    ASSERT_EQ(ReadRights(scratch.Path().wstring(), rights), DWORD{ERROR_SUCCESS});
    EXPECT_TRUE(rights.starts_with(L"O:"));
    EXPECT_EQ(ReadRights(L"C:\\no such folder", rights), DWORD{ERROR_FILE_NOT_FOUND});
}

}  // namespace
}  // namespace service_tool
