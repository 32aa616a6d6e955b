#include <exception>
#include <map>
#include <string>

#include <gmock/gmock.h>

#include "VelmoraCommon/frame/internal/ScopedHandle.h"
#include "tests/support/ChildTask.h"
#include "tests/support/GuardHeap.h"
#include "tests/support/HandleCount.h"
#include "tests/support/RegistrySandbox.h"
#include "tests/support/TemporaryFolder.h"

namespace Velmora::Testing
{

namespace
{

/// Fails the program if the tests leave more handles than there were before them.
class HandleCheck : public ::testing::Environment
{
    void SetUp() override
    {
        UseOnce();
        m_before = HandlesByKind();
    }

    void TearDown() override
    {
        auto const after = HandlesByKind();
        for (auto const & [kind, count] : after)
            EXPECT_LE(count, m_before[kind]) << "handles leaked: " << kind;
    }

    /// The system keeps some handles from their first use on; they are no leak.
    static void UseOnce()
    {
        ScratchKey const key;
        TemporaryFolder const folder;
        WriteBytes(folder.File(L"a"), "a");
        GetPrivateProfileIntW(L"", L"", 0, folder.File(L"a").c_str());
        SCOPED_TRACE("GoogleTest watches a thread from its first trace on");
        for (HKEY root : {HKEY_CLASSES_ROOT, HKEY_LOCAL_MACHINE, HKEY_USERS, HKEY_CURRENT_CONFIG})
        {
            ScopedRegKey opened;
            RegOpenKeyExW(root, L"Software", 0, KEY_READ, opened.Receive());
        }
        OutputDebugStringA(""); // the way GoogleTest reports; the wide form opens less
        try
        {
            throw std::exception(); // the C++ run time makes its locks at the first one
        }
        catch (std::exception const &)
        {
        }
    }

    std::map<std::string, unsigned int> m_before;
};

} // namespace

} // namespace Velmora::Testing

int main(int argc, char ** argv)
{
    // A crash ends the program at once, without a dialog.
    SetErrorMode(SEM_FAILCRITICALERRORS | SEM_NOGPFAULTERRORBOX | SEM_NOOPENFILEERRORBOX);
    Velmora::Testing::InstallGuardHeap();
    if (auto const code = Velmora::Testing::RunChildTask())
        return *code;
    ::testing::InitGoogleMock(&argc, argv);
    ::testing::AddGlobalTestEnvironment(new Velmora::Testing::HandleCheck);
    return RUN_ALL_TESTS();
}
