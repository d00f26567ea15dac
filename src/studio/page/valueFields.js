// Fields for boxes and points of a Constant's value: x, y, width and height as numbers, and the choice of the one that
// is drawn on the picture. The form of the value is told by its type: zun::Box, zun::Vec2f, zun::Vec2i, or lists of
// them.

import {h, set} from "studio/dom";
import {iconButton} from "studio/icons";
import {plainType} from "studio/shapes";

const mostFields = 40;

/// {kind: "box"|"point", list} of a type that can be drawn on the picture, or nothing.
export function drawable(type) {
    const found = /^(zun::List<)?zun::(Box|Vec2f|Vec2i)>?$/.exec(plainType(type));
    return found && {kind: found[2] === "Box" ? "box" : "point", list: Boolean(found[1]), whole: found[2] === "Vec2i"};
}

/// The boxes or points of a text such as [[1, 2, 3, 4]]; null where it can't be read.
export function parseValue(text, {kind, list}) {
    const length = kind === "box" ? 4 : 2;
    try {
        const value = JSON.parse(text), all = list ? value : [value];
        return all.every(entry => entry.length === length && entry.every(Number.isFinite)) ? all : null;
    } catch {
        return null;
    }
}

const plain = value => String(Number(value.toFixed(3)));
export const valueText = (entries, {list}) => {
    const texts = entries.map(entry => `[${entry.map(plain).join(", ")}]`);
    return list ? `[${texts.join(", ")}]` : texts[0];
};

/// Fields below the option's text. `pick` is told of it: {form, entries, active, change(entries), turned}.
export function valueFields(form, label, changed, pick) {
    const rows = h("ol", {class: "value-rows"}),
          drag = h("button", {type: "button", class: "button"}, "Drag on the picture");
    const add = iconButton("plus", form.kind === "box" ? "Add a box" : "Add a point");
    const order = h("select", {"aria-label": "Order of the point"}, h("option", {value: "row"}, "row, column"),
                    h("option", {value: "x"}, "x, y"));
    const model = {form, entries: [], active: 0, turned: form.kind === "point", label};
    model.change = entries => {
        model.entries = entries;
        show();
        changed(valueText(entries, form));
    };
    const names = () => form.kind === "box" ? ["x", "y", "width", "height"]
                        : model.turned      ? ["row", "column"]
                                            : ["x", "y"];
    const choose = i => { model.active = i; show(); };

    function makeRow(i) {
        const takeOver = (k, field) => {
            if (field.value === "") return;
            const next = model.entries.map(entry => [...entry]);
            next[i][k] = Number(field.value);
            model.change(next);
        };
        const fields = names().map((name, k) => h("input", {
            type: "number", step: form.whole ? 1 : "any", "aria-label": `${label} ${i} ${name}`, title: name,
            onfocus: () => { if (model.active !== i) choose(i); }, oninput: event => takeOver(k, event.target)}));
        const remove = form.list && iconButton("close", `Remove number ${i}`, {onclick: () => {
            model.active = 0;
            model.change(model.entries.filter((_, at) => at !== i));
        }});
        const row = h("li", {},
            ...fields.map((field, k) => h("label", {class: "tiny"}, h("span", {}, names()[k]), field)), remove);
        row.fields = fields;
        return row;
    }

    function show() {
        const count = Math.min(model.entries.length, mostFields);
        while (rows.children.length > count) rows.lastChild.remove();
        while (rows.children.length < count) rows.append(makeRow(rows.children.length));
        for (const [i, row] of [...rows.children].entries()) {
            set(row, {"data-active": form.list && i === model.active});
            row.fields.forEach((field, k) => {
                if (Number(field.value) !== model.entries[i][k] || field.value === "")
                    field.value = plain(model.entries[i][k]);
            });
        }
    }

    order.addEventListener("change", () => {
        model.turned = order.value === "row";
        rows.replaceChildren();
        show();
    });
    add.addEventListener("click", () => {
        model.active = model.entries.length;
        model.change([...model.entries, form.kind === "box" ? [0, 0, 32, 32] : [0, 0]]);
    });
    drag.addEventListener("click", () => pick(model, drag));
    return {
        element: h("div", {class: "value-fields"}, h("div", {class: "group"}, drag, form.list && add,
                   form.kind === "point" && order), rows),
        set(text) {
            model.entries = parseValue(text, form) ?? [];
            show();
        },
    };
}
