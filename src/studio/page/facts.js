// What is known of the stream that is shown: type, size, memory, who makes it and who reads it.

import {byteCount, h, shortNumber} from "studio/dom";
import {on, selectNode, store, streamOf} from "studio/store";

const nodeLink = name => h("button", {type: "button", class: "link", onclick: () => selectNode(name)}, name);
const listed = names =>
    names.length ? names.flatMap((name, i) => i ? [", ", nodeLink(name)] : [nodeLink(name)]) : "nobody";

export function buildFacts() {
    const list = h("dl", {class: "facts"}), title = h("h3", {}, "Stream");
    let key = "";
    const row = (name, ...content) => [h("dt", {}, name), h("dd", {}, ...content)];
    on("state show", () => {
        const {kept, limit} = store.state.memory, memory = `${byteCount(kept)} of ${byteCount(limit)}`;
        const stream = streamOf(store.shown);
        const now = stream ? JSON.stringify([stream.name, stream.type, stream.value?.summary, stream.value?.bytes,
                                             memory, stream.missing, stream.value?.items[store.item]]) : "";
        if (now === key) return;
        key = now;
        if (!stream) return list.replaceChildren();
        const item = stream.value?.items[store.item];
        list.replaceChildren(...[row("name", stream.name),
            row("type", h("code", {}, stream.type)),
            row("value", stream.value ? stream.value.summary || stream.value.kind : stream.missing || "none"),
            stream.value ? row("memory", `${byteCount(stream.value.bytes)}; all values that are kept: ${memory}`) : [],
            item?.binary ? row("shown", "0 as black, 1 as white") : [],
            typeof item?.from === "number"
                ? row("shown", `${shortNumber(item.from)} as black, ${shortNumber(item.to)} as white`)
                : [],
            row("from", nodeLink(stream.producer), ` (${stream.port})`),
            row("read by", ...[listed(stream.readers)].flat()),
        ].flat());
    });
    return h("section", {class: "block"}, title, list);
}
