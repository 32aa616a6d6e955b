// COM's interfaces as plain tables of functions: most of them have many that nobody calls here.
#define CINTERFACE

#include "tests/detect/system/FakeWmi.h"

#include <stdexcept>

#include <objbase.h>
#include <wbemcli.h>

namespace Velmora::Testing
{

namespace
{

FakeWmi * s_machine = nullptr;
std::vector<WmiRow> const * s_rows;
std::size_t s_next;
WmiRow const * s_row;

template <class Interface>
int s_references = 0;

template <class Interface>
ULONG STDMETHODCALLTYPE AddRef(Interface * /*self*/)
{
    return static_cast<ULONG>(++s_references<Interface>);
}
template <class Interface>
ULONG STDMETHODCALLTYPE Release(Interface * /*self*/)
{
    return static_cast<ULONG>(--s_references<Interface>);
}

template <class Interface>
HRESULT Give(Interface & object, void ** out)
{
    AddRef(&object);
    *out = &object;
    return S_OK;
}

// One object a kind; FakeWmi gives them their tables.
IClassFactory s_factory;
IWbemLocator s_locator;
IWbemServices s_services;
IClientSecurity s_security;
IEnumWbemClassObject s_enumerator;
IWbemClassObject s_object;

template <class Interface>
HRESULT STDMETHODCALLTYPE QueryInterface(Interface * self, REFIID iid, void ** out)
{
    *out = nullptr;
    if (IsEqualIID(iid, IID_IClientSecurity))
        return Give(s_security, out);
    return IsEqualIID(iid, IID_IMarshal) ? E_NOINTERFACE : Give(*self, out);
}

HRESULT STDMETHODCALLTYPE CreateInstance(IClassFactory *, IUnknown *, REFIID, void ** out)
{
    return Give(s_locator, out);
}

HRESULT STDMETHODCALLTYPE LockServer(IClassFactory *, BOOL) { return S_OK; }

HRESULT STDMETHODCALLTYPE ConnectServer(IWbemLocator *, BSTR space, BSTR, BSTR, BSTR, LONG, BSTR,
                                        IWbemContext *, IWbemServices ** services)
{
    ++s_machine->connections;
    if (FAILED(s_machine->connection) || std::wstring(space) != L"ROOT\\CIMV2")
        return E_FAIL;
    return Give(s_services, reinterpret_cast<void **>(services));
}

HRESULT STDMETHODCALLTYPE SetBlanket(IClientSecurity *, IUnknown *, DWORD authentication, DWORD,
                                     OLECHAR *, DWORD, DWORD, void *, DWORD)
{
    s_machine->authentication = authentication;
    return s_machine->security;
}

HRESULT Ask(BSTR question, IEnumWbemClassObject ** rows)
{
    if (FAILED(s_machine->question))
        return s_machine->question;
    s_rows = &s_machine->answers[question];
    s_next = 0;
    return Give(s_enumerator, reinterpret_cast<void **>(rows));
}

HRESULT STDMETHODCALLTYPE ExecQuery(IWbemServices *, BSTR, BSTR query, LONG, IWbemContext *,
                                    IEnumWbemClassObject ** rows)
{
    return Ask(query, rows);
}

HRESULT STDMETHODCALLTYPE CreateInstanceEnum(IWbemServices *, BSTR name, LONG, IWbemContext *,
                                             IEnumWbemClassObject ** rows)
{
    return Ask(name, rows);
}

HRESULT STDMETHODCALLTYPE ObjectAt(IWbemServices *, BSTR path, LONG, IWbemContext *,
                                   IWbemClassObject ** object, IWbemCallResult **)
{
    auto const found = s_machine->answers.find(path);
    if (found == s_machine->answers.end())
        return WBEM_E_NOT_FOUND;
    s_row = &found->second.front();
    return Give(s_object, reinterpret_cast<void **>(object));
}

HRESULT STDMETHODCALLTYPE Next(IEnumWbemClassObject *, LONG, ULONG, IWbemClassObject ** row,
                               ULONG * count)
{
    s_machine->keptRow = s_machine->keptRow || s_references<IWbemClassObject> != 0;
    if (s_next == s_rows->size())
        return WBEM_S_FALSE;
    s_row = &(*s_rows)[s_next++];
    if (s_row->result == WBEM_S_TIMEDOUT)
        return s_row->result;
    *count = 1;
    Give(s_object, reinterpret_cast<void **>(row));
    return s_row->result;
}

HRESULT STDMETHODCALLTYPE Get(IWbemClassObject *, LPCWSTR name, LONG, VARIANT * value, CIMTYPE *,
                              LONG *)
{
    auto const cell = s_row->cells.find(name);
    if (cell == s_row->cells.end())
        return WBEM_E_NOT_FOUND;
    value->vt = cell->second.type;
    value->llVal = cell->second.number;
    if (cell->second.text != nullptr)
        value->bstrVal = SysAllocString(cell->second.text);
    return S_OK;
}

/// The table of an object, with what all have in common.
template <class Table, class Interface>
Table & TableOf(Interface & object)
{
    static Table table;
    table.QueryInterface = &QueryInterface<Interface>;
    table.AddRef = &AddRef<Interface>;
    table.Release = &Release<Interface>;
    object.lpVtbl = &table;
    return table;
}

} // namespace

FakeWmi::FakeWmi()
{
    s_machine = this;
    auto & factory = TableOf<IClassFactoryVtbl>(s_factory);
    factory.CreateInstance = &CreateInstance;
    factory.LockServer = &LockServer;
    TableOf<IWbemLocatorVtbl>(s_locator).ConnectServer = &ConnectServer;
    auto & services = TableOf<IWbemServicesVtbl>(s_services);
    services.ExecQuery = &ExecQuery;
    services.CreateInstanceEnum = &CreateInstanceEnum;
    services.GetObject = &ObjectAt;
    TableOf<IClientSecurityVtbl>(s_security).SetBlanket = &SetBlanket;
    TableOf<IEnumWbemClassObjectVtbl>(s_enumerator).Next = &Next;
    TableOf<IWbemClassObjectVtbl>(s_object).Get = &Get;
    CoInitializeEx(nullptr, COINIT_APARTMENTTHREADED);
    if (FAILED(CoRegisterClassObject(CLSID_WbemLocator, reinterpret_cast<IUnknown *>(&s_factory),
                                     CLSCTX_INPROC_SERVER, REGCLS_MULTIPLEUSE, &m_class)))
        throw std::runtime_error("no class object");
}

FakeWmi::~FakeWmi()
{
    CoRevokeClassObject(m_class);
    CoUninitialize();
}

int FakeWmi::References()
{
    return s_references<IWbemLocator> + s_references<IWbemServices> +
           s_references<IClientSecurity> + s_references<IEnumWbemClassObject> +
           s_references<IWbemClassObject>;
}

} // namespace Velmora::Testing
