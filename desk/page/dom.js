// Elements. Text only ever becomes text nodes, so nothing from the database can turn into markup.

// Makes an element. Of `attributes`, functions become listeners (click: f), true an empty attribute,
// false, null and undefined nothing; `value` is set as a property. Children are nodes, texts or nothing.
export function h(tag, attributes = {}, ...children) {
  const element = document.createElement(tag);
  for (const [name, value] of Object.entries(attributes)) {
    if (typeof value === 'function') element.addEventListener(name, value);
    else if (name === 'value') element.value = value;
    else if (value === true) element.setAttribute(name, '');
    else if (value !== false && value !== null && value !== undefined) element.setAttribute(name, value);
  }
  element.append(
    ...children.flat(Infinity).filter((child) => child !== null && child !== undefined && child !== false),
  );
  return element;
}

// The element of that id.
export const byId = (id) => document.getElementById(id);

// Tells those who listen to the page rather than see it.
export function say(text) {
  byId('said').textContent = text;
}

let lastId = 0;

// An id that no other element has.
export const newId = () => `e${++lastId}`;

// Calls `action` once `ms` milliseconds have passed without another call.
export function debounce(ms, action) {
  let timer = 0;
  return (...args) => {
    clearTimeout(timer);
    timer = setTimeout(() => action(...args), ms);
  };
}

// Offers `blob` as a download called `name`.
export function save(blob, name) {
  const url = URL.createObjectURL(blob);
  h('a', { href: url, download: name }).click();
  setTimeout(() => URL.revokeObjectURL(url), 10000);
}
