// The description as text, with line numbers and findings at their lines. It is changed through the options only.

import {h, set, setText} from "studio/dom";
import {showPanel} from "studio/panels";
import {nodeOf, on, selectNode, store} from "studio/store";

const lines = h("ol", {class: "code", tabindex: 0, "aria-label": "Text of the description"});
const list = h("ul", {class: "findings"});
let shownText = [], shownFindings = "";

/// Comments, keys and quoted texts, so that the eye finds them.
function coloured(line) {
    const form = /(?<comment>(?:^|\s)#.*$)|(?<quoted>"(?:[^"\\]|\\.)*"|'[^']*')|(?<key>[\w.-]+(?=\s*:(?:\s|$)))/g;
    const parts = [];
    let from = 0;
    for (const found of line.matchAll(form)) {
        const [kind] = Object.entries(found.groups).find(([, text]) => text !== undefined);
        parts.push(line.slice(from, found.index), h("span", {class: kind}, found[0]));
        from = found.index + found[0].length;
    }
    return [...parts, line.slice(from)];
}

function nodeAt(number) {
    return store.state.nodes.findLast(node => node.line > 0 && node.line <= number)?.name;
}

function updateText() {
    const now = store.state.text.replace(/\n$/, "").split("\n");
    while (lines.children.length > now.length) lines.lastChild.remove();
    now.forEach((text, i) => {
        if (i >= lines.children.length) lines.append(h("li", {}, h("span", {class: "line"}), h("span", {class: "at"})));
        else if (shownText[i] === text) return;
        const line = lines.children[i].firstChild;
        line.replaceChildren(...coloured(text));
    });
    shownText = now;
}

function updateFindings() {
    const {findings} = store.state, key = JSON.stringify(findings);
    if (key === shownFindings) return;
    shownFindings = key;
    for (const line of lines.children) {
        set(line, {"data-severity": null});
        if (line.lastChild.textContent) line.lastChild.replaceChildren();
    }
    for (const {line, severity, text} of findings) {
        const at = lines.children[line - 1];
        if (!at) continue;
        if (at.dataset.severity !== "error") set(at, {"data-severity": severity});
        at.lastChild.append(h("span", {class: "message"}, `${severity}: ${text}`));
    }
    list.replaceChildren(...findings.map(({line, severity, text, node}) => h("li", {"data-severity": severity},
        h("button", {type: "button", class: "link", onclick: () => {
            if (nodeOf(node)) selectNode(node);
            if (line > 0) showLine(line);
        }}, `${line > 0 ? `line ${line}: ` : ""}${severity}: ${text}`))));
}

/// Opens the text at a line.
export function showLine(number) {
    showPanel("text");
    const line = lines.children[number - 1];
    if (!line) return;
    for (const other of lines.querySelectorAll(".jumped")) other.classList.remove("jumped");
    line.classList.add("jumped");
    line.scrollIntoView({block: "center"});
}

export function buildText() {
    const file = h("p", {class: "muted note"});
    on("state", () => {
        updateText();
        updateFindings();
        setText(file, `${store.state.file}${store.state.unsaved ? " (with unsaved changes)" : ""}`);
    });
    lines.addEventListener("dblclick", event => {
        const line = event.target.closest("li"), name = line && nodeAt([...lines.children].indexOf(line) + 1);
        if (name) selectNode(name);
    });
    return [file, list, lines];
}
