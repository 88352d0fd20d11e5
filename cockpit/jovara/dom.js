// Elements. Names and texts of the terminal reach the page only through text nodes and attributes: none is ever parsed
// as markup.

function fill(element, attributes, children) {
    for (const [name, value] of Object.entries(attributes)) {
        if (typeof value === "function")
            element.addEventListener(name, value);
        else if (value === true)
            element.setAttribute(name, "");
        else if (value !== false && value !== null && value !== undefined)
            element.setAttribute(name, value);
    }
    element.append(...children.flat().filter(child => child !== null && child !== undefined));
    return element;
}

/// h("button", { class: "danger", click: stop }, "Stop"): a function is a listener, true an attribute without a value.
export function h(tag, attributes = {}, ...children) {
    return fill(document.createElement(tag), attributes, children);
}

export function svg(tag, attributes = {}, ...children) {
    return fill(document.createElementNS("http://www.w3.org/2000/svg", tag), attributes, children);
}

/// Changes a text only if it differs, so that a screen reader does not announce it again.
export function setText(element, text) {
    if (element.textContent !== text)
        element.textContent = text;
}
