// The graph: nodes, streams and the curves between them, placed as the layout says, in a pane that pans and zooms.

import {clamp, h, onceAFrame, reconcile, set, spreadOf, svg} from "studio/dom";
import {makeNode, makeStream, thumbKeeper, updateNode, updateStream} from "studio/graphBoxes";
import {iconButton} from "studio/icons";
import {layout} from "studio/source";
import {on, store} from "studio/store";

const margin = 16, leastScale = 0.1, mostScale = 2, readable = 0.62;
const toolsHeight = 52; // what the buttons cover at the bottom
const dragLength = 4; // pixels from which on a press is a drag

const arrowHead = svg("marker", {id: "arrow", viewBox: "0 0 8 8", refX: 8, refY: 4, markerWidth: 8, markerHeight: 8,
                                 markerUnits: "userSpaceOnUse", orient: "auto"}, svg("path", {d: "M0 0 8 4 0 8z"}));
const edges = svg("svg", {class: "edges", "aria-hidden": "true"});
const world = h("div", {class: "world"}, edges);
const pane = h("div", {class: "graph-pane"}, world);
const boxes = new Map();      // "node NAME" or "stream NAME" -> element
const streamBoxes = new Map();
const view = {scale: 1, x: margin, y: margin};
let places = null, placedFor = "", curves = [], direction = "LR";

const keyOf = box => box.dataset.node ? `node ${box.dataset.node}` : `stream ${box.dataset.stream}`;
const placeOf = key => key.startsWith("node ") ? places?.nodes[key.slice(5)] : places?.streams[key.slice(7)];

const isVisible = name => {
    const place = places?.streams[name];
    if (!place || !pane.clientWidth) return false;
    const left = view.x + place.x * view.scale, top = view.y + place.y * view.scale;
    return left < pane.clientWidth && top < pane.clientHeight && left + place.width * view.scale > 0 &&
        top + place.height * view.scale > 0;
};
const keepThumbs = thumbKeeper(streamBoxes, isVisible);

const show = onceAFrame(() => {
    world.style.transform = `translate(${view.x}px, ${view.y}px) scale(${view.scale})`;
    keepThumbs();
});

/// Keeps the graph within the pane where it fits, and over all of the pane where it doesn't.
function hold() {
    const along = (at, length, room, end) => {
        const least = Math.min(margin, room - length - end), most = margin;
        return length + 2 * margin <= room ? (room - length) / 2 : clamp(at, least, most);
    };
    if (!places || !pane.clientWidth) return;
    view.x = along(view.x, places.width * view.scale, pane.clientWidth, margin);
    view.y = along(view.y, places.height * view.scale, pane.clientHeight, toolsHeight);
    show();
}

function zoom(factor, atX = pane.clientWidth / 2, atY = pane.clientHeight / 2) {
    const scale = clamp(view.scale * factor, leastScale, mostScale);
    view.x = atX - (atX - view.x) * scale / view.scale;
    view.y = atY - (atY - view.y) * scale / view.scale;
    view.scale = scale;
    hold();
}

function fit(least = leastScale) {
    if (!places || !pane.clientWidth) return;
    const wide = (pane.clientWidth - 2 * margin) / places.width,
          high = (pane.clientHeight - 2 * margin) / places.height;
    view.scale = clamp(Math.min(wide, high), least, 1);
    hold();
}

/// Moves the pane so that a box can be seen.
function reveal(key) {
    const place = placeOf(key);
    if (!place) return;
    const into = (at, from, length, room) =>
        clamp(at, margin - from * view.scale, room - margin - (from + length) * view.scale);
    view.x = into(view.x, place.x, place.width, pane.clientWidth);
    view.y = into(view.y, place.y, place.height, pane.clientHeight);
    hold();
}

/// A piecewise cubic curve as a path. Points that don't make a whole piece are left out.
function path(points) {
    let text = `M${points[0]}`;
    for (let i = 1; i + 2 < points.length; i += 3) text += ` C${points.slice(i, i + 3).join(" ")}`;
    return text;
}

function place() {
    set(edges, {width: places.width, height: places.height, viewBox: `0 0 ${places.width} ${places.height}`});
    world.style.width = `${places.width}px`;
    world.style.height = `${places.height}px`;
    for (const [key, box] of boxes) {
        const at = placeOf(key);
        box.hidden = !at;
        if (at) box.style.transform = `translate(${at.x}px, ${at.y}px)`;
    }
    curves = places.edges.map(
        edge => ({...edge, element: svg("path", {d: path(edge.points), "marker-end": "url(#arrow)"})}));
    edges.replaceChildren(arrowHead, ...curves.map(curve => curve.element));
    highlight();
}

function highlight() {
    for (const {from, to, element} of curves) {
        const near = from === store.node || to === store.node || from === store.shown || to === store.shown;
        set(element, {class: near ? "near" : null});
    }
}

/// Fetches the layout where the description has changed so much, or another direction is wanted.
async function placeAnew() {
    const wanted = `${direction} ${store.state.structure}`;
    if (wanted === placedFor || !pane.clientWidth) return;
    const turned = !placedFor.startsWith(direction);
    placedFor = wanted;
    const found = await layout(direction, store.state.structure);
    if (placedFor !== wanted) return;
    if (!found) return void (placedFor = "");
    places = found;
    place();
    if (!turned) return hold();
    view.x = view.y = margin;
    fit(readable);
    reveal(`node ${store.node}`);
}

/// Nodes, each followed by the streams that it makes: the order in which they are read out.
function entries({nodes, streams}) {
    return nodes.flatMap(node => [node, ...streams.filter(stream => stream.producer === node.name)]);
}
const isNode = entry => "outputs" in entry;
const entryKey = entry => `${isNode(entry) ? "node" : "stream"} ${entry.name}`;

