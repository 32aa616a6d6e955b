// What WMI delivers, real and made by hand.
#include "VelmoraCommon/diagnostics/GMProcessEventSink.h"

#include <map>
#include <string>

#include <gtest/gtest.h>

#include "VelmoraCommon/frame/internal/Com.h"

#include <comdef.h>

namespace Velmora::Testing
{

namespace
{

class Listener : public GMWMIProcessEventHandler
{
public:
    void OnProcessCreated(unsigned long id, wchar_t const * name) override { Note(L"+", id, name); }
    void OnProcessClosed(unsigned long id, wchar_t const * name) override { Note(L"-", id, name); }
    void OnProcessFound(unsigned long id, wchar_t const * name) override { Note(L"", id, name); }
    void OnProcessCreatedEx(ProcessInfo info) override { Note(L"+,", info); }
    void OnProcessClosedEx(ProcessInfo info) override { Note(L"-,", info); }
    void OnProcessFoundEx(ProcessInfo info) override { Note(L",", info); }

    std::wstring heard;
    ScopedKernelObject const foundThis{CreateEventW(nullptr, TRUE, FALSE, nullptr)};

private:
    void Note(std::wstring const & sign, unsigned long id, std::wstring const & text)
    {
        heard += sign + std::to_wstring(id) + text + L" ";
    }
    void Note(std::wstring const & sign, ProcessInfo const & info)
    {
        Note(sign, info.m_processId, info.m_name + info.m_executablePath + info.m_commandLine);
        if (info.m_processId == GetCurrentProcessId())
            SetEvent(foundThis.Get());
    }
};

int s_references; // of all objects

/// An object of WMI with the operations that are called. One without properties fails.
struct Object
{
    static HRESULT WINAPI Query(Object * self, REFIID, void ** out)
    {
        ++s_references;
        *out = self;
        return S_OK;
    }
    static ULONG WINAPI Add(Object *) { return ULONG(++s_references); }
    static ULONG WINAPI Release(Object *) { return ULONG(--s_references); }
    static HRESULT WINAPI Get(Object * self, wchar_t const * name, long, VARIANT * value, long *,
                              long *)
    {
        return self->properties.empty() ? E_FAIL : VariantCopy(value, &self->properties[name]);
    }

    static inline void * const functions[] = {
        reinterpret_cast<void *>(&Query), reinterpret_cast<void *>(&Add),
        reinterpret_cast<void *>(&Release), nullptr, reinterpret_cast<void *>(&Get)};
    void * const * table = functions;
    std::map<std::wstring, _variant_t> properties;
};

DWORD WINAPI CountUpAndDown(void * sink)
{
    for (int i = 0; i != 100000; ++i, static_cast<IUnknown *>(sink)->Release())
        static_cast<IUnknown *>(sink)->AddRef();
    return 0;
}

} // namespace

TEST(GMProcessEventSink, TellsProcessesFromOtherObjects)
{
    _variant_t const process(L"Win32_Process");
    Object broken;
    Object a;
    a.properties = {
        {L"__Class", process}, {L"Name", L"a"}, {L"ProcessID", -7L}, {L"CommandLine", L"c"}};
    Object b;
    b.properties = {{L"__Class", process}, {L"ExecutablePath", L"b"}};
    Object lowerCase = b;
    lowerCase.properties[L"__Class"] = L"win32_process";
    Object made;
    made.properties = {{L"__Class", L"__InstanceCreationEvent"},
                       {L"TargetInstance", reinterpret_cast<IUnknown *>(&a)}};
    Object gone;
    gone.properties = {{L"__Class", L"__InstanceDeletionEvent"},
                       {L"TargetInstance", reinterpret_cast<IUnknown *>(&b)}};
    Object empty = made;
    empty.properties[L"TargetInstance"] = 7L;
    int const references = s_references;

    Object * objects[] = {&a, &broken, &empty, &lowerCase, &b, &made, &gone};
    Listener listener;
    auto * const sink = new GMProcessEventSink(&listener);
    EXPECT_EQ(1u, sink->AddRef());
    EXPECT_EQ(S_OK, sink->Indicate(-1, nullptr));
    EXPECT_EQ(S_OK, sink->Indicate(7, reinterpret_cast<IWbemClassObject **>(objects)));
    EXPECT_EQ(L"4294967289a ,4294967289ac 0 ,0b +4294967289a +,4294967289ac -0 -,0b ",
              listener.heard);
    EXPECT_EQ(references, s_references);
    void * out = nullptr;
    EXPECT_EQ(E_NOINTERFACE, sink->QueryInterface(IID_IDispatch, &out));
    EXPECT_EQ(S_OK, sink->QueryInterface(IID_IWbemObjectSink, &out));
    HANDLE others[4]; // each leaves the count as it was
    for (HANDLE & other : others)
        other =
            CreateThread(nullptr, 0, &CountUpAndDown, static_cast<IUnknown *>(sink), 0, nullptr);
    for (HANDLE const other : others)
    {
        WaitForSingleObject(other, INFINITE);
        CloseHandle(other);
    }
    EXPECT_EQ(1u, sink->Release());
    EXPECT_EQ(0u, sink->Release());
}

TEST(GMProcessEventSink, HearsOfThisProcessFromTheSystem)
{
    ComApartment const apartment(COINIT_MULTITHREADED);
    Listener listener;
    ComPtr<IWbemLocator> locator;
    ComPtr<IWbemServices> services;
    ScopedBstr const place(SysAllocString(L"ROOT\\CIMV2"));
    ScopedBstr const language(SysAllocString(L"WQL"));
    ScopedBstr const query(SysAllocString(L"SELECT * FROM Win32_Process"));
    ASSERT_EQ(S_OK, CoCreateInstance(CLSID_WbemLocator, nullptr, CLSCTX_INPROC_SERVER,
                                     IID_PPV_ARGS(&locator)));
    ASSERT_EQ(S_OK, locator->ConnectServer(place.Get(), nullptr, nullptr, nullptr, 0, nullptr,
                                           nullptr, &services));
    ComPtr<GMProcessEventSink> const sink(new GMProcessEventSink(&listener));
    ASSERT_EQ(S_OK, services->ExecQueryAsync(language.Get(), query.Get(), 0, nullptr, sink.Get()));
    EXPECT_EQ(WAIT_OBJECT_0, WaitForSingleObject(listener.foundThis.Get(), 60000));
    services->CancelAsyncCall(sink.Get());
    EXPECT_NE(std::wstring::npos, listener.heard.find(L"diagnostics_tests.exe"));
}

} // namespace Velmora::Testing
