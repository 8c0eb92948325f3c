// What the extension draws for Tarnvik: its labels (the shell's own, or images Tarnvik drew)
// and its panels (the search field, the tutor's), each above everything the shell shows.

// A theme's icon name, an image's path or a serialised icon, as the shell has them; nothing for
// what names no icon, so that one bad name costs only its icon.
function iconOf(text) {
    try {
        return Gio.icon_new_for_string(text);
    } catch (e) {
        return null;
    }
}

function labelMarkup(text, typed) {
    const characters = [...text];
    const done = GLib.markup_escape_text(characters.slice(0, typed).join(''), -1);
    const rest = GLib.markup_escape_text(characters.slice(typed).join(''), -1);
    return typed > 0 ? `<span foreground="#000000" alpha="40%">${done}</span>${rest}` : rest;
}

// GNOME 46 and later want the graphics context first.
function setPixels(content, pixels, width, height, stride) {
    const format = Cogl.PixelFormat.BGRA_8888_PRE;
    try {
        content.set_bytes(pixels, format, width, height, stride);
    } catch (e) {
        const context = global.stage.context.get_backend().get_cogl_context();
        content.set_bytes(context, pixels, format, width, height, stride);
    }
}

// An image as ShowImages and ShowPanel take it: (key, x, y, width, height, pixel width, pixel
// height, stride, premultiplied BGRA pixels), all but the pixels.
function imageFields(image) {
    return [0, 1, 2, 3, 4, 5, 6, 7].map(n => image.get_child_value(n).unpack());
}

// The image's pixels as an actor's content; nothing where fewer came than its size needs.
function imageContent(image, pixelWidth, pixelHeight, stride) {
    const pixels = image.get_child_value(8).get_data_as_bytes();
    if (pixels.get_size() < stride * pixelHeight)
        return null;
    const content = St.ImageContent.new_with_preferred_size(pixelWidth, pixelHeight);
    setPixels(content, pixels, pixelWidth, pixelHeight, stride);
    return content;
}

// Actors of images kept hidden beyond those shown, at the most: the labels of a few windows.
const KEPT_ACTORS = 1000;

class LabelLayer {
    constructor() {
        // The pixels of each image Tarnvik sent, by its key.
        this._images = new Map();
        // The actor of each image, by its key, shown or hidden. Making actors is most of the
        // shell's work for a session's labels: a typed letter shows a few of the same images
        // and hides the rest, and the next session shows the same labels over the same window.
        this._actors = new Map();
        this.actor = new St.Widget({ name: 'tarnvikLabels', accessible_name: 'Tarnvik labels' });
        Main.layoutManager.uiGroup.add_child(this.actor);
    }

    // In place of the labels shown; hidden ones stay hidden until shown again.
    show(labels) {
        this._destroyAll();
        for (const label of labels)
            this._add(label);
        // Above the overview and everything the shell put up since.
        Main.layoutManager.uiGroup.set_child_above_sibling(this.actor, null);
    }

    // In place of the labels shown: images Tarnvik drew, each (key, x, y, width, height, pixel
    // width, pixel height, stride, premultiplied BGRA pixels). The pixels of a key are kept
    // once sent, and sent no more. A key starts with the label's text and a slash.
    showImages(images) {
        // What show() drew has no key.
        const kept = new Set(this._actors.values());
        for (const child of this.actor.get_children()) {
            if (!kept.has(child))
                child.destroy();
        }
        const shown = new Set();
        for (let i = 0; i < images.n_children(); i++) {
            const image = images.get_child_value(i);
            const [key, x, y, width, height, pixelWidth, pixelHeight, stride] =
                imageFields(image);
            let actor = this._actors.get(key);
            if (actor) {
                actor.set_position(x, y);
                actor.set_size(width, height);
                actor.show();
            } else {
                const content = this._contentOf(key, image, pixelWidth, pixelHeight, stride);
                if (!content)
                    continue;
                // Named by its text, as a label would be, for the accessibility tree.
                actor = new St.Widget({
                    x, y, width, height, content, accessible_name: key.split('/')[0],
                });
                this.actor.add_child(actor);
                this._actors.set(key, actor);
            }
            shown.add(key);
        }
        for (const [key, actor] of this._actors) {
            if (shown.has(key))
                continue;
            if (this._actors.size > shown.size + KEPT_ACTORS) {
                actor.destroy();
                this._actors.delete(key);
            } else {
                actor.hide();
            }
        }
        Main.layoutManager.uiGroup.set_child_above_sibling(this.actor, null);
    }

    _contentOf(key, image, pixelWidth, pixelHeight, stride) {
        let content = this._images.get(key);
        if (!content) {
            content = imageContent(image, pixelWidth, pixelHeight, stride);
            if (content)
                this._images.set(key, content);
        }
        return content;
    }

    // No labels, and the next ones shown at once.
    clear() {
        for (const child of this.actor.get_children())
            child.hide();
        this.actor.show();
    }

    _add(label) {
        const icon = label.icon ? iconOf(label.icon) : null;
        if (icon) {
            this.actor.add_child(new St.Icon({
                gicon: icon, icon_size: label.iconSize, x: label.iconX, y: label.iconY,
            }));
        }
        const widget = new St.Label({
            x: label.x, y: label.y, width: label.width, height: label.height,
            style: `background-color: ${label.background || 'transparent'};` +
                `color: ${label.color}; border: ${label.borderWidth ?? 1}px solid ${label.border};` +
                `border-radius: ${label.cornerRadius ?? 3}px;` +
                `font-size: ${label.fontSize}px; font-weight: bold; text-align: center;`,
            y_align: Clutter.ActorAlign.CENTER,
        });
        widget.clutter_text.set_markup(labelMarkup(label.text, label.typed ?? 0));
        widget.accessible_name = label.text;
        this.actor.add_child(widget);
    }

    forgetImages() {
        this._images.clear();
        this._destroyAll();
    }

    _destroyAll() {
        this._actors.clear();
        this.actor.destroy_all_children();
    }

    destroy() {
        this.actor.destroy();
    }
}

// Tarnvik's panels by name, each one image at a time: drawn anew on every change, so no pixels
// are kept past the next.
class PanelLayer {
    constructor() {
        this._panels = new Map();
        this.actor = new St.Widget({ name: 'tarnvikPanels', accessible_name: 'Tarnvik panels' });
        Main.layoutManager.uiGroup.add_child(this.actor);
    }

    // `image` as ShowImages takes each, its key the panel's name.
    show(image) {
        const [name, x, y, width, height, pixelWidth, pixelHeight, stride] = imageFields(image);
        const content = imageContent(image, pixelWidth, pixelHeight, stride);
        if (!content)
            throw new Error(`${name}: fewer pixels than ${pixelHeight} rows of ${stride} bytes`);
        let actor = this._panels.get(name);
        if (!actor) {
            actor = new St.Widget({ accessible_name: name });
            this.actor.add_child(actor);
            this._panels.set(name, actor);
        }
        actor.set_position(x, y);
        actor.set_size(width, height);
        actor.set_content(content);
        Main.layoutManager.uiGroup.set_child_above_sibling(this.actor, null);
    }

    hide(name) {
        this._panels.get(name)?.destroy();
        this._panels.delete(name);
    }

    clear() {
        this.actor.destroy_all_children();
        this._panels.clear();
    }

    destroy() {
        this.actor.destroy();
    }
}
