// The bar of ticks: goes to a tick, steps, plays, and keeps bookmarks.

import {isPending, onRefusal, send} from "studio/changes";
import {clamp, h, plural, reconcile, set, setText} from "studio/dom";
import {announce} from "studio/header";
import {iconButton, setIcon} from "studio/icons";
import {heldTicks, live, post} from "studio/source";
import {editable, on, store} from "studio/store";

const pace = 40; // milliseconds between ticks when playing, at least
let wanted = null, asked = null, playing = false, playedAt = 0;

const firstTick = () => heldTicks?.[0] ?? 0;

function lastTick() {
    if (heldTicks) return heldTicks.at(-1);
    return store.state.ticks === null || !store.state.ticksCertain ? Infinity : store.state.ticks - 1;
}

const current = () => wanted ?? store.state.tick;

/// The nearest tick that a report holds.
const nearestHeld = tick => heldTicks && Number.isFinite(tick)
    ? heldTicks.reduce((best, held) => Math.abs(held - tick) < Math.abs(best - tick) ? held : best) : tick;

/// Goes to a tick; of many that are asked for in a row only the newest is computed.
export function goTo(tick) {
    const to = nearestHeld(clamp(Math.round(tick), firstTick(), lastTick()));
    if (!Number.isFinite(to) || to === current()) return;
    wanted = asked = to;
    send("tick", "tick", {tick: to});
    update();
}

export const step = by =>
    goTo(heldTicks ? heldTicks[heldTicks.indexOf(current()) + by] ?? current() : current() + by);

export function togglePlay() {
    playing = !playing;
    asked = null;
    if (playing && current() >= lastTick()) goTo(firstTick());
    setIcon(play, playing ? "pause" : "run");
    const label = playing ? "Pause (space)" : "Play (space)";
    set(play, {"aria-label": label, title: label});
    advance();
}

/// The next tick, once the last one is shown.
function advance() {
    if (!playing || store.state.busy || isPending("tick")) return;
    const ended = asked !== null && asked !== store.state.tick; // there is no such tick
    if (ended || current() >= lastTick() || !editable() && live) return togglePlay();
    const rest = playedAt + pace - performance.now();
    if (rest > 0) return void setTimeout(advance, rest);
    playedAt = performance.now();
    step(1);
}

const bookmarked = tick => store.state.bookmarks.some(mark => mark.tick === tick);

export function toggleBookmark(tick = store.state.tick) {
    if (editable()) post("bookmark", {tick, on: !bookmarked(tick)}).catch(() => {});
}

const slider = h("input",
    {type: "range", id: "tick", min: 0, step: 1, "aria-label": "Tick", oninput: () => goTo(Number(slider.value))});
const field = h("input", {type: "number", id: "tick-number", min: 0, step: 1, "aria-label": "Go to tick",
                          onchange: () => { if (field.value !== "") goTo(Number(field.value)); }});
const play = iconButton("run", "Play (space)", {id: "play", onclick: togglePlay});
const previous = iconButton("previous", "Tick before (,)", {id: "previous", onclick: () => step(-1)});
const next = iconButton("next", "Next tick (.)", {id: "next", onclick: () => step(1)});
const total = h("span", {class: "muted total"}), frame = h("span", {class: "frame-facts"});
const mark = iconButton("bookmark", "Bookmark this tick (b)", {id: "bookmark", onclick: () => toggleBookmark()});
const marks = h("ul", {class: "bookmarks", "aria-label": "Bookmarks"}),
      ends = h("div", {class: "tick-marks", "aria-hidden": "true"});
const keptMarks = new Map();

function makeMark({tick}) {
    const jump = h("button", {type: "button", class: "link", "aria-label": `Go to bookmark at tick ${tick}`,
                              onclick: () => goTo(tick)}, String(tick));
    const row = h(
        "li", {}, jump, iconButton("close", `Remove bookmark at tick ${tick}`, {onclick: () => toggleBookmark(tick)}));
    row.lastChild.hidden = !live;
    return row;
}

function frameText({frame: facts}) {
    if (!facts) return "";
    const name = facts.file.split("/").at(-1);
    return `${name}, frame ${facts.number}, ${facts.seconds.toFixed(2)} s`;
}

function updateMarks(state) {
    reconcile(marks, keptMarks, state.bookmarks, entry => entry.tick, makeMark, () => {});
    marks.hidden = state.bookmarks.length === 0;
    const length = (state.ticks ?? 1) - 1;
    ends.replaceChildren(
        ...(length > 0 ? state.bookmarks.map(({tick}) => h("i", {style: {left: `${tick / length * 100}%`}})) : []));
}

let marksKey = "";

function update() {
    const {state} = store, tick = current(), known = heldTicks !== null || state.ticks !== null;
    slider.parentElement.hidden = !known;
    set(slider, {min: firstTick(), max: heldTicks ? lastTick() : Math.max((state.ticks ?? 1) - 1, 0),
                 "aria-valuetext": `tick ${tick}`});
    if (Number(slider.value) !== tick) slider.value = tick;
    if (document.activeElement !== field) field.value = tick;
    slider.disabled = known && lastTick() <= firstTick();
    previous.disabled = tick <= firstTick();
    next.disabled = tick >= lastTick();
    play.disabled = lastTick() <= firstTick();
    setText(total, heldTicks ? `${plural(heldTicks.length, "tick")} held`
        : known ? `of ${plural(state.ticks, "tick")}${state.ticksCertain ? "" : " (estimated)"}` : "");
    setText(frame, frameText(state));
    set(frame, {title: state.frame?.file});
    set(mark, {"aria-pressed": String(bookmarked(state.tick))});
    const key = JSON.stringify([state.bookmarks, state.ticks]);
    if (key !== marksKey) updateMarks(state);
    marksKey = key;
}

export function buildTicks() {
    mark.hidden = !live;
    onRefusal((key, message) => {
        if (key !== "tick" || !message) return;
        announce(message, "error");
        if (playing) togglePlay();
    });
    on("state settled", () => {
        if (!store.state) return;
        if (wanted !== null && !isPending("tick")) wanted = null;
        update();
        advance();
    });
    return h("footer", {id: "ticks", "aria-label": "Ticks"},
        h("div", {class: "group"}, previous, play, next),
        h("label", {class: "inline"}, h("span", {class: "tick-word"}, "Tick"), field, total),
        h("div", {class: "tick-slider"}, slider, ends),
        h("div", {class: "group"}, mark, marks), frame);
}
