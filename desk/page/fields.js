// A field for each kind of filter: dates with quick ranges, options, codes with a pick list, ranges, lists.
import { h, newId } from './dom.js';
import { combobox } from './combobox.js';
import { label, t } from './i18n.js';
import { periods } from './periods.js';

// The field of a filter: {element, findings}, where `findings` is the place for what `check` finds about
// it. `value` is {from, to}; `change` is called with a new one. `today` is what quick ranges start from.
export function field(filter, value, today, change) {
  const name = label(filter);
  const findings = h('div', { class: 'findings', id: newId() });
  const now = { from: '', to: '', ...value };
  const set = (part) => (text) => change(Object.assign(now, { [part]: text }));
  const about = { 'aria-describedby': findings.id };
  if (!filter.range) {
    const id = newId();
    const { element } = control(filter, now.from, set('from'), {
      id,
      'aria-label': filter.pick ? name : null,
      ...about,
    });
    const hint = filter.list ? h('span', { class: 'faint hint' }, t('listHint')) : null;
    return { element: h('div', { class: 'field' }, h('label', { for: id }, name, hint), element, findings), findings };
  }
  const ends = ['from', 'to'].map((part) =>
    control(filter, now[part], set(part), { 'aria-label': `${name} ${t(part)}`, ...about }),
  );
  const quick =
    filter.kind === 'date'
      ? quickRanges(name, today, ([from, to]) => {
          [ends[0].input.value, ends[1].input.value] = [from, to];
          change(Object.assign(now, { from, to }));
        })
      : null;
  return {
    element: h(
      'fieldset',
      { class: 'field' + (filter.kind === 'date' ? ' dates' : '') },
      h('legend', {}, name),
      h('div', { class: 'range' }, ends[0].element, h('span', { 'aria-hidden': 'true' }, '–'), ends[1].element, quick),
      findings,
    ),
    findings,
  };
}

// The control for one value: {element, input}.
function control(filter, value, change, attributes) {
  if (filter.kind === 'option') return choice(filter, value, change, attributes);
  if (filter.pick) return combobox({ kind: filter.pick, list: filter.list, value, change, attributes });
  const type = filter.kind === 'date' ? 'date' : 'text';
  const input = h('input', {
    type,
    value,
    autocomplete: 'off',
    spellcheck: 'false',
    inputmode: filter.kind === 'number' ? 'decimal' : null,
    ...attributes,
    input: () => change(input.value),
  });
  return { element: input, input };
}

function choice(filter, value, change, attributes) {
  const known = filter.options.some((option) => option.value === value);
  const input = h(
    'select',
    { ...attributes, change: () => change(input.value) },
    h('option', { value: '' }, t('unset')),
    filter.options.map((option) => h('option', { value: option.value }, label(option))),
    known || !value ? null : h('option', { value }, value),
  );
  input.value = value;
  return { element: input, input };
}

// A choice that puts a period into two dates.
function quickRanges(name, today, take) {
  const known = periods(today);
  const select = h(
    'select',
    {
      class: 'quick',
      'aria-label': `${name}: ${t('quick')}`,
      change: () => {
        if (select.value) take(known[select.value] ?? ['', '']);
        select.value = '';
      },
    },
    h('option', { value: '' }, t('quick')),
    [...Object.keys(known), 'noDates'].map((key) => h('option', { value: key }, t(key))),
  );
  return select;
}
