#include "VelmoraCommon/text/GMStringToken.h"

#include <gmock/gmock.h>

#include "tests/support/GuardHeap.h"
#include "tests/support/LongRun.h"
#include "tests/support/Mutator.h"

namespace Velmora::Testing
{

namespace
{

using Texts = std::vector<GMString>;
using Map = std::map<GMString, GMString>;

Texts Line(GMString const & line)
{
    Texts tokens;
    GMStringToken::SplitLine(line, tokens);
    return tokens;
}

} // namespace

TEST(GMStringToken, SplitsBySeparators)
{
    struct Case
    {
        wchar_t const * text;
        wchar_t const * delimiters; // the first one is that of the array
        Texts tokens;
        Texts fields;
    };
    Case const cases[] = {
        {L"", L";", {}, {}},
        {L";;a;;b;", L";", {L"a", L"b"}, {L"", L"", L"a", L"", L"b"}},
        {L",", L",", {}, {L""}},
        {L"a,b;c", L";,", {L"a", L"b", L"c"}, {L"a,b", L"c"}},
        {L"a\u3001b\xFF0C\u0101",
         L"\u3001\xFF0C",
         {L"a", L"b", L"\u0101"},
         {L"a", L"b\xFF0C\u0101"}},
        {L"a;b", L"", {L"a;b"}, {L"a;b"}},
    };
    for (Case const & each : cases)
    {
        Texts tokens{L"old"};
        GMStringToken::StringToken(each.text, each.delimiters, tokens);
        EXPECT_EQ(L"old", tokens[0]);
        EXPECT_EQ(each.tokens, Texts(tokens.begin() + 1, tokens.end()));
        Texts fields;
        GMStringToken::StringToArray(each.text, each.delimiters[0], fields);
        EXPECT_EQ(each.fields, fields);
    }
}

TEST(GMStringToken, PutsTokensIntoAMap)
{
    Map map{{L"b", L"old"}, {L"z", L"old"}};
    GMStringToken::StringTokenToMap(L"a=1;b;c=;d=x=y;=v;a=2;e==f", L";", map, L"=");
    EXPECT_EQ((Map{{L"", L"v"},
                   {L"a", L"2"},
                   {L"b", L""},
                   {L"c", L""},
                   {L"d", L"x=y"},
                   {L"e", L"=f"},
                   {L"z", L"old"}}),
              map);

    Map tailed;
    GMStringToken::StringTokenToMap(L"a:=1", L";", tailed, L":=");
    EXPECT_EQ((Map{{L"a", L"=1"}}), tailed);
}

TEST(GMStringToken, PutsNumbersOverElements)
{
    using Numbers = std::vector<unsigned __int64>;
    struct Case
    {
        wchar_t const * text;
        Numbers before;
        Numbers after;
        bool isWhole;
    };
    Case const cases[] = {
        {L"1, 2 ,x3", {}, {1, 2, 0}, false},
        {L"", {7}, {7}, true},
        {L"1,2", {7, 8, 9}, {1, 2, 9}, true},
        {L"12a,5", {7, 8}, {12, 8}, false},
        {L"-1,5", {}, {0, 0}, false},
        {L" \t,18446744073709551615,18446744073709551616", {}, {0, 0xFFFFFFFFFFFFFFFF, 0}, true},
        {L"4294967297", {}, {0x100000001}, true},
    };
    for (Case const & each : cases)
    {
        SCOPED_TRACE(testing::PrintToString(each.text));
        Numbers numbers = each.before;
        EXPECT_EQ(each.isWhole, GMStringToken::StringTokenToUInt64(each.text, L",", numbers));
        EXPECT_EQ(each.after, numbers);

        std::vector<unsigned int> cut(each.before.begin(), each.before.end());
        EXPECT_EQ(each.isWhole, GMStringToken::StringTokenToInt(each.text, L",", cut));
        EXPECT_EQ(std::vector<unsigned int>(each.after.begin(), each.after.end()), cut);
    }

    // A digit as delimiter isn't read into the token before it.
    Numbers numbers;
    EXPECT_TRUE(GMStringToken::StringTokenToUInt64(L"15253", L"5", numbers));
    EXPECT_EQ((Numbers{1, 2, 3}), numbers);
}

TEST(GMStringToken, SplitsLinesWithQuotes)
{
    struct Case
    {
        wchar_t const * line;
        Texts tokens;
    };
    Case const cases[] = {
        {L"  ", {}},
        {L"  a  b ", {L"a", L"b"}},
        {LR"("a"b "x y" d)", {LR"("a")", L"b", LR"("x y")", L"d"}},
        {LR"("a b)", {LR"("a b)"}},
        {LR"("a\" b" c)", {LR"("a\" b")", L"c"}},
        {LR"(a"b c"d " "")", {LR"(a"b)", LR"(c"d)", LR"(" ")", LR"(")"}},
        {L"a\tb", {L"a\tb"}},
    };
    for (Case const & each : cases)
        EXPECT_EQ(each.tokens, Line(each.line)) << testing::PrintToString(each.line);

    Texts own{L"a b", L"c"};
    GMStringToken::SplitLine(own[0], own);
    EXPECT_EQ((Texts{L"a", L"b"}), own);
}

