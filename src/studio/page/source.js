// Where all values come from: the server of the studio, or the data within a report. No other module knows which.
//
// What is no longer kept, or can't be reached, is null; the next state brings ids that can be had. Requests that change
// something throw a Refusal where the server says no.

const data = document.getElementById("report");

/// A request that the server did not follow.
export class Refusal extends Error {
    constructor(status, message) {
        super(message);
        this.status = status;
    }
}

const PNG = "image/png";

/// The bytes of a bitmap as RGBA, row by row.
function bytesOf(bitmap) {
    const canvas = new OffscreenCanvas(bitmap.width, bitmap.height);
    const context = canvas.getContext("2d", {willReadFrequently: true});
    context.drawImage(bitmap, 0, 0);
    return context.getImageData(0, 0, bitmap.width, bitmap.height).data;
}

class Server {
    waiting = new Map();
    count = 0;

    start(onState, onLink) {
        this.onState = onState;
        this.onLink = onLink;
        this.wire = new Worker(import.meta.resolve("studio/wire"));
        this.wire.onmessage = ({data}) => this.take(data);
        this.wire.postMessage({listen: this.address("events")});
    }

    take(message) {
        if (message.state !== undefined) return this.keepLatest(message.state);
        if (message.link !== undefined) return this.onLink(message.link);
        const done = this.waiting.get(message.number);
        this.waiting.delete(message.number);
        done(message);
    }

    /// States that come faster than they are drawn give way to the latest.
    keepLatest(text) {
        if (this.latest === undefined) queueMicrotask(() => {
            const latest = this.latest;
            this.latest = undefined;
            this.onState(JSON.parse(latest));
        });
        this.latest = text;
    }

    address(path) { return new URL(path, document.baseURI).href; }

    ask(path, as = "json", body = undefined) {
        return new Promise(done => {
            this.waiting.set(++this.count, done);
            this.wire.postMessage({number: this.count, address: this.address(path), as, body});
        });
    }

    async get(path, as) {
        const {status, content} = await this.ask(path, as);
        return status === 200 ? content : null;
    }

    async post(action, body) {
        const {status, content} = await this.ask(action, "json", body);
        if (status !== 200) throw new Refusal(status, content.error ?? `The studio answered with ${status}`);
        return content;
    }

    layout(direction, structure) {
        return this.get(`layout?direction=${direction}&structure=${encodeURIComponent(structure)}`);
    }

    async thumb(id, item) {
        const bytes = await this.get(`thumb?id=${id}&item=${item}`, "bytes");
        return bytes && createImageBitmap(new Blob([bytes], {type: PNG}));
    }

    async pixels(id, item) {
        const bytes = await this.get(`pixels?id=${id}&item=${item}`, "bytes");
        return bytes && new Uint8Array(bytes);
    }

    async pixel(id, item, facts, x, y) {
        const answer = await this.get(`pixel?id=${id}&item=${item}&x=${x}&y=${y}`);
        return answer && {value: answer.value, approximate: false};
    }

    data(id) { return this.get(`data?id=${id}`); }
    async diff() { return (await this.get("diff"))?.diff ?? null; }
}

class Report {
    constructor(text) {
        this.content = JSON.parse(text);
        this.decoded = new Map();
    }

    start(onState) {
        this.onState = onState;
        this.show(0);
    }

    show(tick) {
        const at = this.content.states.findIndex(state => state.tick === tick);
        if (at < 0) throw new Refusal(404, `The report holds no tick ${tick}`);
        this.onState(this.content.states[at]);
        return {generation: this.content.states[at].generation};
    }

    async post(action, body) {
        if (action === "tick") return this.show(body.tick);
        throw new Refusal(405, "A report can only be looked at");
    }

    async layout(direction) { return this.content.layouts[direction] ?? null; }

    bitmap(id, item) {
        const png = this.content.pictures[`${id}/${item}`]?.png;
        if (!png) return null;
        const bytes = Uint8Array.from(atob(png), letter => letter.charCodeAt(0));
        return createImageBitmap(new Blob([bytes], {type: PNG}), {colorSpaceConversion: "none"});
    }

    thumb(id, item) { return this.bitmap(id, item); }

    async pixels(id, item, facts) {
        const bitmap = await this.bitmap(id, item);
        if (!bitmap) return null;
        const rgba = bytesOf(bitmap), {channels} = facts, count = rgba.length / 4;
        if (channels === 4) return rgba;
        const bytes = new Uint8Array(count * channels);
        for (let i = 0; i < count; i++)
            for (let channel = 0; channel < channels; channel++) bytes[i * channels + channel] = rgba[i * 4 + channel];
        return bytes;
    }

    async pixel(id, item, facts, x, y, bytes) {
        if (!bytes) return null;
        const at = (y * facts.width + x) * facts.channels;
        const shown = Array.from(bytes.subarray(at, at + facts.channels));
        const float = facts.from !== null;
        const value = shown.map(byte => facts.binary ? byte / 255
            : float ? facts.from + byte / 255 * (facts.to - facts.from) : byte);
        return {value, approximate: float};
    }

    async data(id) { return this.content.data[id] ?? null; }
    async diff() { return null; }
}

const source = data ? new Report(data.textContent) : new Server();

/// Whether there is a server, so that options can be changed, the text saved and the description run.
export const live = !data;
export const made = data ? source.content.made : "";
/// The ticks that a report holds, in order; null where any tick can be had.
export const heldTicks = data ? source.content.states.map(state => state.tick) : null;

/// Calls onState(state) with the latest state whenever there is a new one, and onLink(reached) when the server goes
/// away or comes back.
export const start = (onState, onLink) => source.start(onState, onLink);
/// Sends a request that changes something; gives {generation}, or throws a Refusal.
export const post = (action, body = {}) => source.post(action, body);
export const layout = (direction, structure) => source.layout(direction, structure);
/// A small picture of a frame, as an ImageBitmap.
export const thumb = (id, item) => source.thumb(id, item);
/// The bytes of a frame as shown: width * height * channels, row by row. `facts` is the item's entry in the state.
export const pixels = (id, item, facts) => source.pixels(id, item, facts);
/// The very value at a place: {value: [numbers], approximate}. `bytes` are those that pixels() gave.
export const pixel = (id, item, facts, x, y, bytes) => source.pixel(id, item, facts, x, y, bytes);
/// A record: {type, value, cut, count}.
export const record = id => source.data(id);
/// The unified diff of the file against the text.
export const diff = () => source.diff();
