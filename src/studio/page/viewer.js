// The viewer: shows the chosen stream's value large, lets one zoom and pan it, and hands its events to a tool where one
// is at work (drawing a box, taking a colour).

import {compareBar, splitHandle} from "studio/compare";
import {clamp, h, latestOnly, onceAFrame, set, setChoices, setText, spreadOf} from "studio/dom";
import {iconButton} from "studio/icons";
import {areasOf, paint} from "studio/paint";
import {picture} from "studio/pictures";
import {recordPane, showRecord} from "studio/recordView";
import {isFrame, on, showItem, showStream, store, streamOf, tell} from "studio/store";
import {View} from "studio/view";

const canvas = h("canvas", {id: "viewer-canvas", role: "img", "aria-label": "No picture"});
const note = h("p", {class: "viewer-note"}, "Loading");
const stage = h("div", {id: "stage", tabindex: 0, role: "group",
                        "aria-label": "Picture: + and - zoom, 0 fits, 1 shows it 1:1, arrows pan, " +
                                      "Shift with arrows moves the pixel cursor"}, canvas, note);
const zoomText = h("output", {class: "zoom", "aria-label": "Zoom"});
const streamChoice =
    h("select", {id: "shown", "aria-label": "Stream shown", onchange: () => showStream(streamChoice.value)});
const itemChoice = h("select", {"aria-label": "Frame of the list", onchange: () => showItem(Number(itemChoice.value))});
const itemLabel = h("label", {class: "inline", hidden: true}, "frame", itemChoice);

export const view = new View();
const shown = {pictures: [null, null], split: 0.5};
let tool = null, cursor = null, lastSize = "";
const unit = () => window.devicePixelRatio || 1;

/// The picture in the first place, or the second.
export const shownPicture = (place = 0) => shown.pictures[place];
export const stageElement = stage;

/// Gives the events of the picture to a tool: {down, move, up} with a place in the picture, key(event), paint(context,
/// view, unit), pointer (a CSS cursor). null gives them back.
export function setTool(next) {
    tool = next;
    canvas.style.cursor = tool?.pointer ?? "";
    redraw();
}
export const currentTool = () => tool;

/// The pixel cursor of the keyboard: [x, y] or null.
export const pixelCursor = () => cursor;

function firstArea() { return areasOf(canvas, shown.pictures[1] ? store.mode : "single", shown.split)[0]; }

function paintCursor(context) {
    if (!cursor) return;
    const [x, y] = view.toArea(...cursor), side = Math.max(view.scale, 4 * unit());
    for (const [style, width] of [["#000", 3], ["#fff", 1]]) {
        context.strokeStyle = style;
        context.lineWidth = width * unit();
        context.strokeRect(x, y, side, side);
    }
}

function paintNow() {
    const {pictures} = shown;
    paint(canvas, {
        mode: pictures[1] ? store.mode : "single", split: shown.split, view, pictures, unit: unit(),
        paintTop(context) {
            tool?.paint?.(context, view, unit());
            paintCursor(context);
        },
    });
    setText(zoomText, `${Math.round(view.scale * 100)}%`);
}

export const redraw = onceAFrame(paintNow);

function refit() {
    const first = shown.pictures[0];
    if (first && view.fitted) view.fit(first, firstArea());
}

function resize() {
    const width = Math.round(stage.clientWidth * unit()), height = Math.round(stage.clientHeight * unit());
    if (canvas.width === width && canvas.height === height) return;
    canvas.width = width;
    canvas.height = height;
    refit();
    paintNow();
}

/// Marks what is shown, for whoever looks at the page from outside.
function mark(generation) {
    const first = shown.pictures[0];
    set(canvas, {
        "data-shown": first && `${first.id}/${first.item}`,
        "data-width": first?.width,
        "data-height": first?.height,
        "data-generation": generation,
        "aria-label": first ? `Picture of ${store.shown}, ${first.width} x ${first.height} pixels` : "No picture"
    });
}

