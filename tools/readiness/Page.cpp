#include "tools/readiness/Page.h"

#include <algorithm>

#include "VelmoraCommon/text/GMStringUtils.h"

using namespace Velmora;

namespace Tools
{
namespace
{

// The language is that of the browser, and the player's choice after that; without a script English.
constexpr wchar_t head[] = LR"(<!DOCTYPE html>
<html lang="en">
<head>
<meta charset="utf-8">
<meta name="viewport" content="width=device-width, initial-scale=1">
<meta name="color-scheme" content="light dark">
<title>)";

constexpr wchar_t style[] = LR"(</title>
<style>
:root { --ground: #f3f4f8; --card: #fff; --text: #1b1e28; --soft: #5d6475; --line: #dfe2ea;
  --good: #14713d; --goodground: #ddf3e5; --bad: #b3261e; --badground: #fbe4e2; }
@media (prefers-color-scheme: dark) {
  :root { --ground: #12141b; --card: #1c1f29; --text: #eceef4; --soft: #a3aabb; --line: #313645;
    --good: #6fdc9b; --goodground: #15331f; --bad: #ff9d94; --badground: #40201e; } }
* { box-sizing: border-box; }
body { margin: 0; background: var(--ground); color: var(--text);
  font: 16px/1.5 "Segoe UI", "Microsoft YaHei UI", "Microsoft YaHei", "Noto Sans CJK SC", sans-serif; }
main { max-width: 54rem; margin: 0 auto; padding: 1.5rem 1rem 3rem; }
header { display: flex; justify-content: space-between; align-items: center; gap: 1rem; }
h1 { font-size: 1.2rem; margin: 0; overflow-wrap: anywhere; }
.choice { display: flex; border: 1px solid var(--line); border-radius: 2rem; overflow: hidden; }
.choice button { border: 0; background: none; color: var(--soft); font: inherit; padding: .3rem .9rem;
  cursor: pointer; white-space: nowrap; }
:lang(en) .choice .toen, :lang(zh) .choice .tozh { background: var(--text); color: var(--card); }
html:lang(en) [lang=zh]:not(button), html:lang(zh) [lang=en]:not(button) { display: none; }
.verdict { border-radius: .8rem; padding: 1.2rem 1.4rem; margin: 1.2rem 0; font-size: 1.5rem;
  font-weight: 600; display: flex; gap: .9rem; align-items: center; }
.verdict small { display: block; font-size: 1rem; font-weight: 400; }
.ok .mark, .verdict.ok { color: var(--good); background: var(--goodground); }
.no .mark, .verdict.no { color: var(--bad); background: var(--badground); }
ul { list-style: none; margin: 0; padding: 0; background: var(--card); border: 1px solid var(--line);
  border-radius: .8rem; }
li { display: grid; grid-template-columns: 2.2rem 1fr 9rem 9rem; gap: .8rem; align-items: center;
  padding: .7rem 1rem; }
li + li { border-top: 1px solid var(--line); }
.mark { width: 2rem; height: 2rem; border-radius: 50%; display: grid; place-items: center;
  font-weight: 700; }
.name { font-weight: 600; }
.fact b { display: block; font-weight: 400; font-size: .8rem; color: var(--soft); }
@media (max-width: 40rem) {
  li { grid-template-columns: 2.2rem 1fr 1fr; }
  .name { grid-column: 2 / 4; }
  .fact:nth-of-type(3) { grid-column: 2; } }
</style>
</head>
<body>
<main>
)";

constexpr wchar_t script[] = LR"(</ul>
</main>
<script>
function speak(language) { document.documentElement.lang = language; }
if (/^zh/i.test(navigator.language)) speak('zh');
</script>
</body>
</html>
)";

/// As text of a page: a file may say anything about a game.
GMString Escaped(GMString const & text)
{
    GMString escaped;
    for (wchar_t const unit : text)
    {
        switch (unit)
        {
        case L'&':
            escaped += L"&amp;";
            break;
        case L'<':
            escaped += L"&lt;";
            break;
        case L'>':
            escaped += L"&gt;";
            break;
        default:
            escaped += unit;
        }
    }
    return escaped;
}

GMString Both(GMString const & english, GMString const & chinese)
{
    return L"<span lang=\"en\">" + Escaped(english) + L"</span><span lang=\"zh\">" +
           Escaped(chinese) + L"</span>";
}

GMString Fact(GMString const & title, GMString const & content)
{
    return L"<div class=\"fact\"><b>" + title + L"</b>" + content + L"</div>";
}

GMString Item(Need const & need)
{
    GMString found = Both(L"missing", L"未安装");
    if (!need.found.empty())
        found = Escaped(need.found);
    else if (need.prerequisite.record.m_paramIsInstalled)
        found = Both(L"there", L"已安装");
    GMString const needed = need.minimum.empty()
                                ? Both(L"any", L"任意")
                                : Both(need.minimum + L" or later", need.minimum + L" 或更高");
    return GMString(L"<li class=\"") + (need.isOk ? L"ok" : L"no") + L"\"><div class=\"mark\">" +
           (need.isOk ? L"\x2713" : L"\x2717") + L"</div><div class=\"name\">" +
           Both(need.prerequisite.title, need.prerequisite.titleChinese) + L"</div>" +
           Fact(Both(L"Needed", L"需要"), needed) + Fact(Both(L"Found", L"本机"), found) +
           L"</li>\n";
}

GMString Verdict(Readiness const & readiness)
{
    if (readiness.IsReady())
        return GMString(L"<div class=\"verdict ok\"><div>\x2713</div><div>") +
               Both(L"Ready to play", L"可以开始游戏") + L"<small>" +
               Both(L"All that the game needs is there.", L"游戏所需的组件都已就绪。") +
               L"</small></div></div>\n";
    auto const count =
        static_cast<unsigned int>(std::count_if(readiness.needs.begin(), readiness.needs.end(),
                                                [](Need const & need) { return !need.isOk; }));
    return GMString(L"<div class=\"verdict no\"><div>\x2717</div><div>") +
           Both(L"Not ready yet", L"还不能开始游戏") + L"<small>" +
           Both(GMStringUtils::FormatResult(L"To install or update: %u", count),
                GMStringUtils::FormatResult(L"需要安装或更新 %u 项组件", count)) +
           L"</small></div></div>\n";
}

} // namespace

GMString MakePage(Readiness const & readiness)
{
    GMString const title =
        readiness.game.empty() ? Both(L"Game readiness", L"游戏运行环境") : Escaped(readiness.game);
    GMString page = head;
    page += readiness.game.empty() ? GMString(L"Game readiness") : Escaped(readiness.game);
    page += style;
    page += L"<header><h1>" + title +
            L"</h1><div class=\"choice\"><button class=\"tozh\" lang=\"zh\" "
            L"onclick=\"speak('zh')\">中文"
            L"</button><button class=\"toen\" lang=\"en\" onclick=\"speak('en')\">English</button>"
            L"</div></header>\n" +
            Verdict(readiness) + L"<ul>\n";
    // What is to be done comes first.
    for (bool const isOk : {false, true})
    {
        for (Need const & need : readiness.needs)
            page += need.isOk == isOk ? Item(need) : GMString();
    }
    return page + script;
}

} // namespace Tools
