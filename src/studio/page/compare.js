// Comparing two streams: which is the second, side by side or with a slider between them, and the slider's handle.

import {clamp, h, set, setChoices} from "studio/dom";
import {carriesFrames, on, showSecond, store} from "studio/store";

const modes = [["single", "One picture"], ["beside", "Side by side"], ["slider", "Slider between two"]];

/// The second stream that one most likely wants: another one of the same size, the nearest before the first.
function likelySecond() {
    const frames = store.state.streams.filter(stream => carriesFrames(stream) && stream.name !== store.shown);
    const size = stream => JSON.stringify([stream?.value?.items[0]?.width, stream?.value?.items[0]?.height]);
    const wanted = size(store.state.streams.find(stream => stream.name === store.shown));
    return (frames.findLast(stream => size(stream) === wanted) ?? frames.at(-1))?.name ?? null;
}

export function compareBar() {
    const choose = () => showSecond(store.second ?? likelySecond(), mode.value);
    const mode = h("select", {id: "mode", "aria-label": "How many pictures", onchange: choose},
        ...modes.map(([value, label]) => h("option", {value}, label)));
    const second = h("select", {id: "second", "aria-label": "Second stream", onchange: () => showSecond(second.value)});
    on("state show", () => {
        const frames = store.state.streams.filter(carriesFrames);
        second.hidden = store.mode === "single";
        setChoices(second, frames.map(({name}) => [name, name]), store.second ?? "");
        if (mode.value !== store.mode) mode.value = store.mode;
    });
    return h("div", {class: "group"}, mode, second);
}

/// The handle between the two pictures; `shown.split` is its place, from 0 to 1.
export function splitHandle(shown, redraw) {
    const handle = h("div", {class: "split", role: "slider", tabindex: 0, hidden: true, "aria-valuemin": 0,
                             "aria-valuemax": 100, "aria-label": "Border between the two pictures"}, h("span"));
    const move = to => {
        shown.split = clamp(to, 0, 1);
        handle.style.left = `${shown.split * 100}%`;
        set(handle, {"aria-valuenow": Math.round(shown.split * 100)});
        redraw();
    };
    handle.addEventListener("pointerdown", event => handle.setPointerCapture(event.pointerId));
    handle.addEventListener("pointermove", event => {
        if (!handle.hasPointerCapture(event.pointerId)) return;
        const box = handle.parentElement.getBoundingClientRect();
        move((event.clientX - box.left) / box.width);
    });
    handle.addEventListener("keydown", event => {
        const steps = {ArrowLeft: -0.02, ArrowRight: 0.02, ArrowDown: -0.02, ArrowUp: 0.02, Home: -1, End: 1};
        if (!(event.key in steps)) return;
        event.preventDefault();
        move(shown.split + steps[event.key]);
    });
    on("picture", () => { handle.hidden = store.mode !== "slider" || !shown.pictures[1]; });
    move(shown.split);
    return handle;
}
