// The dialogs: the keys, the diff before saving, and questions.

import {h} from "studio/dom";
import {Refusal, diff, post} from "studio/source";
import {announce} from "studio/header";

function open(title, content, buttons, className = "") {
    const dialog = h("dialog", {class: className, "aria-label": title}, h("h2", {}, title), ...content,
                     h("div", {class: "dialog-buttons"}, ...buttons.map(([label, act, id, main]) =>
                         h("button", {type: "button", class: main ? "button main" : "button", id, onclick: () => {
                             dialog.close();
                             act?.();
                         }}, label))));
    dialog.addEventListener("close", () => dialog.remove());
    document.body.append(dialog);
    dialog.showModal();
}

const keys = [
    [
        "Anywhere",
        [
            [", and .", "the tick before, the next tick"], ["left, right", "the same, where nothing else takes them"],
            ["space", "play, pause"], ["b", "add or remove a bookmark"],
            ["g, v, o, t", "go to graph, viewer, options, text"], ["Ctrl Z, Ctrl Shift Z", "undo, redo"],
            ["Ctrl S", "save"], ["?", "this help"]
        ]
    ],
    [
        "In the graph",
        [
            ["arrows", "go from box to box"], ["Enter", "select a node, or show a stream"],
            ["+ - 0", "zoom in, zoom out, fit"]
        ]
    ],
    [
        "In the viewer",
        [
            ["+ - 0 1", "zoom in, zoom out, fit, one to one"], ["arrows", "pan"],
            ["Shift with arrows", "move the pixel cursor and read its value"],
            ["Esc", "put the cursor or the tool away"]
        ]
    ],
    [
        "When drawing on the picture",
        [
            ["arrows", "move the box or the point"], ["Shift with arrows", "resize the box"],
            ["Enter", "take the colour under the pixel cursor"]
        ]
    ],
];

export function showHelp() {
    open("Keys", keys.map(([where, list]) => h("section", {}, h("h3", {}, where),
        h("dl", {class: "keys"}, list.flatMap(([key, does]) => [h("dt", {}, h("kbd", {}, key)), h("dd", {}, does)])))),
         [["Close", null, "help-close", true]], "help");
}

async function save(overwrite) {
    try {
        await post("save", overwrite ? {overwrite: true} : {});
        announce("Saved");
    } catch (error) {
        if (!(error instanceof Refusal)) throw error;
        if (error.status !== 409) return announce(error.message, "error");
        open("The file has changed", [h("p", {}, error.message),
                                      h("p", {}, "Overwriting it loses what was changed there.")],
             [["Cancel"], ["Overwrite the file", () => save(true), "save-overwrite", true]]);
    }
}

const lineClass = line =>
    /^(\+\+\+|---)/.test(line) ? "head" : {"+": "added", "-": "removed", "@": "place"}[line[0]] ?? "";

/// Shows what would be written, and writes it when that is confirmed.
export async function confirmSave() {
    const text = await diff();
    if (text === null) return announce("The studio can't be reached", "error");
    if (text === "") return announce("Nothing has changed");
    open("Save these changes?", [h("pre", {class: "diff", tabindex: 0, "aria-label": "Changes"},
        text.replace(/\n$/, "").split("\n").map(line => h("span", {class: lineClass(line)}, `${line}\n`)))],
         [["Cancel"], ["Save", () => save(false), "save-confirm", true]], "wide");
}
