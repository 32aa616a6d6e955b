// What WMI delivers, real and made by hand.
#include "VelmoraCommon/diagnostics/GMProcessEventSink.h"

#include <map>
#include <string>

#include <gtest/gtest.h>

#include "VelmoraCommon/frame/internal/Com.h"

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
        *value = self->properties[name];
        if (value->vt == VT_BSTR)
            value->bstrVal = SysAllocString(value->bstrVal);
        else if (value->vt == VT_UNKNOWN)
            ++s_references;
        return self->properties.size() == 1 ? E_FAIL : S_OK;
    }

    Object & With(wchar_t const * name, VARTYPE type, void const * value)
    {
        properties[name].vt = type;
        properties[name].byref = const_cast<void *>(value);
        return *this;
    }

    void * const * table = functions;
    std::map<std::wstring, VARIANT> properties;
    static void * const functions[5];
};
void * const Object::functions[5] = {
    reinterpret_cast<void *>(&Query), reinterpret_cast<void *>(&Add),
    reinterpret_cast<void *>(&Release), nullptr, reinterpret_cast<void *>(&Get)};

} // namespace

TEST(GMProcessEventSink, TellsProcessesFromOtherObjects)
{
    Object o[7]; // the last one is broken
    auto const number = reinterpret_cast<void *>(-7);
    o[0].With(L"__Class", VT_BSTR, L"Win32_Process").With(L"Name", VT_BSTR, L"a");
    o[0].With(L"ProcessID", VT_I4, number).With(L"CommandLine", VT_BSTR, L"c");
    o[1].With(L"__Class", VT_BSTR, L"Win32_Process").With(L"ExecutablePath", VT_BSTR, L"b");
    o[2].With(L"__Class", VT_BSTR, L"__InstanceCreationEvent")
        .With(L"TargetInstance", VT_UNKNOWN, o);
    o[3].With(L"__Class", VT_BSTR, L"__InstanceDeletionEvent");
    o[3].With(L"TargetInstance", VT_UNKNOWN, o + 1);
    o[4].With(L"__Class", VT_BSTR, L"__InstanceCreationEvent").With(L"TargetInstance", VT_I4, o);
    o[5].With(L"__Class", VT_BSTR, L"win32_process");
    void * objects[] = {o, o + 6, o + 4, o + 5, o + 1, o + 2, o + 3};
    Listener listener;
    auto * const sink = new GMProcessEventSink(&listener);
    EXPECT_EQ(1u, sink->AddRef());
    EXPECT_EQ(S_OK, sink->Indicate(-1, nullptr));
    EXPECT_EQ(S_OK, sink->Indicate(7, reinterpret_cast<IWbemClassObject **>(objects)));
    EXPECT_EQ(L"4294967289a ,4294967289ac 0 ,0b +4294967289a +,4294967289ac -0 -,0b ",
              listener.heard);
    EXPECT_EQ(0, s_references);
    void * out = nullptr;
    EXPECT_EQ(E_NOINTERFACE, sink->QueryInterface(IID_IDispatch, &out));
    EXPECT_EQ(S_OK, sink->QueryInterface(IID_IWbemObjectSink, &out));
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
