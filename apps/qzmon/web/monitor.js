"use strict";
const $ = id => document.getElementById(id);

// ---- Helpers

function make(tag, attributes, ...children) {
  const element = document.createElement(tag);
  for (const [name, value] of Object.entries(attributes || {})) {
    if (name.startsWith("on")) element.addEventListener(name.slice(2), value);
    else if (value === true) element.setAttribute(name, "");
    else if (value !== false && value !== null) element.setAttribute(name, value);
  }
  element.append(...children);
  return element;
}

// A page of another site cannot read it, so that only this page changes something.
const writeToken = document.querySelector("meta[name=write-token]").content;

async function ask(path, body) {
  let response;
  try {
    const token = {"X-Qzmon": writeToken};
    response = await fetch(path, body === undefined ? {headers: token} :
      {method: "POST", headers: {"Content-Type": "application/json", ...token}, body: JSON.stringify(body)});
  } catch (e) {
    throw new Error("The monitor cannot be reached.");
  }
  const answer = await response.json();
  if (!response.ok) throw new Error(answer.error);
  return answer;
}

let noticeTimer = 0;
function tell(text, good) {
  const notice = $("notice");
  clearTimeout(noticeTimer);
  notice.textContent = text;
  notice.className = good ? "good" : "";
  notice.hidden = !text;
  if (good) noticeTimer = setTimeout(() => tell(""), 6000);
}

async function attempt(work) {
  try { await work(); } catch (e) { tell(e.message); }
}

function size(bytes) {
  const units = ["B", "KB", "MB", "GB"];
  let unit = 0;
  for (; bytes >= 1024 && unit < 3; ++unit) bytes /= 1024;
  return (unit === 0 ? bytes : bytes.toFixed(1)) + " " + units[unit];
}

// ---- Live

let status = null;
let unreachable = false;

function dots() { return Math.max(1, Math.min(3, Math.round(window.devicePixelRatio || 1))); }

// A picture that is not there yet has no width of its own.
function widthOf(image) {
  const style = getComputedStyle(image.parentElement);
  return image.parentElement.clientWidth - parseFloat(style.paddingLeft) - parseFloat(style.paddingRight);
}

// One picture after the other: the next is asked for when this one is there.
function loadPicture(image, path) {
  return new Promise(done => {
    const next = new Image();
    next.onload = () => { image.src = next.src; done(); };
    next.onerror = () => done();
    next.src = path;
  });
}

async function drawChart() {
  const image = $("chart");
  const width = Math.min(1600, Math.round(widthOf(image) * dots()));
  const height = Math.min(1600, (widthOf(image) < 600 ? 460 : 560) * dots());
  await loadPicture(image, `/chart.bmp?w=${width}&h=${height}&dot=${dots()}&t=${Date.now()}`);
}

function showStorage() {
  const {works, trouble, notice, stored, atRisk, lost} = status.storage;
  const bar = $("storage");
  // An alert is read aloud when its text changes, so the figures change it only while it shows.
  const dropped = lost > 0 ? `, ${lost} were dropped` : "";
  bar.textContent = works ? notice : `Samples cannot be stored: ${trouble}. ${stored} are in the file, ` +
    `${atRisk} are only in memory${dropped}. The monitor tries again every second.`;
  bar.hidden = works && notice === "";
}

function showStatus() {
  const pill = $("state");
  const connected = status.connected;
  const works = status.storage.works;
  pill.textContent = !connected ? "device lost" : works ? "connected" : "not storing";
  pill.className = "pill " + (connected && works ? "good" : "bad");
  showStorage();
  $("device").textContent = connected ? status.device : status.trouble + "; looking for it every second";
  $("clock").textContent = status.time === "" ? "no sample yet" :
    (connected ? "" : "last sample ") + status.time.slice(0, 19) + (connected ? ", " + status.samples + " samples since the start" : "");
  $("values").classList.toggle("stale", !connected);
  $("values").replaceChildren(...status.channels.map(channel => {
    const box = make("div", {class: "value"}, make("span", {}, channel.name),
      make("b", {}, typeof channel.value !== "number" ? "–" : channel.value.toFixed(3)));
    box.style.borderColor = channel.color;
    return box;
  }));
  const plug = $("plug");
  plug.hidden = !status.simulated;
  plug.textContent = status.plugged ? "Unplug the simulator" : "Plug the simulator in";
  showParameters();
  for (const button of document.querySelectorAll(".parameter button")) button.disabled = !connected;
}

async function beat() {
  try {
    status = await ask("/api/status");
    if (unreachable) tell("");
    unreachable = false;
    showStatus();
    await drawChart();
  } catch (e) {
    unreachable = true;
    $("state").textContent = "no connection";
    $("state").className = "pill bad";
    tell(e.message);
  }
  setTimeout(beat, 1000);
}

