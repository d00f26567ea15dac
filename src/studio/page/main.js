// Builds the page and starts it.

import {confirmSave, showHelp} from "studio/dialogs";
import {h, set} from "studio/dom";
import {buildFacts} from "studio/facts";
import {buildGraph, turnGraph} from "studio/graph";
import {announce, buildHeader} from "studio/header";
import {buildHistogram} from "studio/histogram";
import {buildReadout} from "studio/inspect";
import {listenToKeys} from "studio/keys";
import {buildLayers} from "studio/layers";
import {buildOptions} from "studio/options";
import {border, buildPanels, showPanel, shownPanel} from "studio/panels";
import {buildRun, runButtons} from "studio/run";
import {live, start} from "studio/source";
import {on, settings, store, takeState, tell} from "studio/store";
import {buildText} from "studio/text";
import {themeButton} from "studio/theme";
import {buildTicks} from "studio/ticks";
import {buildViewer} from "studio/viewer";

const narrow = matchMedia("(max-width: 899px)");

/// Above the picture from left to right, or beside it from top to bottom; below it on narrow pages.
function arrange() {
    const direction = narrow.matches ? "TB" : settings.get("direction", "LR");
    set(document.body, {"data-graph": direction, "data-narrow": narrow.matches});
    if (!narrow.matches && shownPanel() === "graph") showPanel("options");
    turnGraph(direction);
}

function turn() {
    settings.set("direction", settings.get("direction", "LR") === "LR" ? "TB" : "LR");
    arrange();
}

function build() {
    const side = buildPanels([
        ["graph", "Graph", null],
        ["options", "Options", buildOptions()],
        ["picture", "Picture", [buildLayers(), buildHistogram(), buildFacts()]],
        ["text", "Text", buildText()],
        ["run", "Run", buildRun()],
    ]);
    const graph = buildGraph(turn);
    const main = h("main", {id: "main"}, graph,
        border("Height of the graph", "--graph-height", {vertical: false, least: 120, most: 1200}),
        border("Width of the graph", "--graph-width", {vertical: true, least: 200, most: 1600}),
        buildViewer(buildReadout()),
        border("Width of the panels", "--side-width", {vertical: true, least: 260, most: 900, fromEnd: true}), side);
    document.body.append(
        ...buildHeader({save: confirmSave, help: showHelp, theme: themeButton(), runButtons}), main, buildTicks());
    set(document.body, {"data-live": live});
    showPanel(narrow.matches ? "graph" : "options");
}

build();
listenToKeys({save: confirmSave, help: showHelp});
on("nopicture", () => announce("Show a frame first", "error"));
let chosen = false; // the first node is selected by the page itself
on("select", () => {
    if (chosen && shownPanel() !== "text") showPanel("options");
    chosen = true;
});
narrow.addEventListener("change", arrange);
arrange();
start(takeState, linked => {
    if (store.linked === linked) return;
    store.linked = linked;
    tell("link");
});
