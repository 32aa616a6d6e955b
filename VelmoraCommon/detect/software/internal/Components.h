#pragma once

#include "VelmoraCommon/detect/software/GMSoftVersion.h"

namespace Velmora
{

/// A browser plug-in that is a COM class.
struct PlugIn
{
    wchar_t const * progId;
    wchar_t const * uninstallKey; // below the local machine; null if it has none
    wchar_t const * serverKey;    // below the classes; its default value is the plug-in's file
    wchar_t const * nameFormat;   // of the name, with %d for the major version
};

/// Whether the class of \p plugIn is registered. Version and name are those of its uninstall key if
/// that tells both, or else they come from the product version of its file; what can't be had stays
/// as it was.
void DetectPlugIn(PlugIn const & plugIn, bool & isInstalled, GMString & versionName,
                  GMSoftVersion & version);

/// Whether a document of XML can be made of the class \p progId.
bool CanMakeXmlDocument(wchar_t const * progId);

} // namespace Velmora
