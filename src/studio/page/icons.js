// The icons: outlines on a grid of 24, drawn with the text's colour.

import {h, svg} from "studio/dom";

const shapes = {
    undo: "M9 14 4 9l5-5M4 9h10a6 6 0 0 1 0 12h-3",
    redo: "m15 14 5-5-5-5M20 9H10a6 6 0 0 0 0 12h3",
    save: "M5 3h11l5 5v13H3V5a2 2 0 0 1 2-2zM7 3v6h8V3M7 21v-7h10v7",
    run: "M7 4v16l13-8z",
    stop: "M6 6h12v12H6z",
    pause: "M8 5v14M16 5v14",
    help: "M9.5 9a2.7 2.7 0 1 1 3.6 2.6c-.8.3-1.1.9-1.1 1.9v.5M12 17.5v.1M12 2a10 10 0 1 0 .1 0z",
    light: "M12 8a4 4 0 1 0 .1 0zM12 2v2M12 20v2M5 5l1.4 1.4M17.6 17.6 19 19M2 12h2M20 12h2M5 19l1.4-1.4M17.6 6.4 19 5",
    dark: "M20 14.5A8.5 8.5 0 1 1 9.5 4 7 7 0 0 0 20 14.5z",
    system: "M3 4h18v12H3zM8 20h8M12 16v4",
    plus: "M12 5v14M5 12h14",
    minus: "M5 12h14",
    fit: "M4 9V4h5M20 9V4h-5M4 15v5h5M20 15v5h-5",
    previous: "m15 5-7 7 7 7",
    next: "m9 5 7 7-7 7",
    bookmark: "M6 3h12v18l-6-5-6 5z",
    close: "M6 6l12 12M18 6 6 18",
    reset: "M4 4v6h6M4.6 10a8 8 0 1 1-.4 4.5",
    turn: "M4 5h6v6H4zM14 13h6v6h-6zM10 8h7v5",
    pick: "M3 3h5M3 3v5M21 3h-5M21 3v5M3 21h5M3 21v-5M21 21v-5M21 21h-5M9 12h6M12 9v6",
    dropper: "m11 7 6 6M13 9l-8 8-1 4 4-1 8-8M15 5l2-2a2.8 2.8 0 0 1 4 4l-2 2z",
    warning: "M12 3 2 20h20zM12 10v4M12 17v.1",
    layers: "m12 3 9 5-9 5-9-5zM3 13l9 5 9-5",
};

export const icon = name => svg("svg", {viewBox: "0 0 24 24", class: "icon", "aria-hidden": "true"},
                                svg("path", {d: shapes[name]}));

/// Puts another icon into a button.
export function setIcon(button, name) {
    if (button.dataset.icon === name) return;
    button.dataset.icon = name;
    button.querySelector("path").setAttribute("d", shapes[name]);
}

/// A button with an icon; `label` is its name for everybody, shown as text too where `text` is given.
export const iconButton = (name, label, attributes = {}, text = "") =>
    h("button", {type: "button", class: "button", "aria-label": label, title: label, "data-icon": name, ...attributes},
      icon(name), text && h("span", {class: "button-text"}, text));