TEST(GMStringToken, SplitsCommands)
{
    constexpr wchar_t const * kept = L"kept";
    wchar_t const * const cases[][4] = {
        // line, program, arguments, what the other operation extracts
        {L"", kept, kept, L""},
        {LR"("C:\a b\x.exe" -q)", LR"(C:\a b\x.exe)", L"-q", LR"(C:\a b\x.exe)"},
        {LR"(" x "  y )", L"x", L"y", L" x "},
        {LR"("C:\x)", LR"("C:\x)", kept, LR"(C:\x)"},
        {LR"(C:\a b\x.EXE -q -r)", LR"(C:\a b\x.EXE)", L"-q -r", LR"(C:\a b\x.EXE)"},
        {LR"(C:\x.exe   -q)", LR"(C:\x.exe)", L"  -q", LR"(C:\x.exe)"},
        {L"a.exe b.exe", L"a.exe", L"b.exe", L"a.exe"},
        {L"a.exe\t-q", L"a.exe\t-q", kept, L"a.exe\t-q"},
        {L"notepad a.txt", L"notepad", L"a.txt", L"notepad"},
        {L"notepad", L"notepad", kept, L"notepad"},
        {L" run.bat x", L"run.bat", L"x", L"run.bat"},
        {L" \"C:\\x y", L"\"C:\\x", L"y", LR"(C:\x y)"},
        {L" \t", L" \t", kept, L""},
    };
    for (auto const & [line, expectedProgram, expectedArguments, extracted] : cases)
    {
        SCOPED_TRACE(testing::PrintToString(line));
        GMString program = kept;
        GMString arguments = kept;
        GMStringToken::SplitCommand(line, program, arguments);
        EXPECT_EQ(expectedProgram, program);
        EXPECT_EQ(expectedArguments, arguments);
        EXPECT_EQ(extracted, GMStringToken::ExtractExecutablePath(line));
    }

    GMString line = L"a.exe -q";
    GMString arguments;
    GMStringToken::SplitCommand(line, line, arguments);
    EXPECT_EQ(L"a.exe", line);
    EXPECT_EQ(L"-q", arguments);
}

TEST(GMStringToken, ReadsAndWritesFileNameLists)
{
    struct Case
    {
        wchar_t const * text;
        bool trim;
        Texts names;
    };
    Case const cases[] = {
        {L"", true, {}},
        {L"\"a;b\";c", true, {L"a;b", L"c"}},
        {L";;a; ;", true, {L"a", L""}},
        {L" a ;\" b \"", true, {L"a", L"b"}},
        {L" a ; ;b", false, {L" a ", L" ", L"b"}},
        {L"a\"b;c\"d", false, {L"ab;cd"}},
        {L"\"a;b", false, {L"a;b"}},
    };
    for (Case const & each : cases)
    {
        Texts names;
        GMStringToken::StringToFileNameArray(each.text, names, L';', each.trim);
        EXPECT_EQ(each.names, names);
    }

    GMString const list = GMStringToken::FileNameArrayToString({L"a b", L"", L"c"});
    EXPECT_EQ(L"\"a b\" \"c\"", list);
    Texts names;
    GMStringToken::StringToFileNameArray(list, names, L' ', false);
    EXPECT_EQ((Texts{L"a b", L"c"}), names);
}

TEST(GMStringToken, Implodes)
{
    EXPECT_EQ(L"", GMStringToken::Implode({}, L",", true));
    EXPECT_EQ(L"a,b", GMStringToken::Implode({L"a", L"", L"b"}, L",", false));
    EXPECT_EQ(L"a,b,", GMStringToken::Implode({L"", L"a", L"b"}, L",", true));
    EXPECT_EQ(L"a,", GMStringToken::Implode({L"a", L""}, L",", false));
}

