// The list of streams that can be drawn over the picture, each with a tick, its colour, and how to read it.

import {h, reconcile, set, setChoices, setText} from "studio/dom";
import {overlayColour, overlayOrder, overlayStreams, placeOf, placesOf} from "studio/overlays";
import {shapeKind} from "studio/shapes";
import {on, setOverlay, store} from "studio/store";

const hasOrder = kind => kind === "points" || kind === "contours";

function make({name}) {
    const tick = h("input", {type: "checkbox", "data-overlay": name,
                           onchange: () => setOverlay(name, tick.checked ? {} : null)});
    const order =
        h("select", {"aria-label": `Order of ${name}`, onchange: () => setOverlay(name, {order: order.value})},
            h("option", {value: "row"}, "row, column"), h("option", {value: "x"}, "x, y"));
    const at = h("select", {"aria-label": `Where ${name} stand`, onchange: () => setOverlay(name, {at: at.value})});
    const parts = {tick, order, at, dot: h("i", {class: "dot"}), summary: h("span", {class: "muted"}),
                   atLabel: h("label", {class: "inline"}, "at", at)};
    const row = h("li", {},
        h("label", {class: "layer"}, tick, parts.dot, h("span", {class: "layer-name"}, name), parts.summary),
        h("div", {class: "layer-more"}, order, parts.atLabel));
    row.parts = parts;
    return row;
}

function update(row, stream) {
    const {parts} = row, kind = shapeKind(stream.type), ticked = store.overlays.has(stream.name);
    parts.tick.checked = ticked;
    parts.dot.style.backgroundColor = overlayColour(stream.name);
    setText(parts.summary, stream.value ? `${kind}, ${stream.value.summary}` : `${kind}, no value`);
    parts.order.hidden = !ticked || !hasOrder(kind);
    if (parts.order.value !== overlayOrder(stream)) parts.order.value = overlayOrder(stream);
    parts.atLabel.hidden = !ticked || kind !== "texts";
    if (kind === "texts") setChoices(parts.at, placesOf(stream).map(({name}) => [name, name]), placeOf(stream) ?? "");
    set(row, {"data-off": !stream.value});
}

export function buildLayers() {
    const list = h("ul", {class: "layers"}), kept = new Map();
    const none = h("p", {class: "muted"}, "No stream carries boxes, points, lines, contours, masks or texts.");
    on("state show", () => {
        const streams = overlayStreams();
        reconcile(list, kept, streams, stream => stream.name, make, update);
        none.hidden = streams.length > 0;
    });
    return h("section", {class: "block"}, h("h3", {}, "Drawn over the picture"), list, none);
}
