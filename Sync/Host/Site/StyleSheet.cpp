#include "Sync/Host/Site/StyleSheet.h"

namespace kt {

namespace {

constexpr std::string_view kStyleSheet = R"(:root {
  color-scheme: light dark;
  --paper: #fff;
  --raised: #f4f5f7;
  --ink: #1c1e21;
  --muted: #5b6068;
  --line: #d5d9de;
  --accent: #0a5bb5;
  --chip: #e2edf9;
  --chip-ink: #10355f;
  --today: #b3261e;
}
@media (prefers-color-scheme: dark) {
  :root {
    --paper: #16181c;
    --raised: #20242a;
    --ink: #e8eaed;
    --muted: #a3a9b3;
    --line: #3a404a;
    --accent: #8ab8f0;
    --chip: #24374f;
    --chip-ink: #d5e6fa;
    --today: #f2948c;
  }
}
* { box-sizing: border-box; }
body {
  margin: 0;
  background: var(--paper);
  color: var(--ink);
  font: 1rem/1.5 system-ui, -apple-system, "Segoe UI", Roboto, "Noto Sans", sans-serif;
  overflow-wrap: anywhere;
}
a { color: var(--accent); }
a:focus-visible, button:focus-visible, select:focus-visible, input:focus-visible {
  outline: 3px solid var(--accent);
  outline-offset: 2px;
}
.skip { position: absolute; left: -99rem; }
.skip:focus { left: 1rem; top: .5rem; padding: .5rem 1rem; background: var(--paper); z-index: 1; }
.site, main { max-width: 68rem; margin: 0 auto; padding: 0 1rem; }
.site { padding-top: .75rem; padding-bottom: .75rem; }
main { padding-top: .75rem; padding-bottom: 3rem; }
.site + main { padding-top: 0; }
h1 { font-size: 1.75rem; line-height: 1.2; margin: .25rem 0 .5rem; }
h2 { font-size: 1.25rem; margin: 2rem 0 .75rem; }
h3 { font-size: 1rem; margin: 1.25rem 0 .25rem; }
p { margin: .5rem 0; }
.note, .muted { color: var(--muted); }
.swatch { width: .8em; height: .8em; margin-right: .4em; overflow: visible; }
.hidden {
  position: absolute; width: 1px; height: 1px; overflow: hidden;
  clip-path: inset(50%); white-space: nowrap;
}
.calendars { list-style: none; margin: 1.5rem 0; padding: 0; }
.calendars li { padding: .9rem 0; border-top: 1px solid var(--line); }
.calendars li:last-child { border-bottom: 1px solid var(--line); }
.calendars h2 { margin: 0; font-size: 1.15rem; }
.calendars p { margin: .15rem 0 0; }
.bar { display: flex; flex-wrap: wrap; gap: .5rem 1.25rem; align-items: baseline; }
.bar h2 { margin: 1.25rem auto .75rem 0; }
table { width: 100%; border-collapse: collapse; table-layout: fixed; }
th { font-weight: 600; color: var(--muted); font-size: .85rem; padding: .25rem; }
th abbr { text-decoration: none; }
thead th:first-child { width: 2.5rem; }
tbody th { vertical-align: top; font-weight: 400; padding-top: .4rem; }
td { border: 1px solid var(--line); vertical-align: top; height: 6.75rem; padding: .3rem; }
td > a, td > time { display: block; text-align: right; font-variant-numeric: tabular-nums; line-height: 1.4; }
td > a { text-decoration: none; font-weight: 600; }
td > a:hover { text-decoration: underline; }
.outside { background: var(--raised); }
.outside > time { color: var(--muted); }
.today { box-shadow: inset 0 0 0 2px var(--today); }
.today > a, .today > time { color: var(--today); font-weight: 700; }
td ul { list-style: none; margin: .15rem 0 0; padding: 0; font-size: .78rem; line-height: 1.35; }
td li {
  margin-top: .15rem; padding: .05rem .3rem; border-radius: .25rem; overflow: hidden;
  hyphens: auto; display: -webkit-box; -webkit-box-orient: vertical; -webkit-line-clamp: 2; line-clamp: 2;
}
td .allday { background: var(--chip); color: var(--chip-ink); }
td .more { color: var(--muted); }
.time { font-variant-numeric: tabular-nums; color: var(--muted); }
.allday .time { color: inherit; }
.day { border-top: 1px solid var(--line); scroll-margin-top: .5rem; }
.day ul, .tasks { list-style: none; margin: 0 0 1rem; padding: 0; }
.day li { display: grid; grid-template-columns: 8rem 1fr; gap: 0 1rem; padding: .3rem 0; }
.day .what { font-weight: 600; }
.day .more { grid-column: 2; color: var(--muted); font-size: .9rem; margin: 0; }
.tasks li { padding: .35rem 0; border-top: 1px solid var(--line); }
.done .what { text-decoration: line-through; color: var(--muted); }
form { display: flex; flex-wrap: wrap; gap: .75rem 1rem; align-items: end; margin: 1.5rem 0 0; }
label { display: block; font-size: .85rem; color: var(--muted); }
select, input, button {
  font: inherit; color: inherit; background: var(--paper); border: 1px solid var(--muted);
  border-radius: .3rem; padding: .35rem .5rem; max-width: 100%; min-height: 2.5rem;
}
button { background: var(--accent); color: var(--paper); border-color: var(--accent); padding: .35rem 1rem; }
@media (max-width: 40rem) {
  h1 { font-size: 1.45rem; }
  .bar { justify-content: space-between; }
  .bar h2 { width: 100%; margin: 1.25rem 0 0; }
  .bar a { padding: .35rem 0; }
  .bar .year { display: none; }
  thead th:first-child, tbody th { display: none; }
  td { height: 3.1rem; padding: .15rem; }
  td > a, td > time { text-align: center; line-height: 2.6rem; min-height: 2.6rem; }
  td > a { background: var(--chip); color: var(--chip-ink); border-radius: .3rem; }
  td ul { display: none; }
  .day li { grid-template-columns: 1fr; }
  .day .more { grid-column: 1; }
}
@media print {
  .skip, .site, form, nav { display: none; }
}
)";

}  // namespace

std::string_view styleSheet() { return kStyleSheet; }

}  // namespace kt
