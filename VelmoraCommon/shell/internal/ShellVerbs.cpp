#include "VelmoraCommon/shell/internal/ShellVerbs.h"

namespace Velmora
{

namespace
{

ScopedBstr MakeBstr(GMString const & text)
{
    return ScopedBstr(SysAllocStringLen(text.data(), static_cast<UINT>(text.size())));
}

VARIANT NumberVariant(long number)
{
    VARIANT variant = {};
    variant.vt = VT_I4;
    variant.lVal = number;
    return variant;
}

} // namespace

ComPtr<FolderItemVerb> FindVerb(IShellDispatch & shell, GMString const & folder,
                                GMString const & file, GMString const & name)
{
    ScopedBstr const folderText = MakeBstr(folder);
    ScopedBstr const fileText = MakeBstr(file);
    VARIANT place = {};
    place.vt = VT_BSTR;
    place.bstrVal = folderText.Get();
    ComPtr<Folder> space;
    ComPtr<FolderItem> item;
    ComPtr<FolderItemVerbs> verbs;
    long count = 0;
    // What isn't found is a success without an object.
    if (FAILED(shell.NameSpace(place, space.GetAddressOf())) || space == nullptr ||
        FAILED(space->ParseName(fileText.Get(), item.GetAddressOf())) || item == nullptr ||
        FAILED(item->Verbs(verbs.GetAddressOf())) || verbs == nullptr ||
        FAILED(verbs->get_Count(&count)))
    {
        return nullptr;
    }
    for (long i = 0; i < count; ++i)
    {
        ComPtr<FolderItemVerb> verb;
        ScopedBstr text;
        if (SUCCEEDED(verbs->Item(NumberVariant(i), verb.GetAddressOf())) && verb != nullptr &&
            SUCCEEDED(verb->get_Name(text.Receive())) && BstrText(text.Get()) == name)
        {
            return verb;
        }
    }
    return nullptr;
}

} // namespace Velmora
