#include "tools/peinspect/Tree.h"

#include <algorithm>

#include "VelmoraCommon/files/GMFilePathUtils.h"
#include "VelmoraCommon/text/GMStringUtils.h"
#include "tools/common/Messages.h"

using namespace Velmora;

namespace Tools
{
namespace
{

GMString Key(GMString name)
{
    GMStringUtils::MakeLower(name);
    return name;
}

} // namespace

Tree::Tree(GMString const & path, Image const & image, Search const & search) : m_search(search)
{
    Library root;
    root.name = GMFilePathUtils::FileName(path);
    root.path = path;
    Take(root, image);
    m_numbers[Key(root.name)] = 0;
    libraries.push_back(root);
    while (!m_now.empty() || !m_later.empty())
    {
        std::deque<Want> & wants = m_now.empty() ? m_later : m_now;
        Want const want = wants.front();
        wants.pop_front();
        Follow(want);
    }
    for (std::size_t const problem : Problems())
    {
        for (std::size_t const number : Way(problem))
            libraries[number].isHidden = false;
    }
}

std::vector<std::size_t> Tree::Problems() const
{
    std::vector<std::size_t> problems;
    for (std::size_t i = 0; i < libraries.size(); ++i)
    {
        if (libraries[i].state >= State::missing)
            problems.push_back(i);
    }
    return problems;
}

std::vector<std::size_t> Tree::Way(std::size_t number) const
{
    std::vector<std::size_t> way;
    while (number != 0)
        way.push_back(number = libraries[number].neededBy.front());
    std::reverse(way.begin(), way.end());
    return way;
}

std::vector<GMString> Tree::Names(std::vector<std::size_t> const & numbers) const
{
    std::vector<GMString> names;
    names.reserve(numbers.size());
    for (std::size_t const number : numbers)
        names.push_back(libraries[number].name);
    return names;
}

void Tree::Follow(Want const & want)
{
    auto const [entry, isNew] = m_numbers.try_emplace(Key(want.need.library), libraries.size());
    std::size_t const number = entry->second;
    if (isNew)
        libraries.push_back(Look(want));
    std::vector<std::size_t> & needs = libraries[want.by].needs;
    if (std::find(needs.begin(), needs.end(), number) != needs.end())
        return; // wanted at the start and at first use
    needs.push_back(number);
    libraries[number].neededBy.push_back(want.by);
}

Library Tree::Look(Want const & want)
{
    Library library;
    library.name = want.need.library;
    library.atFirstUse = want.need.atFirstUse || libraries[want.by].atFirstUse;
    if (Search::IsPath(library.name))
    {
        library.state = State::unusable;
        library.trouble = L"is a path, which isn't followed";
        return library;
    }
    library.path = m_search.Find(library.name);
    if (library.path.empty())
    {
        library.state = Search::IsApiSet(library.name) ? State::ofWindows : State::missing;
        return library;
    }
    library.isHidden = m_search.IsOfWindows(library.path);
    try
    {
        Take(library, Image(library.path));
    }
    catch (Failure const & failure)
    {
        library.state = State::unusable;
        library.trouble = failure.text;
    }
    return library;
}

/// Takes over what \p image says of \p library, the next in the list.
void Tree::Take(Library & library, Image const & image)
{
    library.is64Bit = image.Is64Bit();
    library.trouble = image.Trouble();
    if (library.is64Bit && !libraries.empty() && (m_search.Runs32Bit() || !library.isHidden))
        library.trouble = L"is a 64-bit library, which a 32-bit program can't use";
    if (!library.trouble.empty())
        library.state = State::unusable;
    for (Need const & need : image.Needs())
    {
        if (!need.atFirstUse)
            m_now.push_back({libraries.size(), need});
        else if (!library.isHidden)
            m_later.push_back({libraries.size(), need});
    }
}

} // namespace Tools
