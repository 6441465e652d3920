#include "server.h"

namespace qzmon
{

const char* const kPageHtml = R"html(<!doctype html>
<html lang="en">
<head>
<meta charset="utf-8">
<meta name="viewport" content="width=device-width,initial-scale=1">
<title>Monitor</title>
<link rel="stylesheet" href="/monitor.css">
<script src="/monitor.js" defer></script>
</head>
<body>
<a class="skip" href="#main">To the content</a>
<header>
  <div class="bar">
    <h1>Monitor</h1>
    <p id="state" class="pill" role="status" aria-live="polite">starting</p>
    <p id="device" class="soft"></p>
  </div>
  <nav aria-label="Parts of the page">
    <a href="#live">Live</a><a href="#parameters">Parameters</a><a href="#snapshots">Snapshots</a><a
     href="#tables">Tables</a><a href="#file">File</a><a href="#log">Log</a><a href="#figures">Figures</a><a
     href="#settings">Settings</a>
  </nav>
</header>
<p id="notice" role="alert" hidden></p>
<main id="main">
<section id="live" class="wide">
  <div class="head"><h2>Live</h2><p class="soft" id="clock"></p></div>
  <div id="values"></div>
  <img id="chart" alt="Chart of all channels over the last minutes">
</section>
<section id="parameters">
  <div class="head"><h2>Parameters</h2>
    <button id="plug" type="button" hidden>Unplug the simulator</button></div>
  <p class="soft">Value = raw value &times; gain + offset, computed by the device.</p>
  <div id="parameter-rows"></div>
</section>
<section id="snapshots">
  <div class="head"><h2>Snapshots</h2></div>
  <form id="snapshot-form" class="row">
    <label class="grow">Label <input id="snapshot-label" maxlength="60" autocomplete="off"></label>
    <button class="main">Take a snapshot</button>
  </form>
  <div id="snapshot-list" class="list"></div>
  <div id="preview" hidden tabindex="-1" aria-label="Preview of a snapshot"></div>
</section>
<section id="tables" class="wide">
  <div class="head"><h2>Tables</h2>
    <div class="row">
      <label>Table <select id="table-name"><option>samples</option><option>parameters</option></select></label>
      <button id="table-newer" type="button">Newer</button>
      <button id="table-older" type="button">Older</button>
    </div></div>
  <p class="soft" id="table-place"></p>
  <div class="scroll"><table id="table"></table></div>
</section>
<section id="file" class="wide">
  <div class="head"><h2>File</h2><p class="soft" id="file-size"></p></div>
  <p class="soft">Addresses of the database file; S1, S2 and so on are its latest snapshots. Click, or use the
    arrow keys, to read an address.</p>
  <img id="ruler" alt="Address ruler of the database file" tabindex="0">
</section>
<section id="log">
  <div class="head"><h2>Log of the day</h2></div>
  <ol id="log-list" class="list"></ol>
</section>
<section id="figures">
  <div class="head"><h2>Figures</h2></div>
  <dl id="figure-list"></dl>
  <details><summary>Caches</summary><dl id="cache-list"></dl></details>
</section>
<section id="settings" class="wide">
  <div class="head"><h2>Settings</h2></div>
  <p class="soft">Kept in qzmon.ini, with its comments.</p>
  <div id="setting-rows"></div>
  <details><summary>Changed in the file, for the next start</summary><div id="fixed-rows"></div></details>
</section>
</main>
<dialog id="ask"><p id="ask-text"></p>
  <form method="dialog" class="row"><button value="no">Cancel</button>
  <button value="yes" class="main" id="ask-yes">Restore</button></form></dialog>
</body>
</html>
)html";

}  // namespace qzmon
