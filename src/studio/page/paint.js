// Paints the viewer's canvas: one picture, two side by side, or two with a slider between them.

import {drawOverlays} from "studio/overlays";

/// The parts of a canvas that pictures are painted in, from left to right. `from` and `to` bound what is painted.
export function areasOf(canvas, mode, split) {
    const {width, height} = canvas, middle = Math.round(width / 2), at = Math.round(width * split);
    if (mode === "beside")
        return [{left: 0, width: middle, height, from: 0, to: middle - 1},
                {left: middle, width: width - middle, height, from: middle + 1, to: width}];
    if (mode === "slider")
        return [{left: 0, width, height, from: 0, to: at}, {left: 0, width, height, from: at, to: width}];
    return [{left: 0, width, height, from: 0, to: width}];
}

/// What lies under pixels that are not opaque.
function paintChecks(context, x, y, width, height, unit) {
    const side = 8 * unit;
    context.fillStyle = "#fff";
    context.fillRect(x, y, width, height);
    context.fillStyle = "#ccc";
    const left = Math.max(0, x), top = Math.max(0, y);
    const right = Math.min(context.canvas.width, x + width), bottom = Math.min(context.canvas.height, y + height);
    for (let row = 0; top + row * side < bottom; row++)
        for (let column = row % 2; left + column * side < right; column += 2) {
            const atX = left + column * side, atY = top + row * side;
            context.fillRect(atX, atY, Math.min(side, right - atX), Math.min(side, bottom - atY));
        }
}

function paintPicture(context, picture, view, unit) {
    const [x, y] = view.toArea(0, 0), width = picture.width * view.scale, height = picture.height * view.scale;
    if (picture.channels === 4) paintChecks(context, x, y, width, height, unit);
    context.imageSmoothingEnabled = view.scale < 1;
    context.imageSmoothingQuality = "high";
    context.drawImage(picture.canvas, x, y, width, height);
}

/// Paints all areas. `paintTop` paints what belongs on top of an area: a box that is drawn, the pixel cursor.
export function paint(canvas, {mode, split, view, pictures, unit, paintTop}) {
    const context = canvas.getContext("2d");
    context.clearRect(0, 0, canvas.width, canvas.height);
    areasOf(canvas, mode, split).forEach((area, i) => {
        if (!pictures[i]) return;
        context.save();
        context.beginPath();
        context.rect(area.from, 0, area.to - area.from, area.height);
        context.clip();
        context.translate(area.left, 0);
        paintPicture(context, pictures[i], view, unit);
        drawOverlays(context, view, unit);
        paintTop(context);
        context.restore();
    });
}