function update() {
    const total = store.state.nodes.reduce((sum, node) => sum + (node.milliseconds ?? 0), 0);
    reconcile(world, boxes, entries(store.state), entryKey, entry => {
        const box = isNode(entry) ? makeNode(entry) : makeStream(entry);
        const at = placeOf(entryKey(entry));
        box.hidden = !at;
        if (!isNode(entry)) streamBoxes.set(entry.name, box);
        return box;
    }, (box, entry) => isNode(entry) ? updateNode(box, entry, total) : updateStream(box, entry));
    for (const name of streamBoxes.keys()) if (!boxes.has(`stream ${name}`)) streamBoxes.delete(name);
    world.append(edges);
    holdTabStop();
    highlight();
    placeAnew();
    keepThumbs();
}

/// One box is a tab stop: the one that had the focus last, or the selected node.
function holdTabStop() {
    if ([...boxes.values()].some(box => box.tabIndex === 0)) return;
    const box = boxes.get(`node ${store.node}`) ?? boxes.values().next().value;
    if (box) box.tabIndex = 0;
}

function focus(key) {
    for (const box of boxes.values()) if (box.tabIndex === 0) box.tabIndex = -1;
    boxes.get(key).tabIndex = 0;
    boxes.get(key).focus({preventScroll: true});
    reveal(key);
}

const ways = {ArrowLeft: [-1, 0], ArrowRight: [1, 0], ArrowUp: [0, -1], ArrowDown: [0, 1]};

/// The box that one means by an arrow: near, and rather straight ahead.
function neighbour(key, [wayX, wayY]) {
    const middle = ({x, y, width, height}) => [x + width / 2, y + height / 2];
    const [fromX, fromY] = middle(placeOf(key));
    let best = null, least = Infinity;
    for (const other of boxes.keys()) {
        if (other === key || !placeOf(other)) continue;
        const [x, y] = middle(placeOf(other)), ahead = (x - fromX) * wayX + (y - fromY) * wayY;
        const aside = Math.abs((x - fromX) * wayY) + Math.abs((y - fromY) * wayX);
        if (ahead > 1 && ahead + 2 * aside < least) [best, least] = [other, ahead + 2 * aside];
    }
    return best;
}

function onKey(event) {
    const box = event.target.closest(".node, .stream"), way = ways[event.key];
    if (event.ctrlKey || event.metaKey || event.altKey) return;
    const next = box && way ? neighbour(keyOf(box), way) : null;
    if (next) focus(next);
    else if (event.key === "+" || event.key === "=") zoom(1.25);
    else if (event.key === "-") zoom(0.8);
    else if (event.key === "0") fit();
    else if (!way) return;
    event.preventDefault();
}

function listenToPointer() {
    const pointers = new Map();
    let moved = false;
    const at = event => {
        const box = pane.getBoundingClientRect();
        return {x: event.clientX - box.left, y: event.clientY - box.top};
    };
    pane.addEventListener("pointerdown", event => {
        if (event.button > 1) return;
        pointers.set(event.pointerId, at(event));
        moved = false;
    });
    pane.addEventListener("pointermove", event => {
        const before = pointers.get(event.pointerId);
        if (!before) return;
        const now = at(event), pinch = pointers.size === 2 ? spreadOf(pointers) : null;
        if (!moved && Math.hypot(now.x - before.x, now.y - before.y) < dragLength) return;
        moved = true;
        pane.setPointerCapture(event.pointerId);
        pointers.set(event.pointerId, now);
        const next = pinch && spreadOf(pointers);
        view.x += pinch ? next.x - pinch.x : now.x - before.x;
        view.y += pinch ? next.y - pinch.y : now.y - before.y;
        if (pinch) zoom(next.length / pinch.length, next.x, next.y);
        else hold();
    });
    const end = event => pointers.delete(event.pointerId);
    pane.addEventListener("pointerup", end);
    pane.addEventListener("pointercancel", end);
    pane.addEventListener("click", event => {
        if (moved) event.stopPropagation();
    }, {capture: true}); // a drag is not a click
    pane.addEventListener("wheel", event => {
        event.preventDefault();
        zoom(Math.exp(-clamp(event.deltaY, -120, 120) / 500), at(event).x, at(event).y);
    }, {passive: false});
    // The browser scrolls a pane to what has the focus; here the graph moves instead.
    pane.addEventListener("scroll", () => pane.scrollTo(0, 0));
    pane.addEventListener("focusin", event => {
        const box = event.target.closest(".node, .stream");
        if (box?.matches(":focus-visible")) reveal(keyOf(box));
    });
}

/// Lays the graph out from left to right ("LR") or top to bottom ("TB").
export function turnGraph(next) {
    direction = next;
    if (store.state) placeAnew();
}

export function buildGraph(onTurn) {
    listenToPointer();
    pane.addEventListener("keydown", onKey);
    const resized = onceAFrame(() => {
        if (!store.state) return;
        placeAnew();
        hold();
    });
    new ResizeObserver(resized).observe(pane);
    on("state", update);
    on("select show", () => { if (store.state) update(); });
    return h("section", {id: "graph", "aria-label": "Graph"},
        h("div", {class: "graph-tools"},
            iconButton("turn", "Turn the graph", {class: "button turn", onclick: onTurn}),
            iconButton("minus", "Zoom the graph out", {onclick: () => zoom(0.8)}),
            iconButton("plus", "Zoom the graph in", {onclick: () => zoom(1.25)}),
            iconButton("fit", "Fit the graph", {onclick: () => fit()})),
        h("div", {class: "graph-frame", role: "group",
                  "aria-label": "Nodes and streams; arrows move from box to box, Enter selects"}, pane));
}
