// How the examples talk to their user.
#pragma once

#include <cstdio>

#include "VelmoraCommon/frame/WindowsApi.h"
#include "VelmoraCommon/text/GMStringConvert.h"
#include "VelmoraCommon/text/GMStringUtils.h"

/// Ends an operation; its text is what the user reads.
struct Failure
{
    Velmora::GMString text;
};

inline void Print(FILE * stream, Velmora::GMString const & text)
{
    std::fputs((Velmora::GMStringConvert::GMStringToUtf8(text) + "\n").c_str(), stream);
}

/// The system's text for an error code.
inline Velmora::GMString SystemMessage(unsigned long code)
{
    wchar_t text[512] = {};
    FormatMessageW(FORMAT_MESSAGE_FROM_SYSTEM | FORMAT_MESSAGE_IGNORE_INSERTS, nullptr, code, 0,
                   text, 512, nullptr);
    Velmora::GMString message(text);
    Velmora::GMStringUtils::TrimRight(message, L". \r\n");
    return Velmora::GMStringUtils::FormatResult(L"%s (code %u)", message.c_str(), code);
}
