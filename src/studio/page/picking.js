// Tools that work on the picture: drawing, moving and resizing a box, setting a point, and taking a colour.

import {clamp, h, set} from "studio/dom";
import {on, tell} from "studio/store";
import {currentTool, pixelCursor, redraw, setTool, shownPicture, stageElement, view} from "studio/viewer";

const reach = 10; // CSS pixels within which a corner or an edge is caught
const accent = "#ffd23f";
let finish = () => {};

const hint = h("div", {class: "hint", role: "status", hidden: true});
stageElement.append(hint);

/// Puts the tool at work; `button` is pressed while it is.
function begin(tool, text, button) {
    finish();
    set(button ?? hint, {"aria-pressed": button ? "true" : null});
    hint.textContent = text;
    hint.hidden = false;
    finish = () => {
        finish = () => {};
        if (button) set(button, {"aria-pressed": "false"});
        hint.hidden = true;
        if (currentTool() === tool) setTool(null);
    };
    setTool(tool);
}

export const endPicking = () => finish();

/// Which sides of a box a place is near to: {left, right, top, bottom, inside}.
function grip([x, y, width, height], atX, atY) {
    const near = reach * (window.devicePixelRatio || 1) / view.scale;
    const close = (a, b) => Math.abs(a - b) <= Math.min(near, Math.max(1, Math.min(width, height) / 3 + near / 3));
    const within = atX >= x - near && atX <= x + width + near && atY >= y - near && atY <= y + height + near;
    const sides = {left: within && close(atX, x), right: within && close(atX, x + width),
                   top: within && close(atY, y), bottom: within && close(atY, y + height)};
    return {...sides, edge: Object.values(sides).some(Boolean),
            inside: atX >= x && atX <= x + width && atY >= y && atY <= y + height};
}

/// A box through two corners, on whole pixels and within the picture.
function between(x0, y0, x1, y1) {
    const picture = shownPicture();
    const xs = [x0, x1].map(x => clamp(Math.round(x), 0, picture.width)).sort((a, b) => a - b);
    const ys = [y0, y1].map(y => clamp(Math.round(y), 0, picture.height)).sort((a, b) => a - b);
    return [xs[0], ys[0], Math.max(1, xs[1] - xs[0]), Math.max(1, ys[1] - ys[0])];
}

function resized([x, y, width, height], held, moveX, moveY) {
    return between(x + (held.left ? moveX : 0), y + (held.top ? moveY : 0),
                   x + width + (held.right ? moveX : 0), y + height + (held.bottom ? moveY : 0));
}

function moved([x, y, width, height], moveX, moveY) {
    const picture = shownPicture(), most = (length, size) => Math.max(0, length - size);
    return [clamp(Math.round(x + moveX), 0, most(picture.width, width)),
            clamp(Math.round(y + moveY), 0, most(picture.height, height)), width, height];
}

function replaceActive(model, entry) {
    const entries = model.entries.map(old => [...old]);
    entries[model.active] = entry;
    model.change(entries);
}

function paintBoxes(model) {
    return (context, at, unit) => model.entries.forEach((box, i) => {
        const [x, y] = at.toArea(box[0], box[1]), [width, height] = [box[2] * at.scale, box[3] * at.scale];
        for (const [style, thick] of [["#000", 4], [i === model.active ? accent : "#fff", 2]]) {
            context.strokeStyle = style;
            context.lineWidth = thick * unit;
            context.strokeRect(x, y, width, height);
        }
        if (i !== model.active) return;
        context.fillStyle = accent;
        for (const [cornerX, cornerY] of [[x, y], [x + width, y], [x, y + height], [x + width, y + height]])
            context.fillRect(cornerX - 4 * unit, cornerY - 4 * unit, 8 * unit, 8 * unit);
    });
}

