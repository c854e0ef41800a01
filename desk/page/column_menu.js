// The menu of a column: order, place, width, and the filter by its values.
import { h, debounce } from './dom.js';
import { openPanel } from './dialog.js';
import { state } from './state.js';
import { api } from './api.js';
import { label, t } from './i18n.js';
import { formatCell, formatCount } from './format.js';

// Opens it beside `anchor`; the focus goes to `back` afterwards. `actions`: sort(descending or null), hide(),
// freeze(on), move(step), widen(by), filter(list of conditions), copy().
export function openColumnMenu(column, anchor, back, actions) {
  const name = label(column);
  let close = () => {};
  const then = (action) => () => {
    close();
    action();
  };
  const item = (text, action, more = {}) => h('button', { type: 'button', click: then(action), ...more }, text);
  close = openPanel(
    anchor,
    t('columnMenu', { name }),
    [
      h(
        'div',
        { class: 'items' },
        item('▲ ' + t('sortUp'), () => actions.sort(false)),
        item('▼ ' + t('sortDown'), () => actions.sort(true)),
        item(t('sortNone'), () => actions.sort(null)),
        item(t('hideColumn'), actions.hide),
        item(t('moveLeft'), () => actions.move(-1)),
        item(t('moveRight'), () => actions.move(1)),
        item(t('wider'), () => actions.widen(40)),
        item(t('narrower'), () => actions.widen(-40)),
        item(t(column.frozen ? 'unfreeze' : 'freeze'), () => actions.freeze(!column.frozen)),
        item(t('copyHeadings'), actions.copy),
      ),
      filterPart(column, (where) => then(() => actions.filter(where))()),
    ],
    back,
  );
}

function filterPart(column, take) {
  const { where } = state.view;
  const current = (op) => where.find((one) => one.column === column.name && one.op === op)?.value ?? '';
  const condition = (op, value) => ({ column: column.name, op, value });
  const values = h('div', { class: 'values', role: 'group', 'aria-label': t('findValue') });
  const find = async (text) => {
    try {
      const found = await api.values(state.run.id, column.name, text, 100);
      values.replaceChildren(
        ...found.values.map(({ value, count }) =>
          h(
            'button',
            {
              type: 'button',
              click: () => take([value === null || value === '' ? condition('empty') : condition('=', value)]),
            },
            h('span', {}, formatCell(value, column) || t('isEmpty')),
            h('span', { class: 'faint' }, formatCount(count)),
          ),
        ),
      );
    } catch (error) {
      values.replaceChildren(h('p', { class: 'finding error' }, error.message));
    }
  };
  const search = h('input', {
    type: 'search',
    placeholder: t('findValue'),
    'aria-label': t('findValue'),
    input: debounce(150, () => find(search.value)),
  });
  find('');
  const fields = (column.kind === 'text' ? ['contains'] : ['>=', '<=']).map((op) =>
    h(
      'label',
      {},
      op === 'contains' ? t('contains') : { '>=': '≥', '<=': '≤' }[op],
      h('input', { name: op, value: current(op), type: column.kind === 'date' ? 'date' : 'text' }),
    ),
  );
  const form = h(
    'form',
    {
      class: 'bounds',
      submit: (event) => {
        event.preventDefault();
        take([...new FormData(form)].filter(([, value]) => value).map(([op, value]) => condition(op, value)));
      },
    },
    fields,
    h('button', {}, t('apply')),
  );
  const item = (text, conditions) => h('button', { type: 'button', click: () => take(conditions) }, text);
  return h(
    'div',
    { class: 'filter' },
    h('h3', {}, t('filterColumn')),
    form,
    h(
      'div',
      { class: 'items' },
      item(t('isEmpty'), [condition('empty')]),
      item(t('isFilled'), [condition('filled')]),
      item(t('clearFilters'), []),
    ),
    search,
    values,
  );
}
