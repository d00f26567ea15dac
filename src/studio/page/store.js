// The latest state and what the viewer of the page has chosen, and who wants to hear of changes.
//
// Topics: "state" (a new state), "select" (another node), "show" (other streams, item, mode or overlays in the viewer),
// "picture" (the viewer has drawn a new picture), "link" (the server went away or came back).

import {live} from "studio/source";

const listeners = new Map();

/// Calls a function whenever one of the topics (separated by blanks) comes up.
export function on(topics, listener) {
    for (const topic of topics.split(" ")) {
        if (!listeners.has(topic)) listeners.set(topic, []);
        listeners.get(topic).push(listener);
    }
}

export function tell(topic) { for (const listener of listeners.get(topic) ?? []) listener(); }

export const store = {
    state: null,
    linked: true,
    node: null,      // name of the selected node
    shown: null,     // name of the stream in the viewer
    second: null,    // name of the stream beside it
    mode: "single",  // or "beside", "slider"
    item: 0,
    overlays: new Map(), // stream name -> {order, at}
};

let nodes = new Map(), streams = new Map();

export const nodeOf = name => nodes.get(name);
export const streamOf = name => streams.get(name);
export const editable = () => live && store.linked;
export const isFrame = stream => stream?.value?.kind === "frame" || stream?.value?.kind === "frames";
/// Whether a stream's type says that it carries frames, whatever its value is now.
export const carriesFrames = stream => isFrame(stream) || (!stream.value && /Mat<.*, *2>/.test(stream.type));

/// The first that one wants to see: the last frame that is made, and the first node that can be tuned.
function chooseFirst(state) {
    const frames = state.streams.filter(carriesFrames);
    store.shown = (frames.findLast(stream => stream.value) ?? frames.at(-1) ?? state.streams[0])?.name ?? null;
    const tunable = state.nodes.find(node => node.inputs.length && node.options.some(option => !option.locked));
    store.node = (tunable ?? state.nodes[0])?.name ?? null;
}

export function takeState(state) {
    const first = !store.state;
    store.state = state;
    nodes = new Map(state.nodes.map(node => [node.name, node]));
    streams = new Map(state.streams.map(stream => [stream.name, stream]));
    if (first || !streams.has(store.shown) && !nodes.has(store.node)) chooseFirst(state);
    if (store.shown && !streams.has(store.shown)) chooseFirst(state);
    if (store.second && !streams.has(store.second)) store.second = null;
    tell("state");
    if (first) tell("select"), tell("show");
}

export function selectNode(name) {
    store.node = name;
    tell("select");
}

export function showStream(name) {
    if (store.shown !== name) store.item = 0;
    store.shown = name;
    tell("show");
}

export function showSecond(name, mode = store.mode) {
    store.second = name;
    store.mode = mode;
    tell("show");
}

export function showItem(item) {
    store.item = item;
    tell("show");
}

export function setOverlay(name, settings) {
    if (settings) store.overlays.set(name, {...store.overlays.get(name), ...settings});
    else store.overlays.delete(name);
    tell("show");
}

/// Settings that outlive the page. A page from a file may have no storage.
export const settings = {
    get(name, otherwise) {
        try { return JSON.parse(localStorage.getItem(`zun.${name}`)) ?? otherwise; } catch { return otherwise; }
    },
    set(name, value) {
        try { localStorage.setItem(`zun.${name}`, JSON.stringify(value)); } catch { /* only for this time */ }
    },
};

/// The findings of a node, or of one of its ports and options.
export const findingsOf = (node, port) => store.state.findings.filter(
    finding => finding.node === node && (port === undefined || finding.port === port));
