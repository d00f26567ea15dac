// The frames that were fetched at full size. A value never changes, so what was fetched once is good for ever; the
// oldest go when there are many.

import {pixel, pixels} from "studio/source";

const mostBytes = 256e6;
const kept = new Map();

function toRgba(bytes, {width, height, channels}) {
    const image = new ImageData(width, height), words = new Uint32Array(image.data.buffer);
    if (channels === 1) for (let i = 0; i < words.length; i++) words[i] = bytes[i] * 0x010101 | 0xFF000000;
    else if (channels === 3)
        for (let i = 0, at = 0; i < words.length; i++, at += 3)
            words[i] = bytes[at] | bytes[at + 1] << 8 | bytes[at + 2] << 16 | 0xFF000000;
    else image.data.set(bytes);
    return image;
}

class Picture {
    constructor(id, item, facts, bytes) {
        Object.assign(this, {id, item, facts, bytes, width: facts.width, height: facts.height});
        this.channels = facts.channels;
        this.canvas = new OffscreenCanvas(Math.max(1, facts.width), Math.max(1, facts.height));
        if (facts.width && facts.height) this.canvas.getContext("2d").putImageData(toRgba(bytes, facts), 0, 0);
    }

    contains(x, y) { return x >= 0 && y >= 0 && x < this.width && y < this.height; }

    /// The bytes of a pixel, as shown.
    shownAt(x, y) {
        const at = (y * this.width + x) * this.channels;
        return Array.from(this.bytes.subarray(at, at + this.channels));
    }

    /// The value of a pixel as it is in the frame: {value, approximate}, or null.
    valueAt(x, y) { return pixel(this.id, this.item, this.facts, x, y, this.bytes); }
}

function makeRoom() {
    let bytes = 0;
    for (const picture of kept.values()) bytes += picture.width * picture.height * 4;
    for (const [key, picture] of kept) {
        if (bytes <= mostBytes || kept.size <= 4) return;
        kept.delete(key);
        bytes -= picture.width * picture.height * 4;
    }
}

/// The picture of an item of a value, or null if it can't be had.
export async function picture(value, item) {
    const key = `${value.id}/${item}`, facts = value.items[item];
    let found = kept.get(key);
    if (!found) {
        const bytes = facts && await pixels(value.id, item, facts);
        if (!bytes || bytes.length !== facts.width * facts.height * facts.channels) return null;
        found = new Picture(value.id, item, facts, bytes);
    }
    kept.delete(key);
    kept.set(key, found);
    makeRoom();
    return found;
}
