// The options of the selected node: a control for each, its documentation, its findings, and the way back to the
// default.

import {isPending, onRefusal, send} from "studio/changes";
import {controlFor} from "studio/controls";
import {duration, h, reconcile, set, setText, shortNumber} from "studio/dom";
import {iconButton} from "studio/icons";
import {pickValue, takeColour} from "studio/picking";
import {live} from "studio/source";
import {editable, findingsOf, nodeOf, on, showStream, store, streamOf} from "studio/store";
import {showLine} from "studio/text";
import {drawable, valueFields} from "studio/valueFields";

const refusals = new Map(); // key of an option -> what the server said to its last change
const keyOf = (node, option) => `${node}.${option}`;

const textFields = "textarea, input:not([type=range], [type=checkbox], [type=color])";

/// A pointer that is down on a control, or a key that moves it: until then the control is the user's.
let held = null;
addEventListener("pointerup", () => release());
addEventListener("pointercancel", () => release());

function release() {
    if (!held) return;
    held = null;
    if (store.state) update();
}

function makeRow(node, option) {
    const key = keyOf(node.name, option.name), label = option.name, form = drawable(option.valueType);
    const changed = text => {
        row.sent = text;
        send(key, "change", {node: node.name, option: option.name, text});
        mark(row);
    };
    const control = controlFor(option, label, changed, takeColour);
    const fields = form && valueFields(form, label, text => { control.set(text); changed(text); }, pickValue);
    const parts = {
        set: h("span", {class: "badge", title: "Not the default"}, "changed"),
        reset: iconButton("reset", `Back to the default of ${label}`, {onclick: () =>
            send(key, "reset", {node: node.name, option: option.name})}),
        about: h("p", {class: "about"}), problem: h("p", {class: "problem", role: "alert", hidden: true}),
    };
    const body = h("fieldset", {class: "control"}, control.element, fields?.element);
    const row = h("div", {class: "option", "data-option": key},
        h("div", {class: "option-head"}, h("span", {class: "option-name"}, label),
            h("span", {class: "muted"}, option.valueType || option.type), parts.set, parts.reset),
        body, parts.about, parts.problem);
    body.addEventListener("pointerdown", () => { held = row; });
    const show = text => {
        control.set(text);
        if (text !== row.fieldText) fields?.set(text);
        row.fieldText = text;
    };
    Object.assign(row, {key, parts, body, show});
    return row;
}

function mark(row) { set(row, {"data-pending": isPending(row.key)}); }

/// Whether the user is at the control: then what comes from the server must not change it.
function isTheUsers(row, option) {
    if (held === row || isPending(row.key)) return true;
    const focus = document.activeElement, typing = row.contains(focus) && focus.matches(textFields);
    const bad = refusals.get(row.key) || findingsOf(store.node, option.name).length > 0;
    return typing && bad && row.sent !== undefined && row.sent !== option.text;
}

function problemOf(key, node, option) {
    const texts = findingsOf(node.name, option.name).map(finding => finding.text);
    return [refusals.get(key), ...texts].filter(Boolean).join("\n");
}

function aboutOf(option) {
    const [least, most] = [option.least, option.most].map(bound => typeof bound === "number" ? shortNumber(bound) : "");
    const range = least && most ? `${least} to ${most}` : least ? `at least ${least}` : most ? `at most ${most}` : "";
    const isAngle = option.kind === "angle" && option.type === "float";
    const degrees = isAngle ? `${(Number(option.text) * 180 / Math.PI).toFixed(2)} degrees` : "";
    const usual = option.default !== null ? `default ${option.default || "empty"}` : option.required ? "required" : "";
    const notes = [range, usual, degrees];
    return [option.about, notes.filter(Boolean).join("; "), option.locked && `Locked: ${option.locked}.`]
        .filter(Boolean)
        .join(" \u2014 ");
}

function updateRow(row, node, option) {
    const {parts} = row, problem = problemOf(row.key, node, option);
    if (!isTheUsers(row, option)) {
        row.sent = undefined;
        if (row.shownText !== option.text || !row.contains(document.activeElement)) row.show(option.text);
        row.shownText = option.text;
    }
    row.body.disabled = !editable() || Boolean(option.locked);
    parts.set.hidden = option.isDefault || option.default === null;
    parts.reset.hidden = parts.set.hidden || !live || Boolean(option.locked);
    setText(parts.about, aboutOf(option));
    setText(parts.problem, problem);
    parts.problem.hidden = !problem;
    mark(row);
    set(row, {"data-locked": Boolean(option.locked), "data-problem": Boolean(problem)});
}

const head = h("div", {class: "node-head"}), rows = h("div", {class: "options"}), note = h("p", {class: "muted note"});
let kept = new Map(), keptNode = null, headKey = "";

const streamLinks = ports => ports.flatMap(({port, stream, about}, i) => [i ? ", " : "",
    h("button", {type: "button", class: "link", title: about, disabled: !streamOf(stream),
                 onclick: () => showStream(stream)}, stream),
    h("span", {class: "muted"}, ` ${port}`)]);

function timeOf({runs, milliseconds, kept}) {
    if (!runs) return "not run while one looks: it has effects outside";
    return milliseconds === null ? "not run at this tick" : duration(milliseconds) + (kept ? ", kept from before" : "");
}

function updateHead(node) {
    const findings =
        findingsOf(node.name).filter(finding => !node.options.some(option => option.name === finding.port));
    const key = JSON.stringify([node.name, node.type, node.summary, node.line, node.inputs, node.outputs, node.error,
                                node.milliseconds, node.runs, findings]);
    if (key === headKey) return;
    headKey = key;
    const ports = (name, list) => list.length ? [h("dt", {}, name), h("dd", {}, ...streamLinks(list))] : [];
    head.replaceChildren(...[
        h("h2", {}, node.name, h("span", {class: "muted"}, ` ${node.type}`)),
        h("p", {}, node.summary),
        h("dl", {class: "facts"}, ...ports("reads", node.inputs), ...ports("makes", node.outputs),
          h("dt", {}, "time"), h("dd", {}, timeOf(node))),
        node.line > 0 && h("button", {type: "button", class: "link", onclick: () => showLine(node.line)},
                           `line ${node.line} of the text`),
        node.error && h("p", {class: "problem"}, node.error),
        ...findings.map(finding => h("p", {class: "problem", "data-severity": finding.severity}, finding.text)),
    ].filter(Boolean));
}

function update() {
    const node = nodeOf(store.node);
    if (!node) return;
    if (keptNode !== node.name) {
        rows.replaceChildren();
        kept = new Map();
        keptNode = node.name;
    }
    updateHead(node);
    reconcile(rows, kept, node.options,
        option => `${option.name} ${option.type} ${option.valueType} ${option.choices.length}`,
        option => makeRow(node, option), (row, option) => updateRow(row, node, option));
    setText(note, !live ? "This is a report: options can be read, not changed."
        : node.options.length === 0 ? "This node has no options." : "");
    note.hidden = !note.textContent;
}

export function buildOptions() {
    onRefusal((key, message) => {
        refusals.set(key, message);
        if (store.state) update();
    });
    on("state select link settled", () => { if (store.state) update(); });
    return [head, note, rows];
}
