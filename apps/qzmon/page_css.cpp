#include "server.h"

namespace qzmon
{

const char* const kPageCss = R"css(
:root {
  --ink: #1d2630; --soft: #5a6672; --line: #dbe1e7; --paper: #ffffff; --ground: #f3f5f8;
  --main: #2563c9; --main-dark: #1c4fa3; --good: #0f7b4f; --bad: #b02a2a;
}
* { box-sizing: border-box; }
[hidden] { display: none !important; }
html { scroll-padding-top: 7rem; }
body { margin: 0; background: var(--ground); color: var(--ink); font: 16px/1.45 system-ui, sans-serif; }
h1 { font-size: 1.15rem; margin: 0; }
h2 { font-size: 1.05rem; margin: 0; }
p { margin: 0; }
.soft { color: var(--soft); font-size: .9rem; }
.skip { position: absolute; left: -100rem; }
.skip:focus { left: 1rem; top: 1rem; background: var(--paper); padding: .5rem; z-index: 3; }
header { position: sticky; top: 0; z-index: 2; background: var(--paper); border-bottom: 1px solid var(--line); }
.bar { display: flex; flex-wrap: wrap; gap: .3rem 1rem; align-items: center; padding: .7rem 1.25rem .35rem; }
.bar #device { overflow-wrap: anywhere; }
.pill { border-radius: 1rem; padding: .1rem .75rem; font-size: .9rem; font-weight: 600; background: #e8ecf0; }
.pill.good { background: #e2f4ea; color: var(--good); }
.pill.bad { background: #fbe6e6; color: var(--bad); }
nav { display: flex; gap: .25rem; padding: 0 .85rem .4rem; overflow-x: auto; scrollbar-width: none; }
nav a { padding: .3rem .45rem; color: var(--soft); text-decoration: none; border-radius: .4rem; white-space: nowrap;
  font-size: .95rem; }
nav a:hover { color: var(--ink); background: var(--ground); }
:focus-visible { outline: 3px solid #7fa9ea; outline-offset: 1px; }
#notice { margin: 1rem auto 0; max-width: 76rem; padding: .7rem 1.25rem; background: #fbe6e6; color: var(--bad);
  border-radius: .5rem; width: calc(100% - 2rem); overflow-wrap: anywhere; }
#notice.good { background: #e2f4ea; color: var(--good); }
main { display: grid; grid-template-columns: minmax(0, 1fr) minmax(0, 1fr); gap: 1rem; max-width: 78rem; margin: 0 auto;
  padding: 1rem; }
section { background: var(--paper); border: 1px solid var(--line); border-radius: .7rem; padding: 1rem 1.25rem;
  min-width: 0; display: flex; flex-direction: column; gap: .7rem; }
section.wide { grid-column: 1 / -1; }
.head { display: flex; flex-wrap: wrap; gap: .5rem 1rem; justify-content: space-between; align-items: center; }
.row { display: flex; flex-wrap: wrap; gap: .6rem; align-items: end; }
.grow { flex: 1 1 10rem; }
.grow input { width: 100%; }
label { font-size: .9rem; color: var(--soft); }
input, select, button, .button { font: inherit; color: var(--ink); min-height: 2.4rem; border: 1px solid #c3ccd5;
  border-radius: .45rem; padding: .3rem .7rem; background: var(--paper); }
input { min-width: 0; }
button, .button { cursor: pointer; text-decoration: none; display: inline-block; white-space: nowrap; }
button:hover, .button:hover { background: var(--ground); }
button.main { background: var(--main); border-color: var(--main); color: #fff; }
button.main:hover { background: var(--main-dark); }
button:disabled { color: #98a2ac; background: var(--ground); cursor: default; }
#values { display: grid; grid-template-columns: repeat(auto-fit, minmax(9rem, 1fr)); gap: .75rem; }
.value { border-left: 4px solid var(--line); padding: .05rem .75rem; }
.value b { display: block; font-size: 1.6rem; font-weight: 600; font-variant-numeric: tabular-nums; line-height: 1.2; }
.value span { color: var(--soft); font-size: .85rem; letter-spacing: .03em; }
.stale b { color: #98a2ac; }
#chart, #ruler { display: block; width: 100%; image-rendering: auto; border-radius: .3rem; min-height: 6rem; }
#ruler { cursor: crosshair; border: 1px solid var(--line); }
.parameter { display: grid; grid-template-columns: 4rem minmax(0, 1fr) minmax(0, 1fr) auto; gap: .6rem; align-items: end;
  padding: .45rem 0; border-top: 1px solid var(--line); }
.parameter b { padding-bottom: .5rem; }
.parameter input { width: 100%; font-variant-numeric: tabular-nums; }
.list { max-height: 22rem; overflow-y: auto; margin: 0; padding: 0; list-style: none; }
.list > * { border-top: 1px solid var(--line); padding: .5rem .1rem; }
.list time { font-size: .85rem; color: var(--soft); font-variant-numeric: tabular-nums; }
#log-list li { display: grid; grid-template-columns: 4.8rem minmax(0, 1fr); gap: .5rem; overflow-wrap: anywhere;
  font-size: .92rem; }
.snapshot { display: flex; flex-wrap: wrap; gap: .4rem .6rem; align-items: center; }
.snapshot div { flex: 1 1 8rem; min-width: 0; overflow-wrap: anywhere; }
.snapshot div span { display: block; }
#preview { border: 1px solid var(--line); border-radius: .5rem; padding: .8rem; background: #f8fafc; }
#preview h3 { margin: 0 0 .4rem; font-size: 1rem; }
#preview h4 { margin: .7rem 0 .2rem; font-size: .9rem; }
.scroll { overflow-x: auto; }
table { border-collapse: collapse; width: 100%; font-size: .92rem; font-variant-numeric: tabular-nums; }
th, td { text-align: right; padding: .35rem .6rem; border-bottom: 1px solid var(--line); white-space: nowrap; }
th { color: var(--soft); font-weight: 600; }
th:first-child, td:first-child { text-align: left; padding-left: 0; }
dl { display: grid; grid-template-columns: minmax(0, 1fr) auto; gap: .3rem 1rem; margin: 0; font-size: .95rem; }
dt { color: var(--soft); overflow-wrap: anywhere; }
dd { margin: 0; text-align: right; font-variant-numeric: tabular-nums; }
details summary { cursor: pointer; color: var(--soft); padding: .4rem 0; }
.setting { display: grid; grid-template-columns: minmax(0, 1fr) 9rem 6rem; gap: .6rem; align-items: center;
  padding: .45rem 0; border-top: 1px solid var(--line); }
.setting span { display: block; }
.setting input { width: 100%; }
.setting output { overflow-wrap: anywhere; grid-column: 2 / -1; }
dialog { border: 1px solid var(--line); border-radius: .7rem; padding: 1.25rem; max-width: 26rem; color: var(--ink); }
dialog::backdrop { background: rgb(20 30 40 / .35); }
dialog form { margin-top: 1rem; justify-content: flex-end; }
main.error { display: block; max-width: 34rem; margin-top: 12vh; background: var(--paper); border: 1px solid var(--line);
  border-radius: .7rem; padding: 2rem; }
main.error > * { margin: 0 0 .9rem; overflow-wrap: anywhere; }
main.error .code { color: var(--soft); font-weight: 600; }
main.error h1 { font-size: 1.4rem; }
@media (max-width: 46rem) {
  main { grid-template-columns: minmax(0, 1fr); padding: .6rem; gap: .6rem; }
  section { padding: .85rem .9rem; }
  .bar { padding: .6rem .9rem .2rem; }
  nav { padding: 0 .45rem .35rem; }
  .date { display: none; }
  th, td { padding: .35rem .25rem; font-size: .86rem; }
  #values { grid-template-columns: 1fr 1fr; }
  .value b { font-size: 1.35rem; }
  .parameter { grid-template-columns: minmax(0, 1fr) minmax(0, 1fr) auto; }
  .parameter b { grid-column: 1 / -1; padding: 0; }
  .setting { grid-template-columns: minmax(0, 1fr) auto; }
  .setting > div { grid-column: 1 / -1; }
  .setting output { grid-column: 1 / -1; }
  #notice { width: calc(100% - 1.2rem); padding: .7rem .9rem; }
}
)css";

}  // namespace qzmon