const pictureOf = (name, item) => {
    const stream = streamOf(name);
    return isFrame(stream) ? picture(stream.value, clamp(item, 0, stream.value.items.length - 1)) : null;
};

/// Why the first place holds no picture.
function explain(stream, first) {
    const value = stream?.value;
    const text = !stream ? "Choose a stream in the graph."
        : !value ? `${stream.name} has no value: ${stream.missing || "it was not computed"}`
        : value.kind === "other" ? `${stream.name}: ${value.summary || stream.type}`
        : !isFrame(stream) || first ? ""
        : value.items.length === 0 ? `${stream.name} is an empty list`
        : `${stream.name} is no longer kept; it comes back with the next change or tick`;
    setText(note, text);
    note.hidden = !text;
}

const load = latestOnly(async () => {
    const {generation} = store.state, stream = streamOf(store.shown);
    const both = store.mode !== "single" && store.second;
    const [first, second] = await Promise.all([pictureOf(store.shown, store.item), both && pictureOf(store.second, 0)]);
    if (!first && store.state.busy && shown.name === store.shown) return; // what comes next replaces it
    explain(stream, first);
    shown.name = store.shown;
    if (first && cursor && !first.contains(...cursor)) cursor = null;
    const size = first ? `${first.width} x ${first.height} ${store.mode} ${Boolean(second)}` : lastSize;
    shown.pictures = [first || null, second || null];
    if (size !== lastSize && first) {
        lastSize = size;
        view.fit(first, firstArea());
    }
    paintNow();
    mark(generation);
    tell("picture");
});

function update() {
    const stream = streamOf(store.shown), items = stream?.value?.items ?? [];
    setChoices(streamChoice, store.state.streams.map(({name}) => [name, name]), store.shown);
    itemLabel.hidden = stream?.value?.kind !== "frames" || items.length < 2;
    setChoices(itemChoice, items.map((item, i) => [String(i), `${i + 1} of ${items.length}`]),
               String(clamp(store.item, 0, Math.max(0, items.length - 1))));
    showRecord(stream);
    load();
}

export function zoom(factor, x = firstArea().width / 2, y = canvas.height / 2) {
    view.zoom(factor, x, y);
    redraw();
}

export function fit() {
    if (shown.pictures[0]) view.fit(shown.pictures[0], firstArea());
    redraw();
}

export function actualSize() {
    if (shown.pictures[0]) view.actual(shown.pictures[0], firstArea());
    redraw();
}

/// Where a pointer is: {x, y} in its area, {atX, atY} in the picture (whole pixels are Math.floor of it), and the
/// place.
export function placeOf(event) {
    const box = canvas.getBoundingClientRect();
    const x = (event.clientX - box.left) * unit(), y = (event.clientY - box.top) * unit();
    const areas = areasOf(canvas, shown.pictures[1] ? store.mode : "single", shown.split);
    const place = Math.max(0, areas.findLastIndex(area => x >= area.from));
    const [atX, atY] = view.toPicture(x - areas[place].left, y);
    return {x: x - areas[place].left, y, atX, atY, place};
}

