// The panels at the side, of which one is shown, chosen by tabs; and the borders that one drags to make room.

import {clamp, h, set} from "studio/dom";
import {settings, tell} from "studio/store";

const tabs = new Map(), panels = new Map();
let shown = "";

/// Shows a panel: "graph" (on narrow pages), "options", "picture", "text" or "run".
export function showPanel(name, focus = false) {
    shown = name;
    for (const [key, tab] of tabs) set(tab, {"aria-selected": String(key === name), tabindex: key === name ? 0 : -1});
    for (const [key, panel] of panels) panel.hidden = key !== name;
    set(document.body, {"data-panel": name});
    if (focus) tabs.get(name).focus();
    tell("panel");
}

export const shownPanel = () => shown;

function onKey(event) {
    const names = [...tabs.keys()].filter(name => tabs.get(name).offsetParent), at = names.indexOf(shown);
    const to = {ArrowRight: at + 1, ArrowLeft: at - 1, Home: 0, End: names.length - 1}[event.key];
    if (to === undefined) return;
    event.preventDefault();
    showPanel(names[(to + names.length) % names.length], true);
}

/// The side: panels is a list of [name, title, children].
export function buildPanels(list) {
    const bar = h("div", {class: "tabs", role: "tablist", "aria-label": "Panels", onkeydown: onKey});
    const side = h("aside", {id: "side", "aria-label": "Panels"}, bar);
    for (const [name, title, children] of list) {
        const tab = h("button", {
            type: "button",
            role: "tab",
            id: `tab-${name}`,
            class: "tab",
            onclick: () => showPanel(name),
            "aria-controls": name === "graph" ? "graph" : `panel-${name}`
        },
            title);
        tabs.set(name, tab);
        bar.append(tab);
        if (!children) continue;
        const panel = h("div",
            {role: "tabpanel", id: `panel-${name}`, class: "panel", "aria-labelledby": `tab-${name}`}, ...children);
        panels.set(name, panel);
        side.append(panel);
    }
    return side;
}

/// A border that sets a length of the page (a property of the style) by dragging or arrows.
export function border(label, property, {vertical, least, most, fromEnd}) {
    const line = h("div", {
        class: `border ${vertical ? "vertical" : "horizontal"}`,
        role: "separator",
        tabindex: 0,
        "aria-label": label,
        "aria-orientation": vertical ? "vertical" : "horizontal",
        "aria-valuemin": least,
        "aria-valuemax": most
    });
    const apply = length => {
        const now = Math.round(clamp(length, least, Math.min(most, (vertical ? innerWidth : innerHeight) * 0.7)));
        document.documentElement.style.setProperty(property, `${now}px`);
        set(line, {"aria-valuenow": now});
        settings.set(property, now);
    };
    const before = () => (fromEnd ? line.nextElementSibling : line.previousElementSibling).getBoundingClientRect();
    line.addEventListener("pointerdown", event => line.setPointerCapture(event.pointerId));
    line.addEventListener("pointermove", event => {
        if (!line.hasPointerCapture(event.pointerId)) return;
        const box = before();
        apply(vertical ? fromEnd ? box.right - event.clientX : event.clientX - box.left : event.clientY - box.top);
    });
    line.addEventListener("keydown", event => {
        const steps = vertical ? {ArrowLeft: -16, ArrowRight: 16} : {ArrowUp: -16, ArrowDown: 16};
        if (!(event.key in steps)) return;
        event.preventDefault();
        const box = before();
        apply((vertical ? box.width : box.height) + steps[event.key] * (fromEnd ? -1 : 1));
    });
    const known = settings.get(property, null);
    if (known) apply(known);
    return line;
}
