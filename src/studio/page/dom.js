// Small helpers to make and update elements. All text goes in as text, never as markup.

const svgNamespace = "http://www.w3.org/2000/svg";

function setAttribute(element, name, value) {
    if (name.startsWith("on")) element.addEventListener(name.slice(2), value);
    else if (name === "style") for (const key in value) element.style.setProperty(key, value[key]);
    else if (value === true) element.setAttribute(name, "");
    else if (value !== false && value !== null && value !== undefined) element.setAttribute(name, value);
}

function fill(element, attributes, children) {
    for (const name in attributes) setAttribute(element, name, attributes[name]);
    element.append(...children.flat().filter(child => child !== null && child !== undefined && child !== false));
    return element;
}

/// An element with attributes (on... are listeners, style is an object) and children.
export const h = (tag, attributes = {}, ...children) => fill(document.createElement(tag), attributes, children);
/// The same for SVG.
export const svg = (tag, attributes = {}, ...children) =>
    fill(document.createElementNS(svgNamespace, tag), attributes, children);

/// The setters leave an element alone that is as it should be, so that focus, selection and layout stay.
export function setText(element, text) {
    if (element.textContent !== text) element.textContent = text;
}

export function set(element, attributes) {
    for (const name in attributes) {
        const value = attributes[name];
        if (value === false || value === null || value === undefined) {
            if (element.hasAttribute(name)) element.removeAttribute(name);
        } else {
            const text = value === true ? "" : String(value);
            if (element.getAttribute(name) !== text) element.setAttribute(name, text);
        }
    }
}

/// Makes the children of an element be those of a list: kept by key, made by make(entry), updated by
/// update(child, entry), removed when their key has gone. `kept` is the map of a former call.
export function reconcile(parent, kept, entries, key, make, update) {
    const wanted = new Set(entries.map(key));
    for (const [name, child] of kept) {
        if (wanted.has(name)) continue;
        child.remove();
        kept.delete(name);
    }
    let before = parent.firstChild;
    for (const entry of entries) {
        let child = kept.get(key(entry));
        if (!child) kept.set(key(entry), child = make(entry));
        if (child === before) before = before.nextSibling;
        else parent.insertBefore(child, before);
        update(child, entry);
    }
    return kept;
}

/// Runs the latest call once a frame.
export function onceAFrame(work) {
    let asked = false;
    return () => {
        if (asked) return;
        asked = true;
        requestAnimationFrame(() => {
            asked = false;
            work();
        });
    };
}

/// Runs asynchronous work one at a time; of the calls that come meanwhile only the latest follows.
export function latestOnly(work) {
    let running = false, next = null;
    return async function call(...values) {
        next = values;
        if (running) return;
        running = true;
        while (next) {
            const now = next;
            next = null;
            await work(...now);
        }
        running = false;
    };
}

/// The same option for a select, without losing what is chosen.
export function setChoices(select, choices, chosen) {
    const key = JSON.stringify(choices);
    if (select.dataset.choices !== key) {
        select.dataset.choices = key;
        select.replaceChildren(...choices.map(([value, label]) => h("option", {value}, label)));
    }
    if (select.value !== chosen) select.value = chosen;
}

export const clamp = (value, least, most) => Math.min(Math.max(value, least), most);
export const plural = (count, word) => `${count} ${word}${count === 1 ? "" : "s"}`;

/// The middle of two pointers and how far they are from one another; pointers is a map of {x, y}.
export function spreadOf(pointers) {
    const [a, b] = [...pointers.values()];
    return {x: (a.x + b.x) / 2, y: (a.y + b.y) / 2, length: Math.hypot(a.x - b.x, a.y - b.y) || 1};
}

/// Milliseconds as a person reads them.
export function duration(milliseconds) {
    if (milliseconds >= 1000) return `${(milliseconds / 1000).toFixed(2)} s`;
    return `${milliseconds.toFixed(milliseconds < 9.95 ? 2 : milliseconds < 99.5 ? 1 : 0)} ms`;
}

export function byteCount(bytes) {
    const units = ["bytes", "kB", "MB", "GB"];
    let unit = 0;
    for (; bytes >= 1000 && unit < 3; unit++) bytes /= 1000;
    return `${unit ? bytes.toFixed(1) : bytes} ${units[unit]}`;
}

/// A number with as many digits as one wants to read.
export const shortNumber = value => Number.isInteger(value) ? String(value) : Number(value.toPrecision(6)).toString();
