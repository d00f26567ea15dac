// The overlays that are ticked on: fetches their values at each state and keeps the shapes ready to be drawn.

import {latestOnly} from "studio/dom";
import {picture} from "studio/pictures";
import {drawShapes, shapeKind, shapesOf, tinted, usualOrder} from "studio/shapes";
import {record} from "studio/source";
import {nodeOf, on, store, streamOf, tell} from "studio/store";

const colours = ["#ffd23f", "#3ddbff", "#ff5fa2", "#7dff6b", "#ff9f45", "#b69cff", "#5cf2c4", "#ff7468"];
const mostMasks = 64, mostShapes = 20000;

let ready = []; // of {name, kind, colour, shapes}
const records = new Map();

export const overlayStreams = () => store.state.streams.filter(stream => shapeKind(stream.type));
export const overlayColour = name =>
    colours[Math.max(0, overlayStreams().findIndex(stream => stream.name === name)) % colours.length];
export const overlayOrder = stream => store.overlays.get(stream.name)?.order ?? usualOrder(stream, nodeOf);

/// The streams at whose shapes texts can stand, the likeliest first: those that a node reads together with the texts.
export function placesOf(stream) {
    const places = overlayStreams().filter(other => ["boxes", "points"].includes(shapeKind(other.type)));
    const near = other => other.readers.some(name => stream.readers.includes(name));
    return [...places.filter(near), ...places.filter(other => !near(other))];
}

export const placeOf = stream => store.overlays.get(stream.name)?.at ?? placesOf(stream)[0]?.name;

/// The record of a value, kept while the page shows values of its kind.
export async function recordOf(value) {
    let found = records.get(value.id);
    if (!found) {
        found = await record(value.id);
        if (!found) return null;
        records.set(value.id, found);
        if (records.size > 64) records.delete(records.keys().next().value);
    }
    return found;
}

async function masksOf(value, colour) {
    const pictures = await Promise.all(value.items.slice(0, mostMasks).map((_, item) => picture(value, item)));
    return pictures.filter(Boolean).map(mask => ({tint: tinted(mask, colour), x: mask.facts.x, y: mask.facts.y}));
}

async function shapesOfStream(stream, kind) {
    if (kind === "masks") return masksOf(stream.value, overlayColour(stream.name));
    const found = await recordOf(stream.value);
    return found && shapesOf(kind, found.value, overlayOrder(stream)).slice(0, mostShapes);
}

/// A text stands at the top left corner of the box of its index, or beside the point.
async function textsOfStream(stream) {
    const texts = await shapesOfStream(stream, "texts"), place = streamOf(placeOf(stream));
    const places = texts && place?.value && await shapesOfStream(place, shapeKind(place.type));
    return places && texts.slice(0, places.length).map((text, i) => ({text, x: places[i][0], y: places[i][1]}));
}

async function load(name) {
    const stream = streamOf(name), kind = stream && shapeKind(stream.type);
    if (!kind || !stream.value) return null;
    const shapes = kind === "texts" ? await textsOfStream(stream) : await shapesOfStream(stream, kind);
    return shapes && {name, kind, colour: overlayColour(name), shapes};
}

const loadAll = latestOnly(async () => {
    ready = (await Promise.all([...store.overlays.keys()].map(load))).filter(Boolean);
    tell("overlays");
});

on("state show", () => {
    if (store.overlays.size || ready.length) loadAll();
});

export function drawOverlays(context, view, unit) {
    for (const {kind, colour, shapes} of ready) drawShapes(context, view, kind, shapes, {colour, unit});
}
