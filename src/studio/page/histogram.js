// How often each value occurs in the picture that is shown: grey; red, green and blue; or Y, Cb and Cr.

import {h, latestOnly, set, setText, shortNumber} from "studio/dom";
import {on, settings} from "studio/store";
import {shownPicture} from "studio/viewer";

const mostPixels = 1 << 20; // of larger pictures every n-th pixel is counted
const modes = [["grey", "Grey"], ["rgb", "R, G, B"], ["ycbcr", "Y, Cb, Cr"]];
const curves = {
    grey: [["grey", "grey"]],
    rgb: [["R", "#e5484d"], ["G", "#2f9e57"], ["B", "#3e7bfa"]],
    ycbcr: [["Y", "grey"], ["Cb", "#3e7bfa"], ["Cr", "#e5484d"]],
};

const byte = value => Math.min(255, Math.max(0, Math.round(value)));
const luma = (r, g, b) => 0.299 * r + 0.587 * g + 0.114 * b;
// BT.601, full range.
const toYCbCr = (r, g, b) => [byte(luma(r, g, b)), byte(128 - 0.168736 * r - 0.331264 * g + 0.5 * b),
                              byte(128 + 0.5 * r - 0.418688 * g - 0.081312 * b)];
const channelsOf = {grey: (r, g, b) => [byte(luma(r, g, b))], rgb: (r, g, b) => [r, g, b], ycbcr: toYCbCr};

/// Counts of 256 values for each curve of a mode.
function count({bytes, channels, width, height}, mode) {
    const pixels = width * height, step = Math.max(1, Math.ceil(pixels / mostPixels));
    const counts = curves[mode].map(() => new Uint32Array(256)), values = channelsOf[mode];
    for (let i = 0; i < pixels; i += step) {
        const at = i * channels, colour = channels > 1;
        const now = values(bytes[at], bytes[colour ? at + 1 : at], bytes[colour ? at + 2 : at]);
        for (let k = 0; k < now.length; k++) counts[k][now[k]]++;
    }
    return {counts, step};
}

/// Least, mean and greatest value of a curve.
function summary(counts) {
    let total = 0, sum = 0, least = -1, most = 0;
    counts.forEach((count, value) => {
        if (!count) return;
        if (least < 0) least = value;
        [most, total, sum] = [value, total + count, sum + count * value];
    });
    return `${Math.max(least, 0)} to ${most}, mean ${(sum / (total || 1)).toFixed(1)}`;
}

function draw(canvas, {counts}, mode, logarithmic) {
    const unit = window.devicePixelRatio || 1, style = getComputedStyle(canvas);
    const width = canvas.width = Math.round(canvas.clientWidth * unit),
          height = canvas.height = Math.round(canvas.clientHeight * unit);
    const context = canvas.getContext("2d"), scale = value => logarithmic ? Math.log1p(value) : value;
    const most = Math.max(1, ...counts.map(list => scale(Math.max(...list))));
    counts.forEach((list, i) => {
        const colour = curves[mode][i][1];
        context.fillStyle = context.strokeStyle = colour === "grey" ? style.color : colour;
        context.beginPath();
        context.moveTo(0, height);
        list.forEach((value, at) => {
            const y = height - scale(value) / most * (height - 2);
            context.lineTo(at / 256 * width, y);
            context.lineTo((at + 1) / 256 * width, y);
        });
        context.lineTo(width, height);
        context.globalAlpha = 0.25;
        context.fill();
        context.globalAlpha = 1;
        context.lineWidth = unit;
        context.stroke();
    });
}

export function buildHistogram() {
    const canvas = h("canvas", {class: "histogram", role: "img", "aria-label": "Histogram"});
    const caption = h("ul", {class: "legend"}), note = h("p", {class: "muted note"});
    const logarithmic = h("input", {type: "checkbox", id: "histogram-log", onchange: () => update()});
    const choice = h("select", {id: "histogram-mode", "aria-label": "Channels", onchange: () => {
        settings.set("histogram", choice.value);
        update();
    }}, ...modes.map(([value, label]) => h("option", {value}, label)));
    choice.value = settings.get("histogram", "grey");

    const update = latestOnly(async () => {
        await new Promise(done => setTimeout(done, 30)); // pictures come first
        const picture = shownPicture();
        if (!picture || !canvas.clientWidth) return;
        const mode = picture.channels === 1 ? "grey" : choice.value, counted = count(picture, mode);
        choice.disabled = picture.channels === 1;
        draw(canvas, counted, mode, logarithmic.checked);
        const lines = curves[mode].map(([name, colour], i) => [name, colour, summary(counted.counts[i])]);
        caption.replaceChildren(...lines.map(
            ([name, colour, text]) => h("li", {},
                h("i", {class: "dot", style: {"background-color": colour === "grey" ? "currentColor" : colour}}),
                `${name}: ${text}`)));
        set(canvas, {"aria-label": `Histogram. ${lines.map(([name, , text]) => `${name}: ${text}`).join("; ")}`});
        const {from, to} = picture.facts;
        setText(note, [
            counted.step > 1 && `One of ${counted.step} pixels is counted.`,
            from !== null && `0 to 255 stand for ${shortNumber(from)} to ${shortNumber(to)}.`
        ].filter(Boolean).join(" "));
    });
    new ResizeObserver(update).observe(canvas);
    on("picture theme panel", update);
    return h("section", {class: "block"}, h("h3", {}, "Histogram"),
             h("div", {class: "group"}, choice,
               h("label", {class: "inline"}, logarithmic, "logarithmic")), canvas, caption, note);
}