// ---- Parameters

let parameterKey = "";
function showParameters() {
  const key = JSON.stringify(status.channels.map(c => [c.name, c.offset, c.gain]));
  if (key === parameterKey) return;
  const typing = $("parameter-rows").contains(document.activeElement);
  if (typing && parameterKey !== "") return;
  parameterKey = key;
  $("parameter-rows").replaceChildren(...status.channels.map((channel, index) => {
    const offset = make("input", {id: `offset-${index}`, type: "number", step: "any", required: true, value: channel.offset});
    const gain = make("input", {id: `gain-${index}`, type: "number", step: "any", required: true, value: channel.gain});
    return make("form", {class: "parameter", id: `parameter-${index}`, onsubmit: event => {
      event.preventDefault();
      document.activeElement.blur();
      attempt(async () => {
        const set = await ask("/api/parameters", {channel: index, offset: offset.valueAsNumber, gain: gain.valueAsNumber});
        tell(set.message, set.agrees);
        // The fields show what the device has, not what was typed.
        parameterKey = "";
        refresh();
      });
    }}, make("b", {}, channel.name), make("label", {}, "Offset", offset), make("label", {}, "Gain", gain),
      make("button", {}, "Set"));
  }));
}

// ---- Snapshots

async function showSnapshots() {
  const all = (await ask("/api/snapshots")).snapshots;
  $("snapshot-list").replaceChildren(...(all.length === 0 ? [make("p", {class: "soft"}, "None yet.")] :
    all.map(one => make("div", {class: "snapshot"},
      make("div", {}, make("span", {}, `S${one.number}  ${one.label || "without a label"}`),
        make("time", {}, one.time.slice(0, 19))),
      make("button", {type: "button", onclick: () => attempt(() => showPreview(one))}, "Preview"),
      make("button", {type: "button", onclick: () => restore(one)}, "Restore")))));
}

function tableOf(data) {
  return make("div", {class: "scroll"}, make("table", {},
    make("thead", {}, make("tr", {}, ...data.fields.map(name => make("th", {scope: "col"}, nameOf(name))))),
    make("tbody", {}, ...data.rows.map(row => make("tr", {}, ...row.map(cell => make("td", {}, ...cellOf(cell))))))));
}

// The channels by their names; dates apart, so that a narrow page can leave them out.
function nameOf(field) {
  const number = field.match(/^channel (\d+)$/);
  const channel = number && status ? status.channels[number[1] - 1] : undefined;
  return channel ? channel.name : field;
}

function cellOf(cell) {
  if (/^\d{4}-\d\d-\d\dT/.test(cell)) return [make("span", {class: "date"}, cell.slice(0, 11)), cell.slice(11)];
  return [/^-?\d+\.\d{4,}$/.test(cell) ? Number(cell).toFixed(3) : cell];
}

async function showPreview(one) {
  const box = $("preview");
  const data = await ask(`/api/preview?id=${one.id}&rows=6`);
  box.replaceChildren(make("h3", {}, `S${one.number} as it was, ${one.time.slice(0, 19)}`),
    make("p", {class: "soft"}, `${data.samples.count} samples`),
    make("h4", {}, "Parameters"), tableOf(data.parameters),
    make("h4", {}, "Last samples"), tableOf(data.samples),
    make("p", {}, make("button", {type: "button", onclick: () => { box.hidden = true; }}, "Close the preview")));
  box.hidden = false;
  box.focus();
}

function restore(one) {
  const dialog = $("ask");
  $("ask-text").textContent = `Restore S${one.number} of ${one.time.slice(0, 19)}? Samples and parameters go back to ` +
    "what they were. The present state is kept as a snapshot of its own.";
  dialog.returnValue = "";
  dialog.onclose = () => {
    if (dialog.returnValue !== "yes") return;
    attempt(async () => {
      const note = (await ask("/api/restore", {id: one.id})).note;
      tell(`S${one.number} is restored. ${note}`, note === "");
      $("preview").hidden = true;
      parameterKey = "";
      tablePage = 0;
      refresh();
    });
  };
  dialog.showModal();
}

// ---- Tables

let tablePage = 0;
async function showTable() {
  const name = $("table-name").value;
  const data = await ask(`/api/table?name=${name}&page=${tablePage}`);
  const pages = Math.max(1, Math.ceil(data.count / data.size));
  if (tablePage >= pages) { tablePage = pages - 1; return showTable(); }
  $("table").replaceChildren(...tableOf(data).querySelector("table").children);
  const last = data.count - tablePage * data.size;
  $("table-place").textContent = data.count === 0 ? "No rows." :
    `Rows ${Math.max(1, last - data.size + 1)} to ${last} of ${data.count}, the newest first`;
  $("table-newer").disabled = tablePage === 0;
  $("table-older").disabled = tablePage + 1 >= pages;
}

