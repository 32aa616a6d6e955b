#include "VelmoraCommon/diagnostics/GMProcessEventSink.h"

#include "VelmoraCommon/frame/internal/Com.h"

#include <comdef.h>

namespace Velmora
{
namespace
{

using Handler = GMWMIProcessEventHandler;

/// What the handler hears of objects of one class.
struct ClassRow
{
    wchar_t const * name;
    bool isEvent; // the process is its target
    void (Handler::*tell)(unsigned long, wchar_t const *);
    void (Handler::*tellMore)(Handler::ProcessInfo);
};
constexpr ClassRow classRows[] = {
    {L"__InstanceCreationEvent", true, &Handler::OnProcessCreated, &Handler::OnProcessCreatedEx},
    {L"__InstanceDeletionEvent", true, &Handler::OnProcessClosed, &Handler::OnProcessClosedEx},
    {L"Win32_Process", false, &Handler::OnProcessFound, &Handler::OnProcessFoundEx},
};

bool GetProperty(IWbemClassObject * object, wchar_t const * name, ScopedVariant & value)
{
    return SUCCEEDED(object->Get(name, 0, value.Receive(), nullptr, nullptr));
}

void GetTextProperty(IWbemClassObject * object, wchar_t const * name, GMString & text)
{
    ScopedVariant value;
    if (GetProperty(object, name, value) && value->vt == VT_BSTR)
        text = BstrText(value->bstrVal);
}

/// The row of the object's class; null for any other class.
ClassRow const * FindRow(IWbemClassObject * object)
{
    ScopedVariant value;
    if (!GetProperty(object, L"__Class", value) || value->vt != VT_BSTR)
        return nullptr;
    for (ClassRow const & row : classRows)
    {
        ScopedBstr const name(SysAllocString(row.name));
        if (!name)
            _com_issue_error(E_OUTOFMEMORY);
        if (VarBstrCmp(value->bstrVal, name.Get(), LOCALE_USER_DEFAULT, 0) ==
            static_cast<HRESULT>(VARCMP_EQ))
        {
            return &row;
        }
    }
    return nullptr;
}

void Tell(Handler & handler, IWbemClassObject * object)
{
    ClassRow const * const row = FindRow(object);
    if (row == nullptr)
        return;
    Handler::ProcessInfo info;
    if (row->isEvent)
    {
        ScopedVariant target;
        ComPtr<IWbemClassObject> process;
        if (!GetProperty(object, L"TargetInstance", target) || target->vt != VT_UNKNOWN ||
            target->punkVal == nullptr ||
            FAILED(target->punkVal->QueryInterface(IID_PPV_ARGS(&process))))
        {
            return;
        }
        GMProcessEventSink::GetProcessInfo(process.Get(), info);
    }
    else
        GMProcessEventSink::GetProcessInfo(object, info);
    (handler.*row->tell)(info.m_processId, info.m_name.c_str());
    (handler.*row->tellMore)(info);
}

} // namespace

GMProcessEventSink::GMProcessEventSink(GMWMIProcessEventHandler * handler)
    : m_count(0),
      m_isDone(false),
      m_handler(handler)
{
}

GMProcessEventSink::~GMProcessEventSink() { m_isDone = true; }

HRESULT STDMETHODCALLTYPE GMProcessEventSink::QueryInterface(REFIID id, void ** object)
{
    bool const isKnown = id == IID_IUnknown || id == IID_IWbemObjectSink;
    *object = isKnown ? static_cast<IWbemObjectSink *>(this) : nullptr;
    if (!isKnown)
        return E_NOINTERFACE;
    AddRef();
    return S_OK;
}

ULONG STDMETHODCALLTYPE GMProcessEventSink::AddRef()
{
    m_isDone = false;
    return static_cast<ULONG>(InterlockedIncrement(&m_count));
}

ULONG STDMETHODCALLTYPE GMProcessEventSink::Release()
{
    long const count = InterlockedDecrement(&m_count);
    if (count == 0)
        delete this;
    return static_cast<ULONG>(count);
}

HRESULT STDMETHODCALLTYPE GMProcessEventSink::Indicate(long count, IWbemClassObject ** objects)
{
    for (long i = 0; i < count; ++i)
        Tell(*m_handler, objects[i]);
    return S_OK;
}

HRESULT STDMETHODCALLTYPE GMProcessEventSink::SetStatus(long, HRESULT, BSTR, IWbemClassObject *)
{
    return S_OK;
}

void GMProcessEventSink::GetProcessInfo(IWbemClassObject * object, Handler::ProcessInfo & info)
{
    info.m_processId = 0;
    info.m_name.clear();
    info.m_executablePath.clear();
    ScopedVariant id;
    if (GetProperty(object, L"ProcessID", id) && (id->vt == VT_I4 || id->vt == VT_UI4))
        info.m_processId = id->ulVal;
    GetTextProperty(object, L"Name", info.m_name);
    GetTextProperty(object, L"ExecutablePath", info.m_executablePath);
    GetTextProperty(object, L"CommandLine", info.m_commandLine);
}

} // namespace Velmora
