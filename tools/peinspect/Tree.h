#pragma once

#include <deque>
#include <map>
#include <vector>

#include "tools/peinspect/Image.h"
#include "tools/peinspect/Search.h"

namespace Tools
{

enum class State
{
    found,
    ofWindows, // known to Windows, which keeps it in no file of this name
    missing,
    unusable
};

/// A library, or the inspected file itself.
struct Library
{
    Velmora::GMString name; // as the first that wants it spells it
    Velmora::GMString path;
    State state = State::found;
    Velmora::GMString trouble; // why it is unusable
    bool is64Bit = false;
    bool atFirstUse = false; // the start doesn't need it
    bool isHidden = false;   // what it needs isn't shown
    std::vector<std::size_t> needs;
    std::vector<std::size_t> neededBy; // the nearest first
};

/// All that a file needs, by way of whichever libraries; each library stands in it once, and the
/// file itself comes first.
///
/// The imports are followed from file to file, nearest first; no file is loaded for that. What is
/// wanted at the start goes before what is wanted at first use, so that a library counts as wanted
/// later only if it isn't wanted before. Libraries of Windows are followed, too, but shown with what
/// they need only if something of it is missing, and not for what they want at first use, which may
/// well be absent.
class Tree
{
public:
    Tree(Velmora::GMString const & path, Image const & image, Search const & search);

    /// What is missing or unusable; what the start needs comes first.
    std::vector<std::size_t> Problems() const;

    /// The shortest way to a library: the inspected file, and those between.
    std::vector<std::size_t> Way(std::size_t number) const;

    std::vector<Velmora::GMString> Names(std::vector<std::size_t> const & numbers) const;

    std::vector<Library> libraries;

private:
    struct Want
    {
        std::size_t by;
        Need need;
    };

    void Follow(Want const & want);
    Library Look(Want const & want);
    void Take(Library & library, Image const & image);

    Search const & m_search;
    std::map<Velmora::GMString, std::size_t>
        m_numbers; // of the libraries, by their names in lower case
    std::deque<Want> m_now;
    std::deque<Want> m_later; // wanted at first use
};

} // namespace Tools
