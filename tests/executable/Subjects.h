#pragma once

#include <filesystem>
#include <string>

#include "VelmoraCommon/frame/GMSharedLibrary.h"

namespace Velmora::Testing
{

// The libraries of nothing but resources that lie beside this program; the signed one only where the
// build had the tools to sign it.

inline std::wstring Subject(wchar_t const * name = L"subject.dll")
{
    return std::filesystem::path(GMSharedLibrary::GetModuleFullName(nullptr))
        .replace_filename(name);
}

inline std::wstring SignedSubject() { return Subject(L"subject-signed.dll"); }

} // namespace Velmora::Testing
