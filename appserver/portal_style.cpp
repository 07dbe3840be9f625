// SPDX-License-Identifier: MIT
#include "appserver/portal_pages.h"

namespace appserver {

std::string_view portalStyleSheet()
{
    return R"css(
:root {
  --page: #f3f4f7; --card: #ffffff; --ink: #1a2233; --soft: #5a6478; --line: #d6dbe5; --field: #ffffff;
  --accent: #1f5fd0; --accent-dark: #174aa5; --tint: #e8effc; --good: #137a4b; --bad: #a8231f; --bad-tint: #fdecea;
}
@media (prefers-color-scheme: dark) {
  :root {
    --page: #12161f; --card: #1b212d; --ink: #e8ecf4; --soft: #9aa5ba; --line: #343d4f; --field: #141924;
    --accent: #6f9ff5; --accent-dark: #8fb4f8; --tint: #22304c; --good: #58c795; --bad: #ff9b94; --bad-tint: #43211f;
  }
}
* { box-sizing: border-box; }
body {
  margin: 0; min-height: 100vh; background: var(--page); color: var(--ink);
  font: 16px/1.5 system-ui, -apple-system, "Segoe UI", Roboto, "Noto Sans", sans-serif;
}
.bar { display: flex; align-items: center; gap: .625rem; padding: .75rem 1.5rem; background: var(--card);
  border-bottom: 1px solid var(--line); font-weight: 600; }
.bar img { display: block; }
main { max-width: 80rem; margin: 0 auto; padding: 1.5rem; }
.columns { display: grid; grid-template-columns: minmax(0, 1fr) 23rem; gap: 1.5rem; align-items: start; }
.card { background: var(--card); border: 1px solid var(--line); border-radius: .75rem; padding: 1.5rem;
  box-shadow: 0 1px 2px rgb(16 24 40 / 6%); }
.message { max-width: 36rem; margin: 8vh auto 0; }
h1, h2 { margin: 0 0 .25rem; font-size: 1.25rem; line-height: 1.3; overflow-wrap: anywhere; }
h2 { margin-bottom: 1rem; }
.message h2 { margin: 1.5rem 0 .25rem; font-size: 1.0625rem; }
.head { display: flex; justify-content: space-between; align-items: flex-start; gap: 1rem; margin-bottom: 1rem; }
.facts { margin: 0; color: var(--soft); font-size: .875rem; }
.open { color: var(--accent); font-size: .9375rem; white-space: nowrap; padding: .125rem 0; }
.view { display: block; width: 100%; height: calc(100vh - 14.5rem); min-height: 24rem; border: 1px solid var(--line);
  border-radius: .5rem; background: #fff; color: #1a2233; }
.picture { overflow: auto; text-align: center; background: var(--page); }
.picture img { max-width: 100%; height: auto; display: block; margin: 0 auto; }
.hint { padding: 3rem 1.5rem; text-align: center; color: var(--soft); background: var(--page); margin: 0;
  min-height: 0; height: auto; }
form { display: grid; gap: 1.25rem; }
.pair { display: grid; grid-template-columns: 1fr 1fr; gap: 1rem; }
.field label, legend { display: block; padding: 0; margin-bottom: .375rem; font-weight: 600; font-size: .9375rem; }
label small { font-weight: 400; color: var(--soft); }
input:not([type=radio]), select, textarea { width: 100%; min-height: 2.75rem; padding: .5rem .75rem; font: inherit;
  color: inherit; background: var(--field); border: 1px solid var(--line); border-radius: .5rem; }
textarea { resize: vertical; display: block; }
fieldset { border: 0; margin: 0; padding: 0; min-width: 0; }
.pills { display: grid; grid-auto-flow: column; grid-auto-columns: 1fr; gap: .5rem; }
.pills div { position: relative; display: grid; }
.pills input { position: absolute; inset: 0; width: 100%; height: 100%; margin: 0; opacity: 0; cursor: pointer; }
.pills label { display: flex; align-items: center; justify-content: center; min-height: 2.75rem; padding: .375rem .5rem;
  border: 1px solid var(--line); border-radius: .5rem; text-align: center; background: var(--field); font-size: .9375rem;
  line-height: 1.25; }
.pills input:checked + label { border-color: var(--accent); background: var(--tint); color: var(--accent-dark);
  font-weight: 600; box-shadow: inset 0 0 0 1px var(--accent); }
.pills input:hover + label { border-color: var(--accent); }
button { min-height: 3rem; padding: .5rem 1.5rem; border: 0; border-radius: .5rem; background: var(--accent);
  color: #fff; font: inherit; font-weight: 600; cursor: pointer; }
button:hover { background: var(--accent-dark); }
@media (prefers-color-scheme: dark) { button { color: #0d1420; } }
:focus-visible, .pills input:focus-visible + label { outline: 3px solid var(--accent); outline-offset: 2px; }
.problem { margin: 0 0 1rem; padding: .75rem 1rem; border-radius: .5rem; background: var(--bad-tint); color: var(--bad); }
.badge { float: left; width: 2.25rem; height: 2.25rem; margin: -.2rem .75rem 0 0; border-radius: 50%;
  background: var(--good); color: var(--card); font-weight: 700; line-height: 2.25rem; text-align: center; }
dl { display: grid; grid-template-columns: auto 1fr; gap: .5rem 1.25rem; margin: 1rem 0 0; padding-top: 1rem;
  border-top: 1px solid var(--line); }
dt { color: var(--soft); }
dd { margin: 0; overflow-wrap: anywhere; white-space: pre-wrap; }
.listing { max-width: 48rem; margin: 0 auto; }
.list { list-style: none; margin: 0; padding: 0; }
.list li { display: flex; justify-content: space-between; align-items: center; gap: 1rem; padding: 1rem 0;
  border-top: 1px solid var(--line); }
.list h2 { font-size: 1.0625rem; margin-bottom: .125rem; }
.none { margin: 2rem 0; color: var(--soft); text-align: center; }
.quiet { min-height: 2.75rem; background: transparent; color: var(--accent); border: 1px solid var(--line); }
.quiet:hover { background: var(--tint); }
@media (max-width: 60rem) {
  main { padding: 1rem; }
  .bar { padding: .75rem 1rem; }
  .columns { grid-template-columns: minmax(0, 1fr); gap: 1rem; }
  .card { padding: 1.125rem; }
  .view { height: 45vh; min-height: 14rem; }
  .hint { height: auto; min-height: 0; padding: 1.5rem 1rem; }
}
@media (max-width: 30rem) {
  .head { flex-direction: column; gap: .25rem; }
}
)css";
}

std::string_view portalMark()
{
    return R"svg(<svg xmlns="http://www.w3.org/2000/svg" viewBox="0 0 28 28">
<rect x="1" y="9" width="26" height="12" rx="3" fill="#1f5fd0"/>
<path d="M7 2h10l4 4v6H7z" fill="#bcd2f7"/>
<path d="M7 16h14v9a1 1 0 0 1-1 1H8a1 1 0 0 1-1-1z" fill="#e8effc"/>
<path d="M10 19.5h8M10 22.5h5" stroke="#1f5fd0" stroke-width="1.5" stroke-linecap="round"/>
</svg>
)svg";
}

} // namespace appserver
