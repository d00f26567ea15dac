// One control for each kind of option. A control has an element, get() and set(text), where text is the value as a
// description writes it, and calls changed(text) on each input.

import {h} from "studio/dom";
import {iconButton} from "studio/icons";

const digits = 6;

const isTrue = text => /^(true|1)$/i.test(text.trim());

/// A step such as 0.001, 0.002 or 0.005, so that about a thousand of them make the range.
function niceStep(range) {
    const rough = range / 1000, power = 10 ** Math.floor(Math.log10(rough));
    return power * [1, 2, 5, 10].find(factor => factor * power >= rough * 0.999);
}

/// A sensible range for a slider: the option's own where it is finite, otherwise one about its default and value.
export function rangeOf(option) {
    const known = [option.text, option.default].map(Number).filter(Number.isFinite);
    const reach = Math.max(option.type === "int" ? 10 : 1, ...known.map(value => Math.abs(value) * 4));
    const usual = option.kind === "ratio" ? [0, 1] : [known.some(value => value < 0) ? -reach : 0, reach];
    let least = option.least ?? Math.min(usual[0], option.most ?? 0),
        most = option.most ?? Math.max(usual[1], least + reach);
    least = Math.min(least, ...known);
    most = Math.max(most, ...known);
    return {least, most, step: option.type === "int" ? 1 : niceStep(most - least || 1)};
}

function numberControl(option, label, changed) {
    const range = rangeOf(option), isInt = option.type === "int";
    const bounds = {min: range.least, max: range.most, step: range.step};
    const plain = value => String(isInt ? Math.round(value) : Number(Number(value).toPrecision(digits)));
    const slider = h("input", {type: "range", ...bounds, "aria-label": `${label}, slider`, oninput: () => {
        field.value = plain(slider.value);
        changed(field.value);
    }});
    const field = h("input", {type: "number", step: isInt ? 1 : "any", "aria-label": label, oninput: () => {
        if (field.value === "" || !field.validity.valid) return;
        slider.value = field.value;
        changed(field.value);
    }});
    return {
        element: h("div", {class: "number"}, slider, field),
        set(text) {
            const value = Number(text);
            if (value < slider.min) slider.min = value; // a value outside of the range widens it
            if (value > slider.max) slider.max = value;
            slider.value = text;
            if (document.activeElement !== field || Number(field.value) !== value) // "1." is on its way to "1.5"
                field.value = Number.isFinite(value) ? plain(value) : "";
            field.placeholder = Number.isFinite(value) ? "" : text;
        },
    };
}

function boolControl(option, label, changed) {
    const box = h("input", {type: "checkbox", "aria-label": label, onchange: () => changed(String(box.checked))});
    return {
        element: h("label", {class: "inline"}, box, h("span", {}, "on")),
        set: text => { box.checked = isTrue(text); }
    };
}

function choiceControl(option, label, changed) {
    const known =
        option.choices.map(({value, name}) => [String(value), name === String(value) ? name : `${name} (${value})`]);
    const select = h("select", {"aria-label": label, onchange: () => changed(select.value)},
                     ...known.map(([value, text]) => h("option", {value}, text)));
    return {
        element: select,
        set(text) {
            const plain = text.trim();
            if (![...select.options].some(entry => entry.value === plain))
                select.append(h("option", {value: plain}, `${plain} (another value)`));
            select.value = plain;
        },
    };
}

function textControl(option, label, changed) {
    const long = option.text.length > 60;
    const field = h(long ? "textarea" : "input", {
        "aria-label": label,
        spellcheck: "false",
        autocomplete: "off",
        ...(long ? {rows: 4} : {type: "text"}),
        oninput: () => changed(field.value)
    });
    return {element: field, set: text => { if (field.value !== text) field.value = text; }};
}

/// "#rrggbb" of a colour string such as 0xFF8000, "#FF8000" or FF8000; nothing where it is not a colour.
export function colourOf(text) {
    const found = /^["']?(?:#|0x)?([0-9a-fA-F]{6})["']?$/.exec(text.trim());
    return found && `#${found[1].toLowerCase()}`;
}

/// A colour in the form that the text has.
export function colourText(colour, like) {
    const number = colour.slice(1).toUpperCase();
    return like.includes("#") ? `"#${number}"` : `0x${number}`;
}

function colourControl(option, label, changed, takeColour) {
    const field = textControl(option, label, text => {
        well.value = colourOf(text) ?? well.value;
        changed(text);
    });
    const apply = colour => {
        field.set(colourText(colour, field.element.value));
        well.value = colour;
        changed(field.element.value);
    };
    const well = h("input", {type: "color", "aria-label": `${label}, colour`, oninput: () => apply(well.value)});
    const dropper =
        iconButton("dropper", "Take the colour from the picture", {onclick: () => takeColour(apply, label)});
    return {
        element: h("div", {class: "colour"}, well, field.element, dropper),
        set(text) {
            field.set(text);
            well.value = colourOf(text) ?? "#000000";
        },
    };
}

/// The control for an option. takeColour(apply, label) lets one take a colour from the picture.
export function controlFor(option, label, changed, takeColour) {
    if (option.choices.length) return choiceControl(option, label, changed);
    if (option.kind === "colour") return colourControl(option, label, changed, takeColour);
    if (option.type === "bool") return boolControl(option, label, changed);
    if (option.type === "int" || option.type === "float") return numberControl(option, label, changed);
    return textControl(option, label, changed);
}
