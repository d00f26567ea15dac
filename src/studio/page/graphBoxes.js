// The boxes of the graph: nodes with their time and findings, streams with a small picture or a summary of their value.

import {duration, h, plural, set, setText} from "studio/dom";
import {icon} from "studio/icons";
import {thumb} from "studio/source";
import {findingsOf, isFrame, selectNode, showStream, store, streamOf} from "studio/store";

const thumbPause = 60, thumbsAtOnce = 2; // milliseconds; requests. The large picture comes first.

export function makeNode({name}) {
    const parts = {
        name: h("span", {class: "box-name"}, name),
        type: h("span", {class: "box-type"}),
        time: h("span", {class: "box-time"}),
        mark: h("span", {class: "box-mark", hidden: true}, icon("warning")),
        share: h("i", {class: "share"})
    };
    const box = h("button", {type: "button", class: "node", "data-node": name, tabindex: -1,
                             onclick: () => selectNode(name)}, ...Object.values(parts));
    box.parts = parts;
    return box;
}

/// What a node's findings come to: "error", "warning" or nothing.
function severity(node, findings) {
    if (node.error || findings.some(finding => finding.severity === "error")) return "error";
    return findings.some(finding => finding.severity === "warning") ? "warning" : null;
}

export function updateNode(box, node, total) {
    const {parts} = box, findings = findingsOf(node.name), bad = severity(node, findings);
    const share = node.milliseconds !== null && total > 0 ? node.milliseconds / total : 0;
    const time = !node.runs ? "not run" : node.milliseconds !== null ? duration(node.milliseconds) : "";
    const texts = [node.error, ...findings.map(finding => finding.text)].filter(Boolean);
    setText(parts.type, node.type);
    setText(parts.time, time);
    parts.mark.hidden = !bad;
    parts.share.style.width = `${(share * 100).toFixed(1)}%`;
    set(box, {
        "data-severity": bad,
        "data-idle": !node.runs,
        "data-kept": node.kept,
        "aria-pressed": String(store.node === node.name),
        "aria-label": `Node ${node.name}, ${node.type}${time && `, ${time}`}` +
            (node.kept ? ", values kept from before" : "") +
            (bad ? `, ${plural(texts.length, "finding")}: ${texts.join("; ")}` : ""),
        title: [
            `${node.name} (${node.type})`, node.summary,
            !node.runs ? "It has effects outside, so it runs with Run all only." : "",
            share ? `${duration(node.milliseconds)}, ${(share * 100).toFixed(1)}% of the tick` : "",
            node.kept ? "Its values were kept from before." : "", ...texts
        ].filter(Boolean).join("\n"),
    });
}

export function makeStream({name}) {
    const parts = {
        thumb: h("canvas", {class: "thumb", width: 128, height: 84, "aria-hidden": "true"}),
        summary: h("span", {class: "box-summary"}),
        name: h("span", {class: "box-name"}, name)
    };
    const box = h("button", {type: "button", class: "stream", "data-stream": name, tabindex: -1,
                             onclick: () => showStream(name)}, ...Object.values(parts));
    box.parts = parts;
    return box;
}

export function updateStream(box, stream) {
    const {parts} = box, {value} = stream, frame = isFrame(stream) && value.items.length > 0;
    parts.thumb.hidden = !frame;
    parts.summary.hidden = frame;
    const summary = value ? value.summary || value.kind : stream.missing ? "no value" : "not computed";
    if (!frame) {
        setText(parts.summary, summary);
        box.drawn = null;
    }
    set(box, {
        "data-missing": !value, "aria-pressed": String(store.shown === stream.name),
        "aria-label": `Stream ${stream.name}, ${summary}`,
        title: [stream.name, stream.type, value ? value.summary : stream.missing].filter(Boolean).join("\n"),
    });
}

async function drawThumb(box, id) {
    const bitmap = await thumb(id, 0);
    if (!bitmap) return;
    const {width, height} = box.parts.thumb, scale = Math.min(width / bitmap.width, height / bitmap.height, 4);
    const context = box.parts.thumb.getContext("2d"), [w, k] = [bitmap.width * scale, bitmap.height * scale];
    context.clearRect(0, 0, width, height);
    context.imageSmoothingEnabled = scale < 1;
    context.imageSmoothingQuality = "high";
    context.drawImage(bitmap, (width - w) / 2, (height - k) / 2, w, k);
    box.drawn = id;
}

/// Keeps the small pictures of the visible boxes up to date, a few at a time; give it the boxes and what tells whether
/// one is visible. The result asks it to look again.
export function thumbKeeper(boxes, isVisible) {
    let asked = 0, flying = 0;
    const wanted = name => {
        const stream = streamOf(name);
        return isFrame(stream) && stream.value.items.length ? stream.value.id : null;
    };
    const look = () => {
        for (const [name, box] of boxes) {
            if (flying >= thumbsAtOnce) return;
            const id = wanted(name);
            if (!id || box.drawn === id || box.tried === id || !isVisible(name)) continue;
            box.tried = id;
            flying++;
            drawThumb(box, id).finally(() => {
                flying--;
                look();
            });
        }
    };
    return () => {
        clearTimeout(asked);
        asked = setTimeout(look, thumbPause);
    };
}
