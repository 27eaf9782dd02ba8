// Elements are built here and nowhere else. Texts become text nodes, so that what a camera calls itself can
// never be taken for markup.

const svgNamespace = 'http://www.w3.org/2000/svg';

function give(element, name, value) {
  if (value === undefined || value === null || value === false)
    return;
  if (name === 'on')
    for (const [type, listener] of Object.entries(value))
      element.addEventListener(type, listener);
  else if (name === 'data')
    Object.assign(element.dataset, value);
  else if (name === 'value' || name === 'checked' || name === 'selected')
    element[name] = value;
  else
    element.setAttribute(name, value === true ? '' : value);
}

function fill(element, children) {
  for (const child of children.flat(Infinity))
    if (child !== undefined && child !== null && child !== false)
      element.append(typeof child === 'object' ? child : String(child));
  return element;
}

// h('button', {class: 'primary', on: {click}}, 'Set')
export function h(tag, attributes = {}, ...children) {
  const element = document.createElement(tag);
  fill(element, children);
  // A select takes its value only once it has its options.
  for (const [name, value] of Object.entries(attributes))
    give(element, name, value);
  return element;
}

// `attributes` may hold anything but listeners.
export const actionButton = (text, click, attributes = {}) =>
  h('button', {type: 'button', ...attributes, on: {click}}, text);

export const labelled = (text, control, className = 'field') =>
  h('label', {class: className}, h('span', {}, text), control);

export const headRow = names => h('thead', {}, h('tr', {}, names.map(name => h('th', {scope: 'col'}, name))));

export function svg(tag, attributes = {}, ...children) {
  const element = document.createElementNS(svgNamespace, tag);
  for (const [name, value] of Object.entries(attributes))
    give(element, name, value);
  return fill(element, children);
}

export function replace(element, ...children) {
  element.replaceChildren();
  return fill(element, children);
}

// Tab and screen readers go by the order in the document. Moving an element takes its focus away: those that
// stand right, and the one that has it, are left alone.
export function arrange(parent, elements) {
  let next = parent.firstElementChild;
  for (const element of elements)
    if (element === next)
      next = next.nextElementSibling;
    else if (!element.contains(document.activeElement))
      parent.insertBefore(element, next);
}

// Writes only what has changed: a screen reader would read it again, and a selection would be lost.
export function setText(element, text) {
  if (element.textContent !== text)
    element.textContent = text;
}

export function setAttribute(element, name, value) {
  if (element.getAttribute(name) !== String(value))
    element.setAttribute(name, value);
}

let lastId = 0;

export function newId(prefix) {
  lastId += 1;
  return `${prefix}-${lastId}`;
}
