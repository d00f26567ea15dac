// Shows a record as a table where its type has columns, otherwise as JSON, and no more of it than one can read.

import {h, plural} from "studio/dom";
import {overlayOrder, recordOf} from "studio/overlays";
import {plainType, shapeKind} from "studio/shapes";
import {carriesFrames, setOverlay, showStream, store} from "studio/store";

const mostRows = 500, mostLetters = 20000;
let shownId = null;

export const recordPane = h("div", {class: "record", id: "record", hidden: true, tabindex: 0,
                                    role: "region", "aria-label": "Value"});

const columnsOf = {boxes: ["x", "y", "width", "height"], lines: ["x0", "y0", "x1", "y1"]};

function columns(stream) {
    const kind = shapeKind(stream.type);
    if (kind === "points") return overlayOrder(stream) === "row" ? ["row", "column"] : ["x", "y"];
    return columnsOf[kind];
}

/// Rows of cells with a header, or nothing where a table says no more than JSON.
function tableOf(stream, value) {
    if (!Array.isArray(value)) return null;
    const names = columns(stream), flat = value.every(entry => !Array.isArray(entry) && !isObject(entry));
    if (names && value.every(entry => Array.isArray(entry))) return {names, rows: value};
    if (names && flat && value.length === names.length) return {names, rows: [value]};
    return flat ? {names: ["value"], rows: value.map(entry => [entry])} : null;
}

const isObject = value => typeof value === "object" && value !== null;
const cell = value => typeof value === "string" ? value : JSON.stringify(value);

function table({names, rows}) {
    return h("table", {},
        h("thead", {}, h("tr", {}, h("th", {scope: "col"}, "#"), names.map(name => h("th", {scope: "col"}, name)))),
        h("tbody", {}, rows.slice(0, mostRows).map((row, i) =>
            h("tr", {}, h("th", {scope: "row"}, String(i)), row.map(entry => h("td", {}, cell(entry)))))));
}

/// One line for each entry of a list or an object, so that long ones can be read.
function json(value) {
    if (Array.isArray(value) && value.some(isObject))
        return `[\n${value.slice(0, mostRows).map(entry => `  ${JSON.stringify(entry)}`).join(",\n")}\n]`;
    if (isObject(value) && !Array.isArray(value))
        return `{\n${Object.entries(value).map(([key, entry]) => `  ${JSON.stringify(key)}: ${JSON.stringify(entry)}`)
            .join(",\n")}\n}`;
    return JSON.stringify(value, null, 1);
}

function overPicture(stream) {
    const frame = store.state.streams.filter(other => carriesFrames(other) && other.value).at(-1);
    if (!shapeKind(stream.type) || !frame) return null;
    return h("button", {type: "button", class: "button", onclick: () => {
        setOverlay(stream.name, {});
        showStream(frame.name);
    }}, `Show over ${frame.name}`);
}

function content(stream, found) {
    const {value} = found, rows = tableOf(stream, value), text = rows ? "" : json(value);
    const count = found.count ?? (Array.isArray(value) ? value.length : null);
    const cut = found.cut || Array.isArray(value) && value.length > mostRows || text.length > mostLetters;
    return [h("div", {class: "record-head"},
              h("span", {}, `${stream.name}: ${count === null ? plainType(stream.type) : plural(count, "element")}`,
                cut && ` (the first ${mostRows} at most are shown)`),
              overPicture(stream)),
            rows ? table(rows) : h("pre", {}, text.slice(0, mostLetters))];
}

/// Shows the stream's record in the pane; hides the pane where the stream carries something else.
export async function showRecord(stream) {
    const value = stream?.value;
    recordPane.hidden = value?.kind !== "record";
    if (recordPane.hidden) return;
    const id = `${stream.name} ${value.id}`;
    if (id === shownId) return;
    const found = await recordOf(value);
    if (!found || store.shown !== stream.name || id === shownId) return;
    shownId = id;
    recordPane.replaceChildren(...content(stream, found));
}
