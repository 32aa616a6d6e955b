#include "VelmoraCommon/text/GMStringToken.h"

#include <tuple>

#include <gmock/gmock.h>

#include "tests/support/GuardHeap.h"

namespace Velmora::Testing
{

using testing::PrintToString;
using Token = GMStringToken;
using Texts = std::vector<GMString>;
using Map = std::map<GMString, GMString>;

/// Texts and pairs in one line.
GMString Shown(GMString const & text) { return text; }
GMString Shown(Map::value_type const & pair) { return pair.first + L'=' + pair.second; }
template <class Container>
GMString Shown(Container const & elements)
{
    GMString line;
    for (auto const & each : elements)
        line += Shown(each) + L'|';
    return line;
}

/// Checks what \p parse puts into a container: the second of each case for the first.
template <class Container, class Parse, std::size_t count>
void ExpectParsed(Parse parse, wchar_t const * const (&cases)[count][2])
{
    for (auto const & [text, expected] : cases)
    {
        Container parsed;
        parse(text, parsed);
        EXPECT_EQ(expected, Shown(parsed)) << text;
    }
}

TEST(GMStringToken, SplitsBySeparators)
{
    // The first delimiter is that of the array.
    wchar_t const * const cases[][4] = {
        {L";;a;;b;", L";", L"a|b|", L"||a||b|"},
        {L"a,b;c", L";,", L"a|b|c|", L"a,b|c|"},
        {L"a\u3001b\xFF0C\u0101", L"\u3001\xFF0C", L"a|b|\u0101|", L"a|b\xFF0C\u0101|"},
        {L"a;b", L"", L"a;b|", L"a;b|"}};
    for (auto const & [text, delimiters, tokens, fields] : cases)
    {
        Texts byToken{L"old"}, byArray;
        Token::StringToken(text, delimiters, byToken);
        EXPECT_EQ(GMString(L"old|") + tokens, Shown(byToken));
        Token::StringToArray(text, delimiters[0], byArray);
        EXPECT_EQ(fields, Shown(byArray));
    }
}

TEST(GMStringToken, ReadsTextsThatItsResultsHold)
{
    GMString const text = L"some units;more units";
    auto const byArray = [](GMString const & s, GMString const & marks, Texts & out)
    { Token::StringToArray(s, marks[0], out); };
    auto const byNames = [](GMString const & s, GMString const & marks, Texts & out)
    { Token::StringToFileNameArray(s, out, marks[0], false); };
    using Split = void (*)(GMString const &, GMString const &, Texts &);
    for (Split const split : {Split(Token::StringToken), Split(byArray), Split(byNames)})
    {
        Texts texts{text}; // full, so that it moves as it grows
        split(texts[0], L";", texts);
        EXPECT_EQ((Texts{text, L"some units", L"more units"}), texts);
    }
}

TEST(GMStringToken, PutsTokensIntoAMapAndNumbersOverElements)
{
    Map map{{L"b", L"old"}, {L"z", L"old"}};
    Token::StringTokenToMap(L"a:=1;b;d:=x:=y;:=v", L";", map, L":=");
    EXPECT_EQ(L"==v|a==1|b=|d==x:=y|z=old|", Shown(map));

    std::vector<unsigned __int64> numbers{7, 8, 9};
    EXPECT_TRUE(Token::StringTokenToUInt64(L"\t4294967297 , ", L",", numbers));
    EXPECT_EQ((std::vector<unsigned __int64>{4294967297, 0, 9}), numbers);
    EXPECT_FALSE(Token::StringTokenToUInt64(L"12a,5", L",", numbers));
    EXPECT_EQ((std::vector<unsigned __int64>{12, 0, 9}), numbers);
    std::vector<unsigned int> cut;
    EXPECT_FALSE(Token::StringTokenToInt(L"4294967297,2,x3", L",", cut));
    EXPECT_EQ((std::vector<unsigned int>{1, 2, 0}), cut);
}

TEST(GMStringToken, SplitsLinesWithQuotes)
{
    ExpectParsed<Texts>(Token::SplitLine, {{L"  a  b ", L"a|b|"},
                                           {LR"("a"b "x y" d)", LR"("a"|b|"x y"|d|)"},
                                           {LR"("a b)", LR"("a b|)"},
                                           {LR"("a\" b" c)", LR"("a\" b"|c|)"},
                                           {LR"(a"b c"d " "")", LR"(a"b|c"d|" "|"|)"},
                                           {L"a\tb", L"a\tb|"}});
    Texts tokens{L"a b", L"c"};
    Token::SplitLine(tokens[0], tokens);
    EXPECT_EQ((Texts{L"a", L"b"}), tokens);
}

TEST(GMStringToken, SplitsCommands)
{
    wchar_t const * const cases[][4] = {
        // line, program, arguments, what the other operation extracts
        {LR"("C:\a b\x.exe" -q)", LR"(C:\a b\x.exe)", L"-q", LR"(C:\a b\x.exe)"},
        {LR"(" x "  y )", L"x", L"y", L" x "},
        {LR"("C:\x)", LR"("C:\x)", L"", LR"(C:\x)"},
        {LR"(C:\a b\x.EXE -q -r)", LR"(C:\a b\x.EXE)", L"-q -r", LR"(C:\a b\x.EXE)"},
        {LR"(C:\x.exe   -q)", LR"(C:\x.exe)", L"  -q", LR"(C:\x.exe)"},
        {L" run.bat x", L"run.bat", L"x", L"run.bat"},
        {L" \"C:\\x y", L"\"C:\\x", L"y", LR"(C:\x y)"},
        {L" \t", L" \t", L"", L""},
    };
    for (auto const & [line, expectedProgram, expectedArguments, extracted] : cases)
    {
        SCOPED_TRACE(PrintToString(line));
        GMString program, arguments;
        Token::SplitCommand(line, program, arguments);
        EXPECT_EQ(expectedProgram, program);
        EXPECT_EQ(expectedArguments, arguments);
        EXPECT_EQ(extracted, Token::ExtractExecutablePath(line));
    }
    GMString line = L"a.exe -q", arguments = L"kept";
    Token::SplitCommand(L"a.exe", arguments, line);
    EXPECT_EQ(L"a.exe -q", line);
    Token::SplitCommand(line, line, arguments); // reads before it writes
    EXPECT_EQ(L"a.exe|-q", line + L'|' + arguments);
}

TEST(GMStringToken, ReadsAndWritesFileNameLists)
{
    std::tuple<wchar_t const *, bool, wchar_t const *> const cases[] = {
        {L"\"a;b\";c", true, L"a;b|c|"},  {L";;a; ;", true, L"a||"},
        {L" a ;\" b \"", true, L"a|b|"},  {L" a ; ;b", false, L" a | |b|"},
        {L"a\"b;c\"d", false, L"ab;cd|"}, {L"\"a;b", false, L"a;b|"}};
    for (auto const & [text, trim, expected] : cases)
    {
        Texts names;
        Token::StringToFileNameArray(text, names, L';', trim);
        EXPECT_EQ(expected, Shown(names));
    }
    EXPECT_EQ(L"\"a b\" \"c\"", Token::FileNameArrayToString({L"a b", L"", L"c"}));
    EXPECT_EQ(L"a,b,", Token::Implode({L"", L"a", L"b"}, L",", true));
    EXPECT_EQ(L"a,", Token::Implode({L"a", L""}, L",", false));
}

TEST(GMStringToken, ReadsKeyValueLines)
{
    auto const parse = [](GMString const & line, Map & pairs)
    { EXPECT_EQ(line != L" none ", Token::ParseSimpleKeyValueLine(line, L"\"'", pairs)); };
    ExpectParsed<Map>(parse, {{L" none ", L""},
                              {L"a=1 b=\"x y\" c=", L"a=1|b=x y|c=|"},
                              {L"a = 1", L"a =1|"},
                              {L"a=\"x", L"a=\"x|"},
                              {L"a='x\" b=2", L"a=x|b=2|"},
                              {L"\t a=1\tb=2 c", L"a=1\tb=2|"},
                              {L"a= \r\n", L"a=|"},
                              {L"a=\"\"b=c", L"a=|b=c|"}});
}

TEST(GMStringToken, ReadsFlatJson)
{
    auto const parse = [](GMString const & text, Map & pairs)
    { EXPECT_EQ(text != L" {}\r\n", Token::ParseSimpleJsonArray(text, pairs)); };
    ExpectParsed<Map>(parse, {{L" {}\r\n", L""},
                              {L"{\"a\": \"1\", \"b\":2}", L"a=1|b=2|"},
                              {L"{\"a\":\"x,y\"}", L"a=\"x|y\"=|"},
                              {L"{\"a\":\"b:c\", \"d\"}", L"a=b:c|d=|"},
                              {L"{\"a\":1,\n\"b\":2}", L"\n\"b\"=2|a=1|"},
                              {L"{\" a \":\"\\\"\"}", L" a =\\\"|"},
                              {L"{,a:1,a:2", L"=|a=2|"}});
    GMString value = L"kept";
    EXPECT_FALSE(Token::QuickFindJsonValue(L"{\"a\":\"\"}", L"b", value));
    EXPECT_FALSE(Token::QuickFindJsonValue(L"{}", L"a", value));
    EXPECT_EQ(L"kept", value);
    EXPECT_TRUE(Token::QuickFindJsonValue(L"{\"a\":\"\"}", L"a", value));
    EXPECT_EQ(L"", value);
}

TEST(GMStringToken, CutsByMarks)
{
    EXPECT_EQ(L"a b--c", Token::SubStrBefore(L"a--b--c", L"--") + L' ' +
                             Token::SubStrAfter(L"a--b--c", L"--"));
    EXPECT_EQ(L"", Token::SubStrBefore(L"abc", L"--") + Token::SubStrAfter(L"abc", L"--"));
    EXPECT_EQ(L"d", Token::FindStringBetween(L"a<<b>>c<<d>>", L"<<", L">>", 2));
    EXPECT_EQ(L"", Token::FindStringBetween(L"<<b>>", L"<<", L">>", 0xFFFFFFFF));
    EXPECT_EQ(L"", Token::FindStringBetween(L">>a<<b", L"<<", L">>", 0));
    wchar_t const * const cut[][3] = {{L"", L"]", L""},           {L"a[b]c[d", L"]", L"ac[d"},
                                      {L"a]b[c]", L"]", L"a]b"},  {L"[a[b]]", L"]", L"]"},
                                      {L"a[b]]c", L"]]", L"a]c"}, {L"a[b]]", L"]]", L"a]"}};
    for (auto const & [text, close, rest] : cut)
        EXPECT_EQ(rest, Token::ReplaceBetween(text, L"[", close));
}

TEST(GMStringToken, MatchesWildcards)
{
    wchar_t const * const fitting[][2] = {
        {L"a.txt", L"*.txt"}, {L"abc", L"a?c"},   {L"xab", L"*ab"}, {L"", L""},
        {L"", L"*"},          {L"a.b", L"**?.?"}, {L"a.b", L"a*b"}};
    for (auto const & [text, pattern] : fitting)
        EXPECT_TRUE(Token::WildcardMatch(text, pattern)) << text << ' ' << pattern;
    wchar_t const * const others[][2] = {{L"a.b.txt", L"*.txt"}, {L"a.c", L"a?c"}, {L"aab", L"*ab"},
                                         {L"ABC", L"abc"},       {L"a", L""},      {L"", L"?"},
                                         {L"wxyz", L"*abc"},     {L"ab", L"b"},    {L"ab.", L"a."}};
    for (auto const & [text, pattern] : others)
        EXPECT_FALSE(Token::WildcardMatch(text, pattern)) << text << ' ' << pattern;
    EXPECT_TRUE(Token::WildcardMatch(L"xa", L"a", L"*"));
    EXPECT_FALSE(Token::WildcardMatch(L"xa", L"a", L"**"));
    EXPECT_TRUE(Token::IsWildcardString(L"a?") && Token::IsWildcardString(L"*a"));
    EXPECT_FALSE(Token::IsWildcardString(L"a.b"));
}

TEST(GMStringToken, TakesLongTextsInLinearTime)
{
    // Recursion would exhaust the stack here; quadratic steps would take minutes.
    std::size_t const length = IsGuardHeapInstalled() ? 2000 : 100000; // blocks that it can hold
    GMString const units(length, L'a');
    EXPECT_FALSE(Token::WildcardMatch(units, L"*b"));
    EXPECT_TRUE(Token::WildcardMatch(units, GMString(length, L'?')));

    GMString pairs;
    for (std::size_t i = 0; i < length; ++i)
        pairs.append(std::to_wstring(i)).append(L"=v x.ex:,;[]");
    Map map;
    EXPECT_TRUE(Token::ParseSimpleKeyValueLine(pairs, L"\"", map));
    EXPECT_EQ(length, map.size());
    EXPECT_EQ(pairs.size() - 2 * length, Token::ReplaceBetween(pairs, L"[", L"]").size());
    EXPECT_EQ(L"0=v", Token::ExtractExecutablePath(pairs));
}

} // namespace Velmora::Testing
