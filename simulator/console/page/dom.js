// Builds elements. Texts become text nodes, so nothing that a file or a log holds is read as markup.

function append(parent, children) {
  for (const child of children.flat(Infinity)) {
    if (child === null || child === undefined || child === false) continue;
    parent.append(child instanceof Node ? child : String(child));
  }
}

function setProperty(element, name, value) {
  if (value === null || value === undefined || value === false) return;
  if (name === 'on') {
    for (const [event, listener] of Object.entries(value)) element.addEventListener(event, listener);
  } else if (name === 'value') {
    element.value = value;
  } else {
    element.setAttribute(name, value === true ? '' : value);
  }
}

// An element: h('p.hint', {id: 'a', on: {click: f}}, 'text', otherElement, [more]).
// Children that are null, undefined or false are left out. Attributes with these values too.
export function h(name, properties, ...children) {
  const [tag, ...classes] = name.split('.');
  const element = document.createElement(tag);
  if (classes.length > 0) element.className = classes.join(' ');
  const plain = properties && properties.constructor === Object;
  append(element, plain ? children : [properties, ...children]);
  if (plain) {
    for (const [key, value] of Object.entries(properties)) setProperty(element, key, value);
  }
  return element;
}

// Puts `children` in place of everything in `parent`.
export function fill(parent, ...children) {
  parent.replaceChildren();
  append(parent, children);
  return parent;
}

// Sets the text of an element only when it differs, so that nothing is laid out for nothing.
export function setText(element, text) {
  const wanted = text === null || text === undefined ? '' : String(text);
  if (element.textContent !== wanted) element.textContent = wanted;
}

// A function that calls `draw(value)` only when the value differs from the one before.
export function changed(draw) {
  let before;
  return (value) => {
    const now = JSON.stringify(value);
    if (now === before) return;
    before = now;
    draw(value);
  };
}

// Keeps one child of `parent` for each item, in the order of the items. A child is made anew only
// when its item changed, so the others keep their focus. `key(item)` names an item.
export function keyed(parent, items, key, make) {
  const old = parent.keyedChildren ?? new Map();
  const kept = new Map();
  let place = parent.firstChild;
  for (const item of items) {
    const name = String(key(item));
    const text = JSON.stringify(item);
    const before = old.get(name);
    const entry = before?.text === text ? before : {text, node: make(item)};
    if (before && before !== entry) {
      if (place === before.node) place = before.node.nextSibling;
      before.node.remove();
    }
    if (entry.node === place) place = place.nextSibling;
    else parent.insertBefore(entry.node, place);
    kept.set(name, entry);
  }
  for (const [name, entry] of old) {
    if (!kept.has(name)) entry.node.remove();
  }
  parent.keyedChildren = kept;
}

// A table. `columns` are {title, class}. `rows.fill(items, key, cells)` shows the items; `cells(item)`
// gives the content of each column. On narrow screens a row becomes a block with its titles.
export function table(caption, columns) {
  const body = h('tbody', {role: 'rowgroup'});
  const heads = columns.map((column) =>
    h('th', {role: 'columnheader', scope: 'col', class: column.class ?? ''}, column.title));
  const element = h('div.scroll', h('table.rows', {role: 'table'},
    h('caption.unseen', caption),
    h('thead', {role: 'rowgroup'}, h('tr', {role: 'row'}, heads)), body));
  const row = (cells) => h('tr', {role: 'row'}, cells.map((cell, at) =>
    h('td', {role: 'cell', class: columns[at].class ?? '', 'data-title': columns[at].title}, cell)));
  return {
    element,
    body,
    fill(items, key, cells) {
      keyed(body, items, key, (item) => row(cells(item)));
    },
  };
}

// A word with a mark and a colour: state is good, waiting, broken or off.
export function badge(state, text) {
  return h(`span.badge.${state}`, h('span.mark', {'aria-hidden': 'true'}), text);
}

// A list of names with their values.
export function facts(pairs) {
  return h('dl.facts', pairs.filter(Boolean).map(([name, value]) => h('div', h('dt', name), h('dd', value))));
}

let lastId = 0;

// A form field with its label above it.
export function field(title, control, hint) {
  control.id ||= `field-${++lastId}`;
  return h('div.field', h('label', {for: control.id}, title), control, hint && h('p.hint', hint));
}

export function select(choices, value, properties = {}) {
  const list = choices.map((choice) => (Array.isArray(choice) ? choice : [choice, choice]));
  return h('select', {...properties, value},
    list.map(([id, text]) => h('option', {value: id, selected: id === value}, text)));
}

// A region that scrolls by itself and can be reached with the keyboard.
export function code(title, text) {
  return h('pre.code', {tabindex: '0', role: 'region', 'aria-label': title}, text);
}
