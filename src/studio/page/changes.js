// Sends changes so that nothing stale ever queues: one is in flight at most, and of those that wait only the newest of
// each key is kept. A change is done when a state has come that includes it.

import {Refusal, post} from "studio/source";
import {on, store, tell} from "studio/store";

const patience = 2000; // milliseconds after which a change that no state confirms is let go, unless values are computed
const waiting = new Map();
let flying = null; // {key, generation}; generation is null until the server has answered
const handlers = [];

/// Calls handler(key, message) when a request is refused, and with an empty message when it was taken.
export const onRefusal = handler => { handlers.push(handler); };
const refused = (key, message) => { for (const handler of handlers) handler(key, message); };

/// Sends a request, or keeps it as the newest of its key.
export function send(key, action, body) {
    waiting.delete(key);
    waiting.set(key, {action, body});
    next();
}

/// Whether a change of this key is on its way.
export const isPending = key => waiting.has(key) || flying?.key === key;

async function next() {
    if (flying || waiting.size === 0) return;
    const [key, {action, body}] = waiting.entries().next().value;
    waiting.delete(key);
    const mine = flying = {key, generation: null};
    try {
        mine.generation = (await post(action, body)).generation ?? 0;
        mine.sent = performance.now();
        refused(key, "");
        check();
        setTimeout(check, patience);
    } catch (error) {
        if (!(error instanceof Refusal)) throw error;
        land(mine);
        refused(key, error.message);
    }
}

function land(change) {
    if (flying !== change) return;
    flying = null;
    next();
    if (!flying) tell("settled");
}

function check() {
    if (!flying || flying.generation === null) return;
    const {generation, busy} = store.state, late = performance.now() - flying.sent >= patience;
    if (generation >= flying.generation || late && !busy || !store.linked) land(flying);
}

on("state link", check);
