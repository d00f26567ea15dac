// Light, dark, or as the system has it.

import {set} from "studio/dom";
import {iconButton, setIcon} from "studio/icons";
import {settings, tell} from "studio/store";

const order = ["system", "light", "dark"];

export function themeButton() {
    const button = iconButton("system", "Colours", {id: "theme"});
    const apply = theme => {
        set(document.documentElement, {"data-theme": theme === "system" ? null : theme});
        setIcon(button, theme);
        const label = `Colours: ${theme === "system" ? "as the system has them" : theme}`;
        set(button, {"aria-label": label, title: label});
        tell("theme");
    };
    let theme = settings.get("theme", "system");
    button.addEventListener("click", () => {
        theme = order[(order.indexOf(theme) + 1) % order.length];
        settings.set("theme", theme);
        apply(theme);
    });
    apply(theme);
    matchMedia("(prefers-color-scheme: dark)").addEventListener("change", () => tell("theme"));
    return button;
}
