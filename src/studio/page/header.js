// The bar on top, the banners below it, and what is announced to screen readers and in passing to everybody.

import {duration, h, plural, set, setText} from "studio/dom";
import {iconButton} from "studio/icons";
import {Refusal, live, made, post} from "studio/source";
import {editable, on, store} from "studio/store";
import {showLine} from "studio/text";

const noticeTime = 4000; // milliseconds

const status = h("div", {class: "notice", id: "status", role: "status", "aria-live": "polite"});
let fading = 0;

/// Says something to everybody, for a while.
export function announce(text, severity = "") {
    setText(status, text);
    set(status, {"data-severity": severity || null, "data-shown": true});
    clearTimeout(fading);
    fading = setTimeout(() => {
        set(status, {"data-shown": null});
        setText(status, "");
    }, noticeTime);
}

/// Asks the server for something, and says so if it refuses.
export async function ask(action, body) {
    try {
        await post(action, body);
        return true;
    } catch (error) {
        if (!(error instanceof Refusal)) throw error;
        announce(error.message, "error");
        return false;
    }
}

const banner = (id, ...content) => h("div", {class: "banner", id, role: "alert", hidden: true}, ...content);

const lineLink = (line, text) =>
    h("button", {type: "button", class: "link", onclick: () => showLine(line)}, `line ${line}: ${text}`);

function buildBanners() {
    const messages = h("ul");
    const broken =
        banner("broken", h("strong", {}, "The file has errors; the graph shows the last good text."), messages);
    const ended = banner("ended", h("strong", {}, "The studio has ended."),
                         " The page shows what came last, and goes on by itself when the studio is back.");
    let kept = null;
    const keep = () => {
        kept = store.state.text;
        outside.hidden = true;
    };
    const button = (id, text, onclick) => h("button", {type: "button", class: "button", id, onclick}, text);
    const outside = banner("outside",
        h("strong", {}, "The file has changed on disk, and there are unsaved changes here."),
        button("load-file", "Load the file", () => ask("discard", {})), button("keep-mine", "Keep mine", keep));
    on("state link", () => {
        ended.hidden = store.linked;
        const {state} = store;
        if (!state) return;
        if (!state.changedOutside) kept = null;
        outside.hidden = !state.changedOutside || kept !== null;
        broken.hidden = !state.broken;
        const errors = state.broken ? state.findings.filter(finding => finding.severity === "error") : [];
        if (messages.dataset.key === JSON.stringify(errors)) return;
        messages.dataset.key = JSON.stringify(errors);
        messages.replaceChildren(...errors.map(({line, text}) => h("li", {}, line > 0 ? lineLink(line, text) : text)));
    });
    return h("div", {class: "banners"}, ended, broken, outside);
}

/// What the values are: computing, or how long they took.
function busyText(state) {
    if (state.busy) return "computing";
    const time = state.nodes.reduce((sum, node) => sum + (node.milliseconds ?? 0), 0);
    return `tick ${state.tick}: ${duration(time)}`;
}

export function buildHeader({save, help, theme, runButtons}) {
    const name = h("h1", {}), unsaved = h("span", {class: "badge", id: "unsaved", hidden: true}, "unsaved");
    const busy = h("span", {class: "busy", id: "busy"}), counts = h("span", {class: "counts"});
    const undo = iconButton("undo", "Undo", {id: "undo", onclick: () => ask("undo", {})});
    const redo = iconButton("redo", "Redo", {id: "redo", onclick: () => ask("redo", {})});
    const saveButton = iconButton("save", "Save", {id: "save", onclick: save}, "Save");
    on("state link", () => {
        const {state} = store;
        if (!state) return;
        setText(name, state.name);
        set(name, {title: state.file});
        document.title = `${state.unsaved ? "* " : ""}${state.name} - zun studio`;
        unsaved.hidden = !state.unsaved;
        setText(busy, live ? busyText(state) : `report of ${made}`);
        set(busy, {"data-busy": state.busy});
        undo.disabled = !editable() || !state.canUndo;
        redo.disabled = !editable() || !state.canRedo;
        saveButton.disabled = !editable() || !state.unsaved;
        const errors = state.findings.filter(finding => finding.severity === "error").length;
        const warnings = state.findings.filter(finding => finding.severity === "warning").length;
        const texts = [errors && plural(errors, "error"), warnings && plural(warnings, "warning")];
        setText(counts, texts.filter(Boolean).join(", "));
        set(counts, {"data-severity": errors ? "error" : warnings ? "warning" : null});
    });
    return [h("header", {id: "bar"}, h("div", {class: "title"}, name, unsaved), counts, busy,
              h("div", {class: "group push"}, ...(live ? [undo, redo, saveButton] : []), ...runButtons, theme,
                iconButton("help", "Keys (?)", {id: "help", onclick: help}))),
            buildBanners(), status];
}
