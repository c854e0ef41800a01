// A text field with a pick list from the database, after the ARIA pattern of an editable combobox: typing
// searches codes and names, arrows choose, Enter takes, Escape closes.
import { h, newId, debounce, say } from './dom.js';
import { api } from './api.js';
import { t } from './i18n.js';

// The field {element, input}. `kind` is what /pick knows, `list` whether it takes several values parted by
// commas; `change` is called with the text whenever it changes. `attributes` are the input's.
export function combobox({ kind, list, value, change, attributes }) {
  const listId = newId();
  const input = h('input', {
    type: 'text',
    role: 'combobox',
    autocomplete: 'off',
    spellcheck: 'false',
    value,
    'aria-autocomplete': 'list',
    'aria-expanded': 'false',
    'aria-controls': listId,
    ...attributes,
  });
  const options = h('ul', { id: listId, role: 'listbox', hidden: true, 'aria-label': attributes['aria-label'] });
  const element = h('span', { class: 'combobox' }, input, options);
  let items = [];
  let active = -1;
  let asked = null;

  const close = () => {
    asked?.abort();
    options.hidden = true;
    options.replaceChildren();
    active = -1;
    input.setAttribute('aria-expanded', 'false');
    input.removeAttribute('aria-activedescendant');
  };
  const mark = (index) => {
    active = index;
    [...options.querySelectorAll('[role=option]')].forEach((option, i) => {
      option.setAttribute('aria-selected', String(i === active));
      if (i === active) {
        input.setAttribute('aria-activedescendant', option.id);
        option.scrollIntoView({ block: 'nearest' });
      }
    });
  };
  const take = (item) => {
    const before = list ? input.value.replace(/[^,，]*$/, '') : '';
    input.value = before + item.code;
    change(input.value);
    close();
  };
  const draw = ({ items: found, more }) => {
    items = found;
    options.replaceChildren(
      ...found.map((item) =>
        h(
          'li',
          {
            id: newId(),
            role: 'option',
            'aria-selected': 'false',
            mousedown: (event) => {
              event.preventDefault();
              take(item);
            },
          },
          h('b', {}, item.code),
          item.name && item.name !== item.code ? h('span', {}, item.name) : null,
        ),
      ),
    );
    const hint = !found.length ? t('nothingFound') : more ? t('moreItems') : '';
    if (hint) options.append(h('li', { role: 'presentation', class: 'faint' }, hint));
    say(found.length ? t('chosenOf', { n: found.length }) : t('nothingFound'));
    options.hidden = false;
    input.setAttribute('aria-expanded', 'true');
    active = -1;
  };
  const search = async (text) => {
    asked?.abort();
    asked = new AbortController();
    try {
      draw(await api.pick(kind, text, asked.signal));
    } catch (error) {
      if (error.name !== 'AbortError') close(); // the field takes any text, also where the list cannot be had
    }
  };
  const searchSoon = debounce(150, () => document.activeElement === input && search(wanted()));
  const wanted = () => (list ? input.value.split(/[,，]/).pop() : input.value).trim();

  input.addEventListener('input', () => {
    change(input.value);
    searchSoon();
  });
  input.addEventListener('click', () => options.hidden && search(''));
  input.addEventListener('blur', close);
  input.addEventListener('keydown', (event) => {
    const open = !options.hidden;
    const step = { ArrowDown: 1, ArrowUp: -1 }[event.key];
    if (step && !open) search(step > 0 && event.altKey ? '' : wanted());
    else if (step) mark((active + step + items.length) % Math.max(1, items.length));
    else if (event.key === 'Enter' && open && active >= 0) take(items[active]);
    else if (event.key === 'Escape' && open) close();
    else return;
    event.preventDefault();
    event.stopPropagation();
  });
  return { element, input };
}
