// The keys that work anywhere on the page. Panes have their own (see their modules), and come first.

import {ask} from "studio/header";
import {showPanel} from "studio/panels";
import {live} from "studio/source";
import {editable, store} from "studio/store";
import {step, toggleBookmark, togglePlay} from "studio/ticks";

const isTyping = element => element.matches("textarea, select, input:not([type=range], [type=checkbox], [type=color])");
/// What takes arrows itself, and what takes the space.
const takesArrows = element => element.matches(
    "input[type=range], [role=slider], [role=separator], [role=tab], .node, .stream, #stage, .record, .code");
const takesSpace = element => element.matches("button, input, summary");

/// Opens a panel and focuses the first of the selectors that finds something.
function focusOn(panel, ...selectors) {
    if (panel) showPanel(panel);
    selectors.map(selector => document.querySelector(selector)).find(Boolean)?.focus();
}

const places = {
    g: () => focusOn(getComputedStyle(document.getElementById("tab-graph")).display === "none" ? null : "graph",
        "#graph [tabindex='0']"),
    v: () => focusOn(null, "#stage"),
    o: () => focusOn("options", "#panel-options fieldset:enabled :is(input, select, textarea)", "#tab-options"),
    t: () => focusOn("text", ".code"),
};

function onControl(event, {save}) {
    const key = event.key.toLowerCase();
    if (key === "s" && live) save();
    else if (key === "z" && !isTyping(event.target)) ask(event.shiftKey ? "redo" : "undo", {});
    else if (key === "y" && !isTyping(event.target)) ask("redo", {});
    else return false;
    return true;
}

function onPlain(event, {help}) {
    const {key, target} = event, steps = {",": -1, ".": 1, ArrowLeft: -1, ArrowRight: 1};
    if (isTyping(target)) return false;
    if (key.startsWith("Arrow") && takesArrows(target) || key === " " && takesSpace(target)) return false;
    if (key in steps) step(steps[key]);
    else if (key === " ") togglePlay();
    else if (key === "b") toggleBookmark();
    else if (key === "?") help();
    else if (places[key]) places[key]();
    else return false;
    return true;
}

export function listenToKeys(acts) {
    addEventListener("keydown", event => {
        if (event.defaultPrevented || event.altKey || !store.state || document.querySelector("dialog[open]")) return;
        const control = event.ctrlKey || event.metaKey;
        if (control ? editable() && onControl(event, acts) : onPlain(event, acts)) event.preventDefault();
    });
}
