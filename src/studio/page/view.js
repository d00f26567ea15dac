// How a picture lies in the viewer: a scale in device pixels for each pixel of the picture, and the place of its
// corner.

import {clamp} from "studio/dom";

const leastScale = 1 / 64, mostScale = 64;

export class View {
    scale = 1;
    x = 0;
    y = 0;
    fitted = true; // follows the size of the pane

    /// Shows the whole picture in the middle of an area.
    fit(picture, area) {
        const margin = 0.98;
        this.scale = clamp(Math.min(area.width / picture.width, area.height / picture.height) * margin,
                           leastScale, mostScale);
        if (this.scale > 1) this.scale = Math.max(1, Math.floor(this.scale * 4) / 4);
        this.centre(picture, area);
        this.fitted = true;
    }

    /// One pixel of the picture on one of the screen.
    actual(picture, area) {
        this.scale = 1;
        this.centre(picture, area);
        this.fitted = false;
    }

    centre(picture, area) {
        this.x = Math.round((area.width - picture.width * this.scale) / 2);
        this.y = Math.round((area.height - picture.height * this.scale) / 2);
    }

    /// Zooms so that what lies at a place of the area stays there.
    zoom(factor, atX, atY) {
        const scale = clamp(this.scale * factor, leastScale, mostScale);
        this.x = atX - (atX - this.x) * scale / this.scale;
        this.y = atY - (atY - this.y) * scale / this.scale;
        this.scale = scale;
        this.fitted = false;
    }

    move(x, y) {
        this.x += x;
        this.y += y;
        this.fitted = false;
    }

    /// Keeps some of the picture within the area.
    hold(picture, area) {
        const rest = 32;
        this.x = clamp(this.x, rest - picture.width * this.scale, area.width - rest);
        this.y = clamp(this.y, rest - picture.height * this.scale, area.height - rest);
    }

    toPicture(x, y) { return [(x - this.x) / this.scale, (y - this.y) / this.scale]; }
    toArea(x, y) { return [this.x + x * this.scale, this.y + y * this.scale]; }
}
