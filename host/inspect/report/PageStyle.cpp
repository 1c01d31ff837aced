// SPDX-License-Identifier: MIT
// The style sheet.
#include "inspect/report/PageStyle.h"

namespace orvo::host {

const char* const pageStyle = R"(
:root { color-scheme: light dark; --back: #f6f7f9; --card: #ffffff; --text: #1b2430; --soft: #586474; --line: #d9dee5;
  --good: #17693a; --note: #2a5fa8; --warning: #8a5a00; --fault: #b3261e; --first: #1f6fbf; --second: #c2570c;
  --third: #6d3fb0; --fourth: #1b7f5c; --fifth: #a3285f; --sixth: #5c6b00; }
@media (prefers-color-scheme: dark) { :root { --back: #12161c; --card: #1b2129; --text: #e4e9f0; --soft: #9aa7b7;
  --line: #333c48; --good: #6fd69a; --note: #8fbcff; --warning: #f0b95a; --fault: #ff8f85; --first: #6db3f8;
  --second: #ffa366; --third: #c1a0f5; --fourth: #6fd6b0; --fifth: #f58fbd; --sixth: #c5d65a; } }
* { box-sizing: border-box; }
body { margin: 0; background: var(--back); color: var(--text);
  font: 15px/1.5 system-ui, "Segoe UI", "DejaVu Sans", sans-serif; }
main, header, footer { max-width: 72rem; margin: 0 auto; padding: 0 1.25rem; }
header { padding-top: 1.75rem; }
footer { padding-bottom: 2rem; color: var(--soft); font-size: .85rem; }
h1 { margin: 0 0 .25rem; font-size: 1.7rem; line-height: 1.2; }
h2 { margin: 0 0 .9rem; font-size: 1.15rem; }
header p { margin: .2rem 0; color: var(--soft); overflow-wrap: anywhere; }
section { background: var(--card); border: 1px solid var(--line); border-radius: 10px; padding: 1.1rem 1.25rem;
  margin: 1.1rem 0; }
.verdict { display: inline-block; margin: .6rem 0 0; padding: .2rem .8rem; border-radius: 999px; font-weight: 600;
  border: 1.5px solid currentColor; }
.healthy { color: var(--good); } .faulty { color: var(--fault); }
.finding { border-left: 4px solid var(--note); padding: .1rem 0 .1rem .9rem; margin: 0 0 1rem; }
.finding:last-child { margin-bottom: 0; }
.finding p { margin: .15rem 0; overflow-wrap: anywhere; }
.finding .kind { font-weight: 700; text-transform: uppercase; font-size: .75rem; letter-spacing: .05em;
  color: var(--note); }
.warning { border-color: var(--warning); } .warning .kind { color: var(--warning); }
.fault { border-color: var(--fault); } .fault .kind { color: var(--fault); }
.text { font-weight: 600; } .evidence { color: var(--soft); }
dl { display: grid; grid-template-columns: repeat(auto-fit, minmax(min(100%, 11rem), 1fr)); gap: .8rem 1.5rem;
  margin: 0; }
dl + dl { grid-template-columns: repeat(auto-fit, minmax(min(100%, 26rem), 1fr)); margin-top: .8rem; }
dt { color: var(--soft); font-size: .82rem; } dd { margin: 0; overflow-wrap: anywhere; }
.charts { display: grid; grid-template-columns: repeat(auto-fit, minmax(min(100%, 26rem), 1fr)); gap: 1.2rem 1.8rem; }
figure { margin: 0; min-width: 0; } figcaption { font-weight: 600; margin-bottom: .3rem; }
figure > svg { width: 100%; height: auto; display: block; }
figure ul { list-style: none; margin: .3rem 0; padding: 0; font-size: .85rem; color: var(--soft); }
svg text { fill: var(--soft); font-size: 12px; } svg .grid { stroke: var(--line); stroke-width: 1; }
svg.key { width: 24px; height: 8px; vertical-align: middle; }
polyline, svg.key line { fill: none; stroke-width: 2; stroke-linejoin: round; }
.line0 { stroke: var(--first); } .line1 { stroke: var(--second); stroke-dasharray: 7 3; }
.line2 { stroke: var(--third); stroke-dasharray: 2 3; } .line3 { stroke: var(--fourth); stroke-dasharray: 9 3 2 3; }
.line4 { stroke: var(--fifth); stroke-dasharray: 4 4; } .line5 { stroke: var(--sixth); stroke-dasharray: 12 4; }
.dot0 { fill: var(--first); } .dot1 { fill: var(--second); } .dot2 { fill: var(--third); }
.dot3 { fill: var(--fourth); } .dot4 { fill: var(--fifth); } .dot5 { fill: var(--sixth); }
.scroll { overflow-x: auto; margin: 0 0 .4rem; }
table { border-collapse: collapse; width: 100%; font-size: .88rem; }
caption { text-align: left; color: var(--soft); padding-bottom: .4rem; }
th, td { text-align: left; vertical-align: top; padding: .3rem .9rem .3rem 0; border-bottom: 1px solid var(--line); }
th:last-child, td:last-child { padding-right: 0; }
td { overflow-wrap: break-word; } thead th { color: var(--soft); font-weight: 600; white-space: nowrap; }
th.number, td.number { text-align: right; font-variant-numeric: tabular-nums; white-space: nowrap; }
tbody th { padding-top: .9rem; } code, pre { font-family: ui-monospace, "DejaVu Sans Mono", monospace; }
tbody code { font-weight: 400; color: var(--soft); margin-left: .6rem; }
.phy td:first-child { white-space: nowrap; padding-left: 1rem; width: 5rem; }
.phy th:nth-child(3) { text-align: right; }
.phy .set { font-weight: 600; }
details { margin: .4rem 0; } summary { cursor: pointer; color: var(--soft); }
figure details { font-size: .85rem; } figure .scroll { max-height: 18rem; overflow-y: auto; }
pre { margin: .5rem 0 0; padding: .8rem; background: var(--back); border-radius: 6px; overflow-x: auto;
  font-size: .8rem; line-height: 1.45; }
@media (max-width: 640px) { body { font-size: 14px; } main, header, footer { padding-left: .75rem;
  padding-right: .75rem; } section { padding: .9rem .85rem; } svg text { font-size: 17px; }
  th, td { padding-right: .6rem; } .scroll table:not(.phy) { min-width: 46rem; }
  figure .scroll table:not(.phy) { min-width: 0; } .phy td:first-child { padding-left: .3rem; width: 3rem; } }
@media print { :root { --back: #fff; --card: #fff; --text: #000; --soft: #333; --line: #bbb; --first: #1f6fbf;
  --second: #c2570c; --good: #17693a; --note: #2a5fa8; --warning: #8a5a00; --fault: #b3261e; }
  body { font-size: 10pt; } section { border: 0; padding: .5rem 0; } figure, .finding, tr { break-inside: avoid; }
  .scroll { overflow: visible; } pre { white-space: pre-wrap; overflow-wrap: anywhere; padding: 0; }
  figure details { display: none; }
  h2 { break-after: avoid; } .charts { grid-template-columns: 1fr 1fr; } }
)";

} // namespace orvo::host