TEST(GMStringToken, ReadsKeyValueLines)
{
    struct Case
    {
        wchar_t const * line;
        Map pairs;
    };
    Case const cases[] = {
        {L" none ", {}},
        {L"a=1 b=\"x y\" c=", {{L"a", L"1"}, {L"b", L"x y"}, {L"c", L""}}},
        {L"a = 1", {{L"a ", L"1"}}},
        {L"a=\"x", {{L"a", L"\"x"}}},
        {L"a='x\" b=2", {{L"a", L"x"}, {L"b", L"2"}}},
        {L"\t a=1\tb=2 c", {{L"a", L"1\tb=2"}}},
        {L"a= \r\n", {{L"a", L""}}},
        {L"a=\"\"b=c", {{L"a", L""}, {L"b", L"c"}}},
        {L"a=1 a=", {{L"a", L""}}},
    };
    for (Case const & each : cases)
    {
        SCOPED_TRACE(testing::PrintToString(each.line));
        Map pairs;
        EXPECT_EQ(!each.pairs.empty(),
                  GMStringToken::ParseSimpleKeyValueLine(each.line, L"\"'", pairs));
        EXPECT_EQ(each.pairs, pairs);
    }

    Map held{{L"k", L"v"}};
    EXPECT_TRUE(GMStringToken::ParseSimpleKeyValueLine(L"none", nullptr, held));
}

TEST(GMStringToken, ReadsFlatJson)
{
    struct Case
    {
        wchar_t const * text;
        Map pairs; // empty: refused
    };
    Case const cases[] = {
        {L" {}\r\n", {}},
        {L"{\"a\": \"1\", \"b\":2}", {{L"a", L"1"}, {L"b", L"2"}}},
        {L"{\"a\":\"x,y\"}", {{L"a", L"\"x"}, {L"y\"", L""}}},
        {L"{\"a\":\"b:c\", \"d\"}", {{L"a", L"b:c"}, {L"d", L""}}},
        {L"{\"a\":1,\n\"b\":2}", {{L"a", L"1"}, {L"\n\"b\"", L"2"}}},
        {L"{\" a \":\"\\\"\"}", {{L" a ", L"\\\""}}},
        {L"{,a:1,a:2", {{L"", L""}, {L"a", L"2"}}},
    };
    for (Case const & each : cases)
    {
        SCOPED_TRACE(testing::PrintToString(each.text));
        Map pairs;
        EXPECT_EQ(!each.pairs.empty(), GMStringToken::ParseSimpleJsonArray(each.text, pairs));
        EXPECT_EQ(each.pairs, pairs);
    }

    GMString value = L"kept";
    EXPECT_FALSE(GMStringToken::QuickFindJsonValue(L"{\"a\":\"\"}", L"b", value));
    EXPECT_FALSE(GMStringToken::QuickFindJsonValue(L"{}", L"a", value));
    EXPECT_EQ(L"kept", value);
    EXPECT_TRUE(GMStringToken::QuickFindJsonValue(L"{\"a\":\"\"}", L"a", value));
    EXPECT_EQ(L"", value);
}

TEST(GMStringToken, CutsByMarks)
{
    EXPECT_EQ(L"a", GMStringToken::SubStrBefore(L"a--b--c", L"--"));
    EXPECT_EQ(L"b--c", GMStringToken::SubStrAfter(L"a--b--c", L"--"));
    EXPECT_EQ(L"", GMStringToken::SubStrBefore(L"abc", L"--"));
    EXPECT_EQ(L"", GMStringToken::SubStrAfter(L"abc", L"--"));
    EXPECT_EQ(L"b", GMStringToken::FindStringBetween(L"a<<b>>c<<d>>", L"<<", L">>", 0));
    EXPECT_EQ(L"d", GMStringToken::FindStringBetween(L"a<<b>>c<<d>>", L"<<", L">>", 2));
    EXPECT_EQ(L"", GMStringToken::FindStringBetween(L"a<<b", L"<<", L">>", 0));
    EXPECT_EQ(L"", GMStringToken::FindStringBetween(L"a>>b", L"<<", L">>", 0));
    EXPECT_EQ(L"", GMStringToken::FindStringBetween(L"<<b>>", L"<<", L">>", 0xFFFFFFFF));

    wchar_t const * const cases[][3] = {
        {L"", L"]", L""},        {L"a[b]c[d", L"]", L"ac[d"}, {L"a]b[c]", L"]", L"a]b"},
        {L"[a[b]]", L"]", L"]"}, {L"a[b]]c", L"]]", L"a]c"},  {L"a[b]]", L"]]", L"a]"},
    };
    for (auto const & [text, close, rest] : cases)
        EXPECT_EQ(rest, GMStringToken::ReplaceBetween(text, L"[", close));
}

