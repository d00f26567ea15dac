// The line under the picture: place and value of the pixel under the pointer or the pixel cursor.

import {h, latestOnly, set, setText, shortNumber} from "studio/dom";
import {on, store} from "studio/store";
import {pixelCursor, placeOf, shownPicture, stageElement} from "studio/viewer";

const pause = 40; // milliseconds between two questions for a value

const where = h("span", {class: "where"}), swatch = h("span", {class: "swatch", hidden: true});
const values = h("span", {class: "values"}), facts = h("span", {class: "push muted"});
let last = null; // {x, y, place} of the pixel that is read out

const valueText = (list, approximate) =>
    (approximate ? "about " : "") +
    list.map(value => typeof value === "number" ? shortNumber(value) : value).join(", ");

/// The bytes as shown are there at once; the value itself follows.
const ask = latestOnly(async (picture, at) => {
    const found = await picture.valueAt(at.x, at.y);
    if (found && last === at) setText(values, valueText(found.value, found.approximate));
    await new Promise(done => setTimeout(done, pause));
});

function clear() {
    last = null;
    swatch.hidden = true;
    setText(where, "");
    setText(values, "");
}

function show(x, y, place) {
    const picture = shownPicture(place);
    if (!picture?.contains(x, y)) return clear();
    const shown = picture.shownAt(x, y),
          [red, green, blue] = picture.channels === 1 ? [shown[0], shown[0], shown[0]] : shown;
    last = {x, y, place};
    swatch.hidden = false;
    swatch.style.backgroundColor = `rgb(${red} ${green} ${blue})`;
    setText(where, `${place ? `${store.second}: ` : ""}x ${x}, y ${y}`);
    if (picture.facts.from === null && !picture.facts.binary) setText(values, valueText(shown));
    ask(picture, last);
}

const again = () => { if (last) show(last.x, last.y, last.place); };

function showFacts() {
    const picture = shownPicture();
    setText(facts, picture ? `${picture.width} x ${picture.height}` : "");
}

export function buildReadout() {
    const readout = h("div", {class: "readout", id: "readout"}, swatch, where, values, facts);
    stageElement.addEventListener("pointermove", event => {
        const {atX, atY, place} = placeOf(event);
        show(Math.floor(atX), Math.floor(atY), place);
    });
    stageElement.addEventListener("pointerleave", () => {
        const cursor = pixelCursor();
        if (cursor) show(...cursor, 0);
        else clear();
    });
    on("cursor", () => {
        const cursor = pixelCursor();
        set(readout, {"aria-live": cursor ? "polite" : null}); // read out for the keyboard's cursor only
        if (cursor) show(...cursor, 0);
        else clear();
    });
    on("picture", () => { again(); showFacts(); });
    return readout;
}
