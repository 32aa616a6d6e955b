#pragma once

#include "VelmoraCommon/executable/GMIconConvert.h"
#include "VelmoraCommon/executable/GMIconExtract.h"
#include "tests/executable/IconBytes.h"
#include "tests/support/ImportHook.h"

namespace Velmora::Testing
{

inline IconProgram SampleIcons()
{
    return {{BitmapImage(16, 16, 4), BitmapImage(32, 32, 8), PngStart(48, 48)},
            {GroupBytes({1, 2, 3}), GroupBytes({2, 1}), GroupBytes({3})},
            L"NAME"};
}

inline bool Save(GMIconExtract & extract, std::wstring path) { return extract.SaveIcon(path); }

/// Icons that are made without a size are shared, and the system keeps what they take.
inline HICON WINAPI MakeUnshared(BYTE * bytes, DWORD size, BOOL isIcon, DWORD version)
{
    return CreateIconFromResourceEx(bytes, size, isIcon, version, 0, 0, LR_DEFAULTSIZE);
}

/// Asks everything of a program. \return how many groups it has
inline std::size_t AskIconProgram(std::wstring const & path)
{
    ImportHook const hook("CreateIconFromResource", &MakeUnshared);
    DestroyIcon(GMIconConvert::LoadIconFromFile(path.c_str(), 32, 32));
    GMIconExtract extract(path);
    Save(extract, path + L".ico");
    std::vector<unsigned long long> numbers;
    auto const names = extract.GetIconIDs(numbers);
    for (std::size_t i = 0; i != std::min<std::size_t>(names.size() + numbers.size(), 8); ++i)
    {
        wchar_t const * const group =
            i < names.size() ? names[i].c_str() : MAKEINTRESOURCEW(numbers[i - names.size()]);
        DestroyIcon(extract.GetIcon(group, 32, 32, 8, true));
        DestroyIcon(extract.GetIcon(group, 48, 48, 32, false));
        DestroyIcon(extract.GetIcon(group, 0xFFFFFFFF));
    }
    return names.size() + numbers.size();
}

} // namespace Velmora::Testing