namespace
{

/// The match as it is told: one call a unit.
bool MatchByRecursion(GMString const & text, GMString const & pattern, wchar_t previous)
{
    if (pattern.empty())
        return previous == L'*' || text.empty();
    wchar_t const head = pattern[0];
    GMString const rest = pattern.substr(1);
    if (head == L'*')
        return MatchByRecursion(text, rest, L'*');
    if (head == L'?')
        return !text.empty() && text[0] != L'.' && MatchByRecursion(text.substr(1), rest, head);
    if (head == L'.')
    {
        auto const dot = text.find(L'.');
        return dot != GMString::npos && (previous == L'*' || dot == 0) &&
               MatchByRecursion(text.substr(dot + 1), rest, head);
    }
    if (!text.empty() && text[0] == head)
        return MatchByRecursion(text.substr(1), rest, head);
    return previous == L'*' && text.size() >= 2 && MatchByRecursion(text.substr(1), pattern, L'*');
}

GMString RandomName(Random & random, GMString const & alphabet)
{
    GMString name;
    for (std::size_t length = random.Below(9); length != 0; --length)
        name += random.Pick(alphabet);
    return name;
}

} // namespace

TEST(GMStringToken, MatchesWildcards)
{
    struct Case
    {
        wchar_t const * text;
        wchar_t const * pattern;
        bool fits;
    };
    Case const cases[] = {
        {L"a.txt", L"*.txt", true}, {L"a.b.txt", L"*.txt", false},
        {L"abc", L"a?c", true},     {L"a.c", L"a?c", false},
        {L"xab", L"*ab", true},     {L"aab", L"*ab", false},
        {L"ABC", L"abc", false},    {L"any.thing", L"*", true},
        {L"", L"*", true},          {L"", L"", true},
        {L"a", L"", false},         {L"wxyz", L"*abc", false},
        {L"", L"?", false},         {L".a", L"*?", false},
        {L"abc", L"**c", true},
    };
    for (Case const & each : cases)
    {
        EXPECT_EQ(each.fits, GMStringToken::WildcardMatch(each.text, each.pattern))
            << testing::PrintToString(each.text) << testing::PrintToString(each.pattern);
    }
    EXPECT_TRUE(GMStringToken::WildcardMatch(L"left", L"", L"*"));
    EXPECT_TRUE(GMStringToken::WildcardMatch(L"xa", L"a", L"*"));
    EXPECT_FALSE(GMStringToken::WildcardMatch(L"xa", L"a", L"**"));
    EXPECT_TRUE(GMStringToken::IsWildcardString(L"a?"));
    EXPECT_TRUE(GMStringToken::IsWildcardString(L"*a"));
    EXPECT_FALSE(GMStringToken::IsWildcardString(L"a.b"));

    Random random(7);
    unsigned int fits = 0;
    unsigned int const rounds = Rounds(20000, 1000000);
    for (unsigned int i = 0; i < rounds; ++i)
    {
        GMString const text = RandomName(random, L"ab.");
        GMString const pattern = RandomName(random, L"ab.?**");
        bool const expected = MatchByRecursion(text, pattern, 0);
        fits += expected ? 1u : 0u;
        ASSERT_EQ(expected, GMStringToken::WildcardMatch(text, pattern))
            << testing::PrintToString(text) << testing::PrintToString(pattern);
    }
    EXPECT_GT(fits, rounds / 100); // the rounds try both answers
}

TEST(GMStringToken, TakesLongTextsInLinearTime)
{
    // Recursion would exhaust the stack here; quadratic steps would take minutes.
    // The guard heap has room for some ten thousand blocks at a time.
    std::size_t const length = IsGuardHeapInstalled() ? 2000 : 100000;
    GMString const units(length, L'a');
    EXPECT_TRUE(GMStringToken::WildcardMatch(units, units));
    EXPECT_TRUE(GMStringToken::WildcardMatch(units + L'b', L"*b"));
    EXPECT_FALSE(GMStringToken::WildcardMatch(units, L"*b"));
    EXPECT_TRUE(GMStringToken::WildcardMatch(units, GMString(length, L'*')));
    EXPECT_TRUE(GMStringToken::WildcardMatch(units, GMString(length, L'?')));

    GMString pairs;
    for (std::size_t i = 0; i < length; ++i)
        pairs.append(std::to_wstring(i)).append(L"=v x.ex:,;[]");
    Map map;
    GMStringToken::StringTokenToMap(pairs, L";", map, L"=");
    EXPECT_EQ(length + 1, map.size());
    map.clear();
    EXPECT_TRUE(GMStringToken::ParseSimpleJsonArray(pairs, map));
    EXPECT_EQ(length + 1, map.size());
    map.clear();
    EXPECT_TRUE(GMStringToken::ParseSimpleKeyValueLine(pairs, L"\"", map));
    EXPECT_EQ(length, map.size());
    EXPECT_EQ(length + 1, Line(pairs).size());
    EXPECT_EQ(pairs.size() - 2 * length, GMStringToken::ReplaceBetween(pairs, L"[", L"]").size());
    EXPECT_EQ(L"0=v", GMStringToken::ExtractExecutablePath(pairs));
}

} // namespace Velmora::Testing
