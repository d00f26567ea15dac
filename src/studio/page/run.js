// Runs the whole description, its writers included, and shows how far it is and where its time went.

import {duration, h, set, setText} from "studio/dom";
import {announce} from "studio/header";
import {iconButton} from "studio/icons";
import {showPanel} from "studio/panels";
import {Refusal, live, post} from "studio/source";
import {editable, on, selectNode, store} from "studio/store";

const start = iconButton(
    "run", "Run all: the whole description, with its writers", {id: "run", onclick: () => act("run")}, "Run all");
const stop = iconButton("stop", "Stop the run", {id: "stop", hidden: true, onclick: () => act("stop")}, "Stop");
const bar = h("progress", {id: "run-progress", "aria-label": "Progress of the run"});
const line = h("p", {class: "run-line", id: "run-line"}), message = h("p", {class: "run-message", id: "run-message"});
const shares = h("table", {class: "shares"}), sharesTitle = h("h3", {}, "Where the time went");
let lastState = "idle", sharesKey = "";

export const runButtons = live ? [start, stop] : [];

async function act(action) {
    if (action === "run") showPanel("run");
    try {
        await post(action);
    } catch (error) {
        if (!(error instanceof Refusal)) throw error;
        announce(error.message, "error");
    }
}

const words = {idle: "Nothing has run yet.", running: "Running", done: "Done", failed: "Failed", stopped: "Stopped"};

function progressText({state, done, total, perSecond, seconds}) {
    if (state === "idle") return words.idle;
    const count = total === null ? `${done} ticks` : `${done} of ${total} ticks`;
    return `${words[state]}: ${count} in ${seconds.toFixed(1)} s${
        perSecond > 0 ? `, ${perSecond.toFixed(1)} a second` : ""}`;
}

const nodeLink = name => h("button", {type: "button", class: "link", onclick: () => {
    selectNode(name);
    showPanel("options");
}}, name);

function updateShares({state, nodes}) {
    const key = JSON.stringify(nodes), none = state === "running" || nodes.length === 0;
    shares.hidden = sharesTitle.hidden = none;
    if (none || key === sharesKey) return;
    sharesKey = key;
    const sorted = [...nodes].sort((a, b) => b.share - a.share);
    shares.replaceChildren(
        h("thead", {}, h("tr", {}, ["node", "share", "", "a tick"].map(name => h("th", {scope: "col"}, name)))),
        h("tbody", {}, sorted.map(({name, share, mean}) => h("tr", {},
            h("th", {scope: "row"}, nodeLink(name)),
            h("td", {}, `${(share * 100).toFixed(1)}%`),
            h("td", {class: "bar-cell"}, h("i", {style: {width: `${Math.min(share * 100, 100)}%`}})),
            h("td", {}, duration(mean))))));
}

function update() {
    const {run} = store.state, running = run.state === "running";
    start.hidden = running;
    start.disabled = !editable();
    stop.hidden = !running;
    bar.hidden = run.state === "idle";
    if (running && run.total === null) bar.removeAttribute("value");
    else bar.value = run.total ? run.done / run.total : run.state === "done" ? 1 : 0;
    setText(line, progressText(run));
    setText(message, run.message);
    message.hidden = !run.message;
    set(message, {"data-severity": run.state === "failed" ? "error" : null});
    updateShares(run);
    if (lastState === "running" && !running)
        announce(run.message || words[run.state], run.state === "failed" ? "error" : "");
    lastState = run.state;
}

export function buildRun() {
    on("state link", () => { if (store.state) update(); });
    return live ? [line, bar, message, sharesTitle, shares]
        : [h("p", {class: "muted"}, "This is a report: nothing runs here."), line, message, sharesTitle, shares];
}