function boxTool(model) {
    let start = null;
    const arrows = {ArrowLeft: [-1, 0], ArrowRight: [1, 0], ArrowUp: [0, -1], ArrowDown: [0, 1]};
    return {
        pointer: "crosshair",
        paint: paintBoxes(model),
        down({atX, atY}) {
            const grips = model.entries.map(box => grip(box, atX, atY));
            const order = [model.active, ...grips.keys()];
            const caught = order.find(i => grips[i]?.edge) ?? order.find(i => grips[i]?.inside);
            if (caught !== undefined) model.active = caught;
            start = {atX, atY, box: model.entries[model.active], held: caught === undefined ? null : grips[caught]};
        },
        move({atX, atY}) {
            const [x, y] = [atX - start.atX, atY - start.atY];
            if (!start.held) replaceActive(model, between(start.atX, start.atY, atX, atY));
            else replaceActive(model, start.held.edge ? resized(start.box, start.held, x, y) : moved(start.box, x, y));
        },
        up: redraw,
        /// Arrows move the box, with Shift its lower right corner.
        key(event) {
            const way = arrows[event.key], box = model.entries[model.active];
            if (event.key === "Escape") return finish(), true;
            if (!way || !box) return false;
            replaceActive(
                model, event.shiftKey ? resized(box, {right: true, bottom: true}, ...way) : moved(box, ...way));
            return true;
        },
    };
}

function pointTool(model) {
    const turn = ([a, b]) => model.turned ? [b, a] : [a, b];
    const put = (x, y) => {
        const picture = shownPicture();
        replaceActive(
            model, turn([clamp(Math.floor(x), 0, picture.width - 1), clamp(Math.floor(y), 0, picture.height - 1)]));
    };
    const arrows = {ArrowLeft: [-1, 0], ArrowRight: [1, 0], ArrowUp: [0, -1], ArrowDown: [0, 1]};
    return {
        pointer: "crosshair",
        paint: (context, at, unit) => model.entries.map(turn).forEach(([x, y], i) => {
            const [atX, atY] = at.toArea(x + 0.5, y + 0.5), arm = 9 * unit;
            for (const [style, thick] of [["#000", 4], [i === model.active ? accent : "#fff", 2]]) {
                context.strokeStyle = style;
                context.lineWidth = thick * unit;
                context.beginPath();
                context.moveTo(atX - arm, atY);
                context.lineTo(atX + arm, atY);
                context.moveTo(atX, atY - arm);
                context.lineTo(atX, atY + arm);
                context.stroke();
            }
        }),
        down(place) {
            const near = 12 * (window.devicePixelRatio || 1) / view.scale;
            const caught = model.entries.map(turn).findIndex(
                ([x, y]) => Math.hypot(x + 0.5 - place.atX, y + 0.5 - place.atY) <= near);
            if (caught >= 0) model.active = caught;
            else put(place.atX, place.atY);
        },
        move: place => put(place.atX, place.atY),
        up: redraw,
        key(event) {
            const way = arrows[event.key], point = model.entries[model.active];
            if (event.key === "Escape") return finish(), true;
            if (!way || !point) return false;
            const [x, y] = turn(point);
            put(x + way[0], y + way[1]);
            return true;
        },
    };
}

/// Lets one draw the boxes or points of a model (see studio/valueFields) on the picture, until the button is pressed
/// again.
export function pickValue(model, button) {
    if (button.getAttribute("aria-pressed") === "true") return finish();
    if (!shownPicture()) return tell("nopicture");
    if (model.form.kind === "box")
        begin(boxTool(model),
            "Drag: draw, move or resize the box. Arrows move it, Shift with arrows resizes it. Esc ends.", button);
    else begin(pointTool(model), "Click or drag: set the point. Arrows move it. Esc ends.", button);
    stageElement.focus({preventScroll: true});
    redraw();
}

const hex = bytes => `#${bytes.map(byte => byte.toString(16).padStart(2, "0")).join("")}`;

/// Takes the colour of the pixel that is clicked, or of the pixel cursor at Enter.
export function takeColour(apply) {
    if (!shownPicture()) return tell("nopicture");
    const take = (x, y, place) => {
        const picture = shownPicture(place);
        if (!picture?.contains(x, y)) return;
        const shown = picture.shownAt(x, y);
        apply(hex(shown.length === 1 ? [shown[0], shown[0], shown[0]] : shown.slice(0, 3)));
        finish();
    };
    begin({
        pointer: "crosshair",
        down: ({atX, atY, place}) => take(Math.floor(atX), Math.floor(atY), place),
        move() {},
        up() {},
        key(event) {
            if (event.key === "Escape") return finish(), true;
            if (event.key === "Enter" && pixelCursor()) return take(...pixelCursor(), 0), true;
            return false;
        },
    }, "Click a pixel to take its colour; or Shift with arrows, then Enter. Esc ends.");
    stageElement.focus({preventScroll: true});
}

on("select", () => finish());