function listenToPointer() {
    const pointers = new Map();
    let dragged = null;
    canvas.addEventListener("pointerdown", event => {
        if (event.button > 1) return;
        stage.focus({preventScroll: true});
        canvas.setPointerCapture(event.pointerId);
        pointers.set(event.pointerId, placeOf(event));
        const toTool = tool && pointers.size === 1 && event.button === 0 && shown.pictures[0];
        dragged = pointers.size === 2 ? {pinch: spreadOf(pointers)} : toTool ? {tool} : {pan: true};
        if (dragged.tool) tool.down(placeOf(event), event);
    });
    canvas.addEventListener("pointermove", event => {
        const now = placeOf(event), before = pointers.get(event.pointerId);
        if (!before) return tool?.hover?.(now);
        pointers.set(event.pointerId, now);
        if (dragged?.tool) dragged.tool.move(now, event);
        else if (dragged?.pinch && pointers.size === 2) {
            const next = spreadOf(pointers);
            view.zoom(next.length / dragged.pinch.length, next.x, next.y);
            view.move(next.x - dragged.pinch.x, next.y - dragged.pinch.y);
            dragged.pinch = next;
        } else if (dragged?.pan) view.move(now.x - before.x, now.y - before.y);
        if (shown.pictures[0]) view.hold(shown.pictures[0], firstArea());
        redraw();
    });
    const end = event => {
        if (!pointers.delete(event.pointerId)) return;
        if (dragged?.tool) dragged.tool.up(placeOf(event), event);
        dragged = null;
    };
    canvas.addEventListener("pointerup", end);
    canvas.addEventListener("pointercancel", end);
    canvas.addEventListener("wheel", event => {
        event.preventDefault();
        const at = placeOf(event);
        zoom(Math.exp(-clamp(event.deltaY, -120, 120) / 400), at.x, at.y);
    }, {passive: false});
}

function moveCursor(x, y) {
    const first = shown.pictures[0];
    if (!first) return;
    cursor ??= [Math.floor(first.width / 2) - x, Math.floor(first.height / 2) - y];
    cursor = [clamp(cursor[0] + x, 0, first.width - 1), clamp(cursor[1] + y, 0, first.height - 1)];
    tell("cursor");
    redraw();
}

function listenToKeys() {
    const arrows = {ArrowLeft: [-1, 0], ArrowRight: [1, 0], ArrowUp: [0, -1], ArrowDown: [0, 1]};
    const keys = {"+": () => zoom(1.25), "=": () => zoom(1.25), "-": () => zoom(0.8), "0": fit, "1": actualSize};
    stage.addEventListener("keydown", event => {
        if (event.ctrlKey || event.metaKey || event.altKey || event.target !== stage) return;
        const arrow = arrows[event.key], pan = 40 * unit();
        if (tool?.key?.(event)) { /* the tool took it */ }
        else if (arrow && event.shiftKey) moveCursor(...arrow);
        else if (arrow) view.move(-arrow[0] * pan, -arrow[1] * pan), redraw();
        else if (event.key === "Escape" && cursor) cursor = null, tell("cursor"), redraw();
        else if (keys[event.key]) keys[event.key]();
        else return;
        event.preventDefault();
    });
}

export function buildViewer(readout) {
    const bar = h("div", {class: "bar"},
        streamChoice, itemLabel, compareBar(),
        h("div", {class: "group push"},
            iconButton("minus", "Zoom out", {onclick: () => zoom(0.8)}), zoomText,
            iconButton("plus", "Zoom in", {onclick: () => zoom(1.25)}),
            iconButton("fit", "Fit the picture (0)", {onclick: fit}),
            h("button", {type: "button", class: "button", title: "One pixel to one (1)", "aria-label": "One to one",
                         onclick: actualSize}, "1:1")));
    stage.append(splitHandle(shown, redraw), recordPane);
    listenToPointer();
    listenToKeys();
    new ResizeObserver(resize).observe(stage);
    on("state show", update);
    on("overlays theme", redraw);
    return h("section", {id: "viewer", "aria-label": "Viewer"}, bar, stage, readout);
}

/// The picture that is shown, drawn 1:1, for tests: {width, height, channels, data}; null where there is none.
function pixels() {
    const first = shown.pictures[0];
    if (!first) return null;
    const {width, height, channels} = first, copy = new OffscreenCanvas(width, height);
    const context = copy.getContext("2d");
    context.drawImage(first.canvas, 0, 0);
    const rgba = context.getImageData(0, 0, width, height).data, data = new Uint8Array(width * height * channels);
    for (let i = 0, to = 0; i < rgba.length; i += 4)
        for (let channel = 0; channel < channels; channel++) data[to++] = rgba[i + channel];
    return {width, height, channels, data};
}
window.zunStudio = {pixels};
