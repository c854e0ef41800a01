// Questions, and menus that lie above the page.
import { h, byId, newId } from './dom.js';
import { t } from './i18n.js';

// Shows a dialog with `content` and waits for it: the values of its fields by name, or null when it was left.
// `fields` are {name, label, value, type, list}; `ok` is what the button says that takes it, null for none.
export function ask(title, { ok = null, fields = [], content = [] } = {}) {
  const inputs = fields.map(({ name, label, value = '', type = 'text' }) =>
    h('label', { class: 'field' }, label, h('input', { name, type, value, autocomplete: 'off' })),
  );
  const heading = newId();
  return new Promise((done) => {
    let answer = null;
    const form = h(
      'form',
      {
        submit: (event) => {
          event.preventDefault();
          answer = Object.fromEntries(new FormData(form));
          dialog.close();
        },
      },
      h('h2', { id: heading }, title),
      inputs,
      content,
      h(
        'div',
        { class: 'buttons' },
        ok ? h('button', { class: 'main' }, ok) : null,
        h('button', { type: 'button', click: () => dialog.close() }, t(ok ? 'cancel' : 'close')),
      ),
    );
    const dialog = h(
      'dialog',
      {
        'aria-labelledby': heading,
        close: () => {
          dialog.remove();
          done(answer);
        },
      },
      form,
    );
    document.body.append(dialog);
    dialog.showModal();
  });
}

// Opens a panel beside `anchor`. It closes by Escape, or when the focus goes elsewhere; `back` gets the focus
// then, or what has its id by then. Gives the function that closes it.
export function openPanel(anchor, name, content, back = anchor) {
  const panel = h('div', { class: 'panel', role: 'dialog', 'aria-label': name, tabindex: '-1' }, content);
  const close = (refocus = true) => {
    if (!panel.isConnected) return;
    document.removeEventListener('pointerdown', outside, true);
    panel.remove();
    if (refocus) (back.isConnected ? back : byId(back.id))?.focus();
  };
  const outside = (event) => panel.contains(event.target) || close(false);
  panel.addEventListener('keydown', (event) => {
    if (event.key !== 'Escape') return;
    event.stopPropagation();
    close();
  });
  panel.addEventListener('focusout', (event) => {
    if (event.relatedTarget && !panel.contains(event.relatedTarget)) close(false);
  });
  document.body.append(panel);
  place(panel, anchor.getBoundingClientRect());
  document.addEventListener('pointerdown', outside, true);
  (panel.querySelector('button, input, select') ?? panel).focus();
  return close;
}

function place(panel, at) {
  const { offsetWidth: width, offsetHeight: height } = panel;
  const left = Math.max(4, Math.min(at.left, innerWidth - width - 4));
  const below = at.bottom + 2;
  const top = below + height < innerHeight ? below : Math.max(4, innerHeight - height - 4);
  Object.assign(panel.style, { left: `${left}px`, top: `${top}px` });
}