// ---- File, log, figures, settings

// Narrower ones have no room for their labels.
const leastRuler = 420;
let cursor = -1;
async function showRuler() {
  const image = $("ruler");
  const width = Math.max(leastRuler, Math.min(1600, Math.round(widthOf(image))));
  await loadPicture(image, `/ruler.bmp?w=${width}&x=${Math.round(cursor < 0 ? -1 : cursor * width / widthOf(image))}&t=${Date.now()}`);
}

function moveCursor(x) {
  cursor = Math.max(0, Math.min(widthOf($("ruler")) - 1, Math.round(x)));
  showRuler();
}

async function showLog() {
  const entries = (await ask("/api/log?count=60")).entries;
  $("log-list").replaceChildren(...entries.map(entry => make("li", {},
    make("time", {}, (entry.time.match(/\d+:\d+:\d+/) || [entry.time])[0]), make("span", {}, entry.text))));
}

async function showFigures() {
  const f = await ask("/api/figures");
  const time = `${Math.floor(f.seconds / 3600)} h ${Math.floor(f.seconds / 60) % 60} min ${f.seconds % 60} s`;
  const rows = [["Running for", time], ["Connections", `${f.connections} open, ${f.closing} closing`],
    ["Workers", `${f.workers}, ${f.working} at work`], ["Threads", f.threads], ["Open descriptors", f.descriptors],
    ["Memory of the process", size(f.memory)],
    ["Rows, snapshots", `${f.rows}, ${f.snapshots}`], ["Syncs", `${f.syncs}, the last in ${f.syncMs.toFixed(1)} ms`]];
  const list = rows => rows.flatMap(([name, value]) => [make("dt", {}, name), make("dd", {}, String(value))]);
  $("figure-list").replaceChildren(...list(rows));
  $("cache-list").replaceChildren(...list(Object.entries(f.caches)));
  $("file-size").textContent = size(f.fileBytes);
}

async function showSettings() {
  const all = (await ask("/api/settings")).settings;
  const rowOf = one => {
    const name = make("div", {}, make("span", {}, one.name), make("span", {class: "soft"}, one.comment));
    if (!one.live) return make("div", {class: "setting"}, name, make("output", {}, one.value || "–"));
    const input = make("input", {type: "number", id: `setting-${one.name}`, min: one.least, max: one.most, step: 1,
      required: true, value: one.value, "aria-label": one.name});
    return make("form", {class: "setting", onsubmit: event => {
      event.preventDefault();
      attempt(async () => {
        const answer = await ask("/api/settings", {name: one.name, value: input.value});
        const changed = answer.settings.find(each => each.name === one.name);
        tell(`${one.name} is ${changed.value}.`, true);
        refresh();
      });
    }}, name, input, make("button", {}, "Change"));
  };
  $("setting-rows").replaceChildren(...all.filter(one => one.live).map(rowOf));
  $("fixed-rows").replaceChildren(...all.filter(one => !one.live).map(rowOf));
}

// ---- All together

async function refresh() {
  await attempt(async () => {
    await Promise.all([showSnapshots(), showTable(), showLog(), showFigures(), showRuler()]);
  });
}

async function slowBeat() {
  if (!unreachable) {
    await attempt(async () => {
      await showLog();
      await showFigures();
      await showSnapshots();
      if (tablePage === 0) await showTable();
      if (cursor < 0) await showRuler();
    });
  }
  setTimeout(slowBeat, 5000);
}

$("snapshot-form").addEventListener("submit", event => {
  event.preventDefault();
  attempt(async () => {
    await ask("/api/snapshots", {label: $("snapshot-label").value.trim()});
    $("snapshot-label").value = "";
    tell("The snapshot is taken.", true);
    refresh();
  });
});
$("plug").addEventListener("click", () => attempt(async () => {
  await ask("/api/simulator", {plugged: !status.plugged});
}));
$("table-name").addEventListener("change", () => { tablePage = 0; attempt(showTable); });
$("table-newer").addEventListener("click", () => { tablePage = Math.max(0, tablePage - 1); attempt(showTable); });
$("table-older").addEventListener("click", () => { ++tablePage; attempt(showTable); });
$("ruler").addEventListener("click", event => moveCursor(event.offsetX));
$("ruler").addEventListener("keydown", event => {
  const step = {ArrowLeft: -4, ArrowRight: 4, PageDown: 40, PageUp: -40}[event.key];
  if (step === undefined) return;
  event.preventDefault();
  moveCursor(Math.max(0, cursor) + step);
});
let knownWidth = 0;
new ResizeObserver(() => {
  if (knownWidth === $("main").clientWidth) return;
  knownWidth = $("main").clientWidth;
  drawChart();
  showRuler();
}).observe($("main"));

beat();
attempt(showSettings);
attempt(showTable);
slowBeat();
