// What can be drawn over a frame: how a stream's type and record become shapes, and how shapes are drawn.

const vectors = [[/zun::Rectf|zun::Rect<(float|int)>/g, "zun::Box"], [/zun::Vec<(float|double),2>/g, "zun::Vec2f"],
                 [/zun::Vec<int,2>/g, "zun::Vec2i"], [/zun::Vec<int,4>/g, "zun::Vec4i"]];
const point = "zun::Vec2[fi]";
const kinds = [["boxes", /^(zun::List<)?zun::Box>?$/], ["points", new RegExp(`^(zun::List<)?${point}>?$`)],
               ["contours", new RegExp(`^zun::List<zun::List<${point}>>$`)], ["lines", /^zun::Mat<zun::Vec4i,1>$/],
               ["masks", /^(zun::List<)?zun::Mask>?$/], ["texts", /^zun::List<std::string>$/]];

/// A type without blanks and with one name for each type.
export const plainType = type =>
    vectors.reduce((text, [long, short]) => text.replace(long, short), type.replace(/\s/g, ""));

/// "boxes", "points", "contours", "lines", "masks", "texts", or nothing where a type can't be drawn.
export const shapeKind = type => kinds.find(([, form]) => form.test(plainType(type)))?.[0];

/// Whether points are (row, column) or (x, y): as the ports at the stream say, otherwise row first for points and x
/// first for contours, as all nodes have it.
export function usualOrder(stream, nodeOf) {
    const ports = [nodeOf(stream.producer)?.outputs, ...stream.readers.map(name => nodeOf(name)?.inputs)];
    const abouts = ports.flatMap(list => list ?? []).filter(port => port.stream === stream.name);
    for (const {about} of abouts) {
        if (/\(row, column\)/.test(about)) return "row";
        if (/\(x, y\)/.test(about)) return "x";
    }
    return shapeKind(stream.type) === "contours" ? "x" : "row";
}

const asList = (value, depth) => {
    let first = value, levels = 0;
    while (Array.isArray(first)) first = first[0], levels++;
    return levels < depth ? [value] : value;
};

/// The shapes of a record. Points come out as [x, y].
export function shapesOf(kind, value, order) {
    const turn = order === "row" ? ([row, column]) => [column, row] : at => at;
    if (kind === "points") return asList(value, 2).filter(Array.isArray).map(turn);
    if (kind === "contours") return value.map(contour => contour.map(turn));
    return kind === "texts" ? value : asList(value, 2).filter(Array.isArray);
}

function strokeTwice(context, colour, unit, draw) {
    context.lineJoin = context.lineCap = "round";
    for (const [style, width] of [["rgb(0 0 0 / 0.55)", 3.5], [colour, 1.5]]) {
        context.strokeStyle = style;
        context.lineWidth = width * unit;
        context.beginPath();
        draw();
        context.stroke();
    }
}

const drawers = {
    boxes(context, view, boxes, look) {
        strokeTwice(context, look.colour, look.unit, () => {
            for (const [x, y, width, height] of boxes)
                context.rect(...view.toArea(x, y), width * view.scale, height * view.scale);
        });
    },
    lines(context, view, lines, look) {
        strokeTwice(context, look.colour, look.unit, () => {
            for (const [x0, y0, x1, y1] of lines) {
                context.moveTo(...view.toArea(x0 + 0.5, y0 + 0.5));
                context.lineTo(...view.toArea(x1 + 0.5, y1 + 0.5));
            }
        });
    },
    contours(context, view, contours, look) {
        strokeTwice(context, look.colour, look.unit, () => {
            for (const contour of contours) {
                contour.forEach(([x, y], i) => context[i ? "lineTo" : "moveTo"](...view.toArea(x + 0.5, y + 0.5)));
                context.closePath();
            }
        });
    },
    /// The pixel itself where pixels are large, a mark about its middle where they are small.
    points(context, view, points, look) {
        const size = Math.max(view.scale, 5 * look.unit), rim = look.unit;
        for (const [style, more] of [["rgb(0 0 0 / 0.55)", rim], [look.colour, 0]]) {
            context.fillStyle = style;
            for (const [x, y] of points) {
                const [atX, atY] = view.toArea(Math.trunc(x) + 0.5, Math.trunc(y) + 0.5);
                context.fillRect(atX - size / 2 - more, atY - size / 2 - more, size + 2 * more, size + 2 * more);
            }
        }
    },
    masks(context, view, masks) {
        context.imageSmoothingEnabled = false;
        for (const {tint, x, y} of masks)
            context.drawImage(tint, ...view.toArea(x, y), tint.width * view.scale, tint.height * view.scale);
    },
    texts(context, view, texts, look) {
        context.font = `600 ${12 * look.unit}px system-ui, sans-serif`;
        context.textBaseline = "bottom";
        context.lineWidth = 3 * look.unit;
        context.lineJoin = "round";
        context.strokeStyle = "rgb(0 0 0 / 0.75)";
        context.fillStyle = look.colour;
        for (const {text, x, y} of texts) {
            const [atX, atY] = view.toArea(x, y);
            context.strokeText(text, atX + 2 * look.unit, atY - look.unit);
            context.fillText(text, atX + 2 * look.unit, atY - look.unit);
        }
    },
};

/// Draws shapes; look is {colour, unit}, unit being a CSS pixel in the canvas' own.
export function drawShapes(context, view, kind, shapes, look) {
    context.save();
    drawers[kind](context, view, shapes, look);
    context.restore();
}

/// A mask as a picture that is its colour where the mask is set.
export function tinted(mask, colour) {
    const canvas = new OffscreenCanvas(Math.max(1, mask.width), Math.max(1, mask.height));
    const context = canvas.getContext("2d"), image = context.createImageData(canvas.width, canvas.height);
    for (let i = 0; i < mask.bytes.length; i++) image.data[i * 4 + 3] = mask.bytes[i] ? 115 : 0;
    context.putImageData(image, 0, 0);
    context.globalCompositeOperation = "source-in";
    context.fillStyle = colour;
    context.globalAlpha = 1;
    context.fillRect(0, 0, canvas.width, canvas.height);
    return canvas;
}
